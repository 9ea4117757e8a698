#include <cstdint>
#include <cstdlib>
#include <string>

#include "storage/big_endian.h"
#include "storage/crc32.h"
#include "storage/settings_block.h"
#include "tests/support/sandbox.h"

using namespace gwconf;

/// Reads a block file as it is and, since no input guesses a checksum, once more as a block whose
/// magic, compressed length and checksum are right.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  const std::string path = test::sandbox_root() + "/block";
  std::string file{reinterpret_cast<const char*>(input), size};
  test::write_file(path, file);
  OwnedText text = CM_UTL_GetMTDBlockSettings(path.c_str());
  if (size <= block::kDataAt || size > block::kSizeMax) return 0;
  const auto length = static_cast<std::int32_t>(size - block::kDataAt);
  store_be32(&file[block::kMagicAt], block::kMagic);
  store_be32(&file[block::kDataLengthAt], static_cast<std::uint32_t>(length));
  store_be32(&file[block::kDataCrcAt], crc32(&file[block::kDataAt], length));
  test::write_file(path, file);
  text = CM_UTL_GetMTDBlockSettings(path.c_str());
  const std::uint32_t text_length = load_be32(&file[block::kTextLengthAt]);
  const bool fits = text_length <= block::kTextMax;
  if (static_cast<bool>(text) != fits || text.view().size() > text_length) std::abort();
  return 0;
}
