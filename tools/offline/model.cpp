#include <filesystem>
#include <iostream>
#include <optional>

#include "core/number.h"
#include "core/owned_text.h"
#include "platform/services.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"
#include "tools/offline/profile.h"
#include "tools/offline/text.h"
#include "tools/offline/verbs.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// An attribute as the daemon's own writer quotes it.
[[nodiscard]] std::string attribute(std::string_view name, const std::string& value) {
  const OwnedText encoded = OwnedText::adopt(string_encode('"', value.c_str()));
  if (!encoded) throw std::bad_alloc{};
  return ' ' + std::string{name} + '=' + encoded.c_str();
}

/// Whether a path of the tree leads through a row.
[[nodiscard]] bool is_in_row(std::string_view path) {
  for (std::size_t at = 0; at < path.size(); at = path.find('.', at) + 1)
    if (path[at] >= '1' && is_digit(path[at])) return true;
  return false;
}

class Document {
 public:
  explicit Document(Profile& profile) : profile_{profile} {}

  std::string render() {
    line(0, R"(<?xml version="1.0" encoding="UTF-8"?>)");
    line(0, "<!-- Factory defaults, rendered from " +
                std::filesystem::path{profile_.file()}.filename().string() + ". -->");
    line(0, "<" + std::string{kTagDataModel} + ">");
    add_object(profile_.root(), std::string{kRootSegment}, "", 1, false);
    line(0, "</" + std::string{kTagDataModel} + ">");
    profile_.require_all_used();
    return std::move(text_);
  }

 private:
  void line(std::size_t depth, std::string_view content) {
    text_.append(2 * depth, ' ').append(content) += '\n';
  }

  void open(std::size_t depth, const std::string& name, bool writable) {
    line(depth, "<" + std::string{kTagObject} + attribute(kAttrName, name) +
                    attribute(kAttrType, kTypeObject) +
                    attribute(kAttrWritable, writable ? "1" : "0") + '>');
  }

  void close(std::size_t depth) { line(depth, "</" + std::string{kTagObject} + ">"); }

  /// One object; `path` is its own, below the root.
  void add_object(const ModelObject& object, const std::string& name, const std::string& path,
                  std::size_t depth, bool writable) {
    open(depth, name, writable);
    std::map<std::string, std::size_t, std::less<>> counts;
    for (const ModelObject* child : object.children) {
      const std::string below = path + std::string{own_name(child->path)};
      for (const std::string& counter : child->counters)
        counts[counter] = profile_.rows(*child, below).size();
    }
    for (const ModelParameter& parameter : object.parameters) {
      const auto count = counts.find(parameter.name);
      add_parameter(
          parameter, path + parameter.name, depth + 1,
          count == counts.end() ? std::nullopt : std::optional{std::to_string(count->second)});
    }
    for (const ModelObject* child : object.children) {
      const std::string child_name{own_name(child->path)};
      if (child->is_table())
        add_table(*child, child_name, path + child_name, depth + 1);
      else
        add_object(*child, child_name, path + child_name, depth + 1, child->writable);
    }
    close(depth);
  }

  /// One table. New rows are copied from the chain of templates that starts at the top, so rows
  /// carry no templates of their own.
  void add_table(const ModelObject& table, const std::string& name, const std::string& path,
                 std::size_t depth) {
    open(depth, name, table.writable);
    std::vector<int> numbers = profile_.rows(table, path);
    if (!is_in_row(path)) numbers.insert(numbers.begin(), 0);
    for (const int number : numbers) {
      const std::string row = std::to_string(number) + '.';
      add_object(table, row, path + row, depth + 1, true);
    }
    close(depth);
  }

  void add_parameter(const ModelParameter& parameter, const std::string& path, std::size_t depth,
                     const std::optional<std::string>& count) {
    const std::string* set = profile_.text(Profile::Verb::kSet, path);
    const std::string* notification = profile_.text(Profile::Verb::kNotify, path);
    const std::string* getter = profile_.text(Profile::Verb::kLive, path);
    std::string element = "<" + std::string{kTagParameter} + attribute(kAttrName, parameter.name) +
                          attribute(kAttrType, parameter.type) +
                          attribute(kAttrValue, escaped(count ? *count
                                                        : set ? *set
                                                              : parameter.default_value)) +
                          attribute(kAttrWritable, parameter.writable ? "1" : "0");
    if (notification) element += attribute(kAttrNotification, *notification);
    if (!parameter.enumeration.empty())
      element += attribute(kAttrEnumeration, escaped(parameter.enumeration));
    if (getter) element += attribute(kAttrFunction, *getter);
    line(depth, element + "/>");
  }

  Profile& profile_;
  std::string text_;
};

struct ModelOptions {
  std::string profile;
  std::string facts;   ///< empty for the usual file
  std::string output;  ///< empty for standard output
};

/// The same input gives the same bytes.
[[nodiscard]] Exit model(const Session& session, const ModelOptions& options) {
  const Facts facts{facts_file(options.facts)};
  Profile profile{facts, options.profile};
  const std::string text = Document{profile}.render();
  Json document{{"profile", options.profile}};
  if (options.output.empty())
    document["xml"] = text;
  else
    document["file"] = options.output;
  document["bytes"] = text.size();

  if (!options.output.empty()) write_file(options.output, text, Privacy::kEverybody);
  if (session.output.json())
    session.output.document(document);
  else if (options.output.empty())
    std::cout << text;
  return Exit::kDone;
}

}  // namespace

void add_model(VerbList& verbs) {
  std::shared_ptr<ModelOptions> options;
  CLI::App* verb =
      verbs.add("model", "Render a device profile to factory defaults",
                "gwctl model models/home-gateway.profile -o home-gateway.xml", model, &options);
  verb->add_option("PROFILE", options->profile, "The device's profile")->required();
  verb->add_option("--facts", options->facts, kFactsHelp);
  verb->add_option("-o,--output", options->output, "The file to write (else standard output)");
}

}  // namespace gwconf::tool
