#include "tools/live/instances.h"

#include <algorithm>
#include <optional>

#include "tools/base/exported_tree.h"
#include "tools/base/path.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

/// How often a number that somebody else took first is replaced by the next.
constexpr int kTries = 10;

struct AddOptions {
  std::string table;
  std::optional<unsigned> number;  ///< else the one behind the greatest
  bool is_virtual = false;
};

struct InsertOptions {
  std::string table;
  unsigned number = 0;
  bool is_virtual = false;
};

struct DelOptions {
  std::string path;
};

struct RenumberOptions {
  std::string table;
  unsigned from = 1;
  unsigned count = 0;  ///< 0 for all
};

struct MoveOptions {
  std::string path;
  std::string new_parent;
};

/// Prints the number of a new instance. The document of a failure has it too.
Exit finish_added(const Session& session, const std::string& verb, const std::string& table,
                  unsigned number, int code) {
  Json fields = Json::object();
  if (number != 0) fields["number"] = number;
  const Exit exit = finish(session, verb, table, code, fields);
  if (!session.output.json()) session.output.line(std::to_string(number));
  return exit;
}

[[nodiscard]] int add_one(const Client& client, const std::string& table, unsigned number,
                          bool is_virtual) {
  return is_virtual ? client.add_virtual_instance(table, number)
                    : client.add_instance(table, number);
}

[[nodiscard]] Exit add(const Session& session, const AddOptions& options) {
  const std::string table = as_object(options.table);
  if (options.number)
    return finish_added(session, "add", table, *options.number,
                        add_one(session.client, table, *options.number, options.is_virtual));
  int code = GWCONF_EXISTS;
  unsigned chosen = 0;
  for (int tries = 0; code == GWCONF_EXISTS && tries < kTries; ++tries) {
    const Result<std::vector<unsigned>> taken = taken_numbers(session.client, table);
    code = taken.code;
    if (!taken) break;
    chosen = next_free(taken.value);
    code = add_one(session.client, table, chosen, options.is_virtual);
  }
  return finish_added(session, "add", table, chosen, code);
}

[[nodiscard]] Exit insert(const Session& session, const InsertOptions& options) {
  const std::string table = as_object(options.table);
  const int code = options.is_virtual
                       ? session.client.insert_virtual_instance(table, options.number)
                       : session.client.insert_instance(table, options.number);
  return finish_added(session, "insert", table, options.number, code);
}

[[nodiscard]] Exit del(const Session& session, const DelOptions& options) {
  const std::string row = as_object(options.path);
  const SplitPath place = split(row);
  if (const unsigned number = instance_number(place.segment); number > 0)
    return finish(session, "del", row, session.client.delete_instance(place.parent, number));
  // Any other object only goes when it is named as one, with its dot.
  return finish(session, "del", options.path, session.client.delete_node(options.path));
}

[[nodiscard]] Exit renumber(const Session& session, const RenumberOptions& options) {
  const std::string table = as_object(options.table);
  const int code = session.client.rearrange(table, options.from, options.count);
  Json fields = Json::object();
  if (session.output.json() && code == GWCONF_OK)
    if (const auto numbers = session.client.list_instances(table))
      fields["instances"] = numbers.value;
  return finish(session, "renumber", table, code, fields);
}

[[nodiscard]] Exit move(const Session& session, const MoveOptions& options) {
  const std::string parent = as_object(options.new_parent);
  const int code = session.client.move(parent, options.path);
  // The daemon has one code for both paths: the complaint is about the one that names nothing.
  const bool is_parent_missing =
      code == GWCONF_NOT_FOUND && session.client.get_attributes(parent).code == GWCONF_NOT_FOUND;
  return finish(session, "move", is_parent_missing ? parent : options.path, code,
                {{"parent", parent}});
}

[[nodiscard]] CLI::Range number_range() {
  return CLI::Range(1U, unsigned{GWCONF_INSTANCE_MAX});
}

void add_add(Registry& registry) {
  const auto [parser, options] =
      registry.add({"add", "Add an instance and print its number",
                    "add InternetGatewayDevice.Layer3Forwarding.Forwarding."},
                   add);
  parser.add_option("TABLE", options.table, "Table")->required();
  parser.add_option("NUMBER", options.number, "Number (else the one behind the greatest)")
      ->check(number_range());
  parser.add_flag("--virtual", options.is_virtual, "A virtual instance: never saved");
}

void add_insert(Registry& registry) {
  const auto [parser, options] =
      registry.add({"insert", "Add an instance in the place of another, which moves up",
                    "insert InternetGatewayDevice.Layer3Forwarding.Forwarding. 1"},
                   insert);
  parser.add_option("TABLE", options.table, "Table")->required();
  parser.add_option("NUMBER", options.number, "Number")->required()->check(number_range());
  parser.add_flag("--virtual", options.is_virtual, "A virtual instance: never saved");
}

void add_del(Registry& registry) {
  const auto [parser, options] =
      registry.add({"del", "Delete an instance, or an object with all below it",
                    "del InternetGatewayDevice.Layer3Forwarding.Forwarding.3."},
                   del);
  parser.add_option("PATH", options.path, "Instance or object")->required();
}

void add_renumber(Registry& registry) {
  const auto [parser, options] =
      registry.add({"renumber", "Close the gaps between instance numbers",
                    "renumber InternetGatewayDevice.Layer3Forwarding.Forwarding. --from 2"},
                   renumber);
  parser.add_option("TABLE", options.table, "Table")->required();
  parser
      .add_option("--from", options.from,
                  "Begin at this instance, which has to exist, or the one before it")
      ->check(number_range());
  parser.add_option("--count", options.count, "At most so many instances (0: all)");
}

void add_move(Registry& registry) {
  const auto [parser, options] =
      registry.add({"move", "Move an instance to another table",
                    "move InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2. "
                    "InternetGatewayDevice.WANDevice.2.WANConnectionDevice."},
                   move);
  parser.add_option("PATH", options.path, "Instance or object")->required();
  parser.add_option("NEW-PARENT", options.new_parent, "Table that it comes to")->required();
}

}  // namespace

Result<std::vector<unsigned>> taken_numbers(const Client& client, const std::string& table) {
  // The list of a table that does not exist is empty.
  if (const int code = client.get_attributes(table).code; code != GWCONF_OK) return {code, {}};
  Result<std::vector<unsigned>> taken = client.list_instances(table);
  if (!taken) return taken;
  // The list cuts numbers of five digits; an export has them whole, but not the disabled ones.
  if (const Result<ExportedTree> tree = load_exported_tree(client, table))
    for (const ExportedObject& instance : tree.value.root.objects)
      if (instance.is_instance()) taken.value.push_back(instance_number(instance.name));
  std::sort(taken.value.begin(), taken.value.end());
  return taken;
}

unsigned next_free(const std::vector<unsigned>& taken) {
  if (taken.empty()) return 1;
  if (taken.back() < GWCONF_INSTANCE_MAX) return taken.back() + 1;
  unsigned number = 1;
  for (const unsigned one : taken)
    if (one == number) ++number;
  return number;
}

void add_instance_verbs(Registry& registry) {
  add_add(registry);
  add_insert(registry);
  add_del(registry);
  add_renumber(registry);
  add_move(registry);
}

}  // namespace gwconf::tool
