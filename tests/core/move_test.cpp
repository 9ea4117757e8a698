#include "core/move.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "core/instance.h"
#include "core/path.h"
#include "core/strays.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::children_of;
using test::live_outline;
using test::LiveTree;
using test::object_at;
using test::sweep_operation;

constexpr char kTwoTables[] = R"(R.
  ANumberOfEntries = 3
  BNumberOfEntries = 2
  A.
    0.
    3. [1]
      P = a3
    5. [1]
    8. [1]
  B.
    0.
    2. [1]
    4. [1]
)";

TEST(NodeMove, PutsAnInstanceBehindTheNearestNumberBelowItsOwn) {
  const LiveTree tree{kTwoTables};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.3.")), CM_OK);
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.8.")), CM_OK);
  EXPECT_EQ(live_outline(), R"(R.
  ANumberOfEntries = 1
  BNumberOfEntries = 4
  A.
    0.
    5. [1]
  B.
    0.
    2. [1]
    3. [1]
      P = a3
    4. [1]
    8. [1]
)");
}

TEST(NodeMove, PutsAnInstanceOfTheSameNumberBehindIt) {
  const LiveTree tree{"R.\n  A.\n    4. [1]\n  B.\n    4.\n    4. [2]\n    5.\n"};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.4.")), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  A.\n  B.\n    4.\n    4. [1]\n    4. [2]\n    5.\n");
}

TEST(NodeMove, PutsAnInstanceFirstWhenNoneIsBelowIt) {
  const LiveTree tree{kTwoTables};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A."), object_at("R.B.2.")), CM_OK);
  EXPECT_EQ(children_of("R.A."), "2. 0. 3. 5. 8.");
  EXPECT_EQ(children_of("R.B."), "0. 4.");
}

TEST(NodeMove, MovesIntoAnEmptyTable) {
  const LiveTree tree{"R.\n  A.\n    4.\n      P = x\n  B.\n"};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.4.")), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  A.\n  B.\n    4.\n      P = x\n");
}

TEST(NodeMove, ToItsOwnParentChangesNothing) {
  const LiveTree tree{kTwoTables};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A."), object_at("R.A.5.")), CM_OK);
  EXPECT_EQ(live_outline(), kTwoTables);
}

TEST(NodeMove, RefusesTheRootAndANodeBelowItself) {
  const LiveTree tree{kTwoTables};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A."), cml_root), CM_INVALID);
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A."), object_at("R.A.")), CM_INVALID);
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A.3."), object_at("R.A.")), CM_INVALID);
  EXPECT_EQ(CM_CORE_NodeMove(cml_root, cml_root), CM_INVALID);
  EXPECT_EQ(live_outline(), kTwoTables);
}

TEST(NodeMove, OfAFirstChildThatIsNoInstancePutsItFirst) {
  const LiveTree tree{R"(R.
  A.
    X.
      P = x
    Y.
  B.
    0.
    1.
)"};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.X.")), CM_OK);
  EXPECT_EQ(live_outline(), R"(R.
  A.
    Y.
  B.
    X.
      P = x
    0.
    1.
)");
}

TEST(NodeMove, OfALaterChildThatIsNoInstanceLeavesItInTheOldList) {
  const LiveTree tree{R"(R.
  A.
    X.
    Y.
      P = y
    Z.
  B.
)"};
  Node* moved = object_at("R.A.Y.");
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), moved), CM_OK);
  EXPECT_EQ(children_of("R.A."), "X. Y. Z.");
  EXPECT_EQ(children_of("R.B."), "");
  EXPECT_EQ(moved->parent, object_at("R.B."));
  std::array<char, 16> path;
  EXPECT_EQ(CM_CORE_GetURIByParaNode(moved->params, path), CM_OK);
  EXPECT_STREQ(path.data(), "R.B.Y.P");
}

TEST(NodeMove, CountsWhatIsNoInstanceToo) {
  const LiveTree tree{R"(R.
  ANumberOfEntries = 4
  BNumberOfEntries
  A.
    0.
  B.
)"};
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.0.")), CM_OK);
  EXPECT_EQ(live_outline(), R"(R.
  ANumberOfEntries = 3
  BNumberOfEntries = 1
  A.
  B.
    0.
)");
}

TEST(NodeMove, LeavesTheTreeUsableForAnObjectInTheOldList) {
  const LiveTree tree{R"(R.
  A.
    X.
    Y.
      P = y
      Q.
  B.
    1.
      C.
)"};
  Node* moved = object_at("R.A.Y.");
  ASSERT_EQ(CM_CORE_NodeMove(object_at("R.B.1.C."), moved), CM_OK);
  // Its parent does not list it, so that it can neither be moved again nor be deleted by itself.
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A.X."), moved), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode("R.A.Y."), CM_INVALID);
  // When its parent goes, it falls back to the object that lists it.
  EXPECT_EQ(CM_CORE_DelInstance("R.B.", 1), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  A.\n    X.\n    Y.\n      P = y\n      Q.\n  B.\n");
  EXPECT_EQ(CM_CORE_DelNode("R.A.Y.Q."), CM_OK);
  EXPECT_EQ(CM_CORE_DelNode("R.A.Y."), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  A.\n    X.\n  B.\n");
}

TEST(NodeMove, ObjectsInOldListsOutliveAParentThatIsFreedWithItsLister) {
  const LiveTree tree{R"(R.
  A.
    X.
    Y.
      Z.
  B.
    M.
    N.
  C.
)"};
  // Y stays listed below A and hangs below C; N stays listed below B and hangs below Y.
  ASSERT_EQ(CM_CORE_NodeMove(object_at("R.C."), object_at("R.A.Y.")), CM_OK);
  ASSERT_EQ(CM_CORE_NodeMove(object_at("R.A.Y.Z."), object_at("R.B.N.")), CM_OK);
  EXPECT_EQ(CM_CORE_DelNode("R.A."), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  B.\n    M.\n    N.\n  C.\n");
}

TEST(NodeMove, RefusesANodeBelowWhatItLists) {
  const LiveTree tree{"R.\n  A.\n    X.\n    Y.\n      Z.\n  B.\n"};
  ASSERT_EQ(CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.Y.")), CM_OK);
  // Y hangs below B, but A still lists it: A cannot go below Y.
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A.Y."), object_at("R.A.")), CM_INVALID);
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.A.Y.Z."), object_at("R.A.")), CM_INVALID);
  EXPECT_EQ(CM_CORE_DelNode("R.B."), CM_OK);
  EXPECT_EQ(live_outline(), "R.\n  A.\n    X.\n    Y.\n      Z.\n");
}

TEST(NodeMove, WithoutMemoryForTheCountersMovesAllTheSame) {
  std::size_t runs = 0;
  const auto check = [&runs](Status status, const std::string& after) {
    ++runs;
    EXPECT_EQ(status, CM_OK);
    const NodePtr tree = build_tree(after);
    EXPECT_EQ(children_of(tree->children), "0. 3. 8.");
    EXPECT_EQ(children_of(tree->children->next), "0. 2. 4. 5.");
    const std::string counters =
        std::string{tree->params->value.get()} + ' ' + tree->params->next->value.get();
    constexpr const char* kCounters[] = {"3 3", "2 2", "3 2", "2 2"};
    EXPECT_EQ(counters, kCounters[runs - 1]);
  };
  EXPECT_EQ(sweep_operation(
                kTwoTables, [] { return CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.5.")); },
                check),
            4U);
}

TEST(NodeMove, RefusesPathsPastTheirBound) {
  const LiveTree tree{"R.\n  A.\n    1.\n      PQR\n"};
  Node* last = nullptr;
  NodePtr chain = test::build_chain(kPathBufferSize - 1 - 4, &last);  // room for "1." and "PQ"
  Node* top = chain->children;
  chain->children = nullptr;
  top->parent = cml_root;
  ASSERT_EQ(cml_root->name.view().size(), chain->name.view().size());
  cml_root->children->next = top;
  EXPECT_EQ(CM_CORE_NodeMove(last, object_at("R.A.1.")), CM_INVALID);
  EXPECT_EQ(children_of("R.A."), "1.");
  ASSERT_TRUE(object_at("R.A.1.")->params->name.assign("PQ"));
  EXPECT_EQ(CM_CORE_NodeMove(last, object_at("R.A.1.")), CM_OK);
  EXPECT_EQ(children_of("R.A."), "");
  EXPECT_EQ(children_of(last), "1.");
}

TEST(NodeMove, BelowTheTemplateDoublesTheTreeUpToItsBoundOnly) {
  const LiveTree tree{"R.\n  T.\n    0.\n      X.\n        P = 1\n"};
  // Each row's X goes below the innermost X of the template, so that the next row has twice as
  // many.
  Status status = CM_OK;
  int row = 0;
  while (status == CM_OK) {
    status = CM_CORE_AddInstance("R.T.", ++row);
    if (status != CM_OK) break;
    Node* innermost = object_at("R.T.0.");
    while (innermost->children)
      innermost = innermost->children;
    ASSERT_TRUE(innermost->name.assign(std::string{static_cast<char>('a' + row), '.'}));
    status = CM_CORE_NodeMove(innermost, object_at("R.T." + std::to_string(row) + ".")->children);
  }
  EXPECT_EQ(status, CM_INVALID);  // the length of a path comes first
  EXPECT_EQ(row, 14);
  EXPECT_TRUE(tree_has_room());
}

TEST(NodeMove, LeavesOnlyAFewObjectsInOldLists) {
  std::string outline = "R.\n  A.\n    X.\n";
  for (std::size_t i = 0; i <= kStraysMax; ++i)
    outline += "    Y" + std::to_string(i) + "x.\n";
  const LiveTree tree{outline + "  B.\n  C.\n"};
  const auto move = [](std::size_t i) {
    return CM_CORE_NodeMove(object_at("R.B."), object_at("R.A.Y" + std::to_string(i) + "x."));
  };
  for (std::size_t i = 0; i < kStraysMax; ++i)
    EXPECT_EQ(move(i), CM_OK) << i;
  EXPECT_EQ(move(kStraysMax), CM_NO_MEMORY);
  EXPECT_EQ(object_at("R.A.Y16x.")->parent, object_at("R.A."));
  // There is room again when their parent has gone.
  EXPECT_EQ(CM_CORE_DelNode("R.B."), CM_OK);
  EXPECT_EQ(object_at("R.A.Y3x.")->parent, object_at("R.A."));
  EXPECT_EQ(CM_CORE_NodeMove(object_at("R.C."), object_at("R.A.Y16x.")), CM_OK);
}

}  // namespace
}  // namespace gwconf
