#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gwconf::tool {

/// One object, table or parameter of the standard, the columns of models/tr098_facts.csv that are
/// used.
struct Fact {
  enum class Kind { kObject, kTable, kParameter };

  std::string path;  ///< below the root, in model form: "LANDevice.{i}.Hosts."
  Kind kind = Kind::kParameter;
  std::string type;  ///< the standard's own name for it
  std::string min;
  std::string max;
  std::string max_length;
  std::string enumeration;
  bool writable = false;
  std::string default_value;
  std::string since_version;
  bool is_list = false;
  std::string status;           ///< deprecated, obsoleted, or empty
  std::string count_parameter;  ///< of a table

  /// The items of its enumeration, when it is an enumeration to the daemon: of a list each value
  /// holds several.
  [[nodiscard]] std::string_view allowed_values() const {
    return is_list ? std::string_view{} : std::string_view{enumeration};
  }
};

/// The facts of the standard, in its order.
class Facts {
 public:
  /// Throws Failure: kWrongUse when the file cannot be read, kRefused when it is no such table.
  explicit Facts(const std::string& file);

  [[nodiscard]] const std::vector<Fact>& all() const { return facts_; }
  /// The fact at a path in model form, below the root; null when there is none.
  [[nodiscard]] const Fact* find(std::string_view path) const;
  /// The fact about a full path of a tree, the root's segment included; null when there is
  /// none.
  [[nodiscard]] const Fact* at(std::string_view full_path) const;

 private:
  std::vector<Fact> facts_;
  std::map<std::string, std::size_t, std::less<>> by_path_;
};

/// The facts file: the one that is asked for, else the one that GWCONF_FACTS names, else the
/// installed one, else the one in the program's own folder, as a build leaves it. The file
/// need not exist.
[[nodiscard]] std::string facts_file(const std::string& asked);

/// The help of the option that asks for one.
inline constexpr const char* kFactsHelp =
    "The standard's facts (else GWCONF_FACTS, else the installed file)";

/// The type text of a parameter of the standard as the daemon knows types.
[[nodiscard]] std::string type_text(const Fact& parameter);

/// A version of a data model. "VoiceService:1.0" names both; the gateway's own model has no name.
struct ModelVersion {
  std::string_view model;
  std::vector<int> numbers;  ///< compare as versions do: 1.10 is newer than 1.9
};

/// The version that a text names, which must outlive it; nothing when it names none.
[[nodiscard]] std::optional<ModelVersion> model_version(std::string_view text);

/// The object that holds a parameter, an object or a table of the standard.
[[nodiscard]] std::string_view holder_of(std::string_view model_path);
/// The last segment of an object path, with its dot; for a table the table's own.
[[nodiscard]] std::string_view own_name(std::string_view model_path);
/// The last segment of a parameter path.
[[nodiscard]] std::string_view parameter_name(std::string_view path);

/// Every segment that is a number, the template's included, becomes "{i}".
[[nodiscard]] std::string model_form(std::string_view path);

/// The root's segment, which profiles and facts leave out.
inline constexpr std::string_view kRootSegment = "InternetGatewayDevice.";
inline constexpr std::string_view kAnyRow = "{i}.";

}  // namespace gwconf::tool
