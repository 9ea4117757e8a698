// Whole configurations on their way out and back again, over the sample model and many random
// changes.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/counter.h"
#include "core/path.h"
#include "core/paths.h"
#include "daemon/startup.h"
#include "platform/services.h"
#include "protocol/limits.h"
#include "tests/rpc/request_fixture.h"
#include "tests/support/capture.h"
#include "tests/support/sandbox.h"
#include "xml/loader.h"
#ifdef GWCONF_TEST_DOM
#include <memory>
#include <upnp/ixml.h>

#include "xml/dom_loader.h"
#include "xml/dom_writer.h"
#endif

namespace gwconf {
namespace {

using test::read_file;
using test::Reply;
using test::serve;
using test::write_file;

const std::string kRoot = "InternetGatewayDevice.";

/// A table of the live tree, templates and what lies in them left out.
struct Table {
  std::string path;
  std::vector<int> numbers;
  std::vector<bool> added;  ///< by number: whether the instance is the user's
};

std::string model_of(std::string path) {
  path.resize(kPathBufferSize);
  CM_CORE_GetModelUri(path.data());
  return path.c_str();
}

bool exists(const std::string& path) {
  Node* node = nullptr;
  return CM_CORE_GetObjNodeByUri(path, &node) == CM_OK;
}

struct Survey {
  std::vector<std::string> objects;
  std::vector<std::string> parameters;  ///< but for counters, which are the tables' own
  std::vector<Table> tables;

  Survey() { look_at(cml_root, kRoot); }

 private:
  void look_at(const Node* node, const std::string& path) {
    objects.push_back(path);
    for (const Parameter* param = node->params; param; param = param->next)
      if (!param->name.view().ends_with(kNumberOfEntries))
        parameters.push_back(path + param->name.get());
    // In an instance "0." finds the template of its own table: a segment may be repeated.
    if (CM_CORE_CheckIfInstance(node->name.view()) != CM_OK && exists(model_of(path + "0."))) {
      Table table{path, {}, {}};
      for (const Node* row = node->children; row; row = row->next) {
        const std::int32_t number = CM_UTL_GetInstanceNumber(row->name.view());
        if (number < 1) continue;
        table.numbers.push_back(number);
        table.added.push_back(has(*row, kUserSet));
      }
      tables.push_back(table);
    }
    for (const Node* child = node->children; child; child = child->next)
      if (child->name.view() != "0." && child->name.view() != "DeletedDefaultInstances.")
        look_at(child, path + child->name.get());
  }
};

/// Random changes over the request interface, of the kinds that saved settings carry:
///
/// - Values of parameters. Not of counters, which are never saved and follow their tables, and not
///   in templates, whose new values would reach instances that were added before.
/// - Attribute bits that the export does not show and the tree does not act on, and the user-set
///   bit. The others stay those of the defaults when settings are laid over them.
/// - Real instances that are added, deleted and moved, and in tables without default instances
///   also inserted and renumbered: a renumbered default instance is not the user's, and would
///   not be saved. Virtual instances are never saved.
/// - No instance gets the number of a default one again: it would come back as the default one.
/// - Default instances that are deleted are recorded, and go again at a start; not after a restore.
class RandomChanges {
 public:
  RandomChanges(unsigned seed, std::string_view alphabet) : random_{seed}, alphabet_{alphabet} {
    for (const Table& table : Survey{}.tables)
      for (const int number : table.numbers) {
        default_instances_.insert(table.path + std::to_string(number) + ".");
        tables_with_defaults_.insert(table.path);
      }
  }

  void make(int count, bool deletes_defaults) {
    for (int i = 0; i < count; ++i) {
      const Survey tree;
      switch (pick(10)) {
        case 0:
        case 1:
          add(tree);
          break;
        case 2:
          insert(tree);
          break;
        case 3:
          rearrange(tree);
          break;
        case 4:
          remove(tree);
          break;
        case 5:
          move(tree);
          break;
        case 6:
          set_bit(tree);
          break;
        case 7:
          if (deletes_defaults) remove_default(tree);
          break;
        default:
          set_value(tree);
      }
    }
  }

  /// How many changes of each command took place.
  [[nodiscard]] int made(int command) const { return made_[static_cast<std::size_t>(command)]; }

 private:
  std::size_t pick(std::size_t bound) { return random_() % bound; }

  template <typename T>
  const T& pick_of(const std::vector<T>& all) {
    return all[pick(all.size())];
  }

  void request(const std::vector<std::string>& texts) {
    const Reply reply = serve(texts);
    // A value may be what it was.
    EXPECT_TRUE(reply.result == 0 || (texts[0] == "0" && reply.result == 1)) << texts[1] << reply;
    ++made_[static_cast<std::size_t>(std::stoi(texts[0]))];
  }

  std::string value() {
    std::string text(pick(120), '\0');
    for (char& c : text)
      c = alphabet_[pick(alphabet_.size())];
    if (pick(4) == 0) text += "\xC3\xA4\xE2\x82\xAC";
    return text;
  }

  [[nodiscard]] bool has_defaults(const Table& table) const {
    return tables_with_defaults_.contains(table.path);
  }

  [[nodiscard]] bool is_free(const Table& table, int number) const {
    return std::find(table.numbers.begin(), table.numbers.end(), number) == table.numbers.end() &&
           !default_instances_.contains(table.path + std::to_string(number) + ".");
  }

  void add(const Survey& tree) {
    const Table& table = pick_of(tree.tables);
    const int number = 1 + static_cast<int>(pick(12));
    if (table.numbers.size() < 6 && is_free(table, number))
      request({"10", table.path, std::to_string(number)});
  }

  /// A table all of whose instances are the user's, without any if need be.
  const Table& table_without_defaults(const Survey& tree, bool filled) {
    for (int tries = 0; tries < 50; ++tries) {
      const Table& table = pick_of(tree.tables);
      if (!has_defaults(table) && !(filled && table.numbers.empty())) return table;
    }
    static const Table kNone{"", {}, {}};
    return kNone;
  }

  void insert(const Survey& tree) {
    const Table& table = table_without_defaults(tree, pick(2) == 0);
    if (!table.path.empty() && table.numbers.size() < 6)
      request({"14", table.path, std::to_string(1 + pick(4))});
  }

  void rearrange(const Survey& tree) {
    const Table& table = table_without_defaults(tree, true);
    // Without an instance 1 or 2 there is nothing to begin with.
    if (!table.numbers.empty() && table.numbers[0] <= 2)
      request({"18", "1", std::to_string(pick(3)), table.path});
  }

  /// An instance of the user's, or -1.
  int added_one(const Table& table) {
    if (table.numbers.empty()) return -1;
    const std::size_t row = pick(table.numbers.size());
    return table.added[row] ? table.numbers[row] : -1;
  }

  void remove(const Survey& tree) {
    const Table& table = pick_of(tree.tables);
    if (const int number = added_one(table); number > 0)
      request({"12", table.path, std::to_string(number)});
  }

  void remove_default(const Survey& tree) {
    const Table& table = pick_of(tree.tables);
    if (table.numbers.empty()) return;
    const std::size_t row = pick(table.numbers.size());
    const std::string path = table.path + std::to_string(table.numbers[row]) + ".";
    // A record of something below it stands for it already, and would bring it back alone.
    const auto below = deleted_.lower_bound(path);
    if (table.added[row] || (below != deleted_.end() && below->starts_with(path))) return;
    request({"12", table.path, std::to_string(table.numbers[row])});
    deleted_.insert(path);
  }

  void move(const Survey& tree) {
    for (int tries = 0; tries < 50; ++tries) {
      const Table& from = pick_of(tree.tables);
      const Table& to = pick_of(tree.tables);
      const int number = added_one(from);
      if (number < 1 || from.path == to.path || model_of(from.path) != model_of(to.path) ||
          !is_free(to, number))
        continue;
      request({"21", to.path, from.path + std::to_string(number) + "."});
      return;
    }
  }

  void set_bit(const Survey& tree) {
    if (pick(2) == 0) {
      request({"1", pick_of(tree.parameters), "3,1"});
      return;
    }
    const std::vector<std::string> bits = {"2", "5", "8", "9", "10", "11", "12", "13", "14", "15"};
    request({"1", pick_of(pick(2) == 0 ? tree.parameters : tree.objects),
             pick_of(bits) + (pick(2) == 0 ? ",0" : ",1")});
  }

  void set_value(const Survey& tree) { request({"0", pick_of(tree.parameters), value()}); }

  std::minstd_rand random_;
  std::string_view alphabet_;
  std::set<std::string> default_instances_;
  std::set<std::string> tables_with_defaults_;
  std::set<std::string> deleted_;
  std::vector<int> made_ = std::vector<int>(34);
};

constexpr std::string_view kText =
    "abcdefghijklmnopqrstuvwxyzABCXYZ0123456789 &<>\"'\\%;#,.:-_/()[]{}!?=+*~|@$";
constexpr std::string_view kTextWithLines = "abcXYZ019 &<>\"'\\%;#,.:-_/()[]=+*\n\t\r";

/// The two texts are the same; shows the first line where they are not.
void expect_same(const std::string& after, const std::string& before) {
  if (after == before) return;
  const auto differ = std::mismatch(after.begin(), after.end(), before.begin(), before.end());
  const auto line_at = [](const std::string& text, std::ptrdiff_t at) {
    const auto place = static_cast<std::size_t>(at);
    const std::size_t start = place == 0 ? 0 : text.rfind('\n', place - 1) + 1;
    return text.substr(start, text.find('\n', place) - start);
  };
  const std::ptrdiff_t at = differ.first - after.begin();
  ADD_FAILURE() << "before: " << line_at(before, at) << "\nafter:  " << line_at(after, at);
}

std::string export_of(const std::string& path) {
  const Reply reply = serve({"31", path});
  EXPECT_EQ(reply.result, 0) << path;
  return reply.answers.at(0);
}

class RoundTrip : public test::RequestTest, public ::testing::WithParamInterface<unsigned> {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    const std::string model = read_file(GWCONF_TEST_MODEL);
    write_file(paths().defaults, model);
    load_xml(model);
    defaults = export_of(kRoot);
  }

  const std::string file = sandbox("/tmp/saved.xml");
  std::string defaults;
};

TEST_P(RoundTrip, ARestoreGivesWhatWasSaved) {
  RandomChanges changes{GetParam(), kTextWithLines};
  for (int round = 0; round < 3; ++round) {
    changes.make(150, false);
    const std::string before = export_of(kRoot);
    ASSERT_NE(before, defaults);
    ASSERT_EQ(serve({"29", file}), (Reply{{}, 0}));
    const std::string saved = read_file(file);
    ASSERT_EQ(serve({"20"}), (Reply{{}, 0}));
    expect_same(export_of(kRoot), defaults);
    ASSERT_EQ(serve({"30", file}), (Reply{{}, 0}));
    expect_same(export_of(kRoot), before);
    // Saved again it is the same file.
    ASSERT_EQ(serve({"29", file}), (Reply{{}, 0}));
    expect_same(read_file(file), saved);
  }
  for (const int command : {0, 1, 10, 12, 14, 18, 21})
    EXPECT_GT(changes.made(command), 0) << command;
}

TEST_P(RoundTrip, AStartGivesWhatWasCommitted) {
  RandomChanges changes{GetParam() + 1000, kTextWithLines};
  for (int round = 0; round < 3; ++round) {
    changes.make(150, true);
    const std::string before = export_of(kRoot);
    ASSERT_EQ(serve({"19"}), (Reply{{}, 0}));
    release_tree();
    static_cast<void>(test::stdout_of([] { ASSERT_EQ(start_up(nullptr), 0); }));
    expect_same(export_of(kRoot), before);
    // The backup alone gives the same.
    std::filesystem::remove(paths().primary_partition);
    release_tree();
    static_cast<void>(test::stdout_of([] { ASSERT_EQ(start_up(nullptr), 0); }));
    expect_same(export_of(kRoot), before);
  }
  for (const int command : {0, 1, 10, 12, 14, 18, 21})
    EXPECT_GT(changes.made(command), 0) << command;
  EXPECT_TRUE(exists("InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1."));
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTrip, ::testing::Range(1U, 5U));

// --- A document of the XML library ---

#ifdef GWCONF_TEST_DOM

struct FreeDocument {
  void operator()(IXML_Document* document) const { ixmlDocument_free(document); }
};
using DocumentPtr = std::unique_ptr<IXML_Document, FreeDocument>;

/// What an element carries of each record below `node`, a line each. It tells no missing value from
/// the empty one, and the loader binds no getter.
void append_records(const Node* node, const std::string& path, std::vector<std::string>* lines) {
  const auto bits_of = [](const auto& record) {
    std::string bits;
    for (const AttributeBit bit : {kWritable, kDisabled, kPassiveNotification, kActiveNotification})
      bits += has(record, bit) ? '1' : '0';
    return bits;
  };
  for (const Parameter* param = node->params; param; param = param->next)
    lines->push_back(path + param->name.get() + " " + bits_of(*param) + " " +
                     std::to_string(param->type) + " " + std::to_string(param->min) + " " +
                     std::to_string(param->max) + " {" + param->enumeration.c_str() +
                     "} = " + param->value.c_str());
  for (const Node* child = node->children; child; child = child->next) {
    const std::string object = path + child->name.get();
    lines->push_back(object + " " + bits_of(*child));
    append_records(child, object, lines);
  }
}

TEST_P(RoundTrip, ADocumentOfTheXmlLibraryGivesTheSameTree) {
  RandomChanges changes{GetParam() + 3000, kText};
  changes.make(300, true);
  const DocumentPtr document{ixmlDocument_createDocument()};
  IXML_Element* element = ixmlDocument_createElement(document.get(), "VANTREL_CML");
  ASSERT_EQ(ixmlNode_appendChild(&document->n, &element->n), IXML_SUCCESS);
  ASSERT_EQ(CM_RAM2XML_Do(cml_root, element, document.get()), 0);
  DOMString text = ixmlPrintDocument(document.get());
  const DocumentPtr parsed{ixmlParseBuffer(text)};
  ixmlFreeDOMString(text);
  ASSERT_NE(parsed, nullptr);

  const NodePtr loaded = new_node();
  ASSERT_EQ(CM_XML2RAM_Default(loaded.get(), ixmlNode_getFirstChild(&parsed->n)), CM_OK);
  std::vector<std::string> before;
  append_records(cml_root, "", &before);
  std::vector<std::string> after;
  append_records(loaded.get(), "", &after);
  EXPECT_GT(before.size(), 1000u);
  EXPECT_EQ(after, before);
}

#endif

// --- The export, read by another's parser ---

/// The lines that read_export.py makes of exports; its failure is the test's.
std::vector<std::string> read_exports(const std::vector<std::string>& files) {
  std::string command = "'" GWCONF_TEST_PYTHON "' '" GWCONF_TEST_READ_EXPORT "'";
  for (const std::string& file : files)
    command += " '" + file + "'";
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  std::string text;
  char part[65536];
  while (const std::size_t got = std::fread(part, 1, sizeof part, pipe))
    text.append(part, got);
  EXPECT_EQ(pclose(pipe), 0) << text.substr(text.size() - std::min<std::size_t>(text.size(), 2000));
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
    lines.push_back(text.substr(at, text.find('\n', at) - at));
  return lines;
}

/// The same lines from the tree: every parameter outside templates, with its value as a client
/// reads it (of a live one, the stored value).
void append_lines(const Node* node, const std::string& path, std::vector<std::string>* lines) {
  for (const Parameter* param = node->params; param; param = param->next) {
    const std::string parameter = path + param->name.get();
    if (param->getter) {
      char value[kMessageMax] = {};
      EXPECT_EQ(util_xml_decoder(value, param->value.c_str()), 0);
      lines->push_back(parameter + "\t" + value);
    } else {
      lines->push_back(parameter + "\t" + serve({"2", parameter}).answers.at(0));
    }
  }
  for (const Node* child = node->children; child; child = child->next)
    if (CM_UTL_GetInstanceNumber(child->name.view()) != 0)
      append_lines(child, path + child->name.get(), lines);
}

TEST_P(RoundTrip, EveryExportIsWellFormedAndTellsTheValues) {
  RandomChanges changes{GetParam() + 2000, kText};
  changes.make(300, true);
  std::vector<std::string> files;
  for (const std::string& object : Survey{}.objects) {
    files.push_back(sandbox("/tmp/export" + std::to_string(files.size())));
    write_file(files.back(), export_of(object));
  }
  const Survey tree;
  for (int i = 0; i < 100; ++i) {
    const Reply reply = serve({"32", tree.parameters[static_cast<std::size_t>(i) * 7]});
    ASSERT_EQ(reply.result, 0);
    files.push_back(sandbox("/tmp/export" + std::to_string(files.size())));
    // What stands around an object's export stands around a parameter's; the reader wants it so.
    write_file(files.back(), reply.answers.at(0));
  }
  EXPECT_GT(read_exports(files).size(), 1000u);
  std::vector<std::string> expected;
  append_lines(cml_root, kRoot, &expected);
  EXPECT_EQ(read_exports({files[0]}), expected);
}

}  // namespace
}  // namespace gwconf
