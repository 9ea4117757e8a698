#include "tools/offline/scan.h"

#include <algorithm>

#include "core/owned_text.h"
#include "platform/services.h"
#include "tools/base/screen.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] constexpr bool is_name_character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

[[nodiscard]] std::string decoded(std::string_view raw) {
  if (raw.find('\\') == std::string_view::npos) return std::string{raw};
  const OwnedText text = OwnedText::adopt(string_decode(std::string{raw}.c_str()));
  return text.c_str();
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_{text} {}

  Scan run() {
    for (skip_blanks(); at_ < text_.size(); skip_blanks()) {
      ScannedItem item;
      item.at = at_;
      if (!read_item(&item)) break;
      item.end = at_;
      scan_.items.push_back(std::move(item));
    }
    return std::move(scan_);
  }

 private:
  bool fail(Rule rule, std::size_t at, std::size_t length, std::string message) {
    length = std::max<std::size_t>(1, std::min(length, text_.size() - std::min(at, text_.size())));
    scan_.fault = Finding{
        .rule = rule, .at = at, .length = length, .message = std::move(message), .stops = true};
    return false;
  }

  void skip_blanks() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  bool take(std::string_view mark) {
    if (text_.substr(at_, mark.size()) != mark) return false;
    at_ += mark.size();
    return true;
  }

  [[nodiscard]] std::string_view take_name() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && is_name_character(text_[at_]))
      ++at_;
    return text_.substr(begin, at_ - begin);
  }

  [[nodiscard]] std::string here() const {
    if (at_ >= text_.size()) return "the end of the file";
    const std::size_t length = std::max<std::size_t>(utf8_length(text_.substr(at_)), 1);
    return in_quotes(text_.substr(at_, length));
  }

  bool read_item(ScannedItem* item) {
    if (!take("<")) {
      const std::size_t end = std::min(text_.find_first_of("<\r\n", at_), text_.size());
      return fail(Rule::kTextOutsideTags, at_, end - at_,
                  "text outside of tags: " + in_quotes(text_.substr(at_, end - at_), 40));
    }
    if (take("?")) return read_header(item);
    if (take("!--")) return read_comment(item);
    if (take("/")) return read_end(item);
    return read_start(item);
  }

  bool read_tag_name(ScannedItem* item) {
    skip_blanks();
    item->name = take_name();
    if (!item->name.empty()) return true;
    if (at_ >= text_.size()) return fail_cut(*item);
    return fail(Rule::kNoTagName, at_, 1, "a tag's name expected instead of " + here());
  }

  bool fail_cut(const ScannedItem& item) {
    return fail(Rule::kTagNotClosed, item.at, text_.size() - item.at,
                "the file ends inside this tag");
  }

  /// Reads attributes for as long as there are some.
  bool read_attributes(ScannedItem* item) {
    for (skip_blanks(); at_ < text_.size() && is_name_character(text_[at_]); skip_blanks()) {
      const std::size_t name_at = at_;
      ScannedAttribute attribute;
      attribute.name = take_name();
      if (item->attributes.size() == kAttributeMax)
        return fail(Rule::kTooManyAttributes, name_at, attribute.name.size(),
                    "the attribute " + in_quotes(attribute.name, kNameShown) + " is number " +
                        std::to_string(kAttributeMax + 1) + " of its tag");
      if (!read_value(*item, name_at, &attribute)) return false;
      item->attributes.push_back(std::move(attribute));
    }
    return true;
  }

  bool read_value(const ScannedItem& item, std::size_t name_at, ScannedAttribute* attribute) {
    const std::string name = in_quotes(attribute->name, kNameShown);
    skip_blanks();
    if (!take("="))
      return fail(Rule::kNoAttributeValue, name_at, attribute->name.size(),
                  "the attribute " + name + " has no value" + hint(item));
    skip_blanks();
    if (!take("\""))
      return fail(Rule::kValueNotInQuotes, at_, 1,
                  "the value of " + name + " does not begin with a double quote, but with " +
                      here() + hint(item));
    const std::size_t begin = at_;
    while (at_ < text_.size() && text_[at_] != '"')
      at_ += text_[at_] == '\\' ? 2 : 1;
    if (at_ >= text_.size())
      return fail(Rule::kValueNotClosed, begin - 1, 1,
                  "the value of " + name + " has no closing quote");
    attribute->raw = text_.substr(begin, at_++ - begin);
    attribute->value = decoded(attribute->raw);
    return true;
  }

  /// A closing quote that is missing shows only further on, where the next value would begin.
  [[nodiscard]] static std::string hint(const ScannedItem& item) {
    if (item.attributes.empty()) return {};
    const ScannedAttribute& last = item.attributes.back();
    if (!last.raw.ends_with('=') && last.raw.find('\n') == std::string_view::npos) return {};
    return "; is the closing quote of " + in_quotes(last.name, kNameShown) + " missing?";
  }

  bool fail_stray(const ScannedItem& item) {
    return fail(Rule::kStrayCharacter, at_, 1,
                "an attribute or the end of the tag expected instead of " + here() + hint(item));
  }

  bool read_header(ScannedItem* item) {
    item->kind = kXmlHead;
    if (!read_tag_name(item) || !read_attributes(item)) return false;
    if (take("?>")) return true;
    return fail(Rule::kHeaderNotClosed, item->at, 2, "the header does not end with ?>");
  }

  bool read_comment(ScannedItem* item) {
    item->kind = kXmlComment;
    const std::size_t end = text_.find("-->", at_);
    if (end == std::string_view::npos)
      return fail(Rule::kCommentNotClosed, item->at, 4, "the comment does not end with -->");
    at_ = end + 3;
    return true;
  }

  bool read_end(ScannedItem* item) {
    item->kind = kXmlEnd;
    if (!read_tag_name(item)) return false;
    skip_blanks();
    if (take(">")) return true;
    if (at_ >= text_.size()) return fail_cut(*item);
    return fail(Rule::kEndTagNotBare, at_, 1,
                "> expected behind the name of the end tag instead of " + here());
  }

  bool read_start(ScannedItem* item) {
    item->kind = kXmlBegin;
    if (!read_tag_name(item) || !read_attributes(item)) return false;
    if (take(">")) return true;
    if (take("/>")) {
      item->kind = kXmlEmpty;
      return true;
    }
    const bool cut = text_.find_first_not_of("/ \t\r\n", at_) == std::string_view::npos;
    return cut ? fail_cut(*item) : fail_stray(*item);
  }

  static constexpr std::size_t kNameShown = 60;

  std::string_view text_;
  std::size_t at_ = 0;
  Scan scan_;
};

}  // namespace

const ScannedAttribute* ScannedItem::find(std::string_view attribute) const {
  const auto found = std::find_if(attributes.rbegin(), attributes.rend(),
                                  [=](const auto& one) { return one.name == attribute; });
  return found == attributes.rend() ? nullptr : &*found;
}

Scan scan(std::string_view text) {
  return Scanner{text}.run();
}

std::size_t raw_index(std::string_view raw, std::size_t index) {
  std::size_t at = 0;
  for (; index > 0 && at < raw.size(); --index)
    at += raw[at] == '\\' && at + 1 < raw.size() ? 2 : 1;
  return std::min(at, raw.size());
}

}  // namespace gwconf::tool
