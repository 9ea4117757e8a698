#include "tools/apply/message.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <unistd.h>
#include <utility>

namespace gwconf::tool {
namespace {

void add_field(std::string_view text, std::string* bytes) {
  *bytes += text;
  *bytes += '\0';
}

template <typename Number>
void add_number(Number number, std::string* bytes) {
  add_field(std::to_string(static_cast<unsigned long>(number)), bytes);
}

}  // namespace

std::string encoded(const Message& message) {
  std::string bytes;
  add_number(message.kind, &bytes);
  add_number(message.steps.size(), &bytes);
  for (const Step& step : message.steps) {
    add_number(step.kind, &bytes);
    add_number(step.word, &bytes);
    add_number(step.is_virtual, &bytes);
    add_field(step.path, &bytes);
    add_field(step.value, &bytes);
  }
  return bytes;
}

std::optional<Message> MessageReader::next() {
  const std::optional<unsigned> kind = number();
  const std::optional<unsigned> count = number();
  if (!kind || !count || *kind > static_cast<unsigned>(Message::Kind::kWait)) return {};
  Message message{static_cast<Message::Kind>(*kind)};
  for (unsigned i = 0; i < *count; ++i) {
    std::optional<Step> one = step();
    if (!one) return {};
    message.steps.push_back(*std::move(one));
  }
  return message;
}

std::optional<std::string> MessageReader::field() {
  std::size_t end = 0;
  while ((end = read_.find('\0')) == std::string::npos) {
    std::array<char, 4096> bytes;
    const ssize_t count = read(descriptor_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return {};
    read_.append(bytes.data(), static_cast<std::size_t>(count));
  }
  std::string text = read_.substr(0, end);
  read_.erase(0, end + 1);
  return text;
}

std::optional<unsigned> MessageReader::number() {
  const std::optional<std::string> text = field();
  if (!text) return {};
  unsigned number = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, number);
  if (error != std::errc{} || stop != end) return {};
  return number;
}

std::optional<Step> MessageReader::step() {
  const std::optional<unsigned> kind = number();
  const std::optional<unsigned> word = number();
  const std::optional<unsigned> is_virtual = number();
  std::optional<std::string> path = field();
  std::optional<std::string> value = field();
  if (!kind || !word || !is_virtual || !path || !value) return {};
  if (*kind > static_cast<unsigned>(Step::Kind::kDelete)) return {};
  return Step{.kind = static_cast<Step::Kind>(*kind),
              .path = *std::move(path),
              .value = *std::move(value),
              .word = *word,
              .is_virtual = *is_virtual != 0};
}

}  // namespace gwconf::tool
