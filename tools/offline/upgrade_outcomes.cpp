#include "tools/offline/upgrade_outcomes.h"

#include <utility>

#include "core/deleted_defaults.h"
#include "core/path.h"
#include "platform/getters.h"
#include "tools/base/value_check.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string value_of(const Parameter& parameter) {
  return unescaped(parameter.value.view());
}

/// Why a value does not fit the type of a parameter.
[[nodiscard]] std::optional<std::string> objection_of(const Parameter& type,
                                                      const std::string& value) {
  return objection({type.type, type.min, type.max, unescaped(type.enumeration.view())}, value);
}

[[nodiscard]] std::string full_type(const Parameter& parameter) {
  return parameter.enumeration ? "one of " + in_quotes(unescaped(parameter.enumeration.view()))
                               : type_text(parameter);
}

class UpgradeJudge {
 public:
  /// `old`, the start of the present firmware, may be null.
  UpgradeJudge(const LoadedTree& saved, FirstStart& next, FirstStart* old)
      : saved_{saved}, next_{next}, old_{old} {}

  std::vector<Outcome> run() {
    if (saved_.state() == LoadedTree::State::kLoaded) judge_saved();
    judge_deleted();
    if (old_) judge_unset(*old_);
    return std::move(outcomes_);
  }

 private:
  void add(Fate fate, std::string path, std::optional<std::string> before,
           std::optional<std::string> after, std::string remark) {
    outcomes_.push_back(
        {fate, std::move(path), std::move(before), std::move(after), std::move(remark)});
  }

  // --- what was saved

  void judge_saved() {
    NodeWalk walk{saved_.root()};
    do {
      const Node& node = *walk.get();
      const std::string path = path_of(&node);
      Node* running = next_.running_object(path);
      if (is_row(node)) judge_row(path, running);
      for (const Parameter* param = node.params; param; param = param->next)
        if (param->value) judge_value(*param, path, running);
    } while (walk.next());
  }

  void judge_row(const std::string& path, const Node* running) {
    const bool is_default = next_.pristine_object(path);
    if (running && !is_default)
      add(Fate::kCreated, path, {}, {}, {});
    else if (!running && !is_default)
      add(Fate::kDropped, path, {}, {}, why_absent(path));
    else if (running && old_ && !old_->pristine_object(path))
      add(Fate::kOverlaid, path, {}, {},
          "the user added it, and it is a default row from now on: its values are mixed");
  }

  void judge_value(const Parameter& param, const std::string& holder, Node* running) {
    const std::string path = holder + std::string{param.name.view()};
    const std::string value = value_of(param);
    const Parameter* now =
        running ? CM_CORE_GetChildParaByName(running, param.name.view()) : nullptr;
    if (!now || !has(*now, kUserSet)) {
      add(Fate::kDropped, path, value, now ? std::optional{value_of(*now)} : std::nullopt,
          !running ? why_absent(holder)
          : !now   ? "the new defaults have no such parameter"
                   : "the daemon does not come to it: a row before it cannot be created");
      return;
    }
    if (value_of(*now) != value)
      add(Fate::kDropped, path, value, value_of(*now), "it is saved twice; the last one counts");
    else
      judge_kept(param, *now, path, value);
  }

  /// Whether a value that found its place still means the same.
  void judge_kept(const Parameter& param, const Parameter& now, const std::string& path,
                  const std::string& value) {
    const auto complaint = objection_of(now, value);
    const bool was_valid = !objection_of(param, value);
    if (complaint && was_valid)
      return add(Fate::kInvalid, path, value, value,
                 *complaint + "; was " + full_type(param) + ", becomes " + full_type(now));
    if (now.getter && !param.getter)
      return add(Fate::kHidden, path, value, {},
                 std::string{"measured by "} + now.getter->name + " from now on");
    std::string remark;
    const auto append = [&remark](const std::string& text) {
      remark += (remark.empty() ? "" : "; ") + text;
    };
    if (complaint) append("is not valid, and was not before");
    if (full_type(param) != full_type(now))
      append("was " + full_type(param) + ", becomes " + full_type(now));
    if (has(param, kWritable) && !has(now, kWritable)) append("can no longer be written");
    add(Fate::kKept, path, value, value, remark);
  }

  /// Why nothing stands at the path of a saved object.
  [[nodiscard]] std::string why_absent(const std::string& path) {
    // The outermost object that is missing is the reason.
    for (std::size_t dot = path.find('.'); dot != std::string::npos;
         dot = path.find('.', dot + 1)) {
      const std::string part = path.substr(0, dot + 1);
      if (next_.running_object(part)) continue;
      if (next_.pristine_object(part)) return in_quotes(part) + " is deleted as the user asked";
      const std::string_view segment =
          std::string_view{part}.substr(part.size() > 1 ? part.rfind('.', part.size() - 2) + 1 : 0);
      if (CM_CORE_CheckIfInstance(segment) == CM_OK)
        return "row " + in_quotes(part) + " cannot be created";
      return "the new defaults have no " + in_quotes(part);
    }
    return "it cannot be found";
  }

  // --- what was deleted

  void judge_deleted() {
    NodeWalk walk{next_.pristine()};
    for (bool more = true; more;) {
      const std::string path = path_of(walk.get());
      const bool gone = !next_.running_object(path);
      if (gone) add(Fate::kDeleted, path, {}, {}, {});
      more = gone ? walk.next_outside() : walk.next();
    }
    const Node* table = next_.running_object(kDeletedDefaults);
    for (const Node* record = table ? table->children : nullptr; record; record = record->next) {
      const bool is_record = record->params && !record->params->value.view().empty();
      if (!is_record) continue;
      const std::string path{record->params->value.view()};
      if (!next_.pristine_object(path))
        add(Fate::kGone, path, {}, {},
            "a row that the user deleted, and that is no default any more");
      else if (next_.running_object(path))
        add(Fate::kDropped, path, {}, {}, "the row was deleted, but comes back");
    }
  }

  // --- what nobody set

  void judge_unset(FirstStart& old) {
    NodeWalk walk{old.running()};
    for (bool more = true; more;) {
      const Node& node = *walk.get();
      const std::string path = path_of(&node);
      const Node* now = next_.running_object(path);
      if (!now) {
        if (!has(node, kUserSet)) add(Fate::kGone, path, {}, {}, {});
        more = walk.next_outside();
        continue;
      }
      for (const Parameter* param = node.params; param; param = param->next)
        if (!has(*param, kUserSet)) judge_default(*param, path);
      more = walk.next();
    }
    judge_new(old);
  }

  void judge_default(const Parameter& param, const std::string& holder) {
    const std::string path = holder + std::string{param.name.view()};
    const Parameter* now = next_.running_parameter(path);
    if (!now)
      add(Fate::kGone, path, value_of(param), {}, {});
    else if (now->value.view() != param.value.view())
      add(Fate::kDefault, path, value_of(param), value_of(*now), {});
  }

  void judge_new(FirstStart& old) {
    NodeWalk walk{next_.running()};
    for (bool more = true; more;) {
      const Node& node = *walk.get();
      const std::string path = path_of(&node);
      if (!old.running_object(path)) {
        if (!has(node, kUserSet)) add(Fate::kNew, path, {}, {}, {});
        more = walk.next_outside();
        continue;
      }
      for (const Parameter* param = node.params; param; param = param->next) {
        const std::string own = path + std::string{param->name.view()};
        if (!old.running_parameter(own)) add(Fate::kNew, own, {}, value_of(*param), {});
      }
      more = walk.next();
    }
  }

  const LoadedTree& saved_;
  FirstStart& next_;
  FirstStart* old_;
  std::vector<Outcome> outcomes_;
};

}  // namespace

std::vector<Outcome> judge_upgrade(const LoadedTree& saved, FirstStart& next, FirstStart* old) {
  return UpgradeJudge{saved, next, old}.run();
}

}  // namespace gwconf::tool
