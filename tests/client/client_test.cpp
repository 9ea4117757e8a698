#include "gwconf/client.h"

#include <cstdlib>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/fake_daemon.h"
#include "tests/client/malloc_failure.h"

namespace gwconf {
namespace {

using test::answering;
using test::FakeDaemon;
using testing::ElementsAre;

constexpr const char* kParameter = "InternetGatewayDevice.DeviceInfo.Description";
constexpr const char* kTable = "InternetGatewayDevice.LANDevice.";

struct CloseClient {
  void operator()(gwconf_client* client) const { gwconf_close(client); }
};
using Handle = std::unique_ptr<gwconf_client, CloseClient>;

Handle open_at(const std::string& path) {
  gwconf_client* client = nullptr;
  EXPECT_EQ(gwconf_open(path.c_str(), &client), GWCONF_OK);
  return Handle{client};
}

/// One call against a daemon that takes `arguments` arguments and answers `texts`.
class Call {
 public:
  Call(int arguments, std::vector<std::string> texts)
      : daemon_{answering(arguments, std::move(texts))}, handle_{open_at(daemon_.socket_path())} {}
  operator const gwconf_client*() const { return handle_.get(); }
  [[nodiscard]] test::RequestTexts request() const { return daemon_.request(); }

 private:
  FakeDaemon daemon_;
  Handle handle_;
};

using AskText = int (*)(const gwconf_client*, const char*, char**);
using AskNumber = int (*)(const gwconf_client*, const char*, int*);
using Order = int (*)(const gwconf_client*, const char*);
using OrderInstance = int (*)(const gwconf_client*, const char*, unsigned);

TEST(Open, TakesTheGivenSocketElseTheEnvironmentsElseTheSystems) {
  gwconf_client* client = nullptr;
  setenv("GWCONF_SOCKET", "/tmp/from-environment", 1);
  ASSERT_EQ(gwconf_open("/tmp/given", &client), GWCONF_OK);
  EXPECT_STREQ(gwconf_socket_path(client), "/tmp/given");
  gwconf_close(client);
  ASSERT_EQ(gwconf_open(nullptr, &client), GWCONF_OK);
  EXPECT_STREQ(gwconf_socket_path(client), "/tmp/from-environment");
  gwconf_close(client);
  setenv("GWCONF_SOCKET", "", 1);
  ASSERT_EQ(gwconf_open(nullptr, &client), GWCONF_OK);
  EXPECT_STREQ(gwconf_socket_path(client), "/tmp/Vantrel_cm_socket");
  gwconf_close(client);
  unsetenv("GWCONF_SOCKET");
  ASSERT_EQ(gwconf_open(nullptr, &client), GWCONF_OK);
  EXPECT_STREQ(gwconf_socket_path(client), "/tmp/Vantrel_cm_socket");
  gwconf_close(client);
}

TEST(Open, RefusesPathsThatNoSocketCanHave) {
  gwconf_client* client = nullptr;
  const std::string longest = "/" + std::string(106, 's');
  ASSERT_EQ(gwconf_open(longest.c_str(), &client), GWCONF_OK);
  EXPECT_EQ(gwconf_socket_path(client), longest);
  gwconf_close(client);
  EXPECT_EQ(gwconf_open((longest + "s").c_str(), &client), GWCONF_E_ARGUMENT);
  EXPECT_EQ(client, nullptr);
  EXPECT_EQ(gwconf_open("", &client), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_open("/tmp/given", nullptr), GWCONF_E_ARGUMENT);
}

TEST(Open, TimeoutsArePositive) {
  const Handle handle = open_at("/tmp/given");
  EXPECT_EQ(gwconf_set_timeout(handle.get(), 1), GWCONF_OK);
  EXPECT_EQ(gwconf_set_timeout(handle.get(), 0), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_set_timeout(handle.get(), -1), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_set_timeout(nullptr, 1), GWCONF_E_ARGUMENT);
}

TEST(Open, NoneIsTakenEverywhere) {
  gwconf_close(nullptr);
  gwconf_free(nullptr);
  gwconf_answers_free(nullptr);
  EXPECT_EQ(gwconf_answers_count(nullptr), 0U);
  EXPECT_EQ(gwconf_answers_text(nullptr, 0), nullptr);
  EXPECT_STREQ(gwconf_socket_path(nullptr), "");
  EXPECT_EQ(gwconf_commit(nullptr), GWCONF_E_ARGUMENT);
}

TEST(Strerror, HasWordsForEveryCode) {
  EXPECT_STREQ(gwconf_strerror(0), "done");
  EXPECT_STREQ(gwconf_strerror(1), "value unchanged");
  EXPECT_STREQ(gwconf_strerror(2), "no such object or parameter");
  EXPECT_STREQ(gwconf_strerror(3), "unusable file or missing input");
  EXPECT_STREQ(gwconf_strerror(4), "out of memory");
  EXPECT_STREQ(gwconf_strerror(5), "instance exists already");
  EXPECT_STREQ(gwconf_strerror(7), "numbering refused or object disabled");
  EXPECT_STREQ(gwconf_strerror(156), "configuration could not be read or written");
  EXPECT_STREQ(gwconf_strerror(-100), "invalid request");
  EXPECT_STREQ(gwconf_strerror(77), "unknown result code");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_ARGUMENT), "argument missing, too long or out of range");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_MEMORY), "out of memory in this process");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_CONNECT), "daemon not reachable");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_TIMEOUT), "no answer in time");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_CLOSED), "daemon hung up without a result");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_PROTOCOL), "answer is not of this protocol");
  EXPECT_STREQ(gwconf_strerror(GWCONF_E_SYSTEM), "system call failed");
}

TEST(Texts, AreAskedForByPath) {
  const struct {
    AskText ask;
    const char* command;
  } rows[] = {
      {gwconf_get_value, "2"},       {gwconf_get_name, "3"},     {gwconf_get_path, "8"},
      {gwconf_get_enumeration, "9"}, {gwconf_export_node, "31"}, {gwconf_export_parameter, "32"},
  };
  for (const auto& row : rows) {
    const Call call{1, {"line 1\nline 2", "0"}};
    char* text = nullptr;
    EXPECT_EQ(row.ask(call, kParameter, &text), GWCONF_OK);
    EXPECT_STREQ(text, "line 1\nline 2");
    gwconf_free(text);
    EXPECT_THAT(call.request(), ElementsAre(row.command, kParameter));
  }
}

TEST(Texts, EmptyIsAText) {
  const Call call{1, {"", "0"}};
  char* text = nullptr;
  EXPECT_EQ(gwconf_get_value(call, kParameter, &text), GWCONF_OK);
  EXPECT_STREQ(text, "");
  gwconf_free(text);
}

TEST(Texts, AreNoneAfterARefusal) {
  const Call call{1, {"", "2"}};
  char stale = 's';
  char* text = &stale;
  EXPECT_EQ(gwconf_get_value(call, kParameter, &text), GWCONF_NOT_FOUND);
  EXPECT_EQ(text, nullptr);
}

TEST(Texts, MissingArgumentsAreRefusedHere) {
  const Handle handle = open_at("/tmp/gwconf-nobody");
  char stale = 's';
  char* text = &stale;
  EXPECT_EQ(gwconf_get_value(handle.get(), nullptr, &text), GWCONF_E_ARGUMENT);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(gwconf_get_value(handle.get(), kParameter, nullptr), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_get_value(nullptr, kParameter, &text), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_set_value(handle.get(), kParameter, nullptr), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_move(handle.get(), nullptr, kParameter), GWCONF_E_ARGUMENT);
}

TEST(Numbers, AreAskedForByPath) {
  const struct {
    AskNumber ask;
    const char* command;
  } rows[] = {
      {gwconf_get_type, "5"},
      {gwconf_get_max, "6"},
      {gwconf_get_min, "7"},
      {gwconf_check_virtual, "16"},
  };
  for (const auto& row : rows) {
    const Call call{1, {"-5", "0"}};
    int number = 0;
    EXPECT_EQ(row.ask(call, kParameter, &number), GWCONF_OK);
    EXPECT_EQ(number, -5);
    EXPECT_THAT(call.request(), ElementsAre(row.command, kParameter));

    number = 77;
    EXPECT_EQ(row.ask(Call(1, {"", "-100"}), kParameter, &number), GWCONF_INVALID);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(row.ask(Call(1, {"", "0"}), kParameter, &number), GWCONF_E_PROTOCOL);
    EXPECT_EQ(row.ask(call, kParameter, nullptr), GWCONF_E_ARGUMENT);
  }
}

TEST(Attributes, AreAWordOfSixteenBits) {
  const Call call{1, {"129", "0"}};
  unsigned word = 0;
  EXPECT_EQ(gwconf_get_attributes(call, kParameter, &word), GWCONF_OK);
  EXPECT_EQ(word, 129U);
  EXPECT_THAT(call.request(), ElementsAre("4", kParameter));
  EXPECT_EQ(gwconf_get_attributes(Call(1, {"65535", "0"}), kParameter, &word), GWCONF_OK);
  EXPECT_EQ(word, 65535U);
  EXPECT_EQ(gwconf_get_attributes(Call(1, {"65536", "0"}), kParameter, &word), GWCONF_E_PROTOCOL);
  EXPECT_EQ(gwconf_get_attributes(Call(1, {"-1", "0"}), kParameter, &word), GWCONF_E_PROTOCOL);
  EXPECT_EQ(gwconf_get_attributes(Call(1, {"", "2"}), kParameter, &word), GWCONF_NOT_FOUND);
  EXPECT_EQ(word, 0U);
  EXPECT_EQ(gwconf_get_attributes(call, kParameter, nullptr), GWCONF_E_ARGUMENT);
}

TEST(Attributes, ChangeBitByBit) {
  const Call set{2, {"0"}};
  EXPECT_EQ(gwconf_set_attribute(set, kTable, GWCONF_ATTRIBUTE_NOTIFY_ACTIVE, 5), GWCONF_OK);
  EXPECT_THAT(set.request(), ElementsAre("1", kTable, "7,1"));
  const Call clear{2, {"0"}};
  EXPECT_EQ(gwconf_set_attribute(clear, kTable, 15, 0), GWCONF_OK);
  EXPECT_THAT(clear.request(), ElementsAre("1", kTable, "15,0"));
  EXPECT_EQ(gwconf_set_attribute(clear, kTable, 16, 0), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_set_attribute(clear, kTable, -1, 0), GWCONF_E_ARGUMENT);
}

TEST(Values, AreSetAndSometimesUnchanged) {
  const Call call{2, {"1"}};
  EXPECT_EQ(gwconf_set_value(call, kParameter, "a & b"), GWCONF_UNCHANGED);
  EXPECT_THAT(call.request(), ElementsAre("0", kParameter, "a & b"));
}

TEST(Instances, TableAndNumber) {
  const struct {
    OrderInstance order;
    const char* command;
  } rows[] = {
      {gwconf_add_instance, "10"},
      {gwconf_add_virtual_instance, "11"},
      {gwconf_delete_instance, "12"},
      {gwconf_insert_instance, "14"},
      {gwconf_insert_virtual_instance, "15"},
  };
  for (const auto& row : rows) {
    const Call call{2, {"5"}};
    EXPECT_EQ(row.order(call, kTable, 99999), GWCONF_EXISTS);
    EXPECT_THAT(call.request(), ElementsAre(row.command, kTable, "99999"));
    EXPECT_EQ(row.order(call, kTable, 100000), GWCONF_E_ARGUMENT);
  }
}

TEST(Instances, OrdersWithAPath) {
  const struct {
    Order order;
    const char* command;
  } rows[] = {{gwconf_delete_node, "13"}, {gwconf_save, "29"}, {gwconf_restore, "30"}};
  for (const auto& row : rows) {
    const Call call{1, {"-100"}};
    EXPECT_EQ(row.order(call, kTable), GWCONF_INVALID);
    EXPECT_THAT(call.request(), ElementsAre(row.command, kTable));
  }
}

TEST(Instances, RearrangeAndMove) {
  const Call rearrange{3, {"7"}};
  EXPECT_EQ(gwconf_rearrange(rearrange, kTable, 3, 0), GWCONF_REFUSED);
  EXPECT_THAT(rearrange.request(), ElementsAre("18", "3", "0", kTable));
  EXPECT_EQ(gwconf_rearrange(rearrange, kTable, 2147483648U, 0), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_rearrange(rearrange, kTable, 0, 2147483648U), GWCONF_E_ARGUMENT);
  const Call move{2, {"0"}};
  EXPECT_EQ(gwconf_move(move, kTable, kParameter), GWCONF_OK);
  EXPECT_THAT(move.request(), ElementsAre("21", kTable, kParameter));
}

TEST(Instances, ListsNumbers) {
  const Call call{1, {"1,2,12,", "0"}};
  unsigned* numbers = nullptr;
  size_t count = 0;
  ASSERT_EQ(gwconf_list_instances(call, kTable, &numbers, &count), GWCONF_OK);
  EXPECT_THAT(std::vector<unsigned>(numbers, numbers + count), ElementsAre(1U, 2U, 12U));
  gwconf_free(numbers);
  EXPECT_THAT(call.request(), ElementsAre("17", kTable));

  ASSERT_EQ(gwconf_list_instances(Call(1, {"", "0"}), kTable, &numbers, &count), GWCONF_OK);
  EXPECT_EQ(numbers, nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(gwconf_list_instances(Call(1, {"", "-100"}), kTable, &numbers, &count), GWCONF_INVALID);
  EXPECT_EQ(gwconf_list_instances(call, kTable, nullptr, &count), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_list_instances(call, kTable, &numbers, nullptr), GWCONF_E_ARGUMENT);
}

TEST(Instances, AListOfAnythingElseIsAProtocolError) {
  for (const char* text : {"1", "1,2", ",", "1,,", "a,", "-1,", "1, 2,", "100000,", "1,2,x"}) {
    unsigned stale = 0;
    unsigned* numbers = &stale;
    size_t count = 9;
    EXPECT_EQ(gwconf_list_instances(Call(1, {text, "0"}), kTable, &numbers, &count),
              GWCONF_E_PROTOCOL)
        << text;
    EXPECT_EQ(numbers, nullptr);
    EXPECT_EQ(count, 0U);
  }
}

TEST(Configurations, CommitAndReset) {
  const Call commit{0, {"156"}};
  EXPECT_EQ(gwconf_commit(commit), GWCONF_CUT_FAILURE);
  EXPECT_THAT(commit.request(), ElementsAre("19"));
  const Call reset{0, {"0"}};
  EXPECT_EQ(gwconf_reset(reset), GWCONF_OK);
  EXPECT_THAT(reset.request(), ElementsAre("20"));
}

TEST(ShortNames, AreDumpedAsTexts) {
  const Call call{0, {"Hash index : 0\n", "\t wan = 1\n", "Hash index : 1\n", "", "0"}};
  gwconf_answers* texts = nullptr;
  ASSERT_EQ(gwconf_dump_short_names(call, &texts), GWCONF_OK);
  ASSERT_EQ(gwconf_answers_count(texts), 3U);
  EXPECT_STREQ(gwconf_answers_text(texts, 0), "Hash index : 0\n");
  EXPECT_STREQ(gwconf_answers_text(texts, 1), "\t wan = 1\n");
  EXPECT_STREQ(gwconf_answers_text(texts, 2), "Hash index : 1\n");
  EXPECT_EQ(gwconf_answers_text(texts, 3), nullptr);
  gwconf_answers_free(texts);
  EXPECT_THAT(call.request(), ElementsAre("22"));

  EXPECT_EQ(gwconf_dump_short_names(Call(0, {"", "4"}), &texts), GWCONF_NO_MEMORY);
  EXPECT_EQ(texts, nullptr);
  EXPECT_EQ(gwconf_dump_short_names(call, nullptr), GWCONF_E_ARGUMENT);
}

TEST(Raw, HandsOverTheAnswersOfARefusal) {
  const Call call{1, {"", "2"}};
  const char* const arguments[] = {kParameter};
  gwconf_answers* answers = nullptr;
  EXPECT_EQ(gwconf_call(call, 2, arguments, 1, &answers), GWCONF_NOT_FOUND);
  ASSERT_EQ(gwconf_answers_count(answers), 1U);
  EXPECT_STREQ(gwconf_answers_text(answers, 0), "");
  gwconf_answers_free(answers);
  EXPECT_EQ(gwconf_call(call, 2, nullptr, 1, &answers), GWCONF_E_ARGUMENT);
  EXPECT_EQ(answers, nullptr);
  EXPECT_EQ(gwconf_call(call, 2, arguments, 1, nullptr), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_call(nullptr, 2, arguments, 1, &answers), GWCONF_E_ARGUMENT);
}

TEST(Raw, HandsOverNothingWithoutAResult) {
  const Call call{1, {"an answer"}};
  const char* const arguments[] = {kParameter};
  gwconf_answers* answers = nullptr;
  EXPECT_EQ(gwconf_call(call, 2, arguments, 1, &answers), GWCONF_E_CLOSED);
  EXPECT_EQ(answers, nullptr);
}

TEST(Register, ProcessSignalFile) {
  const Call call{3, {"0"}};
  EXPECT_EQ(gwconf_register(call, 4711, 10, "/tmp/changes"), GWCONF_OK);
  EXPECT_THAT(call.request(), ElementsAre("33", "4711", "10", "/tmp/changes"));
}

/// Runs `attempt` with the first, second, ... allocation failing, until none does.
int sweep(const std::function<int()>& attempt) {
  int failures = 0;
  for (std::size_t nth = 1;; ++nth) {
    test::fail_malloc(nth);
    const int code = attempt();
    if (!test::malloc_failed()) {
      EXPECT_EQ(code, GWCONF_OK);
      return failures;
    }
    EXPECT_EQ(code, GWCONF_E_MEMORY) << "allocation " << nth;
    ++failures;
  }
}

TEST(Memory, EveryAllocationMayFail) {
  EXPECT_GE(sweep([] {
              gwconf_client* client = nullptr;
              const int code = gwconf_open("/tmp/given", &client);
              EXPECT_EQ(client != nullptr, code == GWCONF_OK);
              gwconf_close(client);
              return code;
            }),
            1);

  const FakeDaemon lists{answering(1, {"1,2,3,", "0"})};
  const Handle list_handle = open_at(lists.socket_path());
  EXPECT_GE(sweep([&] {
              unsigned* numbers = nullptr;
              size_t count = 0;
              const int code = gwconf_list_instances(list_handle.get(), kTable, &numbers, &count);
              EXPECT_EQ(numbers != nullptr, code == GWCONF_OK);
              EXPECT_EQ(count, code == GWCONF_OK ? 3U : 0U);
              gwconf_free(numbers);
              return code;
            }),
            5);

  const FakeDaemon dumps{answering(0, {"Hash index : 0\n", "\t wan = 1\n", "", "0"})};
  const Handle dump_handle = open_at(dumps.socket_path());
  EXPECT_GE(sweep([&] {
              gwconf_answers* texts = nullptr;
              const int code = gwconf_dump_short_names(dump_handle.get(), &texts);
              EXPECT_EQ(texts != nullptr, code == GWCONF_OK);
              gwconf_answers_free(texts);
              return code;
            }),
            5);
}

TEST(Memory, AListenerNeedsSomeToo) {
  const FakeDaemon daemon{answering(3, {"0"})};
  const Handle handle = open_at(daemon.socket_path());
  EXPECT_GE(sweep([&] {
              gwconf_listener* listener = nullptr;
              const int code = gwconf_listener_open(handle.get(), 0, &listener);
              EXPECT_EQ(listener != nullptr, code == GWCONF_OK);
              gwconf_listener_close(listener);
              return code;
            }),
            3);
}

}  // namespace
}  // namespace gwconf
