#include "platform/linux/interfaces.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <net/if_arp.h>
#include <net/route.h>
#include <string_view>
#include <unistd.h>

#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/text.h"

namespace gwconf {
namespace {

static_assert(kInterfaceNameRoom == IFNAMSIZ);

constexpr std::size_t kPathRoom = 512;

void attribute_path(const char* interface, const char* attribute, char (&path)[kPathRoom]) {
  std::snprintf(path, sizeof path, "%s/class/net/%s/%s", paths().sys, interface, attribute);
}

bool has_attribute(const char* interface, const char* attribute) {
  char path[kPathRoom];
  attribute_path(interface, attribute, path);
  return access(path, F_OK) == 0;
}

/// Whether a word can be the name of an interface, and therefore part of a path.
bool copy_name(std::string_view word, InterfaceName& name) {
  if (word.empty() || word.size() >= sizeof name.text || word.front() == '.') return false;
  if (word.find('/') != std::string_view::npos) return false;
  Answer{name.text, sizeof name.text}.append(word);
  return true;
}

/// Calls `visit` with the name that starts each line behind the `headings` of a kernel table, and
/// with the rest of the line.
template <typename Visit>
void for_each_row(const char* path, int headings, char name_end, const Visit& visit) {
  LineReader<256> table{path};
  while (table.next()) {
    if (headings-- > 0) continue;
    std::string_view rest = table.line();
    std::string_view word = next_word(rest);
    const std::size_t end = word.find(name_end);
    InterfaceName name;
    if (copy_name(end == std::string_view::npos ? word : std::string_view{word.data(), end}, name))
      visit(name.text, rest);
  }
}

template <typename Wanted>
InterfaceList interfaces(const Wanted& wanted) {
  InterfaceList list;
  for_each_row(paths().proc_net_dev, 2, ':', [&](const char* name, std::string_view) {
    if (wanted(name)) list.insert(name);
  });
  return list;
}

bool read_hexadecimal(std::string_view word, std::uint32_t& number) {
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number, 16);
  return error == std::errc{} && end == word.data() + word.size();
}

/// Calls `visit` with the interface and the gateway of each usable default route.
template <typename Visit>
void for_each_default_route(const Visit& visit) {
  char path[kPathRoom];
  std::snprintf(path, sizeof path, "%s/net/route", paths().proc);
  for_each_row(path, 1, '\0', [&](const char* name, std::string_view rest) {
    std::uint32_t destination = 1;
    std::uint32_t gateway = 0;
    std::uint32_t flags = 0;
    std::uint32_t mask = 1;
    const bool read = read_hexadecimal(next_word(rest), destination) &&
                      read_hexadecimal(next_word(rest), gateway) &&
                      read_hexadecimal(next_word(rest), flags);
    for (int uncounted = 0; uncounted < 3; ++uncounted)
      static_cast<void>(next_word(rest));
    if (!read || !read_hexadecimal(next_word(rest), mask)) return;
    if (destination != 0 || mask != 0) return;
    if ((flags & RTF_UP) != 0 && (flags & RTF_REJECT) == 0) visit(name, gateway);
  });
}

bool is_wireless(const char* name) {
  return has_attribute(name, "wireless") || has_attribute(name, "phy80211");
}

}  // namespace

void InterfaceList::insert(const char* name) {
  InterfaceName* const begin = names_.data();
  InterfaceName* const end = begin + size_;
  InterfaceName* const place =
      std::lower_bound(begin, end, name, [](const InterfaceName& listed, const char* given) {
        return strverscmp(listed.text, given) < 0;
      });
  if (place == begin + kCapacity || (place != end && std::strcmp(place->text, name) == 0)) return;
  InterfaceName* const last = size_ < kCapacity ? begin + size_++ : end - 1;
  std::copy_backward(place, last, last + 1);
  Answer{place->text, sizeof place->text}.append(name);
}

bool InterfaceList::contains(const char* name) const {
  return std::any_of(names_.data(), names_.data() + size_, [name](const InterfaceName& listed) {
    return std::strcmp(listed.text, name) == 0;
  });
}

InterfaceList default_route_interfaces() {
  InterfaceList list;
  for_each_default_route([&](const char* name, std::uint32_t) { list.insert(name); });
  return list;
}

std::uint32_t default_gateway(const char* interface) {
  std::uint32_t found = 0;
  for_each_default_route([&](const char* name, std::uint32_t gateway) {
    if (found == 0 && std::strcmp(name, interface) == 0) found = gateway;
  });
  return found;
}

InterfaceList lan_ports() {
  const InterfaceList wan = default_route_interfaces();
  return interfaces([&](const char* name) {
    return read_counter(name, "type") == ARPHRD_ETHER && has_attribute(name, "device") &&
           !has_attribute(name, "dsa") && !is_wireless(name) && !wan.contains(name);
  });
}

InterfaceList wireless_interfaces() {
  InterfaceList list = interfaces(is_wireless);
  // Drivers of the older interface show up here only.
  char path[kPathRoom];
  std::snprintf(path, sizeof path, "%s/net/wireless", paths().proc);
  for_each_row(path, 2, ':', [&](const char* name, std::string_view) { list.insert(name); });
  return list;
}

bool read_attribute(const char* interface, const char* attribute, std::span<char> text) {
  char path[kPathRoom];
  attribute_path(interface, attribute, path);
  LineReader<128> file{path};
  const bool found = file.next();
  Answer{text.data(), static_cast<std::int32_t>(text.size())}.append(found ? file.line()
                                                                           : std::string_view{});
  return found;
}

std::uint64_t read_counter(const char* interface, const char* attribute) {
  char text[24];
  if (!read_attribute(interface, attribute, text)) return 0;
  std::uint64_t count = 0;
  std::from_chars(text, text + std::strlen(text), count);
  return count;
}

bool has_carrier(const char* interface) {
  return read_counter(interface, "carrier") == 1;
}

bool is_ppp(const char* interface) {
  return read_counter(interface, "type") == ARPHRD_PPP;
}

}  // namespace gwconf
