// Random operations on two levels of tables, step by step against a plain model of what the tree
// should then look like.

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/instance.h"
#include "core/move.h"
#include "core/path.h"
#include "core/value.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::live_outline;
using test::LiveTree;
using test::object_at;

/// A row of either table. Number 0 is a template.
struct Row {
  int number = 0;
  unsigned attributes = 1;
  std::string value;
  bool value_set = false;
  int counter = 0;
  std::vector<Row> rows = {};
};

using Rows = std::vector<Row>;

struct Record {
  int number;
  std::string path;
};

Row* find(Rows& rows, int number) {
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [number](const Row& row) { return row.number == number; });
  return found == rows.end() ? nullptr : &*found;
}

class Model {
 public:
  Model() {
    outer_ = {Row{.attributes = 0, .value = "p"}};
    for (const int number : {1, 2, 4}) {
      outer_.push_back(Row{.number = number, .value = "default", .counter = 2});
      for (const int inner : {1, 3})
        outer_.back().rows.push_back(Row{.number = inner, .value = "default"});
    }
  }

  // `outer` 0 stands for the outer table, otherwise for the inner table of that outer row.

  [[nodiscard]] static std::string table_path(int outer) {
    const std::string table = "InternetGatewayDevice.Outer.";
    return outer == 0 ? table : table + std::to_string(outer) + ".Inner.";
  }

  [[nodiscard]] Rows* rows_of(int outer) {
    if (outer == 0) return &outer_;
    Row* row = find(outer_, outer);
    return row ? &row->rows : nullptr;
  }

  Status add(int outer, int number) {
    Rows* rows = rows_of(outer);
    if (!rows) return CM_NOT_FOUND;
    const Row* existing = find(*rows, number);
    if (existing && !(existing->attributes & 2)) return CM_EXISTS;
    const auto place = std::find_if(rows->begin(), rows->end(),
                                    [number](const Row& row) { return row.number > number; });
    rows->insert(place, Row{.number = number, .attributes = 8, .value = outer == 0 ? "p" : "q"});
    ++counter_of(outer);
    const auto record = matching(table_path(outer) + std::to_string(number) + ".");
    if (record != records_.end()) records_.erase(record);
    return CM_OK;
  }

  Status insert(int outer, int number) {
    Rows* rows = rows_of(outer);
    if (!rows) return CM_NOT_FOUND;
    if (Row* first = find(*rows, number)) {
      int expected = number;
      for (Row* row = first; row != rows->data() + rows->size(); ++row) {
        if (row->number > expected) break;
        if (row->number < expected) return CM_REFUSED;
        row->number = ++expected;
      }
    }
    return add(outer, number);
  }

  Status remove(int outer, int number) {
    Rows* rows = rows_of(outer);
    Row* row = rows ? find(*rows, number) : nullptr;
    if (!row) return CM_NOT_FOUND;
    counter_of(outer) = std::max(0, counter_of(outer) - 1);
    const std::string path = table_path(outer) + std::to_string(number) + ".";
    if (!(row->attributes & 8) && matching(path) == records_.end()) {
      int free = 1;
      while (std::any_of(records_.begin(), records_.end(),
                         [free](const Record& record) { return record.number == free; }))
        ++free;
      records_.push_back({free, path});
      std::sort(records_.begin(), records_.end(),
                [](const Record& a, const Record& b) { return a.number < b.number; });
    }
    rows->erase(rows->begin() + (row - rows->data()));
    return CM_OK;
  }

  Status rearrange(int outer, int start, int count) {
    if (start < 1) return CM_REFUSED;
    Rows* rows = rows_of(outer);
    if (!rows) return CM_NOT_FOUND;
    int expected = start == 1 ? 1 : start - 1;
    Row* row = find(*rows, expected);
    if (!row) row = find(*rows, expected + 1);
    if (!row) return CM_NOT_FOUND;
    for (int done = 0; row != rows->data() + rows->size(); ++row, ++done) {
      if (count > 0 && done == count) break;
      row->number = expected++;
    }
    return CM_OK;
  }

  Status move(int from, int number, int to) {
    Rows* source = rows_of(from);
    Row* row = source ? find(*source, number) : nullptr;
    Rows* target = rows_of(to);
    if (!row || !target) return CM_NOT_FOUND;
    if (source == target) return CM_OK;
    counter_of(from) = std::max(0, counter_of(from) - 1);
    const Row moved = *row;
    source->erase(source->begin() + (row - source->data()));
    Row* nearest = nullptr;
    for (int below = number; below >= 1 && !nearest; --below)
      nearest = find(*target, below);
    target->insert(nearest ? target->begin() + (nearest - target->data()) + 1 : target->begin(),
                   moved);
    ++counter_of(to);
    return CM_OK;
  }

  Status set_value(int outer, int number, const std::string& value) {
    Rows* rows = rows_of(outer);
    Row* row = rows ? find(*rows, number) : nullptr;
    if (!row) return CM_NOT_FOUND;
    if (row->attributes & 2) return CM_OK;
    row->value = value;
    row->value_set = true;
    return CM_OK;
  }

  Status set_writable(int outer, int number, bool writable) {
    Rows* rows = rows_of(outer);
    Row* row = rows ? find(*rows, number) : nullptr;
    if (!row) return CM_NOT_FOUND;
    if (!(row->attributes & 2)) row->attributes = (row->attributes & ~1U) | (writable ? 1U : 0U);
    return CM_OK;
  }

  [[nodiscard]] bool has_row(int outer, int number) {
    Rows* rows = rows_of(outer);
    return rows && find(*rows, number);
  }

  void flip_disabled(int outer, int number) { find(*rows_of(outer), number)->attributes ^= 2; }

  [[nodiscard]] std::string outline() {
    std::string text =
        "InternetGatewayDevice.\n  OuterNumberOfEntries = " + std::to_string(counter_) +
        "\n  Outer.\n";
    for (const Row& row : outer_) {
      text += "    " + head(row) + "\n      InnerNumberOfEntries = " + std::to_string(row.counter) +
              "\n      P" + value_of(row) + "\n      Inner.\n";
      if (row.number == 0) text += "        0.\n          Q = q\n";
      for (const Row& inner : row.rows)
        text += "        " + head(inner) + "\n          Q" + value_of(inner) + "\n";
    }
    text += "  X_VT_MiscCfg.\n    DeletedDefaultInstances.\n      0.\n        URI =\n";
    for (const Record& record : records_)
      text += "      " + std::to_string(record.number) + ". [8]\n        URI [8] = " + record.path +
              "\n";
    return text;
  }

  /// Every table's numbers ascend without a repetition, and its counter tells how many there are.
  [[nodiscard]] bool tidy() const {
    const auto ascends = [](const Rows& rows) {
      return std::adjacent_find(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
               return a.number >= b.number;
             }) == rows.end();
    };
    return counter_ == static_cast<int>(outer_.size()) - 1 && ascends(outer_) &&
           std::all_of(outer_.begin(), outer_.end(), [&](const Row& row) {
             return row.counter == static_cast<int>(row.rows.size()) && ascends(row.rows);
           });
  }

 private:
  int& counter_of(int outer) { return outer == 0 ? counter_ : find(outer_, outer)->counter; }

  std::vector<Record>::iterator matching(const std::string& path) {
    return std::find_if(records_.begin(), records_.end(), [&path](const Record& record) {
      const std::size_t length = std::min(path.size(), record.path.size());
      return path.compare(0, length, record.path, 0, length) == 0;
    });
  }

  static std::string head(const Row& row) {
    const std::string name = std::to_string(row.number) + ".";
    return row.attributes == 0 ? name : name + " [" + std::to_string(row.attributes) + "]";
  }

  static std::string value_of(const Row& row) {
    return (row.value_set ? " [8] = " : " = ") + row.value;
  }

  Rows outer_;
  int counter_ = 3;
  std::vector<Record> records_;
};

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_{seed} {}
  int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  int between(int low, int high) { return low + below(high - low + 1); }

 private:
  std::mt19937 engine_;
};

/// One random operation on the tree and on the model; both must give the same result.
std::string step(Random& random, Model& model, bool with_twins) {
  const int outer = random.below(2) == 0 ? 0 : random.between(1, 7);
  const int number = random.between(1, 7);
  const std::string table = Model::table_path(outer);
  const std::string instance = table + std::to_string(number) + ".";
  const auto same = [](const std::string& what, Status tree, Status expected) {
    EXPECT_EQ(tree, expected) << what;
    return what;
  };
  switch (random.below(with_twins ? 9 : 8)) {
    case 0:
    case 1:
      return same("add " + instance, CM_CORE_AddInstance(table, number), model.add(outer, number));
    case 2:
      return same("insert " + instance, CM_CORE_InsertInstance(table, number),
                  model.insert(outer, number));
    case 3:
    case 4:
      return same("delete " + instance, CM_CORE_DelInstance(table, number),
                  model.remove(outer, number));
    case 5: {
      const int start = random.between(0, 7);
      const int count = random.between(-1, 4);
      return same("rearrange " + table + " from " + std::to_string(start) + ", " +
                      std::to_string(count) + " of them",
                  CM_CORE_InstanceReArrange(table, start, count),
                  model.rearrange(outer, start, count));
    }
    case 6: {
      const int from = random.between(1, 7);
      const int to = random.between(1, 7);
      // A move does not ask whether the number is taken.
      if (!with_twins && model.has_row(to, number)) return "nothing to move";
      const std::string row = Model::table_path(from) + std::to_string(number) + ".";
      Node* node = nullptr;
      Node* target = nullptr;
      Status status = CM_CORE_GetObjNodeByUri(row, &node);
      if (status == CM_OK) status = CM_CORE_GetObjNodeByUri(Model::table_path(to), &target);
      if (status == CM_OK) status = CM_CORE_NodeMove(target, node);
      return same("move " + row + " to " + Model::table_path(to), status,
                  model.move(from, number, to));
    }
    case 7: {
      if (random.below(2) == 0) {
        const bool writable = random.below(2) == 0;
        return same("writable " + instance, CM_CORE_SetInstanceRWByURI(instance, writable ? 1 : 0),
                    model.set_writable(outer, number, writable));
      }
      const std::string value = "value " + std::to_string(random.below(1000));
      return same("set " + instance,
                  CM_CORE_SetValueByURI(instance + (outer == 0 ? "P" : "Q"), value.c_str()),
                  model.set_value(outer, number, value));
    }
    default: {
      Node* node = nullptr;
      if (CM_CORE_GetObjNodeByUri(instance, &node) != CM_OK) return "nothing to disable";
      set(*node, kDisabled, !has(*node, kDisabled));
      model.flip_disabled(outer, number);
      return "disable or enable " + instance;
    }
  }
}

TEST(InstanceModel, TablesStayInOrderCountedAndWithoutRepetition) {
  Random random{20071};
  Model model;
  const LiveTree tree{model.outline()};
  for (int n = 0; n < 6000; ++n) {
    const std::string done = step(random, model, false);
    ASSERT_EQ(live_outline(), model.outline()) << "step " << n << ": " << done;
    ASSERT_TRUE(model.tidy()) << "step " << n << ": " << done;
  }
}

TEST(InstanceModel, TablesWithTwinsStayWhatTheyShould) {
  Random random{20072};
  Model model;
  const LiveTree tree{model.outline()};
  for (int n = 0; n < 6000; ++n) {
    const std::string done = step(random, model, true);
    ASSERT_EQ(live_outline(), model.outline()) << "step " << n << ": " << done;
    if (::testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace gwconf
