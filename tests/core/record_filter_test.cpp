#include "core/record_filter.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/deleted_defaults.h"
#include "core/instance.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::children_of;
using test::FailingHeap;
using test::LiveTree;

std::string records(const std::vector<std::string>& paths) {
  std::string outline =
      "InternetGatewayDevice.\n  T.\n    0.\n  X_VT_MiscCfg.\n    DeletedDefaultInstances.\n"
      "      0.\n        URI =\n";
  for (std::size_t i = 0; i < paths.size(); ++i)
    outline += "      " + std::to_string(i + 1) + ". [9]\n        URI = " + paths[i] + '\n';
  return outline;
}

TEST(RecordFilter, HoldsNothingWithoutATreeOrRecords) {
  EXPECT_FALSE(RecordFilter{}.may_match("A."));
  const LiveTree tree{records({"", ""})};
  EXPECT_FALSE(RecordFilter{}.may_match("A."));
}

TEST(RecordFilter, KnowsPathsAboveAndBelowARecord) {
  const LiveTree tree{records({"A.B.1.C.2."})};
  RecordFilter filter;
  for (const char* path : {"A.", "A.B.", "A.B.1.", "A.B.1.C.", "A.B.1.C.2.", "A.B.1.C.2.D.3."})
    EXPECT_TRUE(filter.may_match(path)) << path;
  for (const char* path : {"B.", "A.B.10.", "A.B.2.", "A.B.1.C.3.", "A.B.1.C.20."})
    EXPECT_FALSE(filter.may_match(path)) << path;
  filter.add("A.B.2.");
  EXPECT_TRUE(filter.may_match("A.B.2."));
  EXPECT_TRUE(filter.may_match("A.B.2.C.3."));
}

TEST(RecordFilter, RulesNothingOutByAPathThatIsNoObjects) {
  const LiveTree tree{records({"A.B"})};
  EXPECT_TRUE(RecordFilter{}.may_match("A.Bx."));
  EXPECT_TRUE(RecordFilter{}.may_match("C."));
}

TEST(RecordFilter, RulesNothingOutWithoutMemory) {
  const LiveTree tree{records({"A.B.1."})};
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  const RecordFilter filter;
  EXPECT_TRUE(heap.fired());
  EXPECT_TRUE(filter.may_match("C."));
}

TEST(RecordFilter, NeverMissesWhatTheSearchFinds) {
  std::mt19937 random{11};  // NOLINT(*-msc51-cpp): the same each time
  const auto path = [&random] {
    std::string made = "A.";
    for (auto level = random() % 4; level > 0; --level)
      made += std::to_string(random() % 3) + '.';
    return made;
  };
  std::size_t found = 0;
  for (int round = 0; round < 300; ++round) {
    const LiveTree tree{records({path(), path(), path()})};
    const RecordFilter filter;
    for (int i = 0; i < 20; ++i) {
      const std::string wanted = path();
      if (find_deleted_default(wanted) == 0) continue;
      ++found;
      EXPECT_TRUE(filter.may_match(wanted)) << wanted;
    }
  }
  EXPECT_GT(found, 1000U);
}

TEST(RecordFilter, SavesAnAdditionTheSearch) {
  const LiveTree tree{records({"InternetGatewayDevice.T.5."})};
  constexpr std::string_view kTable = "InternetGatewayDevice.T.";
  RecordFilter filter;
  EXPECT_EQ(add_instance(kTable, 4, &filter), CM_OK);
  EXPECT_EQ(children_of(kDeletedDefaults), "0. 1.");
  EXPECT_EQ(add_instance(kTable, 5, &filter), CM_OK);
  EXPECT_EQ(children_of(kDeletedDefaults), "0.");
  EXPECT_FALSE(filter.may_match("InternetGatewayDevice.T.5."));  // made anew
}

}  // namespace
}  // namespace gwconf
