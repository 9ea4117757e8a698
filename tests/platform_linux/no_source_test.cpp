#include <gtest/gtest.h>

#include "platform/getters.h"

namespace gwconf::test {
namespace {

TEST(NoSource, TelephoneLinesAndPingTestAreEmpty) {
  for (const char* name :
       {"GetVoiceLineStatus", "GetVoiceLineCallState", "GetIPPingDiagSuccessCount",
        "GetIPPingDiagFailureCount", "GetIPPingDiagAvgResponseTime", "GetIPPingDiagMinResponseTime",
        "GetIPPingDiagMaxResponseTime"}) {
    char out[16] = "old";
    EXPECT_EQ(CM_platform_fn_init(name)->getter("A.Line.1.X", out, sizeof out), CM_OK) << name;
    EXPECT_STREQ(out, "") << name;
  }
}

}  // namespace
}  // namespace gwconf::test
