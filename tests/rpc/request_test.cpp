#include "rpc/request.h"

#include <string>
#include <sys/socket.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/rpc/request_fixture.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::Connection;
using test::object_at;
using test::parameter_at;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary = gateway
  Host.
    1. [1]
      Name = printer
)";

class Request : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }

  char buf[kMessageMax] = {};
};

TEST_F(Request, AnArgumentIsReadIntoTheBuffer) {
  const Connection connection;
  connection.send(test::message("abc"));
  connection.finish();
  EXPECT_TRUE(read_argument(connection.server(), buf));
  EXPECT_STREQ(buf, "abc");
  EXPECT_FALSE(read_argument(connection.server(), buf));
}

TEST_F(Request, AFailedReadinessCheckCountsAsAnArgument) {
  EXPECT_TRUE(read_argument(-1, buf));
  EXPECT_STREQ(buf, "");
}

struct Lookup {
  const char* path;
  Status object;
  Status parameter;
};

TEST_F(Request, PathsAreLookedUpByKind) {
  const Lookup lookups[] = {
      {"InternetGatewayDevice.", CM_OK, CM_INVALID},
      {"InternetGatewayDevice.Host.1.", CM_OK, CM_INVALID},
      {"InternetGatewayDevice.Host.1.Name", CM_INVALID, CM_OK},
      {"InternetGatewayDevice.Host.2.", CM_NOT_FOUND, CM_INVALID},
      {"InternetGatewayDevice.Host.1.Nothing", CM_INVALID, CM_NOT_FOUND},
      {"Name", CM_INVALID, CM_NOT_FOUND},
      {"", CM_INVALID, CM_NOT_FOUND},
  };
  for (const Lookup& lookup : lookups) {
    SCOPED_TRACE(lookup.path);
    const Connection connection;
    connection.send(test::messages({lookup.path, lookup.path}));
    Node* node = cml_root;
    EXPECT_EQ(CM_RPC_RPOCESS_GetObjNode(connection.server(), buf, &node), lookup.object);
    EXPECT_EQ(node, lookup.object == CM_OK ? object_at(lookup.path) : nullptr);
    EXPECT_STREQ(buf, lookup.path);
    Parameter* param = cml_root->params;
    EXPECT_EQ(CM_RPC_RPOCESS_GetParameter(connection.server(), buf, &param), lookup.parameter);
    EXPECT_EQ(param, lookup.parameter == CM_OK ? parameter_at(lookup.path) : nullptr);
    EXPECT_STREQ(buf, lookup.path);
  }
}

TEST_F(Request, AnUnreadablePathFindsNothing) {
  const Connection connection;
  connection.finish();
  Node* node = cml_root;
  EXPECT_EQ(CM_RPC_RPOCESS_GetObjNode(connection.server(), buf, &node), CM_UNREADABLE);
  EXPECT_EQ(node, nullptr);
  Parameter* param = cml_root->params;
  EXPECT_EQ(CM_RPC_RPOCESS_GetParameter(connection.server(), buf, &param), CM_UNREADABLE);
  EXPECT_EQ(param, nullptr);
}

TEST_F(Request, ATargetIsAnObjectOrAParameterWithItsObject) {
  Target target;
  ASSERT_EQ(find_target("InternetGatewayDevice.Host.1.", &target), CM_OK);
  EXPECT_EQ(target.node, object_at("InternetGatewayDevice.Host.1."));
  EXPECT_EQ(target.param, nullptr);
  EXPECT_EQ(target.attributes(), &target.node->attributes);

  ASSERT_EQ(find_target("InternetGatewayDevice.Host.1.Name", &target), CM_OK);
  EXPECT_EQ(target.node, object_at("InternetGatewayDevice.Host.1."));
  EXPECT_EQ(target.param, parameter_at("InternetGatewayDevice.Host.1.Name"));
  EXPECT_EQ(target.attributes(), &target.param->attributes);

  EXPECT_EQ(find_target("InternetGatewayDevice.Host.9.", &target), CM_NOT_FOUND);
  EXPECT_EQ(target.node, nullptr);
  EXPECT_EQ(target.param, nullptr);
  EXPECT_EQ(find_target("InternetGatewayDevice.Host.1.None", &target), CM_NOT_FOUND);
  EXPECT_EQ(find_target("", &target), CM_NOT_FOUND);
}

TEST_F(Request, AnswersAreTextsAndDecimalNumbers) {
  const Connection connection;
  answer(connection.server(), "100 %d");
  answer_number(connection.server(), -2147483648);
  answer_number(connection.server(), 32768);
  EXPECT_EQ(answer_nothing(connection.server(), CM_NOT_FOUND), CM_NOT_FOUND);
  shutdown(connection.server(), SHUT_WR);
  EXPECT_EQ(test::texts_of(test::read_to_end(connection.client())),
            (std::vector<std::string>{"100 %d", "-2147483648", "32768", ""}));
}

}  // namespace
}  // namespace gwconf
