#include "core/instance.h"

#include <array>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/path.h"
#include "core/value.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::children_of;
using test::live_outline;
using test::LiveTree;
using test::object_at;
using test::outline_of;
using test::parameter_at;
using test::sweep_operation;
using test::value_at;

constexpr char kWan[] = "InternetGatewayDevice.WANDevice.";
constexpr char kWanCounter[] = "InternetGatewayDevice.WANDeviceNumberOfEntries";

/// A tree whose table WANDevice. holds the template and the given instances.
std::string table_of(std::initializer_list<int> numbers) {
  std::string outline = R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = )" +
                        std::to_string(numbers.size()) + R"(
  WANDevice.
    0. [1]
      Enable = 0
)";
  for (const int number : numbers)
    outline += "    " + std::to_string(number) + ". [1]\n      Enable = was " +
               std::to_string(number) + "\n";
  return outline;
}

/// Two levels of tables, a counter each, and a nested table with rows in the template chain only.
constexpr char kNested[] = R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 1
  WANDevice.
    0. [3]
      WANConnectionNumberOfEntries = 0
      Enable [1] = 1
      Notes
      WANCommonInterfaceConfig. [2]
        Access = DSL
        Stats.
          Sent = 0
      WANConnectionDevice.
        0.
          Name = template
        1.
          Name = first
      WANEthernetInterfaceConfig.
        Status = Up
    1. [1]
      WANConnectionNumberOfEntries = 1
      Enable [1] = 1
      WANConnectionDevice.
        1. [1]
          Name = own
)";

// --- Adding

TEST(AddInstance, PutsTheNewOneInItsPlaceAndCountsIt) {
  const LiveTree tree{table_of({1, 2, 5})};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 3), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 4
  WANDevice.
    0. [1]
      Enable = 0
    1. [1]
      Enable = was 1
    2. [1]
      Enable = was 2
    3. [9]
      Enable = 0
    5. [1]
      Enable = was 5
)");
}

TEST(AddInstance, AddsFirstAndLast) {
  const LiveTree tree{table_of({4})};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 12), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 2147483647), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 4. 12. 2147483647.");
  EXPECT_EQ(value_at(kWanCounter), "4");
}

TEST(AddInstance, AddsToAnEmptyTable) {
  const LiveTree tree{table_of({})};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 2), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 2.");
  EXPECT_EQ(value_at(kWanCounter), "1");
}

TEST(AddInstance, RefusesBadArguments) {
  const std::string before = table_of({1});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 0), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, -1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice", 2), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance("", 2), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance({}, 2), CM_INVALID);
  EXPECT_EQ(live_outline(), before);
}

TEST(AddInstance, FindsNoTableOrNoTemplate) {
  static constexpr char kOutline[] = R"(InternetGatewayDevice.
  DeviceInfo.
  LANDevice.
    1.
      Hosts.
)";
  const LiveTree tree{kOutline};
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice.", 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.DeviceInfo.", 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.LANDevice.", 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.LANDevice.1.Hosts.", 1), CM_NOT_FOUND);
  EXPECT_EQ(live_outline(), kOutline);
}

TEST(WithoutATree, EveryOperationFails) {
  ASSERT_EQ(cml_root, nullptr);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_DelNode(kWan), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 1, 0), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_AddInstance_Force("InternetGatewayDevice.WANDevice.1.Table.", 1), CM_INVALID);
}

TEST(AddInstance, RefusesAnExistingEnabledInstance) {
  const std::string before = table_of({1, 2});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 2), CM_EXISTS);
  EXPECT_EQ(live_outline(), before);
}

TEST(AddInstance, CreatesADuplicateBehindADisabledInstance) {
  const LiveTree tree{table_of({1, 3, 4})};
  set(*object_at("InternetGatewayDevice.WANDevice.3."), kDisabled);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 3), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 4
  WANDevice.
    0. [1]
      Enable = 0
    1. [1]
      Enable = was 1
    3. [3]
      Enable = was 3
    3. [9]
      Enable = 0
    4. [1]
      Enable = was 4
)");
}

TEST(AddInstance, PassesOverObjectsThatAreNoInstance) {
  const LiveTree tree{R"(InternetGatewayDevice.
  WANDevice.
    0.
    2.
    Other.
    Slot10.
)"};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 3), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2. Other. Slot10. 3.");
}

TEST(AddInstance, NeedsNoCounter) {
  const LiveTree tree{"InternetGatewayDevice.\n  WANDevice.\n    0.\n"};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 1), CM_OK);
  EXPECT_EQ(live_outline(), "InternetGatewayDevice.\n  WANDevice.\n    0.\n    1. [8]\n");
}

TEST(AddInstance, CopiesTheTemplateWithEmptyTables) {
  const LiveTree tree{kNested};
  EXPECT_EQ(CM_CORE_AddInstance(kWan, 2), CM_OK);
  EXPECT_EQ(outline_of(object_at("InternetGatewayDevice.WANDevice.2.")), R"(2. [9]
  WANConnectionNumberOfEntries = 0
  Enable [1] = 1
  Notes
  WANCommonInterfaceConfig. [2]
    Access = DSL
    Stats.
      Sent = 0
  WANConnectionDevice.
  WANEthernetInterfaceConfig.
    Status = Up
)");
}

TEST(AddInstance, TakesTheTemplateOfANestedTableFromTheTopLevelChain) {
  const LiveTree tree{kNested};
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.", 2),
            CM_OK);
  EXPECT_EQ(outline_of(object_at("InternetGatewayDevice.WANDevice.1.")), R"(1. [1]
  WANConnectionNumberOfEntries = 2
  Enable [1] = 1
  WANConnectionDevice.
    1. [1]
      Name = own
    2. [8]
      Name = template
)");
  EXPECT_EQ(value_at(kWanCounter), "1");
}

TEST(AddInstance, TakesNoTemplateFromAnExistingInstance) {
  static constexpr char kOutline[] = R"(InternetGatewayDevice.
  WANDevice.
    0.
    1.
      WANConnectionDevice.
        0.
)";
  const LiveTree tree{kOutline};
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.", 1),
            CM_NOT_FOUND);
  EXPECT_EQ(live_outline(), kOutline);
}

TEST(AddInstance, CollapsesARepeatedTable) {
  const LiveTree tree{table_of({1})};
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice.WANDevice.", 2), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2.");
  EXPECT_EQ(CM_CORE_AddInstance("InternetGatewayDevice.WANDevice.1.", 1), CM_EXISTS);
}

TEST(AddInstance, RefusesAPathPastItsBound) {
  // The root's name is 3 characters, so that the collapsed path takes every length.
  const LiveTree tree{R"(Ro.
  T.
    0.
)"};
  std::string table;
  while (table.size() < 32762)
    table += "Ro.";
  table += "T.";
  ASSERT_EQ(table.size(), 32765U);
  EXPECT_EQ(CM_CORE_AddInstance(table, 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(table + "T.", 2), CM_INVALID);
  EXPECT_EQ(children_of("Ro.T."), "0. 1.");
}

TEST(AddInstance, RefusesAnInstanceWhosePathWouldPassItsBound) {
  Node* table = nullptr;
  cml_root = test::build_chain(32765, &table).release();
  table->children = build_tree("0.\n").release();
  table->children->parent = table;
  std::array<char, kPathBufferSize> path;
  ASSERT_EQ(CM_CORE_GetURIByObjNode(table, path), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(path.data(), 100), CM_INVALID);
  EXPECT_EQ(children_of(table), "0.");
  EXPECT_EQ(CM_CORE_AddInstance(path.data(), 99), CM_OK);
  EXPECT_EQ(children_of(table), "0. 99.");
  ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr)));
}

TEST(AddInstance, RefusesAnInstanceInsideWhichAPathWouldPassItsBound) {
  Node* last = nullptr;
  cml_root = test::build_chain(kPathBufferSize - 1 - 4, &last).release();  // "0." and "PQ" just fit
  NodePtr table = build_tree("0.\n  PQ\n");
  table->parent = last;
  last->children = table.release();
  OwnedText path;
  ASSERT_EQ(CM_UTL_Node2URI(last, &path), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(path.view(), 9), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(path.view(), 10), CM_INVALID);
  // Nor does a row get there by renumbering.
  EXPECT_EQ(CM_CORE_InsertInstance(path.view(), 9), CM_INVALID);
  EXPECT_EQ(children_of(last), "0. 9.");
  ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr)));
}

TEST(AddInstance, EndsWhereTheTreeIsFull) {
  std::string outline = "R.\n  T.\n    0.\n";
  constexpr std::size_t kParameters = 2000;
  for (std::size_t i = 0; i < kParameters; ++i)
    outline += "      P\n";
  const LiveTree tree{outline};
  int rows = 0;
  Status status = CM_OK;
  while ((status = CM_CORE_AddInstance("R.T.", rows + 1)) == CM_OK)
    ++rows;
  EXPECT_EQ(status, CM_NO_MEMORY);
  EXPECT_EQ(rows, static_cast<int>((kRecordsMax - 2) / (kParameters + 1)) - 1);
  EXPECT_EQ(object_at("R.T." + std::to_string(rows) + ".")->next, nullptr);
  EXPECT_EQ(CM_CORE_DelInstance("R.T.", 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance("R.T.", 1), CM_OK);
}

TEST(AddInstance, EndsWhereTheTextsAreTooLong) {
  const LiveTree tree{"R.\n  T.\n    0.\n      P\n"};
  Parameter* param = parameter_at("R.T.0.P");
  ASSERT_TRUE(param->value.assign(std::string(32000, 'v')));
  int rows = 0;
  while (CM_CORE_AddInstance("R.T.", rows + 1) == CM_OK)
    ++rows;
  EXPECT_EQ(rows, 524);
  // A value that is longer has no room either; with a few rows less it has.
  const std::string longer(32000 + 32000, 'w');
  EXPECT_EQ(CM_CORE_SetValueByURI("R.T.1.P", longer.c_str()), CM_NO_MEMORY);
  for (const int row : {2, 3, 4})
    EXPECT_EQ(CM_CORE_DelInstance("R.T.", row), CM_OK);
  EXPECT_EQ(CM_CORE_SetValueByURI("R.T.1.P", longer.c_str()), CM_OK);
}

TEST(AddInstance, WithoutMemoryLeavesTheTable) {
  std::size_t counter_failures = 0;
  const auto check = [&counter_failures](Status status, const std::string& after) {
    if (status == CM_OK) {
      // The instance is there before it is counted; a counter that cannot grow stays behind.
      ++counter_failures;
      EXPECT_NE(after.find("WANDeviceNumberOfEntries = 1\n"), std::string::npos);
      EXPECT_NE(after.find("    2. [9]\n"), std::string::npos);
      return;
    }
    EXPECT_TRUE(status == CM_NO_MEMORY || status == CM_INVALID) << status;
    EXPECT_EQ(after, kNested);
  };
  // 27 texts and records of the copy, its name, its path and the counter.
  EXPECT_EQ(sweep_operation(
                kNested, [] { return CM_CORE_AddInstance(kWan, 2); }, check),
            2U * 30);
  EXPECT_EQ(counter_failures, 2U);
}

TEST(AddInstance, WithoutMemoryForTheNameIsInvalid) {
  static constexpr char kOutline[] = "R.\n  TNumberOfEntries = 0\n  T.\n    0.\n";
  std::string results;
  EXPECT_EQ(sweep_operation(
                kOutline, [] { return CM_CORE_AddInstance("R.T.", 1); },
                [&results](Status status, const std::string& after) {
                  results += std::to_string(status) + ' ';
                  if (status != CM_OK) {
                    EXPECT_EQ(after, kOutline);
                  }
                }),
            10U);
  // The record, the template's name, the instance's own name, its path, the counter; once, then
  // for good.
  EXPECT_EQ(results, "4 4 -100 4 0 4 4 -100 4 0 ");
}

// --- Copying

TEST(SubTreeCopy, OfTheTopClearsTheDisabledBitAndLeavesSiblings) {
  const NodePtr table = build_tree(R"(Table.
  Source. [7]
    P = x
    A. [2]
    1Row. [1]
    B.
    Slot10.
    C.
  Sibling.
)");
  Node target;
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(table->children, &target, 1), CM_OK);
  // Siblings: instances are skipped, a template (and what reads like one) ends the copy.
  EXPECT_EQ(outline_of(&target), R"(Source. [5]
  P = x
  A. [2]
  B.
)");
  EXPECT_EQ(target.next, nullptr);
  ignore(CM_UTL_FreePara(target.params));
  ignore(CM_UTL_FreeNode(target.children));
}

TEST(SubTreeCopy, InsideDisablesInstancesAndTakesSiblings) {
  const NodePtr table = build_tree(R"(Table.
  0. [1]
    P = x
  1. [1]
  Other. [1]
)");
  const NodePtr parent = new_node();
  NodePtr target = new_node();
  target->parent = parent.get();
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(table->children, target.get(), 0), CM_OK);
  ASSERT_TRUE(parent->name.assign("Copy."));
  parent->children = target.release();
  EXPECT_EQ(outline_of(parent.get()), "Copy.\n  0. [3]\n    P = x\n  Other. [1]\n");
}

TEST(SubTreeCopy, StopsAtASiblingWithoutName) {
  const NodePtr table = build_tree("Table.\n  A.\n  B.\n  C.\n");
  table->children->next->name.reset();
  const NodePtr target = new_node();
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(table->children, target.get(), 0), CM_OK);
  EXPECT_STREQ(target->name.get(), "A.");
  EXPECT_EQ(target->next, nullptr);
}

TEST(SubTreeCopy, LeavesTheShortName) {
  const NodePtr source = build_tree("A.\n  P = x\n");
  ASSERT_TRUE(source->sname.assign("a"));
  const NodePtr target = new_node();
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(source.get(), target.get(), 1), CM_OK);
  EXPECT_EQ(target->sname.get(), nullptr);
  EXPECT_EQ(target->params->parent, target.get());
}

TEST(SubTreeCopy, OfParametersTakesEverythingButTheShortName) {
  const NodePtr source = build_tree("A.\n  P [41] = x\n  Q\n  R =\n");
  Parameter* first = source->params;
  first->type = kInt;
  first->min = -5;
  first->max = 70000;
  first->getter = reinterpret_cast<const GetterRow*>(&first);
  ASSERT_TRUE(first->enumeration.assign("a,b"));
  ASSERT_TRUE(first->sname.assign("p"));
  const NodePtr target = build_tree("B.\n");
  target->params = new_parameter().release();
  target->params->parent = target.get();
  EXPECT_EQ(CM_CORE_SubTreeCopy_Para(first, target->params), CM_OK);
  EXPECT_EQ(outline_of(target.get()), "B.\n  P [41] = x\n  Q\n  R =\n");
  const Parameter* copy = target->params;
  EXPECT_EQ(copy->type, kInt);
  EXPECT_EQ(copy->min, -5);
  EXPECT_EQ(copy->max, 70000);
  EXPECT_EQ(copy->getter, first->getter);
  EXPECT_STREQ(copy->enumeration.get(), "a,b");
  EXPECT_EQ(copy->sname.get(), nullptr);
  EXPECT_NE(copy->value.get(), first->value.get());
  EXPECT_EQ(copy->next->type, kUnknownType);
  EXPECT_EQ(copy->next->enumeration.get(), nullptr);
}

TEST(SubTreeCopy, OfParametersStartsAnywhereInTheList) {
  const NodePtr source = build_tree("A.\n  P = x\n  Q = y\n");
  const ParameterPtr target = new_parameter();
  EXPECT_EQ(CM_CORE_SubTreeCopy_Para(source->params->next, target.get()), CM_OK);
  EXPECT_STREQ(target->name.get(), "Q");
  EXPECT_EQ(target->next, nullptr);
}

TEST(SubTreeCopy, NeedsBothRecords) {
  Node node;
  Parameter param;
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(nullptr, &node, 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_SubTreeCopy_Node(&node, nullptr, 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_SubTreeCopy_Para(nullptr, &param), CM_INVALID);
  EXPECT_EQ(CM_CORE_SubTreeCopy_Para(&param, nullptr), CM_INVALID);
}

TEST(SubTreeCopy, WithoutMemoryLeavesAPartThatCanBeFreed) {
  const auto operation = [] {
    const NodePtr target = new_node();
    return target ? CM_CORE_SubTreeCopy_Node(object_at("InternetGatewayDevice.WANDevice.0."),
                                             target.get(), 1)
                  : CM_NO_MEMORY;
  };
  const auto check = [](Status status, const std::string& after) {
    EXPECT_EQ(status, CM_NO_MEMORY);
    EXPECT_EQ(after, kNested);
  };
  EXPECT_EQ(sweep_operation(kNested, operation, check), 2U * 27);
}

// --- Inserting

TEST(InsertInstance, ShiftsTheConsecutiveRun) {
  const LiveTree tree{table_of({1, 2, 3, 6})};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 2), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 5
  WANDevice.
    0. [1]
      Enable = 0
    1. [1]
      Enable = was 1
    2. [9]
      Enable = 0
    3. [1]
      Enable = was 2
    4. [1]
      Enable = was 3
    6. [1]
      Enable = was 6
)");
}

TEST(InsertInstance, ShiftsUpToTheLastInstance) {
  const LiveTree tree{table_of({1, 2, 3})};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2. 3. 4.");
}

TEST(InsertInstance, AddsAFreeNumberWithoutShifting) {
  const LiveTree tree{table_of({1, 3})};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 2), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2. 3.");
  EXPECT_EQ(value_at("InternetGatewayDevice.WANDevice.3.Enable"), "was 3");
}

TEST(InsertInstance, RefusesNumbersThatDoNotAscend) {
  const LiveTree tree{table_of({1, 2, 2})};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 1), CM_REFUSED);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 3
  WANDevice.
    0. [1]
      Enable = 0
    2. [1]
      Enable = was 1
    3. [1]
      Enable = was 2
    2. [1]
      Enable = was 2
)");
}

TEST(InsertInstance, RefusesObjectsBehindTheRun) {
  const LiveTree tree{"R.\n  T.\n    0.\n    1.\n    Other.\n"};
  EXPECT_EQ(CM_CORE_InsertInstance("R.T.", 1), CM_REFUSED);
  EXPECT_EQ(children_of("R.T."), "0. 2. Other.");
}

TEST(InsertInstance, RefusesToShiftTheGreatestNumber) {
  const LiveTree tree{table_of({2147483646, 2147483647})};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 2147483647), CM_REFUSED);
  EXPECT_EQ(children_of(kWan), "0. 2147483646. 2147483647.");
}

TEST(InsertInstance, RefusesBadArgumentsAndMissingTables) {
  const std::string before = table_of({1});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, 0), CM_INVALID);
  EXPECT_EQ(CM_CORE_InsertInstance(kWan, -3), CM_INVALID);
  EXPECT_EQ(CM_CORE_InsertInstance("InternetGatewayDevice.WANDevice", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_InsertInstance({}, 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_InsertInstance("InternetGatewayDevice.LANDevice.", 1), CM_NOT_FOUND);
  EXPECT_EQ(live_outline(), before);
}

TEST(InsertInstance, WithoutATemplateHasShiftedAlready) {
  const LiveTree tree{"R.\n  T.\n    1.\n    2.\n"};
  EXPECT_EQ(CM_CORE_InsertInstance("R.T.", 1), CM_NOT_FOUND);
  EXPECT_EQ(children_of("R.T."), "2. 3.");
}

TEST(InsertInstance, WithoutMemoryLeavesWhatWasRenumbered) {
  static constexpr char kOutline[] =
      "R.\n  TNumberOfEntries = 2\n  T.\n    0.\n    1. [1]\n    2. [1]\n";
  std::string results;
  EXPECT_EQ(sweep_operation(
                kOutline, [] { return CM_CORE_InsertInstance("R.T.", 1); },
                [&results](Status status, const std::string& after) {
                  results += std::to_string(status) + ": ";
                  const NodePtr tree = build_tree(after);
                  results += std::string{tree->params->value.get()} + ": ";
                  results += children_of(tree->children) + '\n';
                }),
            2U * 7);
  constexpr char kEach[] =
      "4: 2: 0. 1. 2.\n"
      "4: 2: 0. 2. 2.\n"
      "4: 2: 0. 2. 3.\n"
      "4: 2: 0. 2. 3.\n"
      "-100: 2: 0. 2. 3.\n"
      "4: 2: 0. 2. 3.\n"
      "0: 2: 0. 1. 2. 3.\n";
  EXPECT_EQ(results, std::string{kEach} + kEach);
}

// --- Deleting

TEST(DelInstance, FreesTheSubtreeAndCountsItDown) {
  const LiveTree tree{kNested};
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0.");
  EXPECT_EQ(value_at(kWanCounter), "0");
}

TEST(DelInstance, TakesOneOfSeveral) {
  const LiveTree tree{table_of({1, 2, 5})};
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 2), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 5.");
  EXPECT_EQ(value_at(kWanCounter), "2");
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 5), CM_OK);
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0.");
  EXPECT_EQ(value_at(kWanCounter), "0");
}

TEST(DelInstance, KeepsACounterOfZero) {
  const LiveTree tree{table_of({1})};
  ASSERT_EQ(CM_CORE_SetValueByURI(kWanCounter, "0"), CM_OK);
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 1), CM_OK);
  EXPECT_EQ(value_at(kWanCounter), "0");
}

TEST(DelInstance, RefusesBadArgumentsAndMissingInstances) {
  const std::string before = table_of({1});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 0), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelInstance(kWan, -1), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelInstance("InternetGatewayDevice.WANDevice", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelInstance({}, 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 2), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_DelInstance("InternetGatewayDevice.LANDevice.", 1), CM_NOT_FOUND);
  EXPECT_EQ(live_outline(), before);
}

TEST(DelInstance, OfARepeatedSegmentDeletesThatInstance) {
  const LiveTree tree{table_of({1, 2})};
  EXPECT_EQ(CM_CORE_DelInstance("InternetGatewayDevice.WANDevice.1.", 1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 2.");
  EXPECT_EQ(value_at(kWanCounter), "1");
}

TEST(DelInstance, TakesTheFirstOfTwins) {
  const LiveTree tree{table_of({3, 3})};
  object_at(kWan)->children->next->attributes = 2;
  EXPECT_EQ(CM_CORE_DelInstance(kWan, 3), CM_OK);
  EXPECT_EQ(outline_of(object_at(kWan)), R"(WANDevice.
  0. [1]
    Enable = 0
  3. [1]
    Enable = was 3
)");
}

TEST(DelInstance, CannotDeleteTheRoot) {
  const LiveTree tree{"7.\n  7.\n"};
  EXPECT_EQ(CM_CORE_DelInstance("7.", 7), CM_INVALID);
  EXPECT_EQ(live_outline(), "7.\n  7.\n");
}

TEST(DelNode, DeletesAnyObject) {
  const LiveTree tree{kNested};
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.WANDevice.0."), CM_OK);
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.WANDevice.1.WANConnectionDevice."), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 1
  WANDevice.
    1. [1]
      WANConnectionNumberOfEntries = 1
      Enable [1] = 1
)");
}

TEST(DelNode, NeitherCountsNorRecords) {
  const LiveTree tree{R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 1
  WANDevice.
    0.
    1. [1]
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
)"};
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.WANDevice.1."), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 1
  WANDevice.
    0.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
)");
}

TEST(DelNode, RefusesTheRootAndBadPaths) {
  const LiveTree tree{kNested};
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice."), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.InternetGatewayDevice."), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.WANDevice"), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode(""), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode({}), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode("InternetGatewayDevice.LANDevice."), CM_NOT_FOUND);
  EXPECT_EQ(live_outline(), kNested);
}

// --- Renumbering

TEST(ReArrange, ClosesAGap) {
  const LiveTree tree{table_of({1, 2, 4, 5})};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 3, 0), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  WANDeviceNumberOfEntries = 4
  WANDevice.
    0. [1]
      Enable = 0
    1. [1]
      Enable = was 1
    2. [1]
      Enable = was 2
    3. [1]
      Enable = was 4
    4. [1]
      Enable = was 5
)");
}

TEST(ReArrange, FromOneWithoutInstanceOne) {
  const LiveTree tree{table_of({2, 3})};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 1, 0), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2.");
}

TEST(ReArrange, StartsAtTheFirstNumberWhenTheOneBeforeIsMissing) {
  const LiveTree tree{table_of({1, 5, 9})};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 5, 0), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 4. 5.");
}

TEST(ReArrange, StopsAfterCountInstances) {
  const LiveTree tree{table_of({1, 3, 5, 7})};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 1, 3), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2. 3. 7.");
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 1, -1), CM_OK);
  EXPECT_EQ(children_of(kWan), "0. 1. 2. 3. 4.");
}

TEST(ReArrange, StopsAtAnObjectThatIsNoInstance) {
  const LiveTree tree{"R.\n  T.\n    1.\n    3.\n    Other.\n    9.\n"};
  EXPECT_EQ(CM_CORE_InstanceReArrange("R.T.", 1, 0), CM_OK);
  EXPECT_EQ(children_of("R.T."), "1. 2. Other. 9.");
}

TEST(ReArrange, StopsAtANodeWithoutName) {
  const LiveTree tree{"R.\n  T.\n    1.\n    3.\n    9.\n"};
  object_at("R.T.3.")->name.reset();
  EXPECT_EQ(CM_CORE_InstanceReArrange("R.T.", 1, 0), CM_OK);
  EXPECT_EQ(outline_of(object_at("R.T.")), "T.\n  1.\n  <none>\n  9.\n");
}

TEST(ReArrange, RefusesAStartBelowOne) {
  const std::string before = table_of({2});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 0, 0), CM_REFUSED);
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, -1, 0), CM_REFUSED);
  EXPECT_EQ(CM_CORE_InstanceReArrange("no such table", 0, 0), CM_REFUSED);
  EXPECT_EQ(live_outline(), before);
}

TEST(ReArrange, FindsNoTableOrNoInstanceToStartAt) {
  const std::string before = table_of({1, 2, 5});
  const LiveTree tree{before};
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 4, 0), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_InstanceReArrange(kWan, 2147483647, 0), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_InstanceReArrange("InternetGatewayDevice.LANDevice.", 1, 0), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_InstanceReArrange("InternetGatewayDevice.WANDevice", 1, 0), CM_INVALID);
  EXPECT_EQ(live_outline(), before);
}

TEST(ReArrange, EndsAtTheGreatestNumber) {
  const LiveTree tree{"R.\n  T.\n    2147483646.\n    2147483647.\n    2147483647.\n"};
  EXPECT_EQ(CM_CORE_InstanceReArrange("R.T.", 2147483647, 0), CM_OK);
  EXPECT_EQ(children_of("R.T."), "2147483646. 2147483647. 2147483647.");
}

TEST(ReArrange, WithoutMemoryLeavesWhatWasRenumbered) {
  std::string results;
  EXPECT_EQ(sweep_operation(
                "R.\n  T.\n    1.\n    3.\n    5.\n",
                [] { return CM_CORE_InstanceReArrange("R.T.", 1, 0); },
                [&results](Status status, const std::string& after) {
                  results += std::to_string(status) + ": " +
                             children_of(build_tree(after)->children) + '\n';
                }),
            4U);
  EXPECT_EQ(results, "4: 1. 3. 5.\n4: 1. 2. 5.\n4: 1. 3. 5.\n4: 1. 2. 5.\n");
}

// --- Adding with the enclosing instances

constexpr char kChain[] = R"(R.
  TNumberOfEntries = 0
  T.
    0.
      UNumberOfEntries = 0
      U.
        0.
          In.
            V.
              0.
                P = v
)";

TEST(AddInstanceForce, CreatesTheEnclosingInstances) {
  const LiveTree tree{kChain};
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.2.U.3.In.V.", 4), CM_OK);
  EXPECT_EQ(outline_of(object_at("R.T.2.")), R"(2. [8]
  UNumberOfEntries = 1
  U.
    3. [8]
      In.
        V.
          4. [8]
            P = v
)");
  EXPECT_EQ(value_at("R.TNumberOfEntries"), "1");
}

TEST(AddInstanceForce, TakesAnExistingInstanceForSuccess) {
  const LiveTree tree{kChain};
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.", 1), CM_OK);
  const std::string before = live_outline();
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.", 1), CM_OK);
  EXPECT_EQ(live_outline(), before);
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.1.U.", 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.1.U.", 2), CM_OK);
  EXPECT_EQ(children_of("R.T.1.U."), "1. 2.");
}

TEST(AddInstanceForce, FailsWithInvalidAlone) {
  const LiveTree tree{kChain};
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.", 0), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force({}, 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force("", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.W.", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.W.1.U.", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_AddInstance_Force("7.", 1), CM_INVALID);
  EXPECT_EQ(live_outline(), kChain);
}

TEST(AddInstanceForce, KeepsEnclosingInstancesThatItCreated) {
  const LiveTree tree{kChain};
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.2.W.", 1), CM_INVALID);
  EXPECT_EQ(children_of("R.T."), "0. 2.");
}

TEST(AddInstanceForce, PassesOverTemplatesAndOtherSegments) {
  const LiveTree tree{kChain};
  // Between the missing table and instance 2 stand a template and a name that are passed over.
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T.2.U.0.In.V.", 1), CM_INVALID);
  EXPECT_EQ(children_of("R.T."), "0. 2.");
}

TEST(AddInstanceForce, ReadsSegmentsOfUpTo95Characters) {
  const LiveTree tree{kChain};
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T." + std::string(95, '0') + "1.U.", 1), CM_INVALID);
  EXPECT_EQ(children_of("R.T."), "0.");
  // The segment reads as 1; the instance that is made for it does not bear those zeros.
  EXPECT_EQ(CM_CORE_AddInstance_Force("R.T." + std::string(94, '0') + "1.U.", 1), CM_INVALID);
  EXPECT_EQ(children_of("R.T."), "0. 1.");
}

TEST(AddInstanceForce, GoesAsDeepAsAPathCan) {
  const LiveTree tree{"R.\n"};
  std::string path = "R.";
  while (path.size() + 2 <= 32768)
    path += "1.";
  EXPECT_EQ(CM_CORE_AddInstance_Force(path, 1), CM_INVALID);
  EXPECT_EQ(live_outline(), "R.\n");
}

// --- Listing

std::string instance_list(std::string_view path) {
  std::array<char, kPathBufferSize> buffer{};
  std::memcpy(buffer.data(), path.data(), path.size());
  const Status status = CM_CORE_GetInstanceList(buffer.data(), kPathBufferSize);
  return (status == CM_OK ? "" : std::to_string(status) + " ") + buffer.data();
}

TEST(GetInstanceList, ListsTheNumbersInOrder) {
  const LiveTree tree{table_of({1, 12})};
  EXPECT_EQ(instance_list(kWan), "1,12,");
}

TEST(GetInstanceList, AsksForNoSize) {
  const LiveTree tree{table_of({1, 12})};
  std::array<char, kPathBufferSize> buffer;
  for (const int size : {0, -1, 3}) {
    std::strcpy(buffer.data(), kWan);
    EXPECT_EQ(CM_CORE_GetInstanceList(buffer.data(), size), CM_OK);
    EXPECT_STREQ(buffer.data(), "1,12,");
  }
}

TEST(GetInstanceList, ListsOnlyNumbersAboveZero) {
  const LiveTree tree{R"(R.
  T.
    0.
    5.
    Other.
    2.
    -3.
    Slot10.
    007.
    5x.
)"};
  EXPECT_EQ(instance_list("R.T."), "5,2,007,5x,");
}

TEST(GetInstanceList, IsEmptyForAnEmptyOrMissingTable) {
  const LiveTree tree{table_of({})};
  EXPECT_EQ(instance_list(kWan), "");
  EXPECT_EQ(instance_list("InternetGatewayDevice.LANDevice."), "");
  EXPECT_EQ(instance_list("InternetGatewayDevice.."), "");
}

TEST(GetInstanceList, NeedsTheObjectAroundTheTable) {
  const LiveTree tree{table_of({1})};
  EXPECT_EQ(instance_list("InternetGatewayDevice."), "-100 InternetGatewayDevice.");
  EXPECT_EQ(instance_list("InternetGatewayDevice.LANDevice.1.Hosts."),
            "-100 InternetGatewayDevice.LANDevice.1.Hosts.");
  EXPECT_EQ(instance_list("WANDevice."), "-100 WANDevice.");
  EXPECT_EQ(instance_list("."), "-100 .");
  EXPECT_EQ(instance_list(""), "-100 ");
}

TEST(GetInstanceList, WithoutATreeFails) {
  ASSERT_EQ(cml_root, nullptr);
  EXPECT_EQ(instance_list(kWan), std::string{"-100 "} + kWan);
}

TEST(GetInstanceList, DropsTheLastCharacterWhateverItIs) {
  const LiveTree tree{table_of({1, 2})};
  EXPECT_EQ(instance_list("InternetGatewayDevice.WANDevice#"), "1,2,");
}

TEST(GetInstanceList, SearchesTheTableAmongTheChildrenOnly) {
  const LiveTree tree{table_of({1, 2})};
  EXPECT_EQ(instance_list("InternetGatewayDevice.WANDevice.WANDevice."), "");
}

TEST(GetInstanceList, CutsNumbersOfFiveDigits) {
  const LiveTree tree{table_of({9999, 10000, 123456})};
  EXPECT_EQ(instance_list(kWan), "9999,1000,1234,");
}

TEST(GetInstanceList, RefusesAListPastItsBuffer) {
  const LiveTree tree{"R.\n  T.\n"};
  Node* table = object_at("R.T.");
  for (int n = 0; n < 6553; ++n) {
    NodePtr row = new_node();
    ASSERT_TRUE(row->name.assign("1234."));
    row->parent = table;
    row->next = table->children;
    table->children = row.release();
  }
  ASSERT_TRUE(table->children->name.assign("12."));
  ASSERT_TRUE(table->children->next->name.assign("123."));
  EXPECT_EQ(instance_list("R.T.").size(), 32765U - 3);
  NodePtr row = new_node();
  ASSERT_TRUE(row->name.assign("1234."));
  row->parent = table;
  row->next = table->children;
  table->children = row.release();
  EXPECT_EQ(instance_list("R.T.").size(), 32767U);
  ASSERT_TRUE(table->children->next->name.assign("123."));
  EXPECT_EQ(instance_list("R.T.").size(), 32768U);
  ASSERT_TRUE(table->children->next->name.assign("1234."));
  EXPECT_EQ(instance_list("R.T."), "-100 R.T.");
}

}  // namespace
}  // namespace gwconf
