#include "tools/base/output.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "gwconf/client.h"
#include "tests/support/capture.h"

namespace gwconf::tool {
namespace {

using test::stderr_of;
using test::stdout_of;

const Output kText{false, "/tmp/socket"};

TEST(Output, TheWorseEndCounts) {
  EXPECT_EQ(worse(Exit::kDone, Exit::kDone), Exit::kDone);
  EXPECT_EQ(worse(Exit::kDone, Exit::kFindings), Exit::kFindings);
  EXPECT_EQ(worse(Exit::kFindings, Exit::kRefused), Exit::kRefused);
  EXPECT_EQ(worse(Exit::kWrongUse, Exit::kRefused), Exit::kWrongUse);
  EXPECT_EQ(worse(Exit::kWrongUse, Exit::kUnreachable), Exit::kUnreachable);
}

TEST(Output, WritesJsonWithKeysInOrder) {
  EXPECT_EQ(stdout_of([] { kText.document(json_of(2)); }),
            "{\n  \"code\": 2,\n  \"meaning\": \"no such object or parameter\"\n}\n");
}

TEST(Output, WritesJsonForBytesThatAreNoText) {
  EXPECT_EQ(stdout_of([] {
              kText.document(
                  Json("a\xff"
                       "b"));
            }),
            "\"a\xEF\xBF\xBD"
            "b\"\n");
}

TEST(Output, NamesSubjectCodeAndMeaning) {
  Exit exit = Exit::kDone;
  EXPECT_EQ(stderr_of([&] { exit = kText.failure("set InternetGatewayDevice.X", 2); }),
            "gwctl: set InternetGatewayDevice.X: 2 (no such object or parameter)\n");
  EXPECT_EQ(exit, Exit::kRefused);
  EXPECT_EQ(stderr_of([&] { exit = kText.failure("commit", 156); }),
            "gwctl: commit: 156 (configuration could not be read or written)\n");
  EXPECT_EQ(exit, Exit::kRefused);
  EXPECT_EQ(stderr_of([&] { exit = kText.failure("commit", -100); }),
            "gwctl: commit: -100 (invalid request)\n");
  EXPECT_EQ(exit, Exit::kRefused);
  EXPECT_EQ(stderr_of([&] { exit = kText.failure("raw 99", -2000); }),
            "gwctl: raw 99: -2000 (unknown result code)\n");
  EXPECT_EQ(exit, Exit::kRefused);
}

TEST(Output, TellsTheSystemsReason) {
  Exit exit = Exit::kDone;
  EXPECT_EQ(stderr_of([&] {
              errno = ECONNREFUSED;
              exit = kText.failure("commit", GWCONF_E_CONNECT);
            }),
            "gwctl: commit: -1002 (daemon not reachable at /tmp/socket: Connection refused)\n");
  EXPECT_EQ(exit, Exit::kUnreachable);
  EXPECT_EQ(stderr_of([&] {
              errno = EMFILE;
              exit = kText.failure("commit", GWCONF_E_SYSTEM);
            }),
            "gwctl: commit: -1006 (system call failed: Too many open files)\n");
  EXPECT_EQ(exit, Exit::kUnreachable);
}

TEST(Output, TransportErrorsMeanUnreachable) {
  for (const int code : {GWCONF_E_MEMORY, GWCONF_E_TIMEOUT, GWCONF_E_CLOSED, GWCONF_E_PROTOCOL}) {
    Exit exit = Exit::kDone;
    EXPECT_NE(stderr_of([&] { exit = kText.failure("commit", code); }), "");
    EXPECT_EQ(exit, Exit::kUnreachable);
  }
  Exit exit = Exit::kDone;
  EXPECT_NE(stderr_of([&] { exit = kText.failure("commit", GWCONF_E_ARGUMENT); }), "");
  EXPECT_EQ(exit, Exit::kWrongUse);
}

TEST(Output, ReportsAFailureOnceAndItsDocumentWithJson) {
  const Output json{true, "/tmp/socket"};
  const Failure failure{Exit::kFindings, "find x: nothing holds it", Json::array()};
  Exit exit = Exit::kDone;
  EXPECT_EQ(stderr_of([&] { exit = kText.failure(failure); }), "gwctl: find x: nothing holds it\n");
  EXPECT_EQ(exit, Exit::kFindings);
  EXPECT_EQ(stdout_of([&] { exit = kText.failure(failure); }), "");
  EXPECT_EQ(stdout_of([&] { exit = json.failure(failure); }), "[]\n");
  EXPECT_EQ(exit, Exit::kFindings);
  const Failure told{Exit::kWrongUse, "told already", true};
  EXPECT_EQ(stderr_of([&] { exit = json.failure(told); }), "");
  EXPECT_EQ(exit, Exit::kWrongUse);
  EXPECT_EQ(stdout_of([&] { exit = json.failure(told); }), "");
}

}  // namespace
}  // namespace gwconf::tool
