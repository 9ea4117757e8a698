#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/offline/facts.h"

namespace gwconf::tool {

struct ModelParameter {
  std::string name;
  std::string type;
  std::string enumeration;
  bool writable = false;
  std::string default_value;
};

/// An object or a table of a device, in model form: its rows are alike.
struct ModelObject {
  std::string path;  ///< below the root: "LANDevice.{i}.Hosts."
  bool writable = false;
  std::vector<ModelParameter> parameters;
  std::vector<ModelObject*> children;
  std::vector<std::string> counters;  ///< of a table: the names of its counters

  [[nodiscard]] bool is_table() const { return path.ends_with(kAnyRow); }
  [[nodiscard]] ModelParameter* find(std::string_view name);
};

/// What one device makes of the standard, read from its profile; models/README.md tells the words.
/// Every operation throws Failure (kRefused) with file and line for a line that cannot be followed.
class Profile {
 public:
  /// `file` is read; `facts` must outlive the profile.
  Profile(const Facts& facts, const std::string& file);

  [[nodiscard]] const std::string& file() const { return file_; }
  [[nodiscard]] const ModelObject& root() const { return *objects_.at(""); }

  /// The numbers of the default rows of a table at a path of the tree, none in a template.
  [[nodiscard]] std::vector<int> rows(const ModelObject& table, std::string_view path);

  /// What the last line of a kind says about the parameter at a path of the tree; none when no line
  /// does.
  enum class Verb { kSet, kLive, kNotify };
  [[nodiscard]] const std::string* text(Verb verb, std::string_view path);

  /// Fails for the first line that neither of the two above ever found.
  void require_all_used() const;

 private:
  /// A line that covers places of the tree.
  struct Line {
    std::string path;
    std::string text;
    std::vector<int> rows;
    std::size_t number = 0;
    bool used = false;
  };
  using Lines = std::map<std::string, std::vector<Line>, std::less<>>;
  /// Paths that a line names, in the order of the profile.
  using Named = std::vector<std::pair<std::string, std::size_t>>;
  /// An object, a parameter or a counter of the device's own.
  struct Addition {
    std::size_t number = 0;
    std::string path;
    std::unique_ptr<ModelObject> object;
    ModelParameter parameter;
    bool counts = false;
  };

  [[noreturn]] void fail(const std::string& complaint, std::size_t number) const;
  [[noreturn]] void fail(const std::string& complaint) const { fail(complaint, number_); }

  void read(std::string_view text);
  void read_line(std::string_view line);
  void read_statement(std::string_view verb, const std::string& path, std::string_view text);
  void read_since(std::string_view text);
  void read_param(const std::string& path, std::string_view text);
  void read_instances(const std::string& path, std::string_view text);
  void require_fact(const std::string& path, bool parameters, bool objects) const;
  [[nodiscard]] bool is_writable(std::string_view verb, std::string_view access) const;

  void build();
  void build_objects();
  void build_parameters();
  void adopt(std::unique_ptr<ModelObject> child);
  void add(Addition& addition);
  [[nodiscard]] bool takes_object(const Fact& fact);
  [[nodiscard]] bool takes_parameter(const Fact& fact, const ModelObject& holder) const;
  [[nodiscard]] bool is_too_new_or_old(const Fact& fact) const;
  [[nodiscard]] ModelObject* find(std::string_view path) const;

  const Facts& facts_;
  std::string file_;
  std::string section_;
  std::size_t number_ = 0;  ///< of the line at hand

  std::map<std::string, std::vector<int>, std::less<>> since_;
  Named taken_;
  Named trees_;
  Named without_;
  Named with_;
  std::vector<Addition> additions_;
  std::vector<std::pair<Named::value_type, std::string>> types_;
  Lines instances_;
  Lines assignments_[3];
  std::map<std::string, std::vector<std::string>, std::less<>> counted_by_;

  std::map<std::string, std::unique_ptr<ModelObject>, std::less<>> objects_;
};

}  // namespace gwconf::tool
