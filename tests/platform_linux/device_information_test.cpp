#include <string>

#include <gtest/gtest.h>

#include "core/heap.h"
#include "core/paths.h"
#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"
#include "tests/support/failing_heap.h"

namespace gwconf::test {
namespace {

class DeviceInformationTest : public LinuxMachine {
 protected:
  static std::string get(const char* name) {
    char out[64] = "old";
    EXPECT_EQ(CM_platform_fn_init(name)->getter("A.B", out, sizeof out), CM_OK);
    return out;
  }
};

TEST_F(DeviceInformationTest, FillsEveryItem) {
  has_file("/etc/device_info_cfg", "device_name = \"Kitchen\"\nmodel_num=7\n");
  CfgItem items[] = {{nullptr, "model_num", 0, ""},
                     {nullptr, "device_name", 0, "none"},
                     {nullptr, "modelURL", 0, "http://default"}};
  ASSERT_EQ(getCfgInfo(paths().device_info, items, 3), 0);
  EXPECT_STREQ(items[0].value, "7");
  EXPECT_STREQ(items[1].value, "Kitchen");
  EXPECT_STREQ(items[2].value, "http://default");
  for (const CfgItem& item : items)
    heap_release(item.value);
}

TEST_F(DeviceInformationTest, FailsWithoutItsFile) {
  char stale[] = "stale";
  CfgItem item{stale, "model_num", 0, "default"};
  EXPECT_NE(getCfgInfo(paths().device_info, &item, 1), 0);
  EXPECT_EQ(item.value, nullptr);
}

TEST_F(DeviceInformationTest, ReadsTheFileAfreshAtEachCall) {
  EXPECT_EQ(get("GetDeviceName"), "");
  has_file("/etc/device_info_cfg", "device_name=one\n");
  EXPECT_EQ(get("GetDeviceName"), "one");
  has_file("/etc/device_info_cfg", "device_name=two\n");
  EXPECT_EQ(get("GetDeviceName"), "two");
}

TEST_F(DeviceInformationTest, ServesTheGettersByTheirKeys) {
  has_file("/etc/device_info_cfg",
           "manufacturerURL=http://m/%%20\nmodel_num=GW-7\nmodelURL=http://u\ndevice_name=d\n");
  EXPECT_EQ(get("GetManufacturerUrl"), "http://m/%20");
  EXPECT_EQ(get("GetModelNumber"), "GW-7");
  EXPECT_EQ(get("GetModelUrl"), "http://u");
  EXPECT_EQ(get("GetDeviceName"), "d");
}

TEST_F(DeviceInformationTest, NoMemoryFailsAndLeavesNothingBehind) {
  has_file("/etc/device_info_cfg", "device_name=Kitchen\n");
  int result = 0;
  int values = 0;
  const std::size_t runs = sweep_allocations(
      [] {},
      [&] {
        CfgItem items[] = {{nullptr, "device_name", 0, ""}, {nullptr, "missing", 0, "default"}};
        result = getCfgInfo(paths().device_info, items, 2);
        values = 0;
        for (const CfgItem& item : items) {
          values += item.value ? 1 : 0;
          heap_release(item.value);
        }
      },
      [&] {
        EXPECT_NE(result, 0);
        EXPECT_LT(values, 2);
      });
  EXPECT_EQ(runs, 4U);
}

}  // namespace
}  // namespace gwconf::test
