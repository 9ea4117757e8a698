#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gwconf::tool {

/// What stands at the start of a partition dump or file, taken apart without belief in its header.
class BlockImage {
 public:
  /// Reads the file. Throws Failure (kWrongUse) when it cannot be read.
  explicit BlockImage(const std::string& file);

  /// A test that a good block passes. Those behind a failed one are not made.
  struct Check {
    const char* name;
    bool passed;
    std::string finding;
  };

  [[nodiscard]] const std::string& file() const { return file_; }
  [[nodiscard]] const std::vector<Check>& checks() const { return checks_; }
  /// The check that failed; null for a good block.
  [[nodiscard]] const Check* failure() const;
  /// Whether the block can be unpacked, be its text a configuration or not.
  [[nodiscard]] bool is_intact() const;
  /// Whether the daemon's reader returns a text for the file.
  [[nodiscard]] bool daemon_reads() const { return daemon_reads_; }

  /// The words of the header; 0 where the file is too short for them.
  struct Header {
    std::uint32_t magic = 0;
    std::uint32_t data_length = 0;
    std::uint32_t data_crc = 0;
    std::uint32_t text_length = 0;
    std::uint32_t carried_word = 0;
    bool reserved_is_zero = true;
  };
  [[nodiscard]] const Header& header() const { return header_; }
  /// The checksum of the data; 0 when not all of it is there.
  [[nodiscard]] std::uint32_t actual_crc() const { return actual_crc_; }
  /// Bytes of the whole file.
  [[nodiscard]] std::uint64_t file_size() const { return file_size_; }
  /// The text of an intact block.
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  void read_header(const std::string& bytes);
  void run_checks(const std::string& bytes);
  /// Notes a check; false when it failed.
  bool expect(const char* name, bool passed, std::string finding);
  bool inflate(const char* data);

  std::string file_;
  std::uint64_t file_size_ = 0;
  Header header_;
  std::uint32_t actual_crc_ = 0;
  std::string text_;
  bool daemon_reads_ = false;
  std::vector<Check> checks_;
};

}  // namespace gwconf::tool
