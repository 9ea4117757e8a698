#include "tools/apply/batch_file.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/capture.h"

namespace gwconf::tool {
namespace {

const Output kText{false, "/tmp/socket"};

class BatchFile : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(folder_); }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  [[nodiscard]] std::string file(const std::string& content) const {
    std::ofstream{folder_ + "/batch", std::ios::binary} << content;
    return folder_ + "/batch";
  }

  /// What is reported of a file with that content; the ends of lines cut off at its name.
  [[nodiscard]] std::string complaints(const std::string& content) const {
    const std::string path = file(content);
    bool has_failed = false;
    std::string text = test::stderr_of([&] {
      try {
        static_cast<void>(read_batch(kText, path));
      } catch (const Failure& failure) {
        has_failed = failure.exit() == Exit::kWrongUse && failure.told();
      }
    });
    EXPECT_TRUE(has_failed);
    for (std::size_t at = 0; (at = text.find(path, at)) != std::string::npos;)
      text.erase(at, path.size());
    return text;
  }

 private:
  const std::string folder_ = std::filesystem::temp_directory_path().string() +
                              "/batch_file_test." + std::to_string(getpid());
};

TEST_F(BatchFile, HasALineForEachChange) {
  const std::string path = file(
      "# comment\n\n \t\n"
      "  set A.P = two words \r\n"
      "set A.Q=\n"
      "add A.T\n"
      "add A.T. 3\n"
      "\tdel A.T.2\r\n");
  const std::vector<BatchLine> lines = read_batch(kText, path);
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[0].place, path + ":4");
  EXPECT_EQ(lines[0].step.kind, Step::Kind::kSet);
  EXPECT_EQ(lines[0].step.path, "A.P");
  EXPECT_EQ(lines[0].step.value, " two words ");
  EXPECT_EQ(lines[1].step.value, "");
  EXPECT_EQ(lines[2].step.kind, Step::Kind::kAdd);
  EXPECT_EQ(lines[2].step.path, "A.T.");
  EXPECT_TRUE(lines[2].chooses_number);
  EXPECT_EQ(lines[3].step.path, "A.T.3.");
  EXPECT_FALSE(lines[3].chooses_number);
  EXPECT_EQ(lines[4].place, path + ":8");
  EXPECT_EQ(lines[4].step.kind, Step::Kind::kDelete);
  EXPECT_EQ(lines[4].step.path, "A.T.2.");
}

TEST_F(BatchFile, EveryWrongLineIsReported) {
  EXPECT_EQ(complaints("set\nset =1\nset A.P\nadd\nadd T x\nadd T 1 2\nadd T 123456\n"
                       "del\ndel A 1\nfly A\nset A.P=1\n"),
            "gwctl: :1: not of the form set PATH=VALUE\n"
            "gwctl: :2: not of the form set PATH=VALUE\n"
            "gwctl: :3: not of the form set PATH=VALUE\n"
            "gwctl: :4: not of the form add TABLE [NUMBER]\n"
            "gwctl: :5: not of the form add TABLE [NUMBER]\n"
            "gwctl: :6: not of the form add TABLE [NUMBER]\n"
            "gwctl: :7: not of the form add TABLE [NUMBER]\n"
            "gwctl: :8: not of the form del INSTANCE\n"
            "gwctl: :9: not of the form del INSTANCE\n"
            "gwctl: :10: neither set, add nor del\n");
}

TEST_F(BatchFile, WhatCannotBeReadFails) {
  const auto why_not = [](const std::string& path) -> std::string {
    try {
      static_cast<void>(read_batch(kText, path));
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.exit(), Exit::kWrongUse);
      EXPECT_FALSE(failure.told());
      return failure.what();
    }
    return "";
  };
  const std::string binary = file(std::string{"set A\0=1\n", 9});
  EXPECT_EQ(why_not(binary), "apply " + binary + ": binary, no batch file");
  const std::string large = file(std::string((16U << 20) + 1, '#'));
  EXPECT_EQ(why_not(large), "apply " + large + ": longer than 16 MiB");
  EXPECT_EQ(why_not(large + "/x"), "apply " + large + "/x: Not a directory");
}

}  // namespace
}  // namespace gwconf::tool
