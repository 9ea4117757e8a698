#include "tools/offline/block.h"

#include <array>
#include <cstdio>
#include <iostream>

#include "storage/settings_block.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"
#include "tools/offline/block_image.h"
#include "tools/offline/source.h"
#include "tools/offline/text.h"
#include "tools/offline/tree_diff.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string hexadecimal(std::uint32_t word) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08x", word);
  return text.data();
}

[[nodiscard]] std::string verdict_of(const BlockImage& image) {
  const BlockImage::Check* failure = image.failure();
  return failure ? std::string{"not valid: "} + failure->name + ": " + failure->finding : "valid";
}

[[nodiscard]] Exit exit_of(const BlockImage& image) {
  return image.failure() ? Exit::kFindings : Exit::kDone;
}

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

[[nodiscard]] Json json_of(const BlockImage& image) {
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

void print_info(const Output& output, const BlockImage& image) {
  const BlockImage::Header& header = image.header();
  const auto row = [&output](const char* name, const std::string& value) {
    std::string line = std::string{"  "} + name;
    line.resize(16, ' ');
    output.line(line + value);
  };
  output.line(harmless(image.file()) + ": " + verdict_of(image));
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

[[nodiscard]] BlockImage valid_block(const std::string& file) {
  BlockImage image{file};
  if (image.failure()) throw refused(file, verdict_of(image));
  return image;
}

}  // namespace

Exit block_info(const Session& session, const std::string& file) {
  const BlockImage image{file};
  if (session.output.json())
    session.output.document(json_of(image));
  else
    print_info(session.output, image);
  return exit_of(image);
}

Exit block_verify(const Session& session, const std::vector<std::string>& files) {
  Exit exit = Exit::kDone;
  Json rows = Json::array();
  for (const std::string& file : files) {
    try {
      const BlockImage image{file};
      exit = worse(exit, exit_of(image));
      rows.push_back(json_of(image));
      if (!session.output.json())
        session.output.line(harmless(file) + ": " + harmless(verdict_of(image)));
    } catch (const Failure& failure) {
      session.output.complaint("block verify", failure.what());
      rows.push_back({{"file", file}, {"error", failure.what()}});
      exit = worse(exit, failure.exit());
    }
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

Exit block_unpack(const Session& session, const std::string& file, const std::string& output) {
  const BlockImage image{file};
  if (!image.is_intact()) throw refused(file, verdict_of(image));
  if (!output.empty()) write_file(output, image.text(), Privacy::kOwner);
  if (session.output.json()) {
    Json document = json_of(image);
    if (output.empty())
      document["xml"] = image.text();
    else
      document["output"] = output;
    session.output.document(document);
  } else if (output.empty()) {
    std::cout << image.text();
  }
  return Exit::kDone;
}

Exit block_pack(const Session& session, const std::string& file, const std::string& output,
                std::uint32_t carried) {
  constexpr auto kMost = static_cast<std::size_t>(kDocumentMax);
  const FileContent content = read_file(file, kMost + 1);
  if (content.size > kMost)
    throw refused(
        file, "has " + std::to_string(content.size) + " bytes; a block holds no more than 2097152");
  if (content.bytes.find('\0') != std::string::npos)
    throw refused(file, "is no XML: it holds a NUL byte");
  const std::string objection = loading_objection(content.bytes);
  if (!objection.empty()) throw refused(file, "the daemon would not load it: " + objection);

  NewFile target{output, Privacy::kOwner};
  switch (write_settings_file(target.path().c_str(), content.bytes, carried)) {
    case CM_OK:
      break;
    case CM_INVALID:
      throw refused(file,
                    "its block would have more than " + std::to_string(block::kSizeMax) + " bytes");
    case CM_NOT_WRITTEN:
      throw wrong_file(output, "cannot be written");
    default:
      throw std::bad_alloc{};
  }
  target.keep();
  const BlockImage image{output};
  if (session.output.json())
    session.output.document(json_of(image));
  else
    session.output.line(harmless(output) + ": " + std::to_string(image.file_size()) + " of " +
                        counted(block::kSizeMax, "byte"));
  return Exit::kDone;
}

Exit block_diff(const Session& session, const std::string& one, const std::string& other) {
  const BlockImage first = valid_block(one);
  const BlockImage second = valid_block(other);
  std::vector<Difference> differences;
  if (first.header().carried_word != second.header().carried_word)
    differences.push_back({Difference::Kind::kChanged,
                           "carried word",
                           {},
                           std::to_string(first.header().carried_word),
                           std::to_string(second.header().carried_word)});
  const LoadedTree first_tree = load_tree(one, first.text());
  const LoadedTree second_tree = load_tree(other, second.text());
  compare(first_tree, second_tree, {}, differences);
  return report(session, differences);
}

}  // namespace gwconf::tool
