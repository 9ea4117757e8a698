// Random operations on any object, sensible or not: whatever a client asks for, no link may lead to
// a freed record and nothing may be lost. Worth most under the address sanitizer.

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/deleted_defaults.h"
#include "core/instance.h"
#include "core/move.h"
#include "core/path.h"
#include "core/user_set.h"
#include "core/value.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::live_blocks;
using test::LiveTree;

constexpr char kOutline[] = R"(InternetGatewayDevice.
  ANumberOfEntries = 2
  A.
    0.
      BNumberOfEntries = 0
      X.
        P = x
      B.
        0.
          Q = q
      Y.
    1. [1]
      BNumberOfEntries = 2
      X.
        P = x
      B.
        1. [1]
          Q = q
        2. [1]
          Q = q
      Y.
    3. [1]
      B.
  C.
    D.
      E.
    F.
      2.
    G0.
  X_VT_MiscCfg.
    DeletedDefaultInstancesNumberOfEntries = 0
    DeletedDefaultInstances.
      0.
        URI =
        B.
          0.
)";

/// An object where the tree lists it.
struct Listed {
  Node* node;
  std::string path;
};

void collect(Node* node, const std::string& around, std::vector<Listed>& all) {
  all.push_back({node, around + node->name.get()});
  const std::string path = all.back().path;
  for (Node* child = node->children; child; child = child->next)
    collect(child, path, all);
}

class Stress {
 public:
  explicit Stress(std::uint32_t seed) : engine_{seed} {}

  void step() {
    all_.clear();
    collect(cml_root, "", all_);
    const Listed& one = any();
    const Listed& other = any();
    const int number = below(6);
    switch (below(12)) {
      case 0:
        ignore(CM_CORE_AddInstance(one.path, number));
        break;
      case 1:
        ignore(CM_CORE_InsertInstance(one.path, number));
        break;
      case 2:
      case 3:
        ignore(CM_CORE_DelInstance(one.path, number));
        break;
      case 4:
        if (below(8) == 0) ignore(CM_CORE_DelNode(one.path));
        break;
      case 5:
        ignore(CM_CORE_InstanceReArrange(one.path, number, below(4)));
        break;
      case 6:
      case 7:
        ignore(CM_CORE_NodeMove(one.node, other.node));
        break;
      case 8:
        ignore(CM_CORE_AddInstance_Force(one.path + std::to_string(below(4)) + ".B.", number));
        break;
      case 9:
        ignore(CM_CORE_SetValueByURI(one.path + "URI", other.path.c_str()));
        break;
      case 10:
        one.node->attributes = static_cast<std::uint16_t>(below(32));
        break;
      default:
        ignore(CM_CORE_MergeDeletedInstances());
    }
  }

  /// Follows every link of the tree.
  void check() {
    all_.clear();
    collect(cml_root, "", all_);
    std::array<char, kPathBufferSize> path;
    for (const Listed& listed : all_) {
      ASSERT_EQ(CM_CORE_GetURIByObjNode(listed.node, path), CM_OK);
      ASSERT_TRUE(std::string_view{path.data()}.starts_with("InternetGatewayDevice."));
      for (const Parameter* param = listed.node->params; param; param = param->next)
        ASSERT_EQ(param->parent, listed.node);
    }
    int user_set = 0;
    ASSERT_EQ(CM_CORE_UpdateUserSetFlag(cml_root, &user_set), CM_OK);
  }

 private:
  int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
  const Listed& any() { return all_[engine_() % all_.size()]; }

  std::mt19937 engine_;
  std::vector<Listed> all_;
};

TEST(InstanceStress, NoSequenceOfOperationsHarmsTheTree) {
  for (std::uint32_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    const std::size_t before = live_blocks();
    {
      const LiveTree tree{kOutline};
      Stress stress{seed};
      for (int n = 0; n < 150; ++n) {
        stress.step();
        ASSERT_NO_FATAL_FAILURE(stress.check()) << "step " << n;
      }
    }
    ASSERT_EQ(live_blocks(), before);
  }
}

}  // namespace
}  // namespace gwconf
