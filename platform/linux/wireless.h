#pragma once

#include <cstdint>

namespace gwconf {

/// The channel of a radio frequency in MHz; 0 when it is none of a wireless LAN.
[[nodiscard]] constexpr int channel_of_frequency(std::int64_t megahertz) {
  struct Band {
    std::int64_t first, last, base;
  };
  constexpr Band kBands[] = {
      {2412, 2472, 2407},
      {4910, 4980, 4000},
      {5035, 5895, 5000},
      {5955, 7115, 5950},
  };
  if (megahertz == 2484) return 14;
  for (const Band& band : kBands)
    if (megahertz >= band.first && megahertz <= band.last && (megahertz - band.base) % 5 == 0)
      return static_cast<int>((megahertz - band.base) / 5);
  return 0;
}

/// The channel that a driver tells as a number and a power of ten: a channel number itself when it
/// is small, a frequency in Hz otherwise. 0 when it is neither.
[[nodiscard]] constexpr int channel_of_driver(std::int32_t mantissa, std::int16_t exponent) {
  if (mantissa <= 0) return 0;
  if (exponent == 0 && mantissa <= 1000) return mantissa;
  std::int64_t hertz = mantissa;
  for (; exponent > 0 && hertz < 1'000'000'000'000; --exponent)
    hertz *= 10;
  return channel_of_frequency(hertz / 1'000'000);
}

}  // namespace gwconf
