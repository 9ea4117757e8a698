#include <array>
#include <cstring>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "core/owned_text.h"
#include "platform/services.h"
#include "tests/support/failing_heap.h"

namespace gwconf {
namespace {

std::string encoded(const std::string& text) {
  const OwnedText result = OwnedText::adopt(string_encode('"', text.c_str()));
  return result ? std::string{result.view()} : "<none>";
}

std::string decoded(const std::string& raw) {
  const OwnedText result = OwnedText::adopt(string_decode(raw.c_str()));
  return result ? std::string{result.view()} : "<none>";
}

/// What the reader makes of an encoded value: the text between the quotes, decoded if need be.
std::string read_back(const std::string& value) {
  const std::string raw = value.substr(1, value.size() - 2);
  return raw.find('\\') == std::string::npos ? raw : decoded(raw);
}

/// Runs an encoder or a decoder into its buffer, behind which nothing may be written.
std::string run(int (*service)(char*, const char*), const std::string& text) {
  static std::array<char, 32769 + 16> buffer;
  buffer.fill('\0');
  std::memset(buffer.data() + 32769, '#', 16);
  const int result = service(buffer.data(), text.c_str());
  EXPECT_EQ(std::string(buffer.data() + 32769, 16), std::string(16, '#'));
  if (result < 0) {
    EXPECT_STREQ(buffer.data(), "");
    return "<refused>";
  }
  EXPECT_EQ(result, 0);
  return buffer.data();
}

std::string escaped(const std::string& text) {
  return run(util_xml_encoder, text);
}

std::string unescaped(const std::string& text) {
  return run(util_xml_decoder, text);
}

std::string every_byte() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte)
    bytes.push_back(static_cast<char>(byte));
  return bytes;
}

// --- Quoted texts ---

TEST(StringEncode, WrapsAndEscapesQuotesAndBackslashesAlone) {
  EXPECT_EQ(encoded(""), R"("")");
  EXPECT_EQ(encoded("plain text"), R"("plain text")");
  EXPECT_EQ(encoded(R"(say "hi")"), R"("say \"hi\"")");
  EXPECT_EQ(encoded(R"(C:\new)"), R"("C:\\new")");
  EXPECT_EQ(encoded("<'&'>\n\t\x80\xFF"), "\"<'&'>\n\t\x80\xFF\"");
}

TEST(StringEncode, WrapsInTheGivenCharacter) {
  const OwnedText result = OwnedText::adopt(string_encode('\'', "a\"b"));
  EXPECT_STREQ(result.c_str(), "'a\\\"b'");
}

TEST(StringDecode, RemovesOneBackslashBeforeAnyCharacter) {
  EXPECT_EQ(decoded(R"(say \"hi\")"), R"(say "hi")");
  EXPECT_EQ(decoded(R"(\\)"), R"(\)");
  EXPECT_EQ(decoded(R"(\\\\n)"), R"(\\n)");
  EXPECT_EQ(decoded(R"(\a\b\n\0)"), "abn0");
  EXPECT_EQ(decoded("\\\n"), "\n");
}

TEST(StringDecode, ABackslashBeforeNothingStays) {
  EXPECT_EQ(decoded("\\"), "\\");
  EXPECT_EQ(decoded(R"(a\)"), R"(a\)");
  EXPECT_EQ(decoded(R"(a\\\)"), R"(a\\)");
}

TEST(StringDecode, GivesNothingWhereNothingNeedsDecoding) {
  EXPECT_EQ(decoded(""), "<none>");
  EXPECT_EQ(decoded("plain \" text"), "<none>");
}

TEST(StringEncode, EveryByteSurvives) {
  for (const char byte : every_byte()) {
    EXPECT_EQ(read_back(encoded({byte})), (std::string{byte}));
    EXPECT_EQ(read_back(encoded({'\\', byte, '"', byte})), (std::string{'\\', byte, '"', byte}));
  }
  EXPECT_EQ(read_back(encoded(every_byte())), every_byte());
  const std::string worst(100000, '"');
  EXPECT_EQ(encoded(worst).size(), 200002u);
  EXPECT_TRUE(read_back(encoded(worst)) == worst);
}

TEST(StringEncode, GivesNothingWithoutMemory) {
  std::string text;
  EXPECT_EQ(test::sweep_allocations([] {}, [&] { text = encoded("a\"b"); },
                                    [&] { EXPECT_EQ(text, "<none>"); }),
            2u);
  EXPECT_EQ(test::sweep_allocations([] {}, [&] { text = decoded("a\\b"); },
                                    [&] { EXPECT_EQ(text, "<none>"); }),
            2u);
}

// --- XML ---

TEST(XmlEncoder, WritesTheFiveNames) {
  EXPECT_EQ(escaped("&<>\"'"), "&amp;&lt;&gt;&quot;&apos;");
  EXPECT_EQ(escaped(""), "");
  EXPECT_EQ(escaped("a & b"), "a &amp; b");
  EXPECT_EQ(escaped("&amp;"), "&amp;amp;");
  EXPECT_EQ(escaped("%s\n\t\x01\xC3\xA4\xFF"), "%s\n\t\x01\xC3\xA4\xFF");
}

TEST(XmlEncoder, FillsItsBufferAndNoMore) {
  EXPECT_EQ(escaped(std::string(32768, 'a')), std::string(32768, 'a'));
  EXPECT_EQ(escaped(std::string(32769, 'a')), "<refused>");
  EXPECT_EQ(escaped(std::string(5461, '"') + "ab"), [] {
    std::string text;
    for (int i = 0; i < 5461; ++i)
      text += "&quot;";
    return text + "ab";
  }());
  EXPECT_EQ(escaped(std::string(5461, '"') + "abc"), "<refused>");
  EXPECT_EQ(escaped(std::string(32764, 'a') + "&"), "<refused>");
  EXPECT_EQ(escaped(std::string(32763, 'a') + "&"), std::string(32763, 'a') + "&amp;");
  EXPECT_EQ(escaped(std::string(1000000, '&')), "<refused>");
}

TEST(XmlDecoder, ReadsTheFiveNames) {
  EXPECT_EQ(unescaped("&amp;&lt;&gt;&quot;&apos;"), "&<>\"'");
  EXPECT_EQ(unescaped("&amp;lt;"), "&lt;");
  EXPECT_EQ(unescaped(""), "");
  EXPECT_EQ(unescaped("plain"), "plain");
}

TEST(XmlDecoder, ReadsCharacterReferences) {
  EXPECT_EQ(unescaped("&#65;&#x42;&#x6a;&#x4B;"), "ABjK");
  EXPECT_EQ(unescaped("&#1;&#9;&#10;&#127;"), "\x01\t\n\x7F");
  EXPECT_EQ(unescaped("&#128;&#xE4;&#x7FF;"), "\xC2\x80\xC3\xA4\xDF\xBF");
  EXPECT_EQ(unescaped("&#x800;&#8364;&#xD7FF;&#xE000;&#xFFFF;"),
            "\xE0\xA0\x80\xE2\x82\xAC\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF");
  EXPECT_EQ(unescaped("&#x10000;&#128512;&#x10FFFF;"),
            "\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
  EXPECT_EQ(unescaped("&#0000000000000000000065;&#x00000000000000000041;"), "AA");
}

TEST(XmlDecoder, LeavesAnythingElseAsItIs) {
  for (const char* text : {"&",
                           "&&",
                           "&;",
                           "&amp",
                           "&amp ;",
                           "&AMP;",
                           "&nbsp;",
                           "&#;",
                           "&#",
                           "&#x",
                           "&#x;",
                           "&#X41;",
                           "&#65",
                           "&#x41",
                           "&#65 ;",
                           "&# 65;",
                           "&#+65;",
                           "&#-65;",
                           "&#6A;",
                           "&#xG1;",
                           "&#0;",
                           "&#x0;",
                           "&#00000;",
                           "&#xD800;",
                           "&#xDFFF;",
                           "&#55296;",
                           "&#x110000;",
                           "&#1114112;",
                           "&#4294967361;",
                           "&#x100000041;",
                           "&#18446744073709551681;",
                           "&#x10000000000000000000000041;",
                           "&#99999999999999999999999999999999;",
                           "&a&b;",
                           "\xC0\x80 \xFF",
                           "%d"})
    EXPECT_EQ(unescaped(text), text);
  EXPECT_EQ(unescaped("&&amp;&#&lt;&#0&#65;"), "&&&#<&#0A");
}

TEST(XmlDecoder, ReadsAReferenceWithVeryManyDigits) {
  EXPECT_EQ(unescaped("&#" + std::string(100000, '0') + "65;"), "A");
  EXPECT_EQ(unescaped("&#x" + std::string(30000, '9') + ";"),
            "&#x" + std::string(30000, '9') + ";");
}

TEST(XmlDecoder, FillsItsBufferAndNoMore) {
  EXPECT_EQ(unescaped(std::string(32768, 'a')), std::string(32768, 'a'));
  EXPECT_EQ(unescaped(std::string(32769, 'a')), "<refused>");
  EXPECT_EQ(unescaped(std::string(32767, 'a') + "&lt;"), std::string(32767, 'a') + "<");
  EXPECT_EQ(unescaped(std::string(32767, 'a') + "&#228;"), "<refused>");
  EXPECT_EQ(unescaped(std::string(32768, 'a') + "&lt;"), "<refused>");
}

TEST(XmlEncoder, EveryByteSurvives) {
  for (const char byte : every_byte())
    EXPECT_EQ(unescaped(escaped({byte, '&', byte})), (std::string{byte, '&', byte}));
  EXPECT_EQ(unescaped(escaped(every_byte())), every_byte());
  EXPECT_EQ(unescaped(escaped("&#65; &lt; &amp;amp;")), "&#65; &lt; &amp;amp;");
}

}  // namespace
}  // namespace gwconf
