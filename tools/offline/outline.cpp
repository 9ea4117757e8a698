#include "tools/offline/outline.h"

#include <algorithm>
#include <set>

#include "core/path.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// What the daemon's loader makes of a tag; kClose ends whatever is open.
enum class TagKind { kObject, kParameter, kClose, kIgnored };

[[nodiscard]] TagKind tag_kind(const ScannedItem& item) {
  if (same_word(item.name, kTagObject)) return TagKind::kObject;
  if (same_word(item.name, kTagParameter)) return TagKind::kParameter;
  if (!item.attributes.empty() && item.attributes.front().name == kAttrName)
    return item.attributes.front().value.ends_with('.') ? TagKind::kObject : TagKind::kParameter;
  return item.name == kTagElement ? TagKind::kClose : TagKind::kIgnored;
}

/// The steps of the daemon's loader, one item after the other. The cursor is the object worked on:
/// open, or closed and waiting for a sibling or its parent's end.
class Outliner {
 public:
  Outline run(const Scan& scan) {
    for (const ScannedItem& item : scan.items)
      take(item);
    if (!scan.fault) finish(scan);
    return std::move(outline_);
  }

 private:
  static constexpr std::size_t kNone = Element::kNone;

  void note(Rule rule, const ScannedItem& item, std::string message, bool stops) {
    outline_.findings.push_back({.rule = rule,
                                 .at = item.at,
                                 .length = item.end - item.at,
                                 .message = std::move(message),
                                 .stops = stops});
  }

  [[nodiscard]] Element& element(std::size_t index) { return outline_.elements[index]; }

  [[nodiscard]] std::string name_of(std::size_t index) const {
    return in_quotes(outline_.elements[index].name, 80);
  }

  void take(const ScannedItem& item) {
    if (item.kind == kXmlHead || item.kind == kXmlComment) return;
    const bool begins = (item.kind & kXmlBegin) != 0;
    const bool ends = (item.kind & kXmlEnd) != 0;
    switch (tag_kind(item)) {
      case TagKind::kObject:
        if (begins) open_object(item);
        if (ends) close_object(item);
        break;
      case TagKind::kParameter:
        if (begins) open_parameter(item);
        if (ends) close_parameter(item);
        break;
      case TagKind::kClose:
        if (begins)
          note(Rule::kTagIgnored, item,
               "the daemon passes over an Element whose first attribute is not its name", false);
        else if (open_parameter_)
          close_parameter(item);
        else
          close_object(item);
        break;
      case TagKind::kIgnored:
        ignore_tag(item);
        break;
    }
  }

  /// Only the two root tags are there to be passed over.
  void ignore_tag(const ScannedItem& item) {
    if (item.name == kTagDataModel || item.name == kTagCml) return;
    if (!ignored_.insert(item.name).second) return;
    note(Rule::kTagIgnored, item, "the daemon passes over the tag " + std::string{item.name},
         false);
  }

  void open_object(const ScannedItem& item) {
    if (open_parameter_) {
      note(Rule::kObjectInParameter, item, "an object cannot stand inside a parameter", true);
      open_parameter_ = nullptr;
      ++given_up_;
    }
    const std::size_t parent = parent_for(item);
    if (parent != kNone) element(parent).has_children = true;
    const ScannedAttribute* name = item.find(kAttrName);
    Element object{&item, true, parent, name ? name->value : std::string_view{}, 0, false};
    const std::size_t around = parent == kNone ? 0 : element(parent).path_length;
    object.path_length = around + std::max<std::size_t>(object.name.size(), 1);
    check_object(item, object);
    cursor_ = outline_.elements.size();
    closed_ = false;
    outline_.elements.push_back(object);
  }

  /// The object around one that begins; kNone for a root.
  [[nodiscard]] std::size_t parent_for(const ScannedItem& item) {
    if (cursor_ == kNone) return kNone;
    const std::size_t parent = closed_ ? element(cursor_).parent : cursor_;
    if (parent == kNone && !second_root_) {
      second_root_ = true;
      note(Rule::kSecondRoot, item,
           "a second root object; the first, " + name_of(0) + ", is closed already", true);
    }
    return parent;
  }

  void check_object(const ScannedItem& item, const Element& object) {
    for (const char* attribute : {kAttrValue, kAttrEnumeration})
      if (item.find(attribute))
        note(Rule::kObjectWithValue, item, std::string{"an object has no "} + attribute, true);
    if (object.name.size() > kSegmentMax)
      note(Rule::kSegmentTooLong, item,
           "the name has " + std::to_string(object.name.size()) +
               " characters with its dot; at most " + std::to_string(kSegmentMax) +
               " can be looked up",
           true);
    check_path(item, object.path_length);
  }

  void check_path(const ScannedItem& item, std::size_t length) {
    if (length <= kPathMax) return;
    note(Rule::kPathTooLong, item,
         "the path has " + std::to_string(length) + " characters; at most " +
             std::to_string(kPathMax) + " can be looked up",
         true);
  }

  void open_parameter(const ScannedItem& item) {
    if (cursor_ == kNone) {
      note(Rule::kParameterOutside, item, "a parameter needs an object around it", true);
      open_parameter_ = &item;
      return;
    }
    if (open_parameter_) {
      note(Rule::kParameterInParameter, item, "the parameter before this one is still open", true);
      ++given_up_;
    }
    std::size_t holder = cursor_;
    if (closed_) holder = behind_child(item);
    const ScannedAttribute* name = item.find(kAttrName);
    Element parameter{&item, false, holder, name ? name->value : std::string_view{}, 0, false};
    parameter.path_length = element(holder).path_length + parameter.name.size();
    check_path(item, parameter.path_length);
    outline_.elements.push_back(parameter);
    open_parameter_ = &item;
  }

  /// A parameter behind a closed object is the loader's only as long as that object is empty, and
  /// then it becomes that object's. Returns the object that it counts for.
  [[nodiscard]] std::size_t behind_child(const ScannedItem& item) {
    const Element& child = element(cursor_);
    const bool refused = child.has_children;
    const std::string place =
        child.parent == kNone ? "behind the root object" : "behind a child object";
    note(Rule::kParameterBehindChild, item,
         refused ? "a parameter " + place + " is refused: parameters come first"
                 : "a parameter " + place + " becomes a parameter of that object, " +
                       name_of(cursor_) + ": parameters come first",
         refused);
    return refused && child.parent != kNone ? child.parent : cursor_;
  }

  void close_parameter(const ScannedItem& item) {
    if (!open_parameter_ && given_up_ > 0)
      --given_up_;
    else if (!open_parameter_)
      note(Rule::kExtraEnd, item, "no parameter is open here", true);
    open_parameter_ = nullptr;
  }

  void close_object(const ScannedItem& item) {
    if (open_parameter_) {
      note(Rule::kParameterNotClosed, *open_parameter_,
           "the parameter is still open where its object ends", true);
      open_parameter_ = nullptr;
    }
    if (cursor_ == kNone || (closed_ && element(cursor_).parent == kNone)) {
      note(Rule::kExtraEnd, item, "no object is open here", true);
      return;
    }
    if (closed_) cursor_ = element(cursor_).parent;
    closed_ = true;
  }

  void finish(const Scan& scan) {
    if (open_parameter_) {
      const bool complete = cursor_ == 0 && closed_;
      note(Rule::kParameterNotClosed, *open_parameter_, "the parameter is not closed", !complete);
    }
    if (outline_.elements.empty()) return note_no_object(scan);
    std::size_t open = closed_ ? element(cursor_).parent : cursor_;
    for (; open != kNone; open = element(open).parent)
      note(Rule::kObjectNotClosed, *element(open).item, "the object is not closed", true);
  }

  /// Says so unless something else keeps the text from loading.
  void note_no_object(const Scan& scan) {
    const auto stops = [](const Finding& finding) { return finding.stops; };
    if (std::any_of(outline_.findings.begin(), outline_.findings.end(), stops)) return;
    outline_.findings.push_back({.rule = Rule::kNoObject,
                                 .at = scan.items.empty() ? 0 : scan.items.back().at,
                                 .message = "the file holds no object",
                                 .stops = true});
  }

  Outline outline_;
  std::size_t cursor_ = kNone;
  bool closed_ = true;
  const ScannedItem* open_parameter_ = nullptr;
  int given_up_ = 0;  ///< parameters taken for closed, whose end tags may still come
  bool second_root_ = false;
  std::set<std::string_view> ignored_;
};

}  // namespace

std::string Outline::path_of(std::size_t element) const {
  std::vector<std::string_view> segments;
  std::size_t length = 0;
  for (; element != Element::kNone; element = elements[element].parent) {
    segments.push_back(elements[element].name);
    length += segments.back().size();
  }
  std::string path;
  path.reserve(length);
  for (auto segment = segments.rbegin(); segment != segments.rend(); ++segment)
    path += *segment;
  return path;
}

Outline outline_of(const Scan& scan) {
  return Outliner{}.run(scan);
}

Verdict verdict_of(const Scan& scan, const Outline& outline) {
  Verdict verdict;
  const auto consider = [&verdict](const Finding& finding) {
    if (!finding.stops || (!verdict.loads && verdict.reason.at <= finding.at)) return;
    verdict = {false, finding};
  };
  for (const Finding& finding : outline.findings)
    consider(finding);
  if (scan.fault) consider(*scan.fault);
  return verdict;
}

}  // namespace gwconf::tool
