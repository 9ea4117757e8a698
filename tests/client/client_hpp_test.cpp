#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gwconf/client.hpp"
#include "tests/client/fake_daemon.h"

namespace gwconf {
namespace {

using test::answering;
using test::FakeDaemon;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPath = "InternetGatewayDevice.LANDevice.";

/// What the daemon was asked by one call that it answers with `texts`.
template <typename Ask>
test::RequestTexts asked(int arguments, std::vector<std::string> texts, Ask ask) {
  const FakeDaemon daemon{answering(arguments, std::move(texts))};
  ask(Client{daemon.socket_path().c_str()});
  return daemon.request();
}

TEST(Wrapper, AsksForTexts) {
  const auto check = [](const Result<std::string>& result) {
    EXPECT_TRUE(result);
    EXPECT_EQ(result.value, "text");
  };
  const std::vector<std::string> answer{"text", "0"};
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_value(kPath)); }).at(0), "2");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_name(kPath)); }).at(0), "3");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_path(kPath)); }).at(0), "8");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_enumeration(kPath)); }).at(0), "9");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.export_node(kPath)); }).at(0), "31");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.export_parameter(kPath)); }).at(0),
            "32");
}

TEST(Wrapper, AsksForNumbers) {
  const std::vector<std::string> answer{"8", "0"};
  const auto check = [](auto result) { EXPECT_EQ(static_cast<int>(result.value), 8); };
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_type(kPath)); }).at(0), "5");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_max(kPath)); }).at(0), "6");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_min(kPath)); }).at(0), "7");
  EXPECT_EQ(asked(1, answer, [&](const Client& c) { check(c.get_attributes(kPath)); }).at(0), "4");
  asked(1, {"1", "0"}, [](const Client& c) { EXPECT_TRUE(c.check_virtual(kPath).value); });
  asked(1, {"0", "0"}, [](const Client& c) { EXPECT_FALSE(c.check_virtual(kPath).value); });
  asked(1, {"1,5,", "0"},
        [](const Client& c) { EXPECT_THAT(c.list_instances(kPath).value, ElementsAre(1U, 5U)); });
  asked(1, {"", "0"},
        [](const Client& c) { EXPECT_THAT(c.list_instances(kPath).value, IsEmpty()); });
}

TEST(Wrapper, GivesOrders) {
  const std::vector<std::string> refused{"7"};
  const auto check = [](int code) { EXPECT_EQ(code, 7); };
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.set_value(kPath, "v")); }),
              ElementsAre("0", kPath, "v"));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.set_attribute(kPath, 6, true)); }),
              ElementsAre("1", kPath, "6,1"));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.add_instance(kPath, 3)); }),
              ElementsAre("10", kPath, "3"));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.add_virtual_instance(kPath, 3)); }),
              ElementsAre("11", kPath, "3"));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.delete_instance(kPath, 3)); }),
              ElementsAre("12", kPath, "3"));
  EXPECT_THAT(asked(1, refused, [&](const Client& c) { check(c.delete_node(kPath)); }),
              ElementsAre("13", kPath));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.insert_instance(kPath, 3)); }),
              ElementsAre("14", kPath, "3"));
  EXPECT_THAT(
      asked(2, refused, [&](const Client& c) { check(c.insert_virtual_instance(kPath, 3)); }),
      ElementsAre("15", kPath, "3"));
  EXPECT_THAT(asked(3, refused, [&](const Client& c) { check(c.rearrange(kPath, 1, 2)); }),
              ElementsAre("18", "1", "2", kPath));
  EXPECT_THAT(asked(0, refused, [&](const Client& c) { check(c.commit()); }), ElementsAre("19"));
  EXPECT_THAT(asked(0, refused, [&](const Client& c) { check(c.reset()); }), ElementsAre("20"));
  EXPECT_THAT(asked(2, refused, [&](const Client& c) { check(c.move(kPath, "Moved.")); }),
              ElementsAre("21", kPath, "Moved."));
  EXPECT_THAT(asked(1, refused, [&](const Client& c) { check(c.save("/tmp/f")); }),
              ElementsAre("29", "/tmp/f"));
  EXPECT_THAT(asked(1, refused, [&](const Client& c) { check(c.restore("/tmp/f")); }),
              ElementsAre("30", "/tmp/f"));
  EXPECT_THAT(
      asked(3, refused, [&](const Client& c) { check(c.register_listener(1, 2, "/tmp/f")); }),
      ElementsAre("33", "1", "2", "/tmp/f"));
}

TEST(Wrapper, GathersAnswers) {
  asked(0, {"Hash index : 0\n", "", "0"}, [](const Client& c) {
    EXPECT_THAT(c.dump_short_names().value, ElementsAre("Hash index : 0\n"));
  });
  EXPECT_THAT(asked(2, {"a", "b", "5"},
                    [](const Client& c) {
                      const Result<std::vector<std::string>> result = c.call(99, {"x", "y"});
                      EXPECT_EQ(result.code, 5);
                      EXPECT_THAT(result.value, ElementsAre("a", "b"));
                    }),
              ElementsAre("99", "x", "y"));
}

TEST(Wrapper, WithoutAHandleEveryRequestIsRefused) {
  const Client client{std::string(200, 's').c_str()};
  EXPECT_EQ(client.code(), GWCONF_E_ARGUMENT);
  EXPECT_EQ(client.commit(), GWCONF_E_ARGUMENT);
  EXPECT_EQ(client.get_value(kPath).code, GWCONF_E_ARGUMENT);
  EXPECT_EQ(Listener{client}.code(), GWCONF_E_ARGUMENT);
}

}  // namespace
}  // namespace gwconf
