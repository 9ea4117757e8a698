#include "core/deleted_defaults.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/instance.h"
#include "core/path.h"
#include "core/value.h"
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

constexpr char kRecords[] = "InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.";
constexpr char kLan[] = "InternetGatewayDevice.LANDevice.";
constexpr char kWlan1[] = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";

/// Default instances at two levels, an empty record table with a counter.
constexpr char kDefaults[] = R"(InternetGatewayDevice.
  LANDeviceNumberOfEntries = 2
  LANDevice.
    0.
      LANWLANConfigurationNumberOfEntries = 0
      WLANConfiguration.
        0.
          SSID =
    1. [1]
      LANWLANConfigurationNumberOfEntries = 3
      WLANConfiguration.
        1. [1]
          SSID = one
        2. [1]
          SSID = two
        3. [1]
          SSID = three
    2. [1]
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 0
    DeletedDefaultInstances.
      0.
        URI =
        Comment = none
)";

/// A tree with a record table that holds one record for every text, numbered from 1 on.
std::string records_of(std::initializer_list<const char*> uris) {
  std::string outline = R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
)";
  int number = 0;
  for (const char* uri : uris)
    outline += "      " + std::to_string(++number) + ". [8]\n        URI [8] = " + uri + '\n';
  return outline;
}

std::string record_table() {
  return outline_of(object_at(kRecords));
}

// --- Looking up

TEST(FindDeletedDefault, WithoutARecordTableFindsNothing) {
  ASSERT_EQ(cml_root, nullptr);
  EXPECT_EQ(find_deleted_default("A.B.1."), 0);
  const LiveTree tree{"InternetGatewayDevice.\n  X_VT_MiscCfg.\n"};
  EXPECT_EQ(find_deleted_default("A.B.1."), 0);
}

TEST(FindDeletedDefault, GivesTheFirstRecordThatMatches) {
  const LiveTree tree{records_of({"A.B.2.", "A.B.1.", "A.B.1."})};
  EXPECT_EQ(find_deleted_default("A.B.1."), 2);
  EXPECT_EQ(find_deleted_default("A.B.2."), 1);
  EXPECT_EQ(find_deleted_default("A.B.3."), 0);
}

TEST(FindDeletedDefault, MatchesWhatEnclosesAndWhatIsEnclosed) {
  const LiveTree tree{records_of({"A.B.1.", "A.C.1.D.2."})};
  EXPECT_EQ(find_deleted_default("A.B.1.D.2."), 1);
  EXPECT_EQ(find_deleted_default("A.C.1."), 2);
  EXPECT_EQ(find_deleted_default("A.C.1.D."), 2);
  EXPECT_EQ(find_deleted_default("A."), 1);
  EXPECT_EQ(find_deleted_default("A.C.1.D.3."), 0);
}

TEST(FindDeletedDefault, KeepsNumbersWithACommonStartApart) {
  const LiveTree tree{records_of({"A.B.1.", "A.B.20."})};
  EXPECT_EQ(find_deleted_default("A.B.10."), 0);
  EXPECT_EQ(find_deleted_default("A.B.2."), 0);
}

TEST(FindDeletedDefault, ReadsTheFirstParameterWhateverItsName) {
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI = A.1.
      Other.
        URI = A.2.
      4.
        Path = A.3.
        URI = A.4.
      5.
        URI =
      6.
        URI
      7.
      9.
        URI = A.5.
)"};
  EXPECT_EQ(find_deleted_default("A.1."), 0);
  EXPECT_EQ(find_deleted_default("A.2."), 0);
  EXPECT_EQ(find_deleted_default("A.3."), 4);
  EXPECT_EQ(find_deleted_default("A.4."), 0);
  EXPECT_EQ(find_deleted_default("A.5."), 9);
}

// --- Recording, with the deletion of an instance

TEST(Recording, KeepsEveryDeletedDefaultInstance) {
  const LiveTree tree{kDefaults};
  EXPECT_EQ(CM_CORE_DelInstance(kWlan1, 2), CM_OK);
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  LANDeviceNumberOfEntries = 1
  LANDevice.
    0.
      LANWLANConfigurationNumberOfEntries = 0
      WLANConfiguration.
        0.
          SSID =
    1. [1]
      LANWLANConfigurationNumberOfEntries = 2
      WLANConfiguration.
        1. [1]
          SSID = one
        3. [1]
          SSID = three
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 2
    DeletedDefaultInstances.
      0.
        URI =
        Comment = none
      1. [8]
        URI [8] = InternetGatewayDevice.LANDevice.1.WLANConfiguration.2.
        Comment = none
      2. [8]
        URI [8] = InternetGatewayDevice.LANDevice.2.
        Comment = none
)");
}

TEST(Recording, LeavesOutWhatTheUserAdded) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_AddInstance(kLan, 3), CM_OK);
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 3), CM_OK);
  EXPECT_EQ(live_outline(), kDefaults);
}

TEST(Recording, LeavesOutWhatARecordMatchesAlready) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 2), CM_OK);
  // The record of the enclosed instance matches the enclosing one.
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 1.");
  EXPECT_EQ(value_at(std::string{kRecords} + "1.URI"),
            "InternetGatewayDevice.LANDevice.1.WLANConfiguration.2.");
}

TEST(Recording, TakesTheSmallestFreeNumber) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 1), CM_OK);
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 2), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kWlan1, 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 2.");
  EXPECT_EQ(CM_CORE_DelInstance(kWlan1, 3), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 1. 2.");
  EXPECT_EQ(value_at(std::string{kRecords} + "1.URI"),
            "InternetGatewayDevice.LANDevice.1.WLANConfiguration.3.");
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 1. 2. 3.");
}

TEST(Recording, TakesAFreeNumberAmongRecordsInAnyOrder) {
  // A file's own records stand as the file has them.
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    1.
    2.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
      4.
        URI =
      2.
        URI =
      1.
        URI =
)"};
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(value_at(std::string{kRecords} + "3.URI"), "InternetGatewayDevice.LANDevice.2.");
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(value_at(std::string{kRecords} + "5.URI"), "InternetGatewayDevice.LANDevice.1.");
}

TEST(Recording, StopsAtAListEntryThatReadsAsZero) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_AddInstance(kRecords, 1), CM_OK);
  // Cut to the room of a list entry, nothing but blanks is left of it.
  ASSERT_TRUE(object_at(std::string{kRecords} + "1.")->name.assign("     12."));
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(children_of(kLan), "0. 1.");
  EXPECT_EQ(children_of(kRecords), "0.      12.");
}

TEST(Recording, NeedsATableWithATemplate) {
  {
    const LiveTree tree{"R.\n  T.\n    1.\n"};
    EXPECT_EQ(CM_CORE_DelInstance("R.T.", 1), CM_OK);
    EXPECT_EQ(live_outline(), "R.\n  T.\n");
  }
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    1.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
)"};
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  LANDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
)");
}

TEST(Recording, LeavesNoRecordWithoutUri) {
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    1.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        Path =
)"};
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(children_of(kLan), "");
  EXPECT_EQ(children_of(kRecords), "0.");
}

TEST(Recording, WithoutMemoryDeletesAllTheSame) {
  constexpr std::string_view kWith = R"(
    DeletedDefaultInstances.
      0.
        URI =
        Comment = none
      1. [8]
        URI [8] = InternetGatewayDevice.LANDevice.2.
        Comment = none
)";
  constexpr std::string_view kWithout = R"(
    DeletedDefaultInstances.
      0.
        URI =
        Comment = none
)";
  std::size_t recorded = 0;
  const auto check = [&](Status status, const std::string& after) {
    EXPECT_EQ(status, CM_OK);
    EXPECT_EQ(children_of(build_tree(after)->children), "0. 1.");
    const bool with = after.ends_with(kWith);
    EXPECT_TRUE(with || after.ends_with(kWithout)) << after;
    recorded += with ? 1 : 0;
  };
  EXPECT_EQ(sweep_operation(
                kDefaults, [] { return CM_CORE_DelInstance(kLan, 2); }, check),
            2U * 14);
  // A record is made all the same where a counter alone fails: its own table's, or that of the
  // deleted instance's.
  EXPECT_EQ(recorded, 2U);
}

// --- Forgetting, with the addition of an instance

TEST(Forgetting, RemovesTheRecordOfWhatIsAddedAgain) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 1.");
  EXPECT_EQ(CM_CORE_AddInstance(kLan, 2), CM_OK);
  EXPECT_EQ(record_table(), R"(DeletedDefaultInstances.
  0.
    URI =
    Comment = none
)");
  EXPECT_EQ(value_at("InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstancesNumberOfEntries"),
            "0");
  // What was added again is the user's own: its deletion is not recorded.
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 2), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0.");
}

TEST(Forgetting, RemovesTheRecordOfAnEnclosedInstance) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 2), CM_OK);
  ASSERT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kLan, 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0.");
}

TEST(Forgetting, RemovesTheRecordOfAnEnclosingInstance) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 1.");
  EXPECT_EQ(CM_CORE_AddInstance_Force(kWlan1, 2), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0.");
  EXPECT_EQ(children_of(kWlan1), "2.");
}

TEST(Forgetting, RemovesOneRecordAnAddition) {
  const LiveTree tree{kDefaults};
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 2), CM_OK);
  ASSERT_EQ(CM_CORE_DelInstance(kWlan1, 3), CM_OK);
  ASSERT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  EXPECT_EQ(CM_CORE_AddInstance(kLan, 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0. 2.");
}

TEST(Forgetting, WithoutMemoryKeepsTheRecordUntilTheInstanceIsThere) {
  static constexpr char kDeleted[] = R"(InternetGatewayDevice.
  LANDevice.
    0.
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 1
    DeletedDefaultInstances.
      0.
        URI =
      1. [8]
        URI [8] = InternetGatewayDevice.LANDevice.1.
)";
  std::string results;
  const auto check = [&results](Status status, const std::string& after) {
    results += std::to_string(status) + ' ';
    if (status != CM_OK) {
      EXPECT_EQ(after, kDeleted);
      return;
    }
    EXPECT_EQ(after, R"(InternetGatewayDevice.
  LANDevice.
    0.
    1. [8]
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 1
    DeletedDefaultInstances.
      0.
        URI =
)");
  };
  EXPECT_EQ(sweep_operation(
                kDeleted, [] { return CM_CORE_AddInstance(kLan, 1); }, check),
            10U);
  // The record, the template's name, the name, the path, the record table's counter; once, then
  // for good.
  EXPECT_EQ(results, "4 4 -100 4 0 4 4 -100 4 0 ");
}

// --- Records that name records

TEST(RecordsOfRecords, ARecordThatMatchesItsOwnPathTakesItselfAway) {
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 0
    DeletedDefaultInstances.
      0.
        URI = InternetGatewayDevice.
)"};
  EXPECT_EQ(CM_CORE_AddInstance(kRecords, 5), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 0
    DeletedDefaultInstances.
      0.
        URI = InternetGatewayDevice.
)");
}

TEST(RecordsOfRecords, AnInstanceInsideARecordGoesWithIt) {
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
        DetailNumberOfEntries = 0
        Detail.
          0.
      1. [8]
        URI [8] = InternetGatewayDevice.
        DetailNumberOfEntries = 0
        Detail.
)"};
  EXPECT_EQ(CM_CORE_AddInstance(std::string{kRecords} + "1.Detail.", 1), CM_OK);
  EXPECT_EQ(children_of(kRecords), "0.");
}

TEST(RecordsOfRecords, ADefaultRecordThatNamesItsOwnRecordIsDeletedOnce) {
  // Deleting record 2, which is not the user's, makes record 1, and record 2 names that.
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 1
    DeletedDefaultInstances.
      0.
        URI =
      2.
        URI = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.
)"};
  EXPECT_EQ(CM_CORE_DelInstance(kRecords, 2), CM_OK);
  EXPECT_EQ(record_table(), R"(DeletedDefaultInstances.
  0.
    URI =
  1. [8]
    URI [8] = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.2.
)");
}

TEST(RecordsOfRecords, ATableInsideARecordMayGoWithIt) {
  // Deleting the detail makes record 2, which pushes out record 1 with the detail in it.
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
      1.
        URI = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.2.
        Detail.
          1.
)"};
  EXPECT_EQ(CM_CORE_DelInstance(std::string{kRecords} + "1.Detail.", 1), CM_OK);
  EXPECT_EQ(record_table(), R"(DeletedDefaultInstances.
  0.
    URI =
  2. [8]
    URI [8] = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.Detail.1.
)");
}

TEST(RecordsOfRecords, ADeletedDefaultRecordIsRecorded) {
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    0.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
      1.
        URI = InternetGatewayDevice.LANDevice.1.
)"};
  EXPECT_EQ(CM_CORE_AddInstance(kLan, 1), CM_OK);
  EXPECT_EQ(record_table(), R"(DeletedDefaultInstances.
  0.
    URI =
  2. [8]
    URI [8] = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.
)");
}

TEST(RecordsOfRecords, ALongChainOfThemEnds) {
  // Every record but the last names the one that its own deletion would make.
  std::string outline =
      "InternetGatewayDevice.\n  LANDevice.\n    1.\n  X_VT_MiscCfg.\n"
      "    DeletedDefaultInstances.\n      0.\n        URI =\n";
  for (int n = 1; n <= 500; ++n)
    outline += "      " + std::to_string(n) + ".\n        URI = " + kRecords +
               std::to_string(n + 500) + ".\n";
  const LiveTree tree{outline};
  EXPECT_EQ(CM_CORE_DelInstance(kLan, 1), CM_OK);
  // Record 501 is new; record 1, which named it, is gone and was not recorded in its turn.
  EXPECT_EQ(find_deleted_default("InternetGatewayDevice.LANDevice.1."), 501);
  EXPECT_EQ(object_at(kRecords)->children->next->name.view(), "2.");
}

// --- Applying the record after a start

TEST(MergeDeletedInstances, NeedsTheRecordTable) {
  ASSERT_EQ(cml_root, nullptr);
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_INVALID);
  const LiveTree tree{"InternetGatewayDevice.\n  X_VT_MiscCfg.\n"};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_INVALID);
}

TEST(MergeDeletedInstances, WithAnEmptyTableChangesNothing) {
  {
    const LiveTree tree{kDefaults};
    EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
    EXPECT_EQ(live_outline(), kDefaults);
  }
  const LiveTree tree{"InternetGatewayDevice.\n  X_VT_MiscCfg.\n    DeletedDefaultInstances.\n"};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
}

TEST(MergeDeletedInstances, DeletesWhatIsRecordedAndRecordsNothingNew) {
  const LiveTree tree{kDefaults};
  for (const auto& [number, uri] :
       {std::pair{1, "InternetGatewayDevice.LANDevice.1.WLANConfiguration.2."},
        std::pair{2, "InternetGatewayDevice.LANDevice.2."}}) {
    ASSERT_EQ(CM_CORE_AddInstance(kRecords, number), CM_OK);
    ASSERT_EQ(CM_CORE_SetValueByURI(kRecords + std::to_string(number) + ".URI", uri), CM_OK);
  }
  const std::string records = record_table();
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(children_of(kLan), "0. 1.");
  EXPECT_EQ(value_at("InternetGatewayDevice.LANDeviceNumberOfEntries"), "1");
  EXPECT_EQ(children_of(kWlan1), "1. 3.");
  EXPECT_EQ(value_at("InternetGatewayDevice.LANDevice.1.LANWLANConfigurationNumberOfEntries"), "2");
  EXPECT_EQ(record_table(), records);
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(value_at("InternetGatewayDevice.LANDeviceNumberOfEntries"), "1");
  EXPECT_EQ(record_table(), records);
}

TEST(MergeDeletedInstances, SkipsWhatHoldsUserSetContent) {
  constexpr char kOutline[] = R"(InternetGatewayDevice.
  LANDevice.
    1. [8]
    2. [16]
      Enable [8] = 1
    3.
      Enable [8] = 1
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      1. [8]
        URI [8] = InternetGatewayDevice.LANDevice.1.
      2. [8]
        URI [8] = InternetGatewayDevice.LANDevice.2.
      3. [8]
        URI [8] = InternetGatewayDevice.LANDevice.3.
)";
  const LiveTree tree{kOutline};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  // Only the two bits of the instance itself are asked.
  EXPECT_EQ(children_of(kLan), "1. 2.");
}

TEST(MergeDeletedInstances, SkipsRecordsThatNameNoInstance) {
  constexpr char kOutline[] = R"(InternetGatewayDevice.
  Enable = 1
  LANDevice.
    0.
    1.
      Hosts.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI = InternetGatewayDevice.LANDevice.1.
      1. [8]
        URI [8] =
      2. [8]
        URI
      3. [8]
      4. [8]
        URI = InternetGatewayDevice.LANDevice.7.
      5. [8]
        URI = InternetGatewayDevice.Enable
      6. [8]
        URI = InternetGatewayDevice.
      7. [8]
        URI = InternetGatewayDevice.LANDevice.1.Hosts.
      8. [8]
        URI = InternetGatewayDevice.LANDevice.0.
      Other.
        URI = InternetGatewayDevice.LANDevice.1.
)";
  const LiveTree tree{kOutline};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(live_outline(), kOutline);
}

TEST(MergeDeletedInstances, ReadsTheFirstParameterOfARecord) {
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    1.
    2.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      4. [8]
        Path = InternetGatewayDevice.LANDevice.2.
        URI = InternetGatewayDevice.LANDevice.1.
)"};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(children_of(kLan), "1.");
}

/// What is left of a record table whose records, none of them the user's, name each other.
std::string after_merge(std::initializer_list<std::pair<const char*, const char*>> records) {
  std::string outline = "InternetGatewayDevice.\n  X_VT_MiscCfg.\n    DeletedDefaultInstances.\n";
  for (const auto& [number, uri] : records)
    outline += std::string{"      "} + number + ".\n        URI = " + kRecords + uri + "\n";
  const LiveTree tree{outline};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  return children_of(kRecords);
}

TEST(MergeDeletedInstances, SurvivesRecordsThatNameEachOther) {
  EXPECT_EQ(after_merge({{"1", "1."}, {"2", "9."}}), "2.");
  EXPECT_EQ(after_merge({{"1", "2."}, {"2", "3."}, {"3", "9."}}), "1. 3.");
  EXPECT_EQ(after_merge({{"1", "9."}, {"2", "1."}, {"3", "2."}}), "3.");
  EXPECT_EQ(after_merge({{"1", "3."}, {"2", "1."}, {"3", "2."}}), "2.");
  EXPECT_EQ(after_merge({{"1", "2."}, {"2", "1."}}), "1.");
}

TEST(MergeDeletedInstances, GoesOnWhenARecordAndTheNextOneAreGone) {
  // Record 1 names itself by a path with a repetition, which does not match its own: deleting it
  // makes record 3, and that pushes out record 2, which names it. The last one is still applied.
  const LiveTree tree{R"(InternetGatewayDevice.
  LANDevice.
    1.
    2.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
      1.
        URI = InternetGatewayDevice.X_VT_MiscCfg.X_VT_MiscCfg.DeletedDefaultInstances.1.
      2.
        URI = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.3.
      4. [8]
        URI [8] = InternetGatewayDevice.LANDevice.2.
)"};
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  LANDevice.
    1.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0.
        URI =
      3. [8]
        URI [8] = InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.
      4. [8]
        URI [8] = InternetGatewayDevice.LANDevice.2.
)");
}

TEST(MergeDeletedInstances, SurvivesARecordBesideItsNamesake) {
  // " 2." reads as 2 and names itself, but it is "2." that is deleted by that number.
  const LiveTree tree{R"(InternetGatewayDevice.
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      1.
        URI =
      2.
        URI =
)"};
  Node* first = object_at(kRecords)->children;
  ASSERT_TRUE(first->name.assign(" 2."));
  ASSERT_TRUE(first->params->value.assign(std::string{kRecords} + " 2."));
  EXPECT_EQ(CM_CORE_MergeDeletedInstances(), CM_OK);
  EXPECT_EQ(children_of(kRecords), " 2.");
}

}  // namespace
}  // namespace gwconf
