#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tools/offline/rules.h"
#include "tools/offline/scan.h"

namespace gwconf::tool {

/// An object or a parameter of a scanned text, in the place where the daemon's loader puts it.
struct Element {
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  const ScannedItem* item = nullptr;
  bool is_object = false;
  std::size_t parent = kNone;  ///< the element around it
  std::string_view name;
  std::size_t path_length = 0;
  bool has_children = false;  ///< objects inside it
};

/// The nesting of a scanned text, which must outlive it. As far as the daemon's loader goes on, the
/// elements are its records in the order in which it makes them. Where that refuses the file, the
/// outline notes why and goes on as if the text was meant well.
struct Outline {
  std::vector<Element> elements;
  Findings findings;

  /// The full path of an element.
  [[nodiscard]] std::string path_of(std::size_t element) const;
};

[[nodiscard]] Outline outline_of(const Scan& scan);

/// What keeps the daemon's loader from loading the text, the first of it in the text; nothing when
/// it loads.
struct Verdict {
  bool loads = true;
  Finding reason;
};
[[nodiscard]] Verdict verdict_of(const Scan& scan, const Outline& outline);

}  // namespace gwconf::tool
