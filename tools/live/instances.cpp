#include "tools/live/instances.h"

#include <algorithm>
#include <vector>

#include "tools/base/live_tree.h"

namespace gwconf::tool {
namespace {

/// How often a number that somebody else took first is replaced by the next.
constexpr int kTries = 10;

[[nodiscard]] Exit finish_added(const Session& session, const std::string& verb,
                                const std::string& table, unsigned number, int code) {
  Json fields = Json::object();
  if (number != 0) fields["number"] = number;
  const Exit exit = finish(session, verb, table, code, fields);
  if (exit == Exit::kDone && !session.output.json()) session.output.line(std::to_string(number));
  return exit;
}

[[nodiscard]] int add_one(const Client& client, const std::string& table, unsigned number,
                          Kind kind) {
  return kind == Kind::kVirtual ? client.add_virtual_instance(table, number)
                                : client.add_instance(table, number);
}

}  // namespace

Result<std::vector<unsigned>> taken_numbers(const Client& client, const std::string& table) {
  // The list of a table that does not exist is empty.
  if (const int code = client.get_attributes(table).code; code != GWCONF_OK) return {code, {}};
  Result<std::vector<unsigned>> taken = client.list_instances(table);
  if (!taken) return taken;
  // The list cuts numbers of five digits; an export has them whole, but not the disabled ones.
  if (const Result<LiveTree> tree = load_live_tree(client, table))
    for (const LiveObject& instance : tree.value.root.objects)
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

Exit add(const Session& session, const std::string& table, std::optional<unsigned> number,
         Kind kind) {
  const std::string path = as_object(table);
  if (number)
    return finish_added(session, "add", path, *number,
                        add_one(session.client, path, *number, kind));
  int code = GWCONF_EXISTS;
  unsigned chosen = 0;
  for (int tries = 0; code == GWCONF_EXISTS && tries < kTries; ++tries) {
    const Result<std::vector<unsigned>> taken = taken_numbers(session.client, path);
    code = taken.code;
    if (!taken) break;
    chosen = next_free(taken.value);
    code = add_one(session.client, path, chosen, kind);
  }
  return finish_added(session, "add", path, chosen, code);
}

Exit insert(const Session& session, const std::string& table, unsigned number, Kind kind) {
  const std::string path = as_object(table);
  const int code = kind == Kind::kVirtual ? session.client.insert_virtual_instance(path, number)
                                          : session.client.insert_instance(path, number);
  return finish_added(session, "insert", path, number, code);
}

Exit remove(const Session& session, const std::string& object) {
  const std::string row = as_object(object);
  const SplitPath place = split(row);
  if (const unsigned number = instance_number(place.segment); number > 0)
    return finish(session, "del", row, session.client.delete_instance(place.parent, number));
  // Any other object only goes when it is named as one, with its dot.
  return finish(session, "del", object, session.client.delete_node(object));
}

Exit renumber(const Session& session, const std::string& table, unsigned from, unsigned count) {
  const std::string path = as_object(table);
  const int code = session.client.rearrange(path, from, count);
  Json fields = Json::object();
  if (session.output.json() && code == GWCONF_OK)
    if (const auto numbers = session.client.list_instances(path))
      fields["instances"] = numbers.value;
  return finish(session, "renumber", path, code, fields);
}

Exit move(const Session& session, const std::string& path, const std::string& new_parent) {
  const std::string parent = as_object(new_parent);
  const int code = session.client.move(parent, path);
  // The daemon has one code for both paths: the one that names nothing is the one to tell.
  const bool is_parent_missing =
      code == GWCONF_NOT_FOUND && session.client.get_attributes(parent).code == GWCONF_NOT_FOUND;
  return finish(session, "move", is_parent_missing ? parent : path, code, {{"parent", parent}});
}

}  // namespace gwconf::tool
