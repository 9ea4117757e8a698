#include "rpc/export.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <vector>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "storage/file.h"
#include "tests/rpc/request_fixture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::framed;
using test::message;
using test::object_at;
using test::parameter_at;
using test::Reply;
using test::serve;
using test::serve_bytes;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary [1] = gateway
  Hidden [2] = unseen
  HostNumberOfEntries = 2
  None
  Host. [64]
    Order [128] = up
    0. [1]
      Name [1] = new
    1. [193]
      Name [193] = printer &amp; more
      Alias.
        Short = p
        Name.
          1. [1]
            Text = deep
            Font.
              Size = 9
    2. [3]
      Name = disabled instance
    7.
      Name = virtual
  Off. [2]
    Name = disabled object
    Below.
      Name = disabled too
  Plain. [1]
    Text = plain
)";

const std::string kRoot = "InternetGatewayDevice.";

class Export : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }
};

/// What a writer puts into a stream.
std::string written(const std::function<void(std::FILE*)>& writer) {
  const FilePtr file{std::tmpfile()};
  writer(file.get());
  return std::string{CM_UTL_ReadFile(file.get()).view()};
}

// --- The writers ---

TEST_F(Export, TabsAsManyAsAsked) {
  for (const auto& [n, text] : {std::pair{3, "\t\t\t"}, {1, "\t"}, {0, ""}, {-1, ""}})
    EXPECT_EQ(written([n = n](std::FILE* file) { CM_RPC_CML2XML_TAB(file, n); }), text);
}

TEST_F(Export, AnAttributeIsWrittenAsItStands) {
  const auto attribute = [](const char* name, const char* value) {
    return written([&](std::FILE* file) { CM_RPC_CML2XML_ATTR(file, name, value); });
  };
  EXPECT_EQ(attribute("value", "a <b> &amp; 'c'"), " value=\"a <b> &amp; 'c'\"");
  EXPECT_EQ(attribute("value", ""), " value=\"\"");
  EXPECT_EQ(attribute("value", nullptr), " value=\"\"");
  EXPECT_EQ(attribute(nullptr, "x"), "");
  EXPECT_EQ(attribute("%d", "100%% %s%n"), " %d=\"100%% %s%n\"");
}

TEST_F(Export, TheLinesOfAnObject) {
  const Node* host = object_at(kRoot + "Host.");
  EXPECT_EQ(written([&](std::FILE* file) { CM_RPC_CML2XML_NODE(file, host, 2); }),
            "\t\t\t<Element name=\"Host.\" notification=\"1\" type=\"object\">\n");
  EXPECT_EQ(written([](std::FILE* file) { CM_RPC_CML2XML_NODE_END(file, "Element", 0); }),
            "\t</Element>\n");
  EXPECT_EQ(written([](std::FILE* file) { CM_RPC_CML2XML_NODE_END(file, "Other", 1); }),
            "\t\t</Other>\n");
}

TEST_F(Export, TheLineOfAParameterIsADocumentAtDepthZeroOnly) {
  const Parameter* name = parameter_at(kRoot + "Host.7.Name");
  EXPECT_EQ(written([&](std::FILE* file) { CM_RPC_CML2XML_PARAMETER(file, name, 2); }),
            "\t\t\t<Element name=\"Name\" value=\"virtual\" type=\"string\"/>\n");
  EXPECT_EQ(written([&](std::FILE* file) { CM_RPC_CML2XML_PARAMETER(file, name, 0); }),
            "<VANTREL_CML>\n"
            "\t<Element name=\"Name\" value=\"virtual\" type=\"string\"/>\n"
            "</VANTREL_CML>\n");
}

TEST_F(Export, WithoutAnObjectThereIsNothingToWrite) {
  EXPECT_EQ(written([](std::FILE* file) {
              EXPECT_EQ(CM_RPC_CML2XML(nullptr, file, 0), CM_UNUSABLE);
              EXPECT_EQ(CM_RPC_CML2XML(nullptr, file, 3), CM_UNUSABLE);
            }),
            "");
}

TEST_F(Export, InsideADocumentAnObjectWritesWhatItHolds) {
  const Node* alias = object_at(kRoot + "Host.1.Alias.");
  EXPECT_EQ(written([&](std::FILE* file) { EXPECT_EQ(CM_RPC_CML2XML(alias, file, 4), CM_OK); }),
            "\t\t\t\t\t<Element name=\"Short\" value=\"p\" type=\"string\"/>\n"
            "\t\t\t\t\t<Element name=\"Name.\" type=\"object\">\n"
            "\t\t\t\t\t\t\t<Element name=\"1.\" writable=\"1\" type=\"object\">\n"
            "\t\t\t\t\t\t\t\t<Element name=\"Text\" value=\"deep\" type=\"string\"/>\n"
            "\t\t\t\t\t\t\t\t<Element name=\"Font.\" type=\"object\">\n"
            "\t\t\t\t\t\t\t\t\t<Element name=\"Size\" value=\"9\" type=\"string\"/>\n"
            "\t\t\t\t\t\t\t\t</Element>\n"
            "\t\t\t\t\t\t\t</Element>\n"
            "\t\t\t\t\t</Element>\n");
}

// --- Objects ---

TEST_F(Export, TheWholeTree) {
  EXPECT_EQ(
      serve({"31", kRoot}),
      (Reply{{"<VANTREL_CML>\n"
              "\t<Element name=\"InternetGatewayDevice.\" type=\"object\">\n"
              "\t\t<Element name=\"Summary\" writable=\"1\" value=\"gateway\" type=\"string\"/>\n"
              "\t\t<Element name=\"HostNumberOfEntries\" value=\"2\" type=\"string\"/>\n"
              "\t\t<Element name=\"None\" value=\"\" type=\"string\"/>\n"
              "\t\t<Element name=\"Host.\" notification=\"1\" type=\"object\">\n"
              "\t\t\t<Element name=\"Order\" notification=\"2\" value=\"up\" type=\"string\"/>\n"
              "\t\t\t\t<Element name=\"1.\" writable=\"1\" notification=\"2\" type=\"object\">\n"
              "\t\t\t\t\t<Element name=\"Name\" writable=\"1\" notification=\"2\" "
              "value=\"printer &amp; more\" type=\"string\"/>\n"
              "\t\t\t\t\t<Element name=\"Alias.\" type=\"object\">\n"
              "\t\t\t\t\t\t<Element name=\"Short\" value=\"p\" type=\"string\"/>\n"
              "\t\t\t\t\t\t<Element name=\"Name.\" type=\"object\">\n"
              "\t\t\t\t\t\t\t\t<Element name=\"1.\" writable=\"1\" type=\"object\">\n"
              "\t\t\t\t\t\t\t\t\t<Element name=\"Text\" value=\"deep\" type=\"string\"/>\n"
              "\t\t\t\t\t\t\t\t\t<Element name=\"Font.\" type=\"object\">\n"
              "\t\t\t\t\t\t\t\t\t\t<Element name=\"Size\" value=\"9\" type=\"string\"/>\n"
              "\t\t\t\t\t\t\t\t\t</Element>\n"
              "\t\t\t\t\t\t\t\t</Element>\n"
              "\t\t\t\t\t\t</Element>\n"
              "\t\t\t\t\t</Element>\n"
              "\t\t\t\t</Element>\n"
              "\t\t\t\t<Element name=\"7.\" type=\"object\">\n"
              "\t\t\t\t\t<Element name=\"Name\" value=\"virtual\" type=\"string\"/>\n"
              "\t\t\t\t</Element>\n"
              "\t\t</Element>\n"
              "\t\t<Element name=\"Plain.\" writable=\"1\" type=\"object\">\n"
              "\t\t\t<Element name=\"Text\" value=\"plain\" type=\"string\"/>\n"
              "\t\t</Element>\n"
              "\t</Element>\n"
              "</VANTREL_CML>\n"},
             0}));
}

TEST_F(Export, ATableStandsUnevenlyFromItsFirstLineOn) {
  load("A.\n  T.\n    0.\n      P = t\n    1. [1]\n      P = a\n    3. [1]\n      P = c\n");
  EXPECT_EQ(serve({"31", "A.T."}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"T.\" type=\"object\">\n"
                    "\t\t\t<Element name=\"1.\" writable=\"1\" type=\"object\">\n"
                    "\t\t\t\t<Element name=\"P\" value=\"a\" type=\"string\"/>\n"
                    "\t\t\t</Element>\n"
                    "\t\t\t<Element name=\"3.\" writable=\"1\" type=\"object\">\n"
                    "\t\t\t\t<Element name=\"P\" value=\"c\" type=\"string\"/>\n"
                    "\t\t\t</Element>\n"
                    "\t</Element>\n"
                    "</VANTREL_CML>\n"},
                   0}));
}

TEST_F(Export, AnInstanceAndATemplateAreObjectsOfTheirOwn) {
  EXPECT_EQ(serve({"31", kRoot + "Host.7."}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"7.\" type=\"object\">\n"
                    "\t\t<Element name=\"Name\" value=\"virtual\" type=\"string\"/>\n"
                    "\t</Element>\n"
                    "</VANTREL_CML>\n"},
                   0}));
  EXPECT_EQ(serve({"31", kRoot + "Host.0."}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"0.\" writable=\"1\" type=\"object\">\n"
                    "\t\t<Element name=\"Name\" writable=\"1\" value=\"new\" type=\"string\"/>\n"
                    "\t</Element>\n"
                    "</VANTREL_CML>\n"},
                   0}));
}

TEST_F(Export, AnObjectWhoseNameEndsInAZeroCountsAsATemplate) {
  load("A.\n  Foo10.\n    P = x\n  -3.\n    P = y\n");
  EXPECT_EQ(serve({"31", "A."}), (Reply{{"<VANTREL_CML>\n"
                                         "\t<Element name=\"A.\" type=\"object\">\n"
                                         "\t\t<Element name=\"-3.\" type=\"object\">\n"
                                         "\t\t\t<Element name=\"P\" value=\"y\" type=\"string\"/>\n"
                                         "\t\t</Element>\n"
                                         "\t</Element>\n"
                                         "</VANTREL_CML>\n"},
                                        0}));
}

TEST_F(Export, AnEmptyObject) {
  load("A.\n  B.\n");
  EXPECT_EQ(serve({"31", "A.B."}), (Reply{{"<VANTREL_CML>\n"
                                           "\t<Element name=\"B.\" type=\"object\">\n"
                                           "\t</Element>\n"
                                           "</VANTREL_CML>\n"},
                                          0}));
}

TEST_F(Export, ADisabledObjectIsRefused) {
  EXPECT_EQ(serve({"31", kRoot + "Off."}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"31", kRoot + "Host.2."}), (Reply{{""}, -100}));
  // Only its own bit counts.
  EXPECT_EQ(serve({"31", kRoot + "Off.Below."}).result, 0);
}

TEST_F(Export, FailedLookups) {
  EXPECT_EQ(serve({"31", kRoot + "Nothing."}), (Reply{{""}, 2}));
  EXPECT_EQ(serve({"31", kRoot + "Summary"}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"31", ""}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"31", std::string(32768, '.')}), (Reply{{""}, 2}));
  EXPECT_EQ(serve({"32", kRoot + "Nothing"}), (Reply{{""}, 2}));
  EXPECT_EQ(serve({"32", kRoot}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"32", ""}), (Reply{{""}, 2}));
  for (const char* command : {"31", "32"}) {
    EXPECT_EQ(serve({command}), (Reply{{""}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(0, "")), (Reply{{""}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(-1, kRoot)), (Reply{{""}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(32770, kRoot)), (Reply{{""}, 10}));
  }
  release_tree();
  EXPECT_EQ(serve({"31", kRoot}), (Reply{{""}, 2}));
  EXPECT_EQ(serve({"32", kRoot + "Summary"}), (Reply{{""}, 2}));
}

// --- Parameters ---

Status unused_getter(const char* /*path*/, char* /*out*/, std::int32_t /*size*/) {
  return CM_INVALID;
}

const GetterRow kGetter{"GetSomething", unused_getter};

TEST_F(Export, AParameterIsThreeLinesWithItsAttributesInOrder) {
  Parameter* name = parameter_at(kRoot + "Host.1.Name");
  name->getter = &kGetter;
  name->type = kInt;
  name->min = -5;
  name->max = 10;
  ASSERT_TRUE(name->enumeration.assign("a,b"));
  EXPECT_EQ(serve({"32", kRoot + "Host.1.Name"}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"Name\" writable=\"1\" notification=\"2\" "
                    "function=\"GetSomething\" value=\"printer &amp; more\" enumeration=\"a,b\" "
                    "type=\"int[-5:10]\"/>\n"
                    "</VANTREL_CML>\n"},
                   0}));
}

std::string row_of(const std::string& path) {
  const Reply reply = serve({"32", path});
  const std::string text = reply.answers.at(0);
  EXPECT_EQ(reply.result, 0);
  EXPECT_TRUE(text.starts_with("<VANTREL_CML>\n\t<Element name=\"P\"")) << text;
  EXPECT_TRUE(text.ends_with("/>\n</VANTREL_CML>\n")) << text;
  return text.substr(32, text.size() - 32 - 18);
}

TEST_F(Export, AttributesAreThereWhenThereIsSomethingToTell) {
  load("A.\n  P");
  Parameter* param = parameter_at("A.P");
  EXPECT_EQ(row_of("A.P"), " value=\"\" type=\"string\"");
  ASSERT_TRUE(param->enumeration.assign(""));
  EXPECT_EQ(row_of("A.P"), " value=\"\" enumeration=\"\" type=\"string\"");
  param->enumeration.reset();
  param->attributes = 32;  // notification off
  EXPECT_EQ(row_of("A.P"), " value=\"\" type=\"string\"");
  param->attributes = 64;
  EXPECT_EQ(row_of("A.P"), " notification=\"1\" value=\"\" type=\"string\"");
  param->attributes = 128;
  EXPECT_EQ(row_of("A.P"), " notification=\"2\" value=\"\" type=\"string\"");
  param->attributes = 192;
  EXPECT_EQ(row_of("A.P"), " notification=\"2\" value=\"\" type=\"string\"");
  param->attributes = 65533;  // all but disabled
  EXPECT_EQ(row_of("A.P"), " writable=\"1\" notification=\"2\" value=\"\" type=\"string\"");
}

TEST_F(Export, ValuesAreWrittenAsStoredPercentSignsIncluded) {
  load("A.\n  P = 100% %s %d %n %% &lt;\n");
  EXPECT_EQ(row_of("A.P"), " value=\"100% %s %d %n %% &lt;\" type=\"string\"");
  ASSERT_TRUE(parameter_at("A.P")->enumeration.assign("1%%,2%s"));
  EXPECT_EQ(row_of("A.P"),
            " value=\"100% %s %d %n %% &lt;\" enumeration=\"1%%,2%s\" type=\"string\"");
}

TEST_F(Export, TheTypeTextIsCutToItsBuffer) {
  load("A.\n  P = 1\n");
  Parameter* param = parameter_at("A.P");
  param->type = kInt;
  param->min = -2147483648;
  param->max = 2147483647;
  EXPECT_EQ(row_of("A.P"), " value=\"1\" type=\"int[-2147483648:2147483647]\"");
  param->type = kUnsignedInt;  // 35 characters, of which 31 fit
  EXPECT_EQ(row_of("A.P"), " value=\"1\" type=\"unsignedInt[-2147483648:2147483\"");
}

TEST_F(Export, ADisabledParameterIsRefusedByItsOwnBit) {
  EXPECT_EQ(serve({"32", kRoot + "Hidden"}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"32", kRoot + "Off.Name"}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"Name\" value=\"disabled object\" type=\"string\"/>\n"
                    "</VANTREL_CML>\n"},
                   0}));
}

// --- What may go wrong on the way ---

TEST_F(Export, WithoutATemporaryFileTheCodeIsFour) {
  for (const std::vector<std::string>& request :
       {std::vector<std::string>{"31", kRoot}, {"32", kRoot + "Summary"}, {"31", "bogus"}}) {
    const test::Connection connection;
    connection.send(test::messages(request));
    connection.finish();
    Reply reply;
    test::without_descriptors([&] { reply = connection.serve(); });
    EXPECT_EQ(reply, (Reply{{""}, 4}));
  }
}

TEST_F(Export, ATextThatIsNotWrittenWholeIsRefused) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{100, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const Reply object = serve({"31", kRoot});
  const Reply parameter = serve({"32", kRoot + "Host.1.Name"});
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, SIG_DFL);
  EXPECT_EQ(object, (Reply{{""}, -100}));
  EXPECT_EQ(parameter, (Reply{{""}, -100}));
}

TEST_F(Export, OutOfMemoryTheTextCannotBeReadBack) {
  for (const std::vector<std::string>& request :
       {std::vector<std::string>{"31", kRoot}, {"32", kRoot + "Summary"}}) {
    Reply reply;
    const std::size_t failures = test::sweep_allocations([] {}, [&] { reply = serve(request); },
                                                         [&] {
                                                           EXPECT_EQ(reply, (Reply{{""}, -100}));
                                                         });
    EXPECT_EQ(failures, 2u);
    EXPECT_EQ(serve(request).result, 0);
  }
}

TEST_F(Export, ALargeTableArrivesWhole) {
  std::string outline = "A.\n  T.\n";
  for (int i = 1; i <= 20'000; ++i)
    outline += "    " + std::to_string(i) + ". [1]\n      P = " + std::to_string(i) + "\n";
  load(outline);
  const Reply reply = serve({"31", "A.T."});
  EXPECT_EQ(reply.result, 0);
  const std::string& text = reply.answers.at(0);
  EXPECT_TRUE(
      text.ends_with("\t\t\t<Element name=\"20000.\" writable=\"1\" type=\"object\">\n"
                     "\t\t\t\t<Element name=\"P\" value=\"20000\" type=\"string\"/>\n"
                     "\t\t\t</Element>\n"
                     "\t</Element>\n"
                     "</VANTREL_CML>\n"));
  EXPECT_GT(text.size(), 2'000'000u);
}

}  // namespace
}  // namespace gwconf
