#include "platform/linux/leases.h"

#include <arpa/inet.h>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/owned_text.h"
#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/linux/interfaces.h"
#include "platform/linux/key_value.h"
#include "platform/text.h"

namespace gwconf {
namespace {

constexpr std::size_t kPathRoom = 512;

/// The number that is all of `text`; 0 when it is not one.
std::uint32_t whole_number(std::string_view text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() ? number : 0;
}

bool is_address(std::string_view text, std::uint32_t address) {
  char digits[INET_ADDRSTRLEN];
  in_addr parsed = {};
  if (text.size() >= sizeof digits) return false;
  Answer{digits, sizeof digits}.append(text);
  return inet_pton(AF_INET, digits, &parsed) == 1 && parsed.s_addr == address;
}

/// A word without the semicolon and the quotes of dhclient's notes.
std::string_view bare(std::string_view word) {
  if (!word.empty() && word.back() == ';') word.remove_suffix(1);
  if (word.size() >= 2 && word.front() == '"' && word.back() == '"')
    word = {word.data() + 1, word.size() - 2};
  return word;
}

/// dhclient adds a block "lease { ... }" for each renewal; the last one counts.
std::uint32_t dhclient_seconds(const char* path, std::string_view interface,
                               std::uint32_t address) {
  LineReader<512> file{path};
  std::uint32_t found = 0;
  bool of_interface = false;
  bool of_address = false;
  std::uint32_t seconds = 0;
  while (file.next()) {
    std::string_view rest = file.line();
    std::string_view word = next_word(rest);
    if (word == "lease") {
      of_interface = of_address = false;
      seconds = 0;
    } else if (word == "interface") {
      of_interface = bare(next_word(rest)) == interface;
    } else if (word == "fixed-address") {
      of_address = is_address(bare(next_word(rest)), address);
    } else if (word == "option" && next_word(rest) == "dhcp-lease-time") {
      seconds = whole_number(bare(next_word(rest)));
    } else if (word == "}" && of_interface && of_address) {
      found = seconds;
    }
  }
  return found;
}

/// systemd-networkd keeps a file of key=value lines under the interface's index.
std::uint32_t networkd_seconds(const char* path, std::uint32_t address) {
  OwnedText text;
  if (find_key_value(path, "ADDRESS", text) != CM_OK) return 0;
  if (!is_address(text.view(), address)) return 0;
  return find_key_value(path, "LIFETIME", text) == CM_OK ? whole_number(text.view()) : 0;
}

/// dhcpcd keeps the server's message as it came: a BOOTP header, a cookie, options.
std::uint32_t dhcpcd_seconds(const char* path, std::uint32_t address) {
  constexpr std::size_t kOwnAddress = 16;
  constexpr std::size_t kCookie = 236;
  constexpr std::size_t kOptions = 240;
  constexpr unsigned char kMagic[] = {99, 130, 83, 99};
  constexpr unsigned char kPad = 0;
  constexpr unsigned char kLeaseTime = 51;
  constexpr unsigned char kEnd = 255;

  unsigned char message[1500];
  RegularFile file{path};
  const std::size_t length = file.read(message, sizeof message);
  if (length < kOptions || std::memcmp(message + kCookie, kMagic, sizeof kMagic) != 0) return 0;
  if (std::memcmp(message + kOwnAddress, &address, sizeof address) != 0) return 0;
  for (std::size_t at = kOptions; at < length && message[at] != kEnd;) {
    if (message[at] == kPad) {
      ++at;
      continue;
    }
    if (length - at < 2 || length - at - 2 < message[at + 1]) return 0;
    std::uint32_t seconds = 0;
    if (message[at] == kLeaseTime && message[at + 1] == sizeof seconds) {
      std::memcpy(&seconds, message + at + 2, sizeof seconds);
      return ntohl(seconds);
    }
    at += 2U + message[at + 1];
  }
  return 0;
}

}  // namespace

std::uint32_t lease_seconds(const char* interface, std::uint32_t address) {
  if (address == 0) return 0;
  char path[kPathRoom];
  char index[16];

  std::snprintf(path, sizeof path, "%s/dhclient.%s.leases", paths().dhclient_leases, interface);
  if (const auto seconds = dhclient_seconds(path, interface, address)) return seconds;
  std::snprintf(path, sizeof path, "%s/dhclient.leases", paths().dhclient_leases);
  if (const auto seconds = dhclient_seconds(path, interface, address)) return seconds;

  std::snprintf(path, sizeof path, "%s/%s.lease", paths().dhcpcd_leases, interface);
  if (const auto seconds = dhcpcd_seconds(path, address)) return seconds;

  if (!read_attribute(interface, "ifindex", index)) return 0;
  std::snprintf(path, sizeof path, "%s/%s", paths().networkd_leases, index);
  return networkd_seconds(path, address);
}

}  // namespace gwconf
