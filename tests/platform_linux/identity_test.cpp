#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"

namespace gwconf::test {
namespace {

class IdentityTest : public LinuxMachine {
 protected:
  static std::string get(const char* name) {
    char out[300] = "old";
    const Status status = CM_platform_fn_init(name)->getter("A.B", out, sizeof out);
    return status == CM_OK ? out : "code " + std::to_string(status);
  }
};

TEST_F(IdentityTest, ModelAndSerialNumberAreTheDeviceTrees) {
  has_file("/proc/device-tree/model", std::string_view{"Example Gateway Rev 1.2\0", 24});
  has_file("/proc/device-tree/serial-number", std::string_view{"10000000abcdef01\0", 17});
  EXPECT_EQ(get("GetSN"), "10000000abcdef01");
  EXPECT_EQ(get("GetModelName"), "Example Gateway Rev 1.2");
  EXPECT_EQ(get("GetProductClass"), "Example Gateway Rev 1.2");
}

TEST_F(IdentityTest, ALongSerialNumberIsCutToItsBuffer) {
  has_file("/proc/device-tree/serial-number", "0123456789012345678901234567890123456789");
  EXPECT_EQ(get("GetSN"), "0123456789012345678");
}

TEST_F(IdentityTest, ALongModelIsCut) {
  has_file("/proc/device-tree/model", std::string(100000, 'm'));
  EXPECT_EQ(get("GetModelName"), std::string(255, 'm'));
}

TEST_F(IdentityTest, WithoutDeviceTreeThereIsNoIdentity) {
  EXPECT_EQ(get("GetSN"), "");
  EXPECT_EQ(get("GetModelName"), "Vantrel");
  EXPECT_EQ(get("GetProductClass"), "code -100");
}

TEST_F(IdentityTest, AnEmptyPropertyIsNone) {
  has_file("/proc/device-tree/model", std::string_view{"\0", 1});
  EXPECT_EQ(get("GetModelName"), "Vantrel");
  has_file("/proc/device-tree/model", "");
  EXPECT_EQ(get("GetModelName"), "Vantrel");
}

TEST_F(IdentityTest, FirmwareVersionIsTheSystemReleases) {
  has_file("/etc/os-release", "NAME=\"Example Linux\"\nVERSION_ID=\"23.05.3\"\nBUILD_ID=r23809\n");
  EXPECT_EQ(get("GetFWVersion"), "23.05.3");
  has_file("/etc/os-release", "NAME=\"Example Linux\"\nBUILD_ID=r23809\n");
  EXPECT_EQ(get("GetFWVersion"), "r23809");
}

TEST_F(IdentityTest, WithoutReleaseThereIsNoFirmwareVersion) {
  EXPECT_EQ(get("GetFWVersion"), "code -100");
  has_file("/etc/os-release", "NAME=rolling\n");
  EXPECT_EQ(get("GetFWVersion"), "code -100");
}

TEST_F(IdentityTest, TheRestHasNoSource) {
  EXPECT_EQ(get("GetManufacturer"), "Vantrel");
  EXPECT_EQ(get("GetHWVersion"), "");
  EXPECT_EQ(get("GetManufacturerOUI"), "");
  EXPECT_EQ(get("GetDescription"), "");
}

}  // namespace
}  // namespace gwconf::test
