#include "platform/linux/key_value.h"

#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "tests/platform_linux/linux_machine.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

class KeyValueTest : public LinuxMachine {
 protected:
  const std::string path_ = sandbox_root() + "/etc/pairs";

  /// The value of `key` in a file of that content, or the code.
  std::string value_in(const std::string& content, const char* key = "key") {
    write_file(path_, content);
    OwnedText value;
    const Status status = find_key_value(path_.c_str(), key, value);
    if (status == CM_OK) return value.c_str();
    EXPECT_FALSE(value);
    return "code " + std::to_string(status);
  }
};

TEST_F(KeyValueTest, ReadsTheValueOfTheKey) {
  EXPECT_EQ(value_in("one=1\nkey=two words\nthree=3\n"), "two words");
  EXPECT_EQ(value_in("key=last line without break"), "last line without break");
}

TEST_F(KeyValueTest, BlanksAroundTheEqualsSignDoNotCount) {
  EXPECT_EQ(value_in("\t key \t= \t value \t\r\n"), "value");
}

TEST_F(KeyValueTest, QuotesAroundTheValueDoNotCount) {
  EXPECT_EQ(value_in("key=\"quoted value\"\n"), "quoted value");
  EXPECT_EQ(value_in("key = \" blanks stay \" # and no more\n"), " blanks stay ");
  EXPECT_EQ(value_in("key=\"\"\n"), "");
}

TEST_F(KeyValueTest, OneQuoteIsPartOfTheValue) {
  EXPECT_EQ(value_in("key=\"open\n"), "\"open");
  EXPECT_EQ(value_in("key=14\" rack\n"), "14\" rack");
}

TEST_F(KeyValueTest, CommentsAreNoPairs) {
  EXPECT_EQ(value_in("#key=no\n  # key=no\nkey=yes\n"), "yes");
}

TEST_F(KeyValueTest, AHashInsideAValueStays) {
  EXPECT_EQ(value_in("key=http://192.0.2.1/#top\n"), "http://192.0.2.1/#top");
}

TEST_F(KeyValueTest, TheFirstEqualsSignDivides) {
  EXPECT_EQ(value_in("key=a=b\n"), "a=b");
}

TEST_F(KeyValueTest, TheFirstPairOfTheKeyCounts) {
  EXPECT_EQ(value_in("key=first\nkey=second\n"), "first");
}

TEST_F(KeyValueTest, KeysMatchWhole) {
  EXPECT_EQ(value_in("keys=1\nKEY=2\nmy key=3\n=4\nkey\n"), "code 2");
}

TEST_F(KeyValueTest, ALongValueIsCut) {
  EXPECT_EQ(value_in("key=" + std::string(5000, 'v') + "\n"), std::string(1019, 'v'));
}

TEST_F(KeyValueTest, GarbageHasNoKeys) {
  EXPECT_EQ(value_in(std::string("\0\xff\n\n\x01=\x02\n", 9)), "code 2");
  EXPECT_EQ(value_in(""), "code 2");
}

TEST_F(KeyValueTest, WhatCannotBeReadIsUnusable) {
  OwnedText value;
  EXPECT_EQ(find_key_value(path_.c_str(), "key", value), CM_UNUSABLE);
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(find_key_value(path_.c_str(), "key", value), CM_UNUSABLE);
}

TEST_F(KeyValueTest, NoMemoryLeavesNoValue) {
  write_file(path_, "key=value\n");
  Status status = CM_OK;
  bool found = false;
  const std::size_t runs = sweep_allocations([] {},
                                             [&] {
                                               OwnedText value;
                                               status = find_key_value(path_.c_str(), "key", value);
                                               found = static_cast<bool>(value);
                                             },
                                             [&] {
                                               EXPECT_EQ(status, CM_NO_MEMORY);
                                               EXPECT_FALSE(found);
                                             });
  EXPECT_EQ(runs, 2U);
}

}  // namespace
}  // namespace gwconf::test
