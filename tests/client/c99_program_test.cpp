#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "tests/client/fake_daemon.h"

namespace gwconf {
namespace {

std::string output_of(const std::string& command) {
  FILE* stream = popen(command.c_str(), "r");
  std::string output;
  for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream))
    output += static_cast<char>(byte);
  pclose(stream);
  return output;
}

TEST(C99Program, UsesTheSharedLibrary) {
  const test::FakeDaemon daemon{test::answering(1, {"a gateway", "0"})};
  EXPECT_EQ(output_of(GWCONF_C99_PROGRAM " " + daemon.socket_path() + " Device.Description"),
            "a gateway\n");
  EXPECT_EQ(daemon.request(), (test::RequestTexts{"2", "Device.Description"}));
}

TEST(C99Program, SaysWhatWentWrong) {
  EXPECT_EQ(output_of(GWCONF_C99_PROGRAM " /tmp/gwconf-nobody Device.Description"),
            "-1002 daemon not reachable\n");
}

}  // namespace
}  // namespace gwconf
