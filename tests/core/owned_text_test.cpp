#include "core/owned_text.h"

#include <gtest/gtest.h>

#include "tests/support/failing_heap.h"

namespace gwconf {
namespace {

using test::FailingHeap;

TEST(OwnedText, NoneIsNotTheEmptyText) {
  OwnedText text;
  EXPECT_FALSE(text);
  EXPECT_EQ(text.get(), nullptr);
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.view().data(), nullptr);
  ASSERT_TRUE(text.assign(""));
  EXPECT_TRUE(text);
  EXPECT_STREQ(text.get(), "");
}

TEST(OwnedText, AssignsFromItself) {
  OwnedText text;
  ASSERT_TRUE(text.assign("abcdef"));
  ASSERT_TRUE(text.assign(std::string_view{text.get() + 2, 3}));
  EXPECT_STREQ(text.get(), "cde");
}

TEST(OwnedText, KeepsTheOldTextWithoutMemory) {
  OwnedText text;
  ASSERT_TRUE(text.assign("old"));
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_FALSE(text.assign("new"));
  EXPECT_STREQ(text.get(), "old");
}

TEST(OwnedText, MovesAndReleases) {
  OwnedText first;
  ASSERT_TRUE(first.assign("x"));
  OwnedText second{std::move(first)};
  EXPECT_FALSE(first);
  first = std::move(second);
  OwnedText& same = first;
  first = std::move(same);
  EXPECT_STREQ(first.get(), "x");
  char* raw = first.release();
  EXPECT_FALSE(first);
  const OwnedText adopted = OwnedText::adopt(raw);
  EXPECT_STREQ(adopted.get(), "x");
}

TEST(OwnedText, CopiesNone) {
  OwnedText text;
  ASSERT_TRUE(text.assign("x"));
  ASSERT_TRUE(text.assign(OwnedText{}));
  EXPECT_FALSE(text);
}

TEST(OwnedText, CountsTheBytesOfAllThatHaveAnOwner) {
  const std::size_t before = OwnedText::bytes_in_use();
  {
    OwnedText text;
    ASSERT_TRUE(text.assign("four"));
    EXPECT_EQ(OwnedText::bytes_in_use(), before + 5);
    ASSERT_TRUE(text.assign("sixsix"));
    OwnedText taken = std::move(text);
    EXPECT_EQ(OwnedText::bytes_in_use(), before + 7);
    char* loose = taken.release();
    EXPECT_EQ(OwnedText::bytes_in_use(), before);
    taken = OwnedText::adopt(loose);
    EXPECT_EQ(OwnedText::bytes_in_use(), before + 7);
    taken = OwnedText::adopt(nullptr);
    EXPECT_EQ(OwnedText::bytes_in_use(), before);
    ASSERT_TRUE(taken.assign("x"));
  }
  EXPECT_EQ(OwnedText::bytes_in_use(), before);
}

}  // namespace
}  // namespace gwconf
