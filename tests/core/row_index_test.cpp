#include "core/row_index.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/instance.h"
#include "core/move.h"
#include "core/path.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::children_of;
using test::FailingHeap;
using test::LiveTree;
using test::object_at;

/// A table of rows 2, 4, ... with a template, and an empty one beside it.
std::string outline_of_rows(int count, const std::string& leading = "    0.\n") {
  std::string outline = "R.\n  T.\n" + leading;
  for (int row = 1; row <= count; ++row)
    outline += "    " + std::to_string(2 * row) + ".\n";
  return outline + "  U.\n    0.\n";
}

Node* find_row(int number) {
  return find_child(object_at("R.T."), std::to_string(number) + ".");
}

TEST(RowIndex, IsMadeByASearchThatPassesManyChildren) {
  const LiveTree tree{outline_of_rows(100)};
  const Node* table = object_at("R.T.");
  EXPECT_EQ(find_row(2 * (kLongList - 1))->name.view(), std::to_string(2 * (kLongList - 1)) + ".");
  EXPECT_FALSE(has_row_index(table));
  EXPECT_EQ(find_row(200)->name.view(), "200.");
  EXPECT_TRUE(has_row_index(table));
  EXPECT_TRUE(row_indexes_agree());
}

TEST(RowIndex, FindsWhatTheListHasAndNothingElse) {
  const LiveTree tree{outline_of_rows(100)};
  for (int number = 1; number <= 202; ++number) {
    const Node* row = find_row(number);
    EXPECT_EQ(row != nullptr, number % 2 == 0 && number <= 200) << number;
    if (row) {
      EXPECT_EQ(row->name.view(), std::to_string(number) + ".");
    }
  }
  Node* table = object_at("R.T.");
  EXPECT_EQ(find_child(table, "0.")->name.view(), "0.");
  for (const char* name : {"0200.", "+200.", " 200.", "200", "200..", "Other.", "."})
    EXPECT_EQ(find_child(table, name), nullptr) << name;
}

TEST(RowIndex, IsNotForListsThatItCannotDescribe) {
  const std::string rows = outline_of_rows(100);
  const std::string unfit[] = {
      outline_of_rows(100, "    0.\n    007.\n"),            // a number with leading zeros in front
      outline_of_rows(100, "    300.\n    0.\n"),            // a greater number in front
      rows.substr(0, rows.find("  U.")) + "    4.\n  U.\n",  // a number twice
      rows.substr(0, rows.find("  U.")) + "    Else.\n  U.\n"};  // no row behind the rows
  for (const std::string& outline : unfit) {
    const LiveTree tree{outline};
    EXPECT_EQ(find_row(200)->name.view(), "200.") << outline;
    EXPECT_FALSE(has_row_index(object_at("R.T."))) << outline;
  }
}

TEST(RowIndex, FindsTheFirstOfTwinsWhereItCannotServe) {
  const std::string rows = outline_of_rows(100);
  const LiveTree tree{rows.substr(0, rows.find("  U.")) + "    200. [2]\n  U.\n"};
  const Node* first = find_row(200);
  ASSERT_TRUE(first && first->next);
  EXPECT_EQ(first->next->attributes, 2);
}

TEST(RowIndex, FollowsAdditionsAndDeletions) {
  const LiveTree tree{outline_of_rows(100)};
  ASSERT_TRUE(find_row(200));
  for (const int number : {1, 3, 199, 201, 101})
    EXPECT_EQ(CM_CORE_AddInstance("R.T.", number), CM_OK);
  for (const int number : {2, 4, 200, 100})
    EXPECT_EQ(CM_CORE_DelInstance("R.T.", number), CM_OK);
  EXPECT_TRUE(has_row_index(object_at("R.T.")));
  EXPECT_TRUE(row_indexes_agree());
  EXPECT_TRUE(children_of("R.T.").starts_with("0. 1. 3. 6. 8. "));
  EXPECT_TRUE(children_of("R.T.").ends_with(" 198. 199. 201."));
  EXPECT_EQ(find_row(100), nullptr);
  EXPECT_EQ(find_row(101)->next->name.view(), "102.");
}

TEST(RowIndex, EndsWithADisabledTwin) {
  const LiveTree tree{outline_of_rows(100)};
  find_row(200)->attributes = 2;
  ASSERT_TRUE(has_row_index(object_at("R.T.")));
  EXPECT_EQ(CM_CORE_AddInstance("R.T.", 200), CM_OK);
  EXPECT_FALSE(has_row_index(object_at("R.T.")));
  EXPECT_TRUE(children_of("R.T.").ends_with(" 198. 200. 200."));
}

TEST(RowIndex, EndsWithRenumberingAndMoves) {
  const LiveTree tree{outline_of_rows(100)};
  ASSERT_TRUE(find_row(200));
  EXPECT_EQ(CM_CORE_InsertInstance("R.T.", 10), CM_OK);
  EXPECT_EQ(find_row(11)->next->name.view(), "12.");
  ASSERT_TRUE(find_row(200));
  EXPECT_EQ(CM_CORE_InstanceReArrange("R.T.", 1, 0), CM_OK);
  EXPECT_EQ(find_row(101)->next, nullptr);
  ASSERT_TRUE(has_row_index(object_at("R.T.")));
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.U."), object_at("R.T.50.")), CM_OK);
  EXPECT_EQ(find_row(50), nullptr);
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.T."), object_at("R.U.50.")), CM_OK);
  EXPECT_EQ(find_row(50)->next->name.view(), "51.");
  EXPECT_EQ(find_row(101)->next, nullptr);
  EXPECT_TRUE(row_indexes_agree());
}

TEST(RowIndex, EndsWithItsTemplateAndItsTable) {
  const LiveTree tree{outline_of_rows(100)};
  ASSERT_TRUE(find_row(200));
  EXPECT_EQ(CM_CORE_DelNode("R.T.0."), CM_OK);
  EXPECT_FALSE(has_row_index(object_at("R.T.")));
  ASSERT_TRUE(find_row(200));
  EXPECT_EQ(CM_CORE_DelInstance("R.T.", 2), CM_OK);
  EXPECT_TRUE(children_of("R.T.").starts_with("4. 6."));
  const Node* table = object_at("R.T.");
  EXPECT_TRUE(has_row_index(table));
  EXPECT_EQ(CM_CORE_DelNode("R.T."), CM_OK);
  EXPECT_FALSE(has_row_index(table));
}

TEST(RowIndex, OfTheLastTablesOnly) {
  std::string outline = "R.\n";
  for (char table = 'A'; table <= 'J'; ++table) {
    outline += std::string{"  "} + table + ".\n";
    for (int row = 1; row <= 40; ++row)
      outline += "    " + std::to_string(row) + ".\n";
  }
  const LiveTree tree{outline};
  for (char table = 'A'; table <= 'J'; ++table)
    EXPECT_EQ(find_child(object_at(std::string{"R."} + table + '.'), "40.")->next, nullptr);
  EXPECT_FALSE(has_row_index(object_at("R.A.")));
  EXPECT_FALSE(has_row_index(object_at("R.B.")));
  EXPECT_TRUE(has_row_index(object_at("R.C.")));
  EXPECT_TRUE(has_row_index(object_at("R.J.")));
  EXPECT_TRUE(row_indexes_agree());
}

TEST(RowIndex, IsNotNeeded) {
  const LiveTree tree{outline_of_rows(100)};
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(find_row(200)->name.view(), "200.");
  EXPECT_TRUE(heap.fired());
  EXPECT_FALSE(has_row_index(object_at("R.T.")));
}

TEST(RowIndex, EndsWithoutMemoryToGrow) {
  const LiveTree tree{outline_of_rows(40)};
  ASSERT_TRUE(find_row(80));
  Node* table = object_at("R.T.");
  std::vector<NodePtr> rows;
  for (int number = 1; number < 80; number += 2) {
    NodePtr row = new_node();
    ASSERT_TRUE(row && row->name.assign(std::to_string(number) + '.'));
    row->parent = table;
    rows.push_back(std::move(row));
  }
  const FailingHeap heap{1, FailingHeap::Kind::kFromThenOn};
  for (NodePtr& row : rows) {
    const int number = std::stoi(row->name.get());
    link_row(table, row.release(), number);
  }
  EXPECT_TRUE(heap.fired());
  EXPECT_FALSE(has_row_index(table));
  EXPECT_TRUE(children_of("R.T.").ends_with(" 77. 78. 79. 80."));
}

TEST(RowIndex, AgreesWithTheListAfterWhateverHappens) {
  const LiveTree tree{outline_of_rows(60)};
  std::mt19937 random{7};  // NOLINT(*-msc51-cpp): the same each time
  const auto pick = [&random](int most) { return 1 + static_cast<int>(random() % most); };
  std::size_t indexed = 0;
  for (int step = 0; step < 20000; ++step) {
    const int number = pick(150);
    switch (pick(40)) {
      case 1:
        ignore(CM_CORE_InsertInstance("R.T.", number));
        break;
      case 2:
        ignore(CM_CORE_InstanceReArrange("R.T.", number, pick(5)));
        break;
      case 3:
        if (Node* row = find_row(number)) ignore(CM_CORE_NodeMove(object_at("R.U."), row));
        break;
      case 4:
        if (Node* row = find_child(object_at("R.U."), std::to_string(number) + "."))
          ignore(CM_CORE_NodeMove(object_at("R.T."), row));
        break;
      case 5:
        ignore(CM_CORE_InstanceReArrange("R.T.", 1, 0));
        break;
      default:
        ignore(step % 2 ? CM_CORE_AddInstance("R.T.", number)
                        : CM_CORE_DelInstance("R.T.", number));
    }
    ASSERT_TRUE(row_indexes_agree()) << step;
    const std::string list = ' ' + children_of("R.T.") + ' ';
    const std::string name = std::to_string(number) + ".";
    ASSERT_EQ(find_row(number) != nullptr, list.find(' ' + name + ' ') != std::string::npos)
        << step;
    indexed += has_row_index(object_at("R.T.")) ? 1 : 0;
  }
  EXPECT_GT(indexed, 5000U);
}

}  // namespace
}  // namespace gwconf
