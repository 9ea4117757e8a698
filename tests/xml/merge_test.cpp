#include "xml/merge.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/instance.h"
#include "core/path.h"
#include "core/row_index.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"
#include "tests/xml/full_outline.h"
#include "xml/loader.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::live_blocks;
using test::live_outline;
using test::LiveTree;
using test::object_at;
using test::outline_of;
using test::parameter_at;

/// Merges a saved tree, which must come out as it went in, and returns the live one.
std::string merged(std::string_view defaults, std::string_view saved) {
  const LiveTree live{defaults};
  const NodePtr tree = build_tree(saved);
  const std::string before = outline_of(tree.get());
  EXPECT_EQ(CM_Node_Merge2Root(tree.get()), CM_OK);
  EXPECT_EQ(outline_of(tree.get()), before);
  return live_outline();
}

class Merge : public testing::Test {
 protected:
  void SetUp() override { blocks_ = live_blocks(); }
  void TearDown() override { EXPECT_EQ(live_blocks(), blocks_) << "blocks left"; }

 private:
  std::size_t blocks_ = 0;
};

constexpr std::string_view kTable =
    "A.\n"
    "  HostNumberOfEntries = 1\n"
    "  Host.\n"
    "    0. [1]\n"
    "      Name = none\n"
    "      Port [1] = 80\n"
    "    1. [1]\n"
    "      Name = one\n"
    "      Port [1] = 80\n"
    "  Time.\n"
    "    Zone = UTC\n";

TEST_F(Merge, OfManyRowsSearchesThemByNumber) {
  std::string saved = "A.\n  Host.\n";
  for (int row = 1; row <= 500; ++row)
    saved += "    " + std::to_string(row) + ". [1]\n      Name = saved\n";
  const LiveTree live{kTable};
  const NodePtr tree = build_tree(saved);
  EXPECT_EQ(CM_Node_Merge2Root(tree.get()), CM_OK);
  EXPECT_TRUE(has_row_index(object_at("A.Host.")));
  EXPECT_EQ(test::value_at("A.HostNumberOfEntries"), "500");
  EXPECT_EQ(test::value_at("A.Host.500.Name"), "saved");
}

TEST_F(Merge, TakesTheFirstOfManyParametersOfAName) {
  std::string defaults = "A.\n";
  for (int i = 0; i < 200; ++i)
    defaults += "  P" + std::to_string(i % 150) + " = " + std::to_string(i) + '\n';
  const NodePtr tree = build_tree("A.\n  P7 = seven\n  P149 = last\n  Missing = x\n");
  for (const bool with_memory : {true, false}) {
    const LiveTree live{defaults};
    // The second allocation is the hash table: without it every search walks the list.
    const test::FailingHeap heap{with_memory ? 1000U : 2U, test::FailingHeap::Kind::kOnce};
    EXPECT_EQ(CM_Node_Merge2Root(tree.get()), CM_OK);
    EXPECT_EQ(heap.fired(), !with_memory);
    const Parameter* param = parameter_at("A.P7");
    EXPECT_STREQ(param->value.get(), "seven");
    EXPECT_STREQ(parameter_at("A.P149")->value.get(), "last");
    for (int i = 0; i < 150; ++i)
      param = param->next;
    EXPECT_STREQ(param->name.get(), "P7");
    EXPECT_STREQ(param->value.get(), "157");
  }
}

// ------------------------------------------------------------------------------------ values

TEST_F(Merge, SavedValuesReplaceDefaultsAndBecomeUserSet) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n"
                   "  q = 2\n"
                   "  B.\n"
                   "    r = 3\n",
                   "A.\n"
                   "  p = 9\n"
                   "  B.\n"
                   "    r = 8\n"),
            "A.\n"
            "  p [8] = 9\n"
            "  q = 2\n"
            "  B.\n"
            "    r [8] = 8\n");
}

TEST_F(Merge, AnUnchangedValueBecomesUserSetToo) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n",
                   "A.\n"
                   "  p = 1\n"),
            "A.\n"
            "  p [8] = 1\n");
}

TEST_F(Merge, AnEmptyValueIsAValue) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n"
                   "  q\n",
                   "A.\n"
                   "  p =\n"
                   "  q =\n"),
            "A.\n"
            "  p [8] =\n"
            "  q [8] =\n");
}

TEST_F(Merge, AMissingValueChangesNothing) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n"
                   "  q = 2\n",
                   "A.\n"
                   "  p\n"
                   "  q = 3\n"),
            "A.\n"
            "  p = 1\n"
            "  q [8] = 3\n");
}

TEST_F(Merge, AParameterThatTheDefaultsLackIsDropped) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n"
                   "  q = 2\n",
                   "A.\n"
                   "  gone = 5\n"
                   "  P = 6\n"
                   "  pp = 7\n"
                   "  q = 3\n"),
            "A.\n"
            "  p = 1\n"
            "  q [8] = 3\n");
}

TEST_F(Merge, TheFirstParameterOfANameTakesTheValue) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n"
                   "  p = 2\n",
                   "A.\n"
                   "  p = 3\n"),
            "A.\n"
            "  p [8] = 3\n"
            "  p = 2\n");
}

TEST_F(Merge, TheLastSavedValueOfANameStays) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n",
                   "A.\n"
                   "  p = 2\n"
                   "  p = 3\n"),
            "A.\n"
            "  p [8] = 3\n");
}

TEST_F(Merge, OnlyTheValueIsTaken) {
  const LiveTree live{
      "A.\n"
      "  B. [64]\n"
      "    p [65] = 1\n"};
  Parameter* param = parameter_at("A.B.p");
  param->type = kUnsignedInt;
  param->min = 1;
  param->max = 5;
  const NodePtr saved = build_tree(
      "A.\n"
      "  B. [129]\n"
      "    p [128] = 2\n");
  Parameter* other = saved->children->params;
  other->type = kString;
  other->max = 9;
  ASSERT_TRUE(other->enumeration.assign("a,b"));
  ASSERT_TRUE(other->sname.assign("s"));
  EXPECT_EQ(CM_Node_Merge2Root(saved.get()), CM_OK);
  EXPECT_EQ(test::full_outline_of(cml_root),
            "A.\n"
            "  B. [64]\n"
            "    p [73] 4(1..5) = 2\n");
}

TEST_F(Merge, ADisabledObjectTakesValuesAsAnyOther) {
  EXPECT_EQ(merged("A.\n"
                   "  B. [2]\n"
                   "    p = 1\n",
                   "A.\n"
                   "  B.\n"
                   "    p = 2\n"),
            "A.\n"
            "  B. [2]\n"
            "    p [8] = 2\n");
}

// ------------------------------------------------------------------------------------ objects

TEST_F(Merge, AnObjectThatTheDefaultsLackIsSkippedWithAllBelow) {
  EXPECT_EQ(merged("A.\n"
                   "  C.\n"
                   "    p = 1\n",
                   "A.\n"
                   "  B.\n"
                   "    q = 5\n"
                   "    C.\n"
                   "      p = 6\n"
                   "  C.\n"
                   "    p = 7\n"),
            "A.\n"
            "  C.\n"
            "    p [8] = 7\n");
}

TEST_F(Merge, AnotherRootIsSkipped) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n",
                   "B.\n"
                   "  p = 2\n"),
            "A.\n"
            "  p = 1\n");
}

TEST_F(Merge, AnObjectWithoutANameEndsItsLevel) {
  const LiveTree live{
      "A.\n"
      "  B.\n"
      "    p = 1\n"
      "  C.\n"
      "    p = 1\n"
      "  D.\n"
      "    p = 1\n"};
  const NodePtr saved = build_tree(
      "A.\n"
      "  B.\n"
      "    p = 2\n"
      "  C.\n"
      "    p = 2\n"
      "  D.\n"
      "    p = 2\n");
  saved->children->next->name.reset();
  EXPECT_EQ(CM_Node_Merge2Root(saved.get()), CM_OK);
  EXPECT_EQ(live_outline(),
            "A.\n"
            "  B.\n"
            "    p [8] = 2\n"
            "  C.\n"
            "    p = 1\n"
            "  D.\n"
            "    p = 1\n");
}

TEST_F(Merge, LaterSiblingsOfTheFirstObjectAreMerged) {
  const LiveTree live{
      "A.\n"
      "  B.\n"
      "    p = 1\n"
      "  C.\n"
      "    p = 1\n"};
  const NodePtr saved = build_tree(
      "A.\n"
      "  B.\n"
      "    p = 2\n"
      "  C.\n"
      "    p = 3\n");
  EXPECT_EQ(CM_Node_Merge2Root(saved->children->next), CM_OK);
  EXPECT_EQ(test::value_at("A.B.p"), "1");
  EXPECT_EQ(test::value_at("A.C.p"), "3");
  EXPECT_EQ(CM_Node_Merge2Root(saved->children), CM_OK);
  EXPECT_EQ(test::value_at("A.B.p"), "2");
}

TEST_F(Merge, NothingToMergeIsFine) {
  const LiveTree live{"A.\n"};
  EXPECT_EQ(CM_Node_Merge2Root(nullptr), CM_OK);
  const NodePtr blank = new_node();
  EXPECT_EQ(CM_Node_Merge2Root(blank.get()), CM_OK);
  EXPECT_EQ(live_outline(), "A.\n");
}

TEST_F(Merge, WithoutALiveTreeNothingHappens) {
  const NodePtr saved = build_tree(
      "A.\n"
      "  p = 1\n"
      "  T.\n"
      "    1.\n"
      "      p = 1\n");
  EXPECT_EQ(CM_Node_Merge2Root(saved.get()), CM_OK);
  EXPECT_EQ(cml_root, nullptr);
}

// ---------------------------------------------------------------------------------- instances

TEST_F(Merge, AMissingInstanceIsAddedAndFilled) {
  EXPECT_EQ(merged(kTable,
                   "A.\n"
                   "  Host.\n"
                   "    3. [1]\n"
                   "      Name [8] = three\n"),
            "A.\n"
            "  HostNumberOfEntries = 2\n"
            "  Host.\n"
            "    0. [1]\n"
            "      Name = none\n"
            "      Port [1] = 80\n"
            "    1. [1]\n"
            "      Name = one\n"
            "      Port [1] = 80\n"
            "    3. [9]\n"
            "      Name [8] = three\n"
            "      Port [1] = 80\n"
            "  Time.\n"
            "    Zone = UTC\n");
}

TEST_F(Merge, AnInstanceThatIsThereIsNotMarked) {
  EXPECT_EQ(merged(kTable,
                   "A.\n"
                   "  Host.\n"
                   "    1. [9]\n"
                   "      Name [8] = uno\n"),
            "A.\n"
            "  HostNumberOfEntries = 1\n"
            "  Host.\n"
            "    0. [1]\n"
            "      Name = none\n"
            "      Port [1] = 80\n"
            "    1. [1]\n"
            "      Name [8] = uno\n"
            "      Port [1] = 80\n"
            "  Time.\n"
            "    Zone = UTC\n");
}

TEST_F(Merge, InstancesInsideAddedInstancesAreAdded) {
  EXPECT_EQ(merged("A.\n"
                   "  T.\n"
                   "    0. [1]\n"
                   "      UNumberOfEntries = 0\n"
                   "      U.\n"
                   "        0. [1]\n"
                   "          p = 1\n",
                   "A.\n"
                   "  T.\n"
                   "    2.\n"
                   "      U.\n"
                   "        4.\n"
                   "          p = 5\n"
                   "        7.\n"
                   "          p = 6\n"),
            "A.\n"
            "  T.\n"
            "    0. [1]\n"
            "      UNumberOfEntries = 0\n"
            "      U.\n"
            "        0. [1]\n"
            "          p = 1\n"
            "    2. [9]\n"
            "      UNumberOfEntries = 2\n"
            "      U.\n"
            "        4. [9]\n"
            "          p [8] = 5\n"
            "        7. [9]\n"
            "          p [8] = 6\n");
}

TEST_F(Merge, TheTemplateTakesSavedValues) {
  EXPECT_EQ(merged("A.\n"
                   "  T.\n"
                   "    0. [1]\n"
                   "      p = 1\n",
                   "A.\n"
                   "  T.\n"
                   "    0.\n"
                   "      p = 2\n"
                   "    1.\n"),
            "A.\n"
            "  T.\n"
            "    0. [1]\n"
            "      p [8] = 2\n"
            "    1. [9]\n"
            "      p [8] = 2\n");
}

TEST_F(Merge, AMissingTemplateEndsItsLevel) {
  EXPECT_EQ(merged("A.\n"
                   "  T.\n"
                   "    1. [1]\n"
                   "      p = 1\n",
                   "A.\n"
                   "  T.\n"
                   "    0.\n"
                   "      p = 2\n"
                   "    1.\n"
                   "      p = 2\n"),
            "A.\n"
            "  T.\n"
            "    1. [1]\n"
            "      p = 1\n");
}

TEST_F(Merge, AnInstanceThatCannotBeAddedEndsItsLevelOnly) {
  EXPECT_EQ(merged("A.\n"
                   "  T.\n"
                   "    p = 1\n"
                   "    1. [1]\n"
                   "      q = 1\n"
                   "    5. [1]\n"
                   "      q = 1\n"
                   "  B.\n"
                   "    p = 1\n",
                   "A.\n"
                   "  T.\n"
                   "    p = 2\n"
                   "    1.\n"
                   "      q = 2\n"
                   "    3.\n"  // there is no template
                   "      q = 2\n"
                   "    5.\n"
                   "      q = 2\n"
                   "  B.\n"
                   "    p = 2\n"),
            "A.\n"
            "  T.\n"
            "    p [8] = 2\n"
            "    1. [1]\n"
            "      q [8] = 2\n"
            "    5. [1]\n"
            "      q = 1\n"
            "  B.\n"
            "    p [8] = 2\n");
}

TEST_F(Merge, AnInstanceNotFoundByItsNameWhenAddedEndsItsLevel) {
  EXPECT_EQ(merged("A.\n"
                   "  T.\n"
                   "    0. [1]\n"
                   "      q = 1\n"
                   "  B.\n"
                   "    p = 1\n",
                   "A.\n"
                   "  T.\n"
                   "    +3.\n"  // a number, but the instance is called 3.
                   "      q = 2\n"
                   "    5.\n"
                   "      q = 2\n"
                   "  B.\n"
                   "    p = 2\n"),
            "A.\n"
            "  T.\n"
            "    0. [1]\n"
            "      q = 1\n"
            "    3. [9]\n"
            "      q = 1\n"
            "  B.\n"
            "    p [8] = 2\n");
}

TEST_F(Merge, AnInstanceWhoseTableHasNoPathEndsItsLevel) {
  const LiveTree live{
      "A.\n"
      "  T.\n"
      "    0. [1]\n"};
  const NodePtr saved = build_tree(
      "A.\n"
      "  T.\n"
      "    3.\n");
  saved->name.reset();
  EXPECT_EQ(CM_Node_Merge2Root(saved->children->children), CM_OK);
  EXPECT_EQ(live_outline(),
            "A.\n"
            "  T.\n"
            "    0. [1]\n");
}

TEST_F(Merge, AnInstanceOfAMissingTableIsNotReached) {
  EXPECT_EQ(merged(kTable,
                   "A.\n"
                   "  Gone.\n"
                   "    1.\n"
                   "      Name = x\n"
                   "  Time.\n"
                   "    Zone = CET\n"),
            "A.\n"
            "  HostNumberOfEntries = 1\n"
            "  Host.\n"
            "    0. [1]\n"
            "      Name = none\n"
            "      Port [1] = 80\n"
            "    1. [1]\n"
            "      Name = one\n"
            "      Port [1] = 80\n"
            "  Time.\n"
            "    Zone [8] = CET\n");
}

TEST_F(Merge, ARootThatIsAnInstanceCannotBeAdded) {
  EXPECT_EQ(merged("A.\n"
                   "  p = 1\n",
                   "1.\n"
                   "  p = 2\n"),
            "A.\n"
            "  p = 1\n");
}

TEST_F(Merge, AddingAnInstanceForgetsThatItWasDeleted) {
  EXPECT_EQ(merged("InternetGatewayDevice.\n"
                   "  T.\n"
                   "    0. [1]\n"
                   "  X_VT_MiscCfg.\n"
                   "    DeletedDefaultInstancesNumberOfEntries = 1\n"
                   "    DeletedDefaultInstances.\n"
                   "      0. [1]\n"
                   "        URI =\n"
                   "      1. [9]\n"
                   "        URI [8] = InternetGatewayDevice.T.2.\n",
                   "InternetGatewayDevice.\n"
                   "  T.\n"
                   "    2.\n"),
            "InternetGatewayDevice.\n"
            "  T.\n"
            "    0. [1]\n"
            "    2. [9]\n"
            "  X_VT_MiscCfg.\n"
            "    DeletedDefaultInstancesNumberOfEntries = 0\n"
            "    DeletedDefaultInstances.\n"
            "      0. [1]\n"
            "        URI =\n");
}

// ------------------------------------------------------------------------------------ looking up

TEST_F(Merge, LocatesALiveObjectByTheSavedPath) {
  const LiveTree live{kTable};
  const NodePtr saved = build_tree(
      "A.\n"
      "  Host.\n"
      "    1.\n"
      "    2.\n");
  Node* found = nullptr;
  EXPECT_EQ(locate_node_in_root(saved->children->children, &found), CM_OK);
  EXPECT_EQ(found, object_at("A.Host.1."));
  EXPECT_EQ(locate_node_in_root(saved.get(), &found), CM_OK);
  EXPECT_EQ(found, cml_root);
  EXPECT_EQ(locate_node_in_root(saved->children->children->next, &found), CM_NOT_FOUND);
  EXPECT_EQ(found, nullptr);
}

TEST_F(Merge, LocatesNothingWithoutAPath) {
  const LiveTree live{kTable};
  const NodePtr saved = build_tree(
      "A.\n"
      "  Host.\n");
  Node* found = cml_root;
  EXPECT_EQ(locate_node_in_root(nullptr, &found), CM_INVALID);
  EXPECT_EQ(found, nullptr);

  saved->name.reset();  // an ancestor without a name
  found = cml_root;
  EXPECT_EQ(locate_node_in_root(saved->children, &found), CM_INVALID);
  EXPECT_EQ(found, nullptr);
  found = cml_root;
  EXPECT_EQ(locate_node_in_root(saved.get(), &found), CM_INVALID);
  EXPECT_EQ(found, nullptr);

  ASSERT_TRUE(saved->name.assign("A."));
  ASSERT_TRUE(saved->children->name.assign("Host"));  // no object's name
  found = cml_root;
  EXPECT_EQ(locate_node_in_root(saved->children, &found), CM_INVALID);
  EXPECT_EQ(found, nullptr);
}

TEST_F(Merge, LocatesNothingWithoutMemory) {
  const LiveTree live{kTable};
  Node* found = cml_root;
  const test::FailingHeap heap{1, test::FailingHeap::Kind::kFromThenOn};
  EXPECT_EQ(locate_node_in_root(cml_root, &found), CM_INVALID);
  EXPECT_EQ(found, nullptr);
}

// ---------------------------------------------------------------------------------------- memory

/// A live value after a merge that ran out of memory somewhere: the old one, or the saved one with
/// its mark.
void expect_old_or_merged(const std::string& outline, const std::string& old_line,
                          const std::string& merged_line) {
  EXPECT_NE(outline.find(old_line) != std::string::npos,
            outline.find(merged_line) != std::string::npos)
      << outline;
}

TEST_F(Merge, AFailedAllocationLeavesOldOrMergedValues) {
  const NodePtr saved = build_tree(
      "A.\n"
      "  HostNumberOfEntries = 1\n"
      "  Host.\n"
      "    1.\n"
      "      Name = uno\n"
      "    2.\n"
      "      Name = two\n"
      "  Time.\n"
      "    Zone = CET\n");
  const std::size_t runs = test::sweep_operation(
      kTable, [&] { return CM_Node_Merge2Root(saved.get()); },
      [](Status status, const std::string& outline) {
        EXPECT_EQ(status, CM_OK);
        expect_old_or_merged(outline, "      Name = one\n", "      Name [8] = uno\n");
        expect_old_or_merged(outline, "    Zone = UTC\n", "    Zone [8] = CET\n");
        const std::size_t added = outline.find("    2. [9]\n");
        if (added == std::string::npos) {
          EXPECT_EQ(outline.find("two"), std::string::npos) << outline;
        } else {
          const std::string row = outline.substr(added, outline.find("  Time.\n") - added);
          EXPECT_TRUE(row == "    2. [9]\n      Name = none\n      Port [1] = 80\n" ||
                      row == "    2. [9]\n      Name [8] = two\n      Port [1] = 80\n")
              << outline;
        }
      });
  EXPECT_GT(runs, 20U);
}

}  // namespace
}  // namespace gwconf
