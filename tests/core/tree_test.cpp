#include "core/tree.h"

#include <array>
#include <cstring>
#include <functional>
#include <pthread.h>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::children_of;
using test::FailingHeap;
using test::live_blocks;
using test::outline_of;

constexpr std::size_t kManyRecords = 100000;

/// Runs `action` on a thread whose stack holds `bytes`, so that a frame for every record cannot
/// fit.
void on_small_stack(std::size_t bytes, std::function<void()> action) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  const auto run = [](void* given) -> void* {
    (*static_cast<std::function<void()>*>(given))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

NodePtr named_node(std::string_view name) {
  NodePtr node = new_node();
  EXPECT_TRUE(node->name.assign(name));
  return node;
}

TEST(AttributeBits, AreReadOneByOne) {
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 0), 1U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 1), 0U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 3), 1U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 5), 1U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 6), 0U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x00A9, 7), 1U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0x8000, 15), 1U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0xFFFF, 16), 0U);
  EXPECT_EQ(CM_UTL_GetAttrBoolean(0xFFFF, 4000000000U), 0U);
}

TEST(AttributeBits, AreSetByExactlyOne) {
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x0000, 3, 1), 0x0008);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x0008, 3, 1), 0x0008);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x00FF, 3, 0), 0x00F7);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x00FF, 3, 2), 0x00F7);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x00FF, 3, 0xFFFFFFFFU), 0x00F7);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x0000, 15, 1), 0x8000);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0x0001, 16, 1), 0x0001);
  EXPECT_EQ(CM_UTL_SetAttrBoolean(0xFFFF, 32, 0), 0xFFFF);
}

TEST(AttributeBits, HaveTheNumbersOfTheProtocol) {
  Node node;
  set(node, kWritable);
  EXPECT_EQ(node.attributes, 1);
  set(node, kDisabled);
  EXPECT_EQ(node.attributes, 3);
  set(node, kUserSet);
  EXPECT_EQ(node.attributes, 11);
  set(node, kUserSetBelow);
  EXPECT_EQ(node.attributes, 27);
  set(node, kNotificationOff);
  set(node, kPassiveNotification);
  set(node, kActiveNotification);
  EXPECT_EQ(node.attributes, 251);
  set(node, kWritable, false);
  EXPECT_EQ(node.attributes, 250);
  EXPECT_TRUE(has(node, kDisabled));
  EXPECT_FALSE(has(node, kWritable));
}

TEST(InitNode, ClearsUninitialisedMemory) {
  alignas(Node) std::array<unsigned char, sizeof(Node)> memory;
  memory.fill(0xA5);
  auto* node = reinterpret_cast<Node*>(memory.data());
  EXPECT_EQ(CM_UTL_InitNode(node), CM_OK);
  EXPECT_EQ(node->name.get(), nullptr);
  EXPECT_EQ(node->sname.get(), nullptr);
  EXPECT_EQ(node->attributes, 0);
  EXPECT_EQ(node->parent, nullptr);
  EXPECT_EQ(node->next, nullptr);
  EXPECT_EQ(node->children, nullptr);
  EXPECT_EQ(node->params, nullptr);
}

TEST(InitPara, ClearsUninitialisedMemory) {
  alignas(Parameter) std::array<unsigned char, sizeof(Parameter)> memory;
  memory.fill(0xA5);
  auto* param = reinterpret_cast<Parameter*>(memory.data());
  EXPECT_EQ(CM_UTL_InitPara(param), CM_OK);
  EXPECT_EQ(param->name.get(), nullptr);
  EXPECT_EQ(param->value.get(), nullptr);
  EXPECT_EQ(param->type, 12);
  EXPECT_EQ(param->attributes, 0);
  EXPECT_EQ(param->min, 0);
  EXPECT_EQ(param->max, 0);
  EXPECT_EQ(param->enumeration.get(), nullptr);
  EXPECT_EQ(param->sname.get(), nullptr);
  EXPECT_EQ(param->getter, nullptr);
  EXPECT_EQ(param->parent, nullptr);
  EXPECT_EQ(param->next, nullptr);
}

TEST(InitTR98, LeavesShortNameGetterAndLinks) {
  Parameter other;
  Node owner;
  const ParameterPtr param = new_parameter();
  ASSERT_TRUE(param->sname.assign("short"));
  param->getter = reinterpret_cast<const GetterRow*>(&owner);
  param->parent = &owner;
  param->next = &other;
  param->type = kBoolean;
  param->attributes = 255;
  param->min = -1;
  param->max = 1;
  EXPECT_EQ(CM_UTL_InitTR98(param.get()), CM_OK);
  EXPECT_EQ(param->type, 12);
  EXPECT_EQ(param->attributes, 0);
  EXPECT_EQ(param->min, 0);
  EXPECT_EQ(param->max, 0);
  EXPECT_STREQ(param->sname.get(), "short");
  EXPECT_EQ(param->getter, reinterpret_cast<const GetterRow*>(&owner));
  EXPECT_EQ(param->parent, &owner);
  EXPECT_EQ(param->next, &other);
  param->next = nullptr;
}

TEST(InitTR98, ClearsUninitialisedMemory) {
  alignas(Parameter) std::array<unsigned char, sizeof(Parameter)> memory;
  memory.fill(0xA5);
  auto* param = reinterpret_cast<Parameter*>(memory.data());
  EXPECT_EQ(CM_UTL_InitTR98(param), CM_OK);
  EXPECT_EQ(param->name.get(), nullptr);
  EXPECT_EQ(param->value.get(), nullptr);
  EXPECT_EQ(param->type, 12);
  EXPECT_EQ(param->attributes, 0);
  EXPECT_EQ(param->min, 0);
  EXPECT_EQ(param->max, 0);
  EXPECT_EQ(param->enumeration.get(), nullptr);
}

TEST(Malloc, HandsBackAnExistingBlockWhateverItsSize) {
  char existing[1];
  EXPECT_EQ(CM_UTL_malloc(existing, 1000000), existing);
}

TEST(Malloc, GivesABlockOrNone) {
  const std::size_t before = live_blocks();
  void* block = CM_UTL_malloc(nullptr, 16);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x5A, 16);
  EXPECT_EQ(live_blocks(), before + 1);
  CM_UTL_mfree(block);
  EXPECT_EQ(live_blocks(), before);
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(CM_UTL_malloc(nullptr, 16), nullptr);
}

TEST(Mfree, TakesNone) {
  const std::size_t before = live_blocks();
  CM_UTL_mfree(nullptr);
  EXPECT_EQ(live_blocks(), before);
}

TEST(Strcpy, ReplacesTheOldText) {
  const std::size_t before = live_blocks();
  char* text = CM_UTL_strcpy(nullptr, "first");
  ASSERT_STREQ(text, "first");
  EXPECT_EQ(live_blocks(), before + 1);
  text = CM_UTL_strcpy(text, "second");
  ASSERT_STREQ(text, "second");
  EXPECT_EQ(live_blocks(), before + 1);
  text = CM_UTL_strcpy(text, text + 3);
  ASSERT_STREQ(text, "ond");
  EXPECT_EQ(CM_UTL_strcpy(text, nullptr), nullptr);
  EXPECT_EQ(live_blocks(), before);
}

TEST(Strcpy, GivesNoneWithoutMemoryAndFreesTheOldText) {
  const std::size_t before = live_blocks();
  char* text = CM_UTL_strcpy(nullptr, "old");
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(CM_UTL_strcpy(text, "new"), nullptr);
  EXPECT_EQ(live_blocks(), before);
}

TEST(NewRecords, AreNoneWithoutMemory) {
  const FailingHeap heap{1, FailingHeap::Kind::kFromThenOn};
  EXPECT_EQ(new_node(), nullptr);
  EXPECT_EQ(new_parameter(), nullptr);
}

TEST(FreePara, FreesTheRecordAndAllBehindIt) {
  const std::size_t before = live_blocks();
  Parameter* first = new_parameter().release();
  first->next = new_parameter().release();
  for (Parameter* param : {first, first->next}) {
    ASSERT_TRUE(param->name.assign("Enable"));
    ASSERT_TRUE(param->value.assign("1"));
    ASSERT_TRUE(param->enumeration.assign("0,1"));
    ASSERT_TRUE(param->sname.assign("en"));
  }
  EXPECT_EQ(live_blocks(), before + 10);
  EXPECT_EQ(CM_UTL_FreePara(first), CM_OK);
  EXPECT_EQ(live_blocks(), before);
}

TEST(FreePara, TakesNone) {
  EXPECT_EQ(CM_UTL_FreePara(nullptr), CM_OK);
}

TEST(FreeNode, TakesNone) {
  EXPECT_EQ(CM_UTL_FreeNode(nullptr), CM_OK);
}

TEST(FreeNode, FreesAWholeTree) {
  const std::size_t before = live_blocks();
  Node* root = build_tree(R"(InternetGatewayDevice.
  Summary = text
  DeviceInfo.
    Manufacturer = Vantrel
    SoftwareVersion
  WANDevice.
    0.
      Enable = 1
      Stats.
        Sent = 0
    1. [9]
      Enable = 1
)")
                   .release();
  ASSERT_TRUE(root->children->sname.assign("di"));
  EXPECT_GT(live_blocks(), before);
  EXPECT_EQ(CM_UTL_FreeNode(root), CM_OK);
  EXPECT_EQ(live_blocks(), before);
}

TEST(FreeNode, OnAFirstChildFreesAllChildrenOfItsParent) {
  const std::size_t before = live_blocks();
  const NodePtr parent = build_tree(R"(WANDevice.
  0.
  1.
    Enable = 1
  2.
)");
  EXPECT_EQ(CM_UTL_FreeNode(parent->children), CM_OK);
  parent->children = nullptr;
  EXPECT_EQ(live_blocks(), before + 2);  // the parent's record and name
}

TEST(FreeNode, FreesLaterSiblingsButNotEarlierOnes) {
  const NodePtr tree = build_tree(R"(Table.
  1.
  2.
  3.
)");
  Node* second = tree->children->next;
  tree->children->next = nullptr;
  EXPECT_EQ(CM_UTL_FreeNode(second), CM_OK);
  EXPECT_EQ(outline_of(tree.get()), "Table.\n  1.\n");
}

TEST(FreeNode, NeedsNoFrameForEverySibling) {
  const std::size_t before = live_blocks();
  on_small_stack(128 * 1024, [] {
    const NodePtr table = named_node("Host.");
    for (std::size_t n = 0; n < kManyRecords; ++n) {
      NodePtr row = named_node("1.");
      row->parent = table.get();
      row->next = table->children;
      table->children = row.release();
    }
  });
  EXPECT_EQ(live_blocks(), before);
}

TEST(FreeNode, NeedsNoFrameForEveryLevel) {
  const std::size_t before = live_blocks();
  on_small_stack(128 * 1024, [] {
    NodePtr root = named_node("A.");
    Node* bottom = root.get();
    for (std::size_t n = 0; n < kManyRecords; ++n) {
      bottom->children = named_node("A.").release();
      bottom->children->parent = bottom;
      bottom = bottom->children;
    }
  });
  EXPECT_EQ(live_blocks(), before);
}

TEST(FreeNode, NeedsNoFrameForEveryParameter) {
  const std::size_t before = live_blocks();
  on_small_stack(128 * 1024, [] {
    const NodePtr node = named_node("A.");
    for (std::size_t n = 0; n < kManyRecords; ++n) {
      ParameterPtr param = new_parameter();
      EXPECT_TRUE(param->name.assign("P"));
      param->next = node->params;
      node->params = param.release();
    }
  });
  EXPECT_EQ(live_blocks(), before);
}

TEST(FreeNode, FreesEveryListOfAWideTreeOnce) {
  const std::size_t before = live_blocks();
  NodePtr root = named_node("A.");
  std::function<void(Node*, int)> grow = [&grow](Node* node, int levels) {
    for (int n = 0; levels > 0 && n < 10; ++n) {
      NodePtr child = named_node("B.");
      child->parent = node;
      child->next = node->children;
      grow(child.get(), levels - 1);
      node->children = child.release();
    }
  };
  grow(root.get(), 4);
  EXPECT_EQ(live_blocks(), before + 2 * 11111);
  root.reset();
  EXPECT_EQ(live_blocks(), before);
}

constexpr char kTable[] = R"(Table.
  1.
  2.
  3.
)";

TEST(Unlink, TakesOutTheFirstAMiddleAndTheLastChild) {
  const NodePtr tree = build_tree(kTable);
  NodePtr second{tree->children->next};
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(second.get()), CM_OK);
  EXPECT_EQ(second->next, nullptr);
  EXPECT_EQ(second->parent, tree.get());
  EXPECT_EQ(children_of(tree.get()), "1. 3.");
  const NodePtr third{tree->children->next};
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(third.get()), CM_OK);
  EXPECT_EQ(children_of(tree.get()), "1.");
  const NodePtr first{tree->children};
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(first.get()), CM_OK);
  EXPECT_EQ(tree->children, nullptr);
}

TEST(Unlink, TheFirstOfMany) {
  const NodePtr tree = build_tree(kTable);
  const NodePtr first{tree->children};
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(first.get()), CM_OK);
  EXPECT_EQ(first->next, nullptr);
  EXPECT_EQ(children_of(tree.get()), "2. 3.");
}

TEST(Unlink, RefusesANodeThatItsParentDoesNotList) {
  const NodePtr tree = build_tree(kTable);
  const NodePtr other = build_tree(kTable);
  other->children->parent = tree.get();
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(other->children), CM_INVALID);
  EXPECT_EQ(children_of(tree.get()), "1. 2. 3.");
  EXPECT_EQ(children_of(other.get()), "1. 2. 3.");
}

TEST(Unlink, RefusesWhenTheParentHasNoChildren) {
  const NodePtr parent = named_node("Table.");
  const NodePtr child = named_node("1.");
  child->parent = parent.get();
  EXPECT_EQ(CM_UTL_RebuildStructureBeforeNodeRemove(child.get()), CM_INVALID);
  EXPECT_EQ(parent->children, nullptr);
}

TEST(FreeInstance, UnlinksAndFreesOneSubtree) {
  for (const int keep : {0, 1, 7}) {
    const std::size_t before = live_blocks();
    {
      const NodePtr tree = build_tree(R"(WANDevice.
  0.
  1.
    Enable = 1
    Stats.
      Sent = 0
  2.
    Enable = 0
)");
      EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(tree->children->next, keep), CM_OK);
      EXPECT_EQ(outline_of(tree.get()), R"(WANDevice.
  0.
  2.
    Enable = 0
)");
    }
    EXPECT_EQ(live_blocks(), before);
  }
}

TEST(FreeInstance, LeavesTemplatesAndObjectsThatAreNoInstance) {
  constexpr char kOutline[] = R"(InternetGatewayDevice.
  LANDevice.
    0.
      Enable = 1
    1.
  Slot10.
  -3.
)";
  const NodePtr tree = build_tree(kOutline);
  Node* lan = tree->children;
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(nullptr, 1), CM_OK);
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(lan, 1), CM_OK);
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(lan->children, 1), CM_OK);
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(lan->next, 1), CM_OK);
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(lan->next->next, 1), CM_OK);
  EXPECT_EQ(outline_of(tree.get()), kOutline);
}

TEST(FreeInstance, LeavesANodeWithoutName) {
  const NodePtr node = new_node();
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(node.get(), 1), CM_OK);
}

TEST(FreeInstance, RefusesAnInstanceThatItsParentDoesNotList) {
  const NodePtr tree = build_tree(kTable);
  const NodePtr stray = named_node("2.");
  stray->parent = tree.get();
  EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(stray.get(), 1), CM_INVALID);
  EXPECT_EQ(children_of(tree.get()), "1. 2. 3.");
}

TEST(FreeInstance, FreesAnInstanceWithoutParent) {
  const std::size_t before = live_blocks();
  {
    NodePtr instance = named_node("4.");
    const NodePtr sibling = named_node("5.");
    instance->next = sibling.get();
    EXPECT_EQ(CM_UTL_FreeNode_KeepInstance(instance.release(), 1), CM_OK);
    EXPECT_EQ(sibling->name.view(), "5.");
  }
  EXPECT_EQ(live_blocks(), before);
}

}  // namespace
}  // namespace gwconf
