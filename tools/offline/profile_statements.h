#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/base/failure.h"
#include "tools/offline/facts.h"

namespace gwconf::tool {

/// What the lines of a profile say, before anything is made of it. Paths are below the root.
struct ProfileStatements {
  /// A path that a line names.
  struct Place {
    std::string path;
    std::size_t line = 0;
  };

  /// The type that a parameter has instead of the standard's.
  struct Type {
    Place place;
    std::string text;
  };

  /// What the device has beside the standard.
  struct Addition {
    enum class Kind { kObject, kParameter, kCounter };

    Kind kind = Kind::kObject;
    Place place;  ///< of a counter: its table
    bool writable = false;
    std::string type;  ///< of a parameter
    std::string text;  ///< the default of a parameter, may be empty; the name of a counter
  };

  /// What a line says about all places of the tree that its path covers.
  struct Rule {
    Place place;
    std::string text;
    std::vector<int> rows;  ///< of a line with instances
    bool used = false;      ///< some place of the tree was covered
  };
  /// By the path in model form, each in the order of the profile.
  using Rules = std::map<std::string, std::vector<Rule>, std::less<>>;

  /// What a line can say about a parameter: its default, its getter, its notification.
  enum class Verb { kSet, kLive, kNotify };

  /// The newest version of each data model that the device knows.
  std::map<std::string, std::vector<int>, std::less<>> since;
  std::vector<Place> objects;
  std::vector<Place> trees;
  std::vector<Place> without;
  std::vector<Place> with;
  std::vector<Addition> additions;
  std::vector<Type> types;
  Rules instances;
  std::array<Rules, 3> assignments;

  [[nodiscard]] Rules& rules_of(Verb verb) { return assignments[static_cast<std::size_t>(verb)]; }
};

/// Reads a profile. Throws Failure: kWrongUse when the file cannot be read, kRefused for a line
/// that is malformed or that asks the facts for what they do not have.
[[nodiscard]] ProfileStatements read_profile(const Facts& facts, const std::string& file);

/// The complaint about a line.
[[nodiscard]] Failure refused_line(const std::string& file, std::size_t line,
                                   const std::string& complaint);

}  // namespace gwconf::tool
