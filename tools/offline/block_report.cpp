#include "tools/offline/block_report.h"

#include <array>
#include <cstdio>

#include "storage/settings_block.h"
#include "tools/base/screen.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

/// Compressed bytes per hundred bytes of text.
[[nodiscard]] std::string ratio_of(const BlockImage& image) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f %%",
                100.0 * image.header().data_length / static_cast<double>(image.text().size()));
  return text.data();
}

[[nodiscard]] std::uint64_t trailing_bytes(const BlockImage& image) {
  const std::uint64_t end = block::kDataAt + std::uint64_t{image.header().data_length};
  return image.file_size() > end ? image.file_size() - end : 0;
}

}  // namespace

std::string validity_of(const BlockImage& image) {
  const BlockImage::Check* failure = image.failure();
  return failure ? std::string{"not valid: "} + failure->name + ": " + failure->finding : "valid";
}

Json json_of(const BlockImage& image) {
  Json checks = Json::array();
  for (const BlockImage::Check& check : image.checks()) {
    Json row{{"check", check.name}, {"passed", check.passed}};
    if (!check.passed) row["finding"] = check.finding;
    checks.push_back(std::move(row));
  }
  const BlockImage::Header& header = image.header();
  Json document{{"file", image.file()},
                {"valid", !image.failure()},
                {"daemon_reads", image.daemon_reads()},
                {"magic", header.magic},
                {"data_length", header.data_length},
                {"data_crc", header.data_crc},
                {"actual_crc", image.actual_crc()},
                {"text_length", header.text_length},
                {"carried_word", header.carried_word},
                {"reserved_is_zero", header.reserved_is_zero},
                {"file_size", image.file_size()},
                {"checks", std::move(checks)}};
  if (image.is_intact()) document["trailing"] = trailing_bytes(image);
  return document;
}

void print_block(const Output& output, const BlockImage& image) {
  const BlockImage::Header& header = image.header();
  const auto row = [&output](const char* name, const std::string& value) {
    std::string line = std::string{"  "} + name;
    line.resize(16, ' ');
    output.line(line + value);
  };
  output.line(harmless(image.file()) + ": " + validity_of(image));
  row("magic", hexadecimal(header.magic));
  row("data length", std::to_string(header.data_length));
  row("checksum",
      hexadecimal(header.data_crc) + (image.actual_crc() == 0 ? ""
                                      : image.actual_crc() == header.data_crc
                                          ? ", matches"
                                          : ", the data has " + hexadecimal(image.actual_crc())));
  row("text length", std::to_string(header.text_length));
  row("carried word", std::to_string(header.carried_word));
  row("reserved", header.reserved_is_zero ? "zero" : "not zero");
  if (image.is_intact() && !image.text().empty()) row("ratio", ratio_of(image));
  row("file", counted(image.file_size(), "byte") +
                  (image.is_intact()
                       ? ", " + std::to_string(trailing_bytes(image)) + " of them behind the block"
                       : ""));
  row("daemon", image.daemon_reads() ? "reads it" : "passes over it");
}

}  // namespace gwconf::tool
