#include "core/short_name_index.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"

namespace gwconf {
namespace {

using test::FailingHeap;
using test::live_blocks;
using test::stderr_of;

constexpr int kBuckets = kShortNameBuckets;

/// An empty index of its own, two parameters to point at.
class ShortNameIndex : public ::testing::Test {
 protected:
  ShortNameIndex() {
    EXPECT_TRUE(first.value.assign("eth0"));
    EXPECT_TRUE(second.value.assign("100% of %s"));
  }
  ~ShortNameIndex() override { EXPECT_EQ(CM_HASH_Free(table, kBuckets), CM_OK); }

  Parameter* find(std::string_view key, Status expected = CM_OK) {
    Parameter* found = &first;
    EXPECT_EQ(CM_HASH_Lookup(table, kBuckets, key, &found), expected);
    return found;
  }

  ShortNameEntry* table[kBuckets] = {};
  Parameter first;
  Parameter second;
};

TEST(HashRoot, HasTenEmptyBucketsAtStart) {
  EXPECT_EQ(std::size(hashroot_sname), 10U);
  for (const ShortNameEntry* head : hashroot_sname)
    EXPECT_EQ(head, nullptr);
}

TEST(HashIndex, IsTheSumOfTheCharacters) {
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "ab"), 5);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "ba"), 5);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "x"), 0);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, ""), 0);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 1, "abc"), 0);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 7, "ab"), 6);
}

TEST(HashIndex, TakesCharactersAsSigned) {
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "\xFF"), -1);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "a\xFF"), 6);
  EXPECT_EQ(CM_HASH_GetIndex(nullptr, 10, "\x80\x80"), -6);
}

TEST(HashIndexDeathTest, OfNoBucketsIsFatal) {
  EXPECT_DEATH(ignore(Status{CM_HASH_GetIndex(nullptr, 0, "x") == 0 ? CM_OK : CM_INVALID}), "");
}

TEST_F(ShortNameIndex, CreatesAnEntryWithACopyOfTheKey) {
  std::string key = "wan";
  ShortNameEntry* entry = nullptr;
  EXPECT_EQ(CM_HASH_Create(&entry, key, &first), CM_OK);
  key = "lan";
  EXPECT_STREQ(entry->key.get(), "wan");
  EXPECT_EQ(entry->value, &first);
  EXPECT_EQ(entry->next, nullptr);
  table[0] = entry;
}

TEST_F(ShortNameIndex, CreateWithoutMemoryLeavesItsResult) {
  for (std::size_t nth : {1U, 2U}) {
    const std::size_t before = live_blocks();
    const FailingHeap heap{nth, FailingHeap::Kind::kOnce};
    ShortNameEntry entry;
    ShortNameEntry* out = &entry;
    EXPECT_EQ(CM_HASH_Create(&out, "wan", &first), CM_INVALID);
    EXPECT_EQ(out, &entry);
    EXPECT_EQ(live_blocks(), before);
  }
}

TEST_F(ShortNameIndex, InsertWithoutMemoryChangesNothing) {
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "wan", &first), CM_OK);
  for (std::size_t nth : {1U, 2U}) {
    const std::size_t before = live_blocks();
    const FailingHeap heap{nth, FailingHeap::Kind::kOnce};
    EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "wan", &second), CM_INVALID);
    EXPECT_EQ(live_blocks(), before);
  }
  EXPECT_EQ(find("wan"), &first);
}

TEST_F(ShortNameIndex, FindsWhatWasInserted) {
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "ab", &first), CM_OK);
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "ba", &second), CM_OK);
  EXPECT_EQ(find("ab"), &first);
  EXPECT_EQ(find("ba"), &second);
  EXPECT_EQ(find("AB", CM_NOT_FOUND), nullptr);
  EXPECT_EQ(find("aaaaaaaaaab", CM_NOT_FOUND), nullptr);
  EXPECT_STREQ(table[5]->key.get(), "ba");
  EXPECT_STREQ(table[5]->next->key.get(), "ab");
}

TEST_F(ShortNameIndex, FindsNothingWhenEmpty) {
  EXPECT_EQ(find("x", CM_NOT_FOUND), nullptr);
  EXPECT_EQ(find("", CM_NOT_FOUND), nullptr);
}

TEST_F(ShortNameIndex, FindsTheEmptyKeyInBucketZero) {
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "", &second), CM_OK);
  EXPECT_EQ(find(""), &second);
  EXPECT_STREQ(table[0]->key.get(), "");
}

TEST_F(ShortNameIndex, LaterEntriesHideEarlierOnes) {
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "x", &first), CM_OK);
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "x", &second), CM_OK);
  EXPECT_EQ(find("x"), &second);
  EXPECT_EQ(stderr_of([this] { EXPECT_EQ(CM_HASH_DumpSName(table, 1), CM_OK); }),
            "\n**************Print short name list Start************\n"
            "Hash index : 0\n"
            "\t x = 100% of %s\n"
            "\t x = eth0\n"
            "\n**************Print short name list End*************\n");
}

TEST_F(ShortNameIndex, RefusesAKeyWithoutBucket) {
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "\xFF", &first), CM_INVALID);
  EXPECT_EQ(find("\xFF", CM_NOT_FOUND), nullptr);
  EXPECT_EQ(CM_HASH_Insert(table, kBuckets, "a\xFF", &first), CM_OK);
  EXPECT_EQ(find("a\xFF"), &first);
}

TEST_F(ShortNameIndex, ClearForgetsWithoutFreeing) {
  const std::size_t before = live_blocks();
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "x", &first), CM_OK);
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "y", &first), CM_OK);
  ShortNameEntry* kept[kBuckets];
  std::copy(std::begin(table), std::end(table), kept);
  EXPECT_EQ(CM_HASH_Clear(table, kBuckets), CM_OK);
  EXPECT_EQ(find("x", CM_NOT_FOUND), nullptr);
  EXPECT_EQ(live_blocks(), before + 4);
  EXPECT_EQ(CM_HASH_Free(kept, kBuckets), CM_OK);
  EXPECT_EQ(live_blocks(), before);
}

TEST_F(ShortNameIndex, FreeFreesEveryChainAndLeavesTheHeads) {
  const std::size_t before = live_blocks();
  for (const char* key : {"a", "b", "ab", "ba", "", "a", "j"})
    ASSERT_EQ(CM_HASH_Insert(table, kBuckets, key, &first), CM_OK);
  EXPECT_EQ(live_blocks(), before + 14);
  const ShortNameEntry* head = table[5];
  EXPECT_EQ(CM_HASH_Free(table, kBuckets), CM_OK);
  EXPECT_EQ(live_blocks(), before);
  EXPECT_EQ(table[5], head);
  EXPECT_EQ(CM_HASH_Clear(table, kBuckets), CM_OK);
}

TEST_F(ShortNameIndex, FreesALongChain) {
  for (int n = 0; n < 100000; ++n)
    ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "x", &first), CM_OK);
}

TEST_F(ShortNameIndex, DumpListsKeysAndAddresses) {
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "x", &first), CM_OK);
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "x", &second), CM_OK);
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "y", nullptr), CM_OK);
  const auto address = [](const Parameter& param) {
    return std::to_string(static_cast<int>(reinterpret_cast<std::intptr_t>(&param)));
  };
  EXPECT_EQ(stderr_of([this] { EXPECT_EQ(CM_HASH_Dump(table, 3), CM_OK); }),
            "Print Hash index 0\n\tkey = x, value = " + address(second) +
                "\n\tkey = x, value = " + address(first) +
                "\nPrint Hash index 1\n\tkey = y, value = 0\nPrint Hash index 2\n");
}

TEST_F(ShortNameIndex, DumpOfNoBucketsIsEmpty) {
  EXPECT_EQ(stderr_of([this] {
              EXPECT_EQ(CM_HASH_Dump(table, 0), CM_OK);
              EXPECT_EQ(CM_HASH_Dump(table, -1), CM_OK);
            }),
            "");
}

TEST_F(ShortNameIndex, ShortNameDumpListsCurrentValues) {
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "lan", &first), CM_OK);
  ASSERT_TRUE(first.value.assign("eth1"));
  Parameter none;
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "c", &none), CM_OK);
  EXPECT_EQ(stderr_of([this] { EXPECT_EQ(CM_HASH_DumpSName(table, kBuckets), CM_OK); }),
            "\n**************Print short name list Start************\n"
            "Hash index : 0\n"
            "Hash index : 1\n"
            "Hash index : 2\n"
            "Hash index : 3\n"
            "Hash index : 4\n"
            "Hash index : 5\n"
            "\t lan = eth1\n"
            "Hash index : 6\n"
            "Hash index : 7\n"
            "Hash index : 8\n"
            "Hash index : 9\n"
            "\t c = \n"
            "\n**************Print short name list End*************\n");
}

TEST_F(ShortNameIndex, ShortNameDumpOfNoBucketsIsTheBannersAlone) {
  constexpr char kBanners[] =
      "\n**************Print short name list Start************\n"
      "\n**************Print short name list End*************\n";
  EXPECT_EQ(stderr_of([this] { EXPECT_EQ(CM_HASH_DumpSName(table, 0), CM_OK); }), kBanners);
  EXPECT_EQ(stderr_of([this] { EXPECT_EQ(CM_HASH_DumpSName(table, -5), CM_OK); }), kBanners);
}

TEST_F(ShortNameIndex, OperationsOnNoBucketsChangeNothing) {
  ASSERT_EQ(CM_HASH_Insert(table, kBuckets, "x", &first), CM_OK);
  EXPECT_EQ(CM_HASH_Clear(table, 0), CM_OK);
  EXPECT_EQ(CM_HASH_Free(table, 0), CM_OK);
  EXPECT_EQ(CM_HASH_Free(table, -1), CM_OK);
  EXPECT_EQ(find("x"), &first);
}

}  // namespace
}  // namespace gwconf
