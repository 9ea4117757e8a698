#include "core/counter.h"

#include <string>

#include <gtest/gtest.h>

#include "core/path.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::object_at;
using test::sweep_operation;

std::string counter_of(std::string_view outline) {
  const NodePtr tree = build_tree(outline);
  const Parameter* counter = CM_CORE_GetObjOfNumberOfEntries(tree->children);
  return counter ? counter->name.get() : "none";
}

TEST(Counter, IsNamedAfterTheTable) {
  EXPECT_EQ(counter_of("R.\n  WANDeviceNumberOfEntries\n  WANDevice.\n"),
            "WANDeviceNumberOfEntries");
}

TEST(Counter, IsNamedAfterTheTableLessSixCharacters) {
  EXPECT_EQ(counter_of("R.\n  WANConnectionNumberOfEntries\n  WANConnectionDevice.\n"),
            "WANConnectionNumberOfEntries");
  EXPECT_EQ(
      counter_of("R.\n  LANEthernetInterfaceNumberOfEntries\n  LANEthernetInterfaceConfig.\n"),
      "LANEthernetInterfaceNumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  ANumberOfEntries\n  ABCDEFG.\n"), "ANumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  NumberOfEntries\n  ABCDEF.\n"), "none");
}

TEST(Counter, IsNamedAfterTheTableLessThreeCharacters) {
  EXPECT_EQ(counter_of("R.\n  WANDevNumberOfEntries\n  WANDevice.\n"), "WANDevNumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  ANumberOfEntries\n  ABCD.\n"), "ANumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  NumberOfEntries\n  ABC.\n"), "none");
}

TEST(Counter, IsNamedAfterTheTableBehindLan) {
  EXPECT_EQ(counter_of("R.\n  LANWLANConfigurationNumberOfEntries\n  WLANConfiguration.\n"),
            "LANWLANConfigurationNumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  LANWLANConfigNumberOfEntries\n  WLANConfiguration.\n"), "none");
}

TEST(Counter, IsTheFirstParameterThatMatchesAnyName) {
  EXPECT_EQ(counter_of(R"(R.
  Other
  LANABCDEFGNumberOfEntries
  ABCDNumberOfEntries
  ANumberOfEntries
  ABCDEFGNumberOfEntries
  ABCDEFG.
)"),
            "LANABCDEFGNumberOfEntries");
  EXPECT_EQ(counter_of("R.\n  abcNumberOfEntries\n  ABCNumberOfEntry\n  ABC.\n"), "none");
  EXPECT_EQ(counter_of("R.\n  XABCNumberOfEntries\n  ABCNumberOfEntriesX\n  ABC.\n"), "none");
}

TEST(Counter, NeedsAParentAndADot) {
  const NodePtr tree = build_tree("WAN.\n  WANNumberOfEntries\n  WAN.\n  Other.\n    WAN.\n");
  EXPECT_EQ(CM_CORE_GetObjOfNumberOfEntries(tree.get()), nullptr);
  EXPECT_EQ(CM_CORE_GetObjOfNumberOfEntries(tree->children->next->children), nullptr);
  ASSERT_TRUE(tree->children->name.assign("WAN"));
  EXPECT_EQ(CM_CORE_GetObjOfNumberOfEntries(tree->children), nullptr);
}

/// The counter's value after one change, from the value given; "-" stands for none.
std::string counted(const char* value, unsigned decrement, Status expected = CM_OK) {
  const NodePtr tree = build_tree("R.\n  TNumberOfEntries [5]\n  T.\n    1.\n");
  Parameter* counter = tree->params;
  if (value) {
    EXPECT_TRUE(counter->value.assign(std::string_view{value}));
  }
  EXPECT_EQ(CM_CORE_NumberOfEntriesModify(tree->children->children, decrement), expected);
  EXPECT_EQ(counter->attributes, 5);
  return counter->value ? counter->value.get() : "-";
}

TEST(CounterModify, CountsUpAndDown) {
  EXPECT_EQ(counted("0", 0), "1");
  EXPECT_EQ(counted("9", 0), "10");
  EXPECT_EQ(counted("10", 1), "9");
  EXPECT_EQ(counted("1", 1), "0");
  EXPECT_EQ(counted(" +7 rows", 0), "8");
  EXPECT_EQ(counted("007", 1), "6");
}

TEST(CounterModify, NeverCountsBelowZero) {
  EXPECT_EQ(counted("0", 1), "0");
  EXPECT_EQ(counted("-3", 1), "-3");
  EXPECT_EQ(counted("-3", 0), "-2");
}

TEST(CounterModify, TakesNoValueForZero) {
  EXPECT_EQ(counted(nullptr, 0), "1");
  EXPECT_EQ(counted(nullptr, 1), "0");
  EXPECT_EQ(counted("", 0), "1");
  EXPECT_EQ(counted("many", 0), "1");
}

TEST(CounterModify, SaturatesWhatThirtyTwoBitsDoNotHold) {
  EXPECT_EQ(counted("2147483646", 0), "2147483647");
  EXPECT_EQ(counted("2147483647", 0), "2147483647");
  EXPECT_EQ(counted("99999999999", 0), "2147483647");
  EXPECT_EQ(counted("99999999999", 1), "2147483646");
  EXPECT_EQ(counted("-99999999999", 1), "-2147483648");
}

TEST(CounterModify, RefusesBadArguments) {
  EXPECT_EQ(counted("5", 2, CM_INVALID), "5");
  EXPECT_EQ(counted("5", 0xFFFFFFFFU, CM_INVALID), "5");
  const NodePtr tree = build_tree("R.\n  RNumberOfEntries = 1\n  T.\n    1.\n");
  EXPECT_EQ(CM_CORE_NumberOfEntriesModify(tree.get(), 0), CM_INVALID);
  EXPECT_EQ(CM_CORE_NumberOfEntriesModify(tree->children, 0), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_NumberOfEntriesModify(tree->children->children, 1), CM_NOT_FOUND);
}

TEST(CounterModify, WithoutMemoryKeepsTheOldValue) {
  static constexpr char kOutline[] = "R.\n  TNumberOfEntries = 5\n  T.\n    1.\n";
  const auto check = [](Status status, const std::string& after) {
    EXPECT_EQ(status, CM_INVALID);
    EXPECT_EQ(after, kOutline);
  };
  EXPECT_EQ(
      sweep_operation(
          kOutline, [] { return CM_CORE_NumberOfEntriesModify(object_at("R.T.1."), 0); }, check),
      2U);
}

TEST(CounterModify, WithoutMemoryForAMissingValueIsInvalid) {
  std::string results;
  EXPECT_EQ(sweep_operation(
                "R.\n  TNumberOfEntries\n  T.\n    1.\n",
                [] { return CM_CORE_NumberOfEntriesModify(object_at("R.T.1."), 0); },
                [&results](Status status, const std::string& after) {
                  EXPECT_EQ(status, CM_INVALID);
                  results += after.substr(5, after.find("\n  T.") - 5) + '|';
                }),
            4U);
  EXPECT_EQ(results, "TNumberOfEntries|TNumberOfEntries =|TNumberOfEntries|TNumberOfEntries =|");
}

std::string real_instances(const Parameter* counter) {
  std::int32_t count = 77;
  const Status status = CM_CORE_GetNonVirtualNumberOfEntries(counter, &count);
  return status == CM_OK ? std::to_string(count)
                         : std::to_string(status) + " " + std::to_string(count);
}

TEST(NonVirtualCount, CountsInstancesWithTheWritableBit) {
  const NodePtr tree = build_tree(R"(R.
  WANDeviceNumberOfEntries = 9
  WANDevice.
    0. [1]
    1. [1]
    2. [8]
    3. [9]
    4. [254]
  LANDeviceNumberOfEntries = 9
  LANDevice.
)");
  EXPECT_EQ(real_instances(tree->params), "2");
  EXPECT_EQ(real_instances(tree->params->next), "0");
}

TEST(NonVirtualCount, KnowsOnlyTheFirstOfTheCounterNames) {
  const NodePtr tree = build_tree(R"(R.
  WANConnectionNumberOfEntries = 1
  LANWLANConfigurationNumberOfEntries = 1
  WANConnectionDevice.
    1. [1]
  WLANConfiguration.
    1. [1]
)");
  EXPECT_EQ(real_instances(tree->params), "2 0");
  EXPECT_EQ(real_instances(tree->params->next), "2 0");
}

TEST(NonVirtualCount, NeedsACounterAndItsTableBesideIt) {
  const NodePtr tree = build_tree(R"(R.
  Enable = 1
  RNumberOfEntries = 1
  TNumberOfEntriesX = 1
  TNumberOfEntries = 1
  NumberOfEntries = 1
  Sub.
    T.
      1. [1]
  Tx.
    1. [1]
)");
  for (const Parameter* param = tree->params; param; param = param->next)
    EXPECT_EQ(real_instances(param), "2 0") << param->name.get();
  ASSERT_TRUE(tree->children->next->name.assign("Tx"));
  EXPECT_EQ(real_instances(tree->params->next->next->next), "2 0");
}

}  // namespace
}  // namespace gwconf
