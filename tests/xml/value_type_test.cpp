#include "xml/value_type.h"

#include <string>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

struct Parsed {
  int type;
  std::int32_t min;
  std::int32_t max;

  bool operator==(const Parsed&) const = default;
};

void PrintTo(const Parsed& parsed, std::ostream* out) {
  *out << "type " << parsed.type << " [" << parsed.min << ":" << parsed.max << "]";
}

Parsed parse(std::string_view text, TypeMatch match = TypeMatch::kLine) {
  Parameter param;
  param.min = -111;  // what stays is seen
  param.max = 222;
  parse_value_type(text, match, &param);
  return {param.type, param.min, param.max};
}

std::string written(int code, std::int32_t min, std::int32_t max) {
  char text[64];
  const std::int32_t length =
      CM_GetFullDataTypeString(static_cast<std::uint8_t>(code), min, max, text);
  EXPECT_EQ(length, static_cast<std::int32_t>(std::string{text}.size()));
  return text;
}

/// Read by the line loader and written again.
std::string rewritten(std::string_view text) {
  const Parsed parsed = parse(text);
  return written(parsed.type, parsed.min, parsed.max);
}

TEST(ValueType, ReadsEveryType) {
  const struct {
    const char* text;
    Parsed parsed;
  } cases[] = {
      {"string", {2, 0, 0}},
      {"string(64)", {2, 0, 64}},
      {"int", {3, 0, 0}},
      {"int[-5:10]", {3, -5, 10}},
      {"unsignedInt", {4, 0, 0}},
      {"unsignedInt[1:100]", {4, 1, 100}},
      {"boolean", {5, 0, 1}},
      {"dateTime", {6, -111, 222}},
      {"base64", {7, 0, 0}},
      {"ipAddress", {9, 0, 15}},
      {"netmask", {10, 0, 15}},
      {"macAddress", {11, 0, 17}},
      {"", {12, -111, 222}},
      {"object", {12, -111, 222}},
      {"in", {12, -111, 222}},
      {"unsignedIn", {12, -111, 222}},
      {" int", {12, -111, 222}},
      {"hexBinary", {12, -111, 222}},
      {"enumeration", {12, -111, 222}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parse(c.text), c.parsed);
    EXPECT_EQ(parse(c.text, TypeMatch::kDom), c.parsed);
  }
}

TEST(ValueType, ComparesAPrefixWithoutRegardToCase) {
  EXPECT_EQ(parse("integer"), (Parsed{3, 0, 0}));
  EXPECT_EQ(parse("INT[1:5]"), (Parsed{3, 1, 5}));
  EXPECT_EQ(parse("interval[2:3]"), (Parsed{3, 2, 3}));
  EXPECT_EQ(parse("STRINGS(8)"), (Parsed{2, 0, 8}));
  EXPECT_EQ(parse("UNSIGNEDINTEGER[1:2]"), (Parsed{4, 1, 2}));
  EXPECT_EQ(parse("Boolean(3)"), (Parsed{5, 0, 1}));
  EXPECT_EQ(parse("DATETIME(3)"), (Parsed{6, -111, 222}));
  EXPECT_EQ(parse("BASE64(3)"), (Parsed{7, 0, 3}));
  EXPECT_EQ(parse("IPADDRESSES"), (Parsed{9, 0, 15}));
  EXPECT_EQ(parse("NetMask"), (Parsed{10, 0, 15}));
  EXPECT_EQ(parse("MACADDRESS"), (Parsed{11, 0, 17}));
}

TEST(ValueType, TheDomLoaderComparesSixCharactersOfTheAddresses) {
  const struct {
    const char* text;
    Parsed by_dom;
  } cases[] = {
      {"ipAddr", {9, 0, 15}},  {"IPADDRx", {9, 0, 15}}, {"netmas", {10, 0, 15}},
      {"NETMAS", {10, 0, 15}}, {"macAdd", {11, 0, 17}}, {"macaddr", {11, 0, 17}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(parse(c.text, TypeMatch::kDom), c.by_dom);
    EXPECT_EQ(parse(c.text, TypeMatch::kLine), (Parsed{12, -111, 222}));
  }
  for (const char* text : {"ipAdd", "netma", "macAd", "dateTi", "boolea", "unsign"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(parse(text, TypeMatch::kDom), (Parsed{12, -111, 222}));
  }
}

TEST(ValueType, FindsTheLowerBound) {
  const struct {
    const char* text;
    std::int32_t min;
  } cases[] = {
      {"", 0},
      {"int", 0},
      {"int[5]", 0},
      {"int[5", 0},
      {"int(5)", 0},
      {"int[:]", 0},
      {"int[:5]", 0},
      {"int:5]", 0},
      {"int[-5:]", -5},
      {"int[+5:]", 5},
      {"int[3:8]", 3},
      {"int[3", 0},
      {"int[3:", 3},
      {"int(3:8)", 3},
      {"int[1K:2K]", 1024},
      {"int[2k:4]", 2048},
      {"int[-1K:4]", -1024},
      {"int[K:4]", 0},
      {"int[1Kx:4]", 1024},
      {"int[x:4]", 0},
      {"int[7x:4]", 7},
      {"int[3:4:5]", 3},
      {"int [3:8]", 0},
      {"int[3 :8]", 0},
      {"int[3:8] x", 3},
      {"int-[3:8]", 0},
      {"int[2147483647:]", 2147483647},
      {"int[2147483648:]", 2147483647},
      {"int[-2147483648:]", -2147483647 - 1},
      {"int[-99999999999999999999:]", -2147483647 - 1},
      {"int[2097151K:]", 2147482624},
      {"int[2097152K:]", 2147483647},
      {"int[-2097152K:]", -2147483647 - 1},
      {"int[-2097153K:]", -2147483647 - 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(CM_XML2RAM_FindIntMin(c.text), c.min);
  }
}

TEST(ValueType, FindsTheUpperBound) {
  const struct {
    const char* text;
    std::int32_t max;
  } cases[] = {
      {"", 0},
      {"int", 0},
      {"int[5]", 0},
      {"int[:]", 0},
      {"int[:5]", 5},
      {"int[-5:]", 0},
      {"int[-5:7]", 7},
      {"int[-5:-3]", -3},
      {"int[3:8]", 8},
      {"int[3:", 0},
      {"int[3:8", 0},
      {"int[3:85", 8},
      {"int[0:100]", 100},
      {"int[1K:2K]", 2},
      {"int[1k:2k]", 2},
      {"int[:K]", 0},
      {"int[:x]", 0},
      {"int[3:4:5]", 4},
      {"int [3:8]", 0},
      {"int[3: 8]", 0},
      {"int[3:8] x", 8},
      {"int[:2147483647]", 2147483647},
      {"unsignedInt[0:4294967295]", 2147483647},
      {"int[:-2147483649]", -2147483647 - 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(CM_XML2RAM_FindIntMax(c.text), c.max);
  }
}

TEST(ValueType, FindsTheLength) {
  const struct {
    const char* text;
    std::int32_t max;
  } cases[] = {
      {"", 0},
      {"string", 0},
      {"string(", 0},
      {"string()", 0},
      {"string(5", 0},
      {"string(64)", 64},
      {"string[64]", 64},
      {"string(4K)", 4096},
      {"string(4k)", 4096},
      {"string(K)", 0},
      {"string(-1)", -1},
      {"string (64)", 0},
      {"string(64) x", 64},
      {"string(6 4)", 0},
      {"string(64x)", 64},
      {"base64(16)", 16},
      {"string(9999999999)", 2147483647},
      {"string(9999999K)", 2147483647},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(CM_XML2RAM_FindStrMax(c.text), c.max);
  }
}

TEST(ValueType, LooksAtSixtyThreeCharactersBehindTheName) {
  const std::string zeros(50, '0');
  // The closing bracket is the 63rd character, then the 64th, so that a digit is dropped for it.
  EXPECT_EQ(CM_XML2RAM_FindStrMax("string(" + zeros + "00000000012)"), 12);
  EXPECT_EQ(CM_XML2RAM_FindStrMax("string(" + zeros + "000000000012)"), 1);
  EXPECT_EQ(CM_XML2RAM_FindIntMax("int[-" + zeros + "0000000:123]"), 123);
  EXPECT_EQ(CM_XML2RAM_FindIntMax("int[-" + zeros + "00000000:123]"), 12);
  EXPECT_EQ(CM_XML2RAM_FindIntMin("int[" + zeros + "0000000007:]"), 7);
  EXPECT_EQ(CM_XML2RAM_FindIntMin("int[" + zeros + "000000000007:]"), 0);
}

TEST(ValueType, MultipliesByK) {
  const struct {
    const char* text;
    std::int32_t number;
  } cases[] = {
      {"", 0},
      {"12", 12},
      {" -12abc", -12},
      {"x12", 0},
      {"4K", 4096},
      {"4k", 4096},
      {"-4K", -4096},
      {"K", 0},
      {"K4", 0},
      {"4K7", 4096},
      {"47K1", 48128},
      {"4xK", 4096},
      {"4 K", 4096},
      {"9999999999K", 2147483647},
      {"-9999999999K", -2147483647 - 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(CM_XML2RAM_Multiplier_Check(c.text), c.number);
  }
}

TEST(ValueType, WritesEveryCode) {
  EXPECT_EQ(written(2, 0, 0), "string");
  EXPECT_EQ(written(2, 7, 64), "string(64)");
  EXPECT_EQ(written(2, 0, -1), "string(-1)");
  EXPECT_EQ(written(3, 0, 0), "int");
  EXPECT_EQ(written(3, -5, 0), "int[-5:]");
  EXPECT_EQ(written(3, 0, 7), "int[0:7]");
  EXPECT_EQ(written(3, -5, 7), "int[-5:7]");
  EXPECT_EQ(written(4, 0, 0), "unsignedInt");
  EXPECT_EQ(written(4, 1, 0), "unsignedInt[1:]");
  EXPECT_EQ(written(4, 0, -1), "unsignedInt[0:-1]");
  EXPECT_EQ(written(4, -2147483647 - 1, -2147483647 - 1), "unsignedInt[-2147483648:-2147483648]");
  EXPECT_EQ(written(5, 0, 1), "boolean");
  EXPECT_EQ(written(6, 3, 4), "dateTime");
  EXPECT_EQ(written(7, 0, 0), "base64");
  EXPECT_EQ(written(7, 0, 16), "base64(16)");
  EXPECT_EQ(written(8, 3, 4), "string");
  EXPECT_EQ(written(9, 0, 15), "ipAddress");
  EXPECT_EQ(written(10, 0, 15), "netmask");
  EXPECT_EQ(written(11, 0, 17), "macAddress");
  for (const int code : {0, 1, 12, 13, 255}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(written(code, 3, 4), "string");
  }
}

TEST(ValueType, ATextIsCutToItsRoomAndItsLengthTold) {
  char text[12] = "###########";
  EXPECT_EQ(CM_GetFullDataTypeString(3, -5, 10, std::span{text, 6}), 10);
  EXPECT_STREQ(text, "int[-");
  EXPECT_EQ(text[6], '#');
  EXPECT_EQ(CM_GetFullDataTypeString(3, -5, 10, std::span{text, 11}), 10);
  EXPECT_STREQ(text, "int[-5:10]");
  EXPECT_EQ(CM_GetFullDataTypeString(3, -5, 10, std::span{text, 1}), 10);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(CM_GetFullDataTypeString(3, -5, 10, {}), 10);
}

TEST(ValueType, ComesBackAsItWasWritten) {
  for (const char* text :
       {"int", "int[-5:]", "int[-5:10]", "int[-10:-5]", "unsignedInt", "unsignedInt[0:100]",
        "unsignedInt[1:]", "string", "string(256)", "base64", "base64(16)", "boolean", "dateTime",
        "ipAddress", "netmask", "macAddress"}) {
    EXPECT_EQ(rewritten(text), text);
  }
}

TEST(ValueType, ComesBackInItsPlainForm) {
  EXPECT_EQ(rewritten("unsignedInt[1K:2K]"), "unsignedInt[1024:2]");
  EXPECT_EQ(rewritten("string(4K)"), "string(4096)");
  EXPECT_EQ(rewritten("int[:5]"), "int[0:5]");
  EXPECT_EQ(rewritten("int[0:]"), "int");
  EXPECT_EQ(rewritten("integer"), "int");
  EXPECT_EQ(rewritten("ipAddr"), "string");
  EXPECT_EQ(rewritten("INT[1:5]"), "int[1:5]");
}

}  // namespace
}  // namespace gwconf
