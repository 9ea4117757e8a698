#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::ElementsAre;

class Set : public testing::Test {
 protected:
  Ran run(std::vector<std::string> arguments) { return gwctl(arguments, daemon.socket_path()); }

  Entries entries{
      {"Device.", {}},
      {"Device.Info.", {}},
      {"Device.Info.Name", {.value = "gateway", .maximum = 8}},
      {"Device.Info.Count", {.value = "3", .type = GWCONF_TYPE_INT, .minimum = 1, .maximum = 9}},
      {"Device.Info.Mode",
       {.value = "Auto", .type = GWCONF_TYPE_ENUMERATION, .enumeration = "Auto,Manual"}},
      {"Device.Info.UpTime", {.value = "17", .type = GWCONF_TYPE_UNSIGNED_INT, .attributes = 0}},
      {"Device.Info.Hidden", {.value = "x", .attributes = 3}},
      {"Device.Old.", {.attributes = 3}},
      {"Device.Old.Deep.", {}},
      {"Device.Old.Deep.Name", {.value = "old"}},
  };
  FakeDaemon daemon{serving(entries)};
};

TEST_F(Set, TakesAssignments) {
  const Ran ran = run({"set", "Device.Info.Name=a=b", "Device.Info.Count=9"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out + ran.err, "");
  EXPECT_EQ(entries["Device.Info.Name"].value, "a=b");
  EXPECT_EQ(entries["Device.Info.Count"].value, "9");
}

TEST_F(Set, TakesAPathAndAValue) {
  EXPECT_EQ(run({"set", "Device.Info.Name", "a=b"}).status, 0);
  EXPECT_EQ(entries["Device.Info.Name"].value, "a=b");
  EXPECT_EQ(run({"set", "Device.Info.Name", ""}).status, 0);
  EXPECT_EQ(entries["Device.Info.Name"].value, "");
  EXPECT_EQ(run({"set", "Device.Info.Name=x"}).status, 0);
  EXPECT_EQ(entries["Device.Info.Name"].value, "x");
  EXPECT_EQ(run({"set", "Device.Info.Name="}).status, 0);
  EXPECT_EQ(entries["Device.Info.Name"].value, "");
}

TEST_F(Set, TakesValuesThatLookLikeOptions) {
  entries["Device.Info.Count"].minimum = -9;
  EXPECT_EQ(run({"set", "Device.Info.Count=-5"}).status, 0);
  EXPECT_EQ(entries["Device.Info.Count"].value, "-5");
  EXPECT_EQ(run({"set", "Device.Info.Count", "-6"}).status, 0);
  EXPECT_EQ(entries["Device.Info.Count"].value, "-6");
  EXPECT_EQ(run({"set", "--", "Device.Info.Name", "--json"}).status, 0);
  EXPECT_EQ(entries["Device.Info.Name"].value, "--json");
}

TEST_F(Set, AnUnchangedValueIsNoError) {
  const Ran text = run({"set", "Device.Info.Name", "gateway"});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out + text.err, "");
  const Ran json = run({"--json", "set", "Device.Info.Name=gateway", "Device.Info.Count=4"});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.out, R"([
  {
    "path": "Device.Info.Name",
    "code": 1,
    "meaning": "value unchanged"
  },
  {
    "path": "Device.Info.Count",
    "code": 0,
    "meaning": "done"
  }
]
)");
}

TEST_F(Set, NamesPathCodeAndMeaning) {
  const Ran checked = run({"set", "Device.X", "1"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(checked.err, "gwctl: set Device.X: 2 (no such object or parameter)\n");
  const Ran forced = run({"set", "--force", "Device.X", "1"});
  EXPECT_EQ(forced.status, 1);
  EXPECT_EQ(forced.err, "gwctl: set Device.X: 2 (no such object or parameter)\n");
}

TEST_F(Set, ChecksBeforeItWritesAnything) {
  const Ran ran =
      run({"set", "Device.Info.Name=short", "Device.Info.Count=10", "Device.Info.Mode=auto",
           "Device.Info.UpTime=1", "Device.Info.Hidden=y", "Device.Old.Deep.Name=new"});
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err,
            "gwctl: set Device.Info.Count: more than 9 (--force sets it anyway)\n"
            "gwctl: set Device.Info.Mode: not one of Auto,Manual (--force sets it anyway)\n"
            "gwctl: set Device.Info.UpTime: read-only (--force sets it anyway)\n"
            "gwctl: set Device.Info.Hidden: disabled (--force sets it anyway)\n"
            "gwctl: set Device.Old.Deep.Name: Device.Old. is disabled (--force sets it anyway)\n");
  EXPECT_EQ(entries["Device.Info.Name"].value, "gateway");
  for (const RequestTexts& request : daemon.requests())
    EXPECT_NE(request.at(0), "0");
}

TEST_F(Set, ForceSendsTheWriteAlone) {
  const Ran ran = run({"set", "--force", "Device.Info.UpTime=none"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(entries["Device.Info.UpTime"].value, "none");
  EXPECT_THAT(daemon.request(), ElementsAre("0", "Device.Info.UpTime", "none"));
}

TEST_F(Set, IsUsedWrongly) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"set", "Device.Info.Name"},
                                             {"set", "Device.Info.Name=1", "2"},
                                             {"set", "=1"},
                                             {"set", "Device.Info.Name", "1", "2"}}) {
    const Ran ran = run(arguments);
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.err, "gwctl: set: PATH=VALUE..., or one PATH and one VALUE\n");
  }
  EXPECT_EQ(daemon.requests().size(), 0U);
}

TEST_F(Set, RefusesTextsThatNoRequestCanCarry) {
  entries["Device.Info.Name"].maximum = 0;
  const Ran ran = run({"set", "Device.Info.Name", std::string(32769, 'x')});
  EXPECT_EQ(ran.status, 2);
  EXPECT_EQ(ran.err,
            "gwctl: set Device.Info.Name: -1000 (argument missing, too long or out of range)\n");
}

TEST_F(Set, StopsWhenNobodyIsThere) {
  for (const char* option : {"--json", "--force"}) {
    const Ran ran = gwctl({"set", option, "Device.A=1", "Device.B=2"}, "/tmp/gwconf-nobody");
    EXPECT_EQ(ran.status, 3);
    EXPECT_EQ(ran.err,
              "gwctl: set Device.A: -1002 (daemon not reachable at /tmp/gwconf-nobody: "
              "No such file or directory)\n");
  }
}

}  // namespace
}  // namespace gwconf::test
