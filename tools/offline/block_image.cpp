#include "tools/offline/block_image.h"

#include <algorithm>

#include "storage/big_endian.h"
#include "storage/crc32.h"
#include "storage/settings_block.h"
#include "tools/base/files.h"
#include "tools/offline/source.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

constexpr std::string_view kDocumentCheck = "document";

/// What a partition without a block usually holds.
[[nodiscard]] std::string described(const std::string& bytes) {
  if (bytes.empty()) return "the file is empty";
  const auto all = [&bytes](char byte) {
    return std::all_of(bytes.begin(), bytes.end(), [byte](char one) { return one == byte; });
  };
  if (all('\xFF')) return "erased flash";
  if (all('\0')) return "nothing but zeros";
  if (bytes.size() < block::kDataAt)
    return "the file has " + counted(bytes.size(), "byte") + ", a header " +
           std::to_string(block::kDataAt);
  return {};
}

}  // namespace

BlockImage::BlockImage(const std::string& file) : file_{file} {
  const FileContent content = read_file(file, block::kSizeMax);
  file_size_ = content.size;
  read_header(content.bytes);
  run_checks(content.bytes);
  daemon_reads_ = static_cast<bool>(CM_UTL_GetMTDBlockSettings(file.c_str()));
}

const BlockImage::Check* BlockImage::failure() const {
  return checks_.back().passed ? nullptr : &checks_.back();
}

bool BlockImage::is_intact() const {
  return !failure() || failure()->name == kDocumentCheck;
}

void BlockImage::read_header(const std::string& bytes) {
  std::string header = bytes.substr(0, block::kDataAt);
  header.resize(block::kDataAt, '\0');
  header_ = {
      .magic = load_be32(&header[block::kMagicAt]),
      .data_length = load_be32(&header[block::kDataLengthAt]),
      .data_crc = load_be32(&header[block::kDataCrcAt]),
      .text_length = load_be32(&header[block::kTextLengthAt]),
      .carried_word = load_be32(&header[block::kCarriedWordAt]),
      .reserved_is_zero = header.find_first_not_of('\0', block::kReservedAt) == std::string::npos};
}

bool BlockImage::expect(const char* name, bool passed, std::string finding) {
  checks_.push_back({name, passed, passed ? std::string{} : std::move(finding)});
  return passed;
}

void BlockImage::run_checks(const std::string& bytes) {
  const std::string description = described(bytes);
  if (!expect("header", description.empty(), description)) return;
  if (!expect("magic", header_.magic == block::kMagic,
              hexadecimal(header_.magic) + " instead of " + hexadecimal(block::kMagic)))
    return;
  const std::uint32_t length = header_.data_length;
  if (!expect("data length", length > 0 && length <= block::kDataMax,
              std::to_string(length) + " is not between 1 and " + std::to_string(block::kDataMax)))
    return;
  const std::size_t there = bytes.size() - block::kDataAt;
  if (!expect("data", there >= length,
              "the file ends behind " + std::to_string(there) + " of " + counted(length, "byte")))
    return;
  const char* data = bytes.data() + block::kDataAt;
  actual_crc_ = crc32(data, static_cast<std::int32_t>(length));
  if (!expect("checksum", actual_crc_ == header_.data_crc,
              "the data has " + hexadecimal(actual_crc_) + ", the header says " +
                  hexadecimal(header_.data_crc)))
    return;
  if (!expect("text length", header_.text_length > 0 && header_.text_length <= block::kTextMax,
              std::to_string(header_.text_length) + " is not between 1 and " +
                  std::to_string(block::kTextMax)))
    return;
  if (!expect("stream", inflate(data),
              "the data is no whole zlib stream of at most " + std::to_string(block::kTextMax - 1) +
                  " bytes"))
    return;
  if (!expect("text length", text_.size() + 1 == header_.text_length,
              "the header says " + std::to_string(header_.text_length) + ", the text has " +
                  std::to_string(text_.size() + 1) + " with its NUL"))
    return;
  const std::size_t nul = text_.find('\0');
  if (!expect("text", nul == std::string::npos,
              "a NUL at byte " + std::to_string(nul) + " of the text ends it"))
    return;
  const std::string objection = loading_objection(text_);
  expect(kDocumentCheck.data(), objection.empty(),
         "the daemon does not load the text: " + objection);
}

bool BlockImage::inflate(const char* data) {
  text_.resize(block::kTextMax);
  const std::int32_t length =
      CM_UTL_decompress(text_.data(), static_cast<std::int32_t>(text_.size()), data,
                        static_cast<std::int32_t>(header_.data_length));
  text_.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
  return length >= 0 && text_.size() < block::kTextMax;
}

}  // namespace gwconf::tool
