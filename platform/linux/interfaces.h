#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace gwconf {

/// The kernel's room for a name, NUL included. Its headers that tell it cannot be combined.
inline constexpr std::size_t kInterfaceNameRoom = 16;

struct InterfaceName {
  char text[kInterfaceNameRoom];
};

/// Names of network interfaces, each once, in their natural order ("lan2" before "lan10"). A full
/// list keeps the first ones.
class InterfaceList {
 public:
  static constexpr std::size_t kCapacity = 32;

  void insert(const char* name);

  [[nodiscard]] std::size_t size() const { return size_; }
  /// The name at `index`, any number; none outside the list.
  [[nodiscard]] const char* at(std::int64_t index) const {
    return index >= 0 && static_cast<std::size_t>(index) < size_
               ? names_[static_cast<std::size_t>(index)].text
               : nullptr;
  }
  [[nodiscard]] bool contains(const char* name) const;

 private:
  std::array<InterfaceName, kCapacity> names_ = {};
  std::size_t size_ = 0;
};

/// Interfaces that the IPv4 routing table has a default route through.
[[nodiscard]] InterfaceList default_route_interfaces();
/// Physical Ethernet interfaces on the LAN side: no default route, no radio, and not the port that
/// only joins a switch to the processor.
[[nodiscard]] InterfaceList lan_ports();
/// Interfaces with a radio.
[[nodiscard]] InterfaceList wireless_interfaces();

/// Reads the first line of what the kernel tells of an interface. False, and the empty text, when
/// it tells nothing.
bool read_attribute(const char* interface, const char* attribute, std::span<char> text);
/// The same as a number; 0 when the kernel tells none.
[[nodiscard]] std::uint64_t read_counter(const char* interface, const char* attribute);
/// Whether its link is up; an interface that is switched off has none.
[[nodiscard]] bool has_carrier(const char* interface);
[[nodiscard]] bool is_ppp(const char* interface);

/// The gateway of the interface's default route, as the kernel holds it (network byte order); 0
/// when it has none.
[[nodiscard]] std::uint32_t default_gateway(const char* interface);

}  // namespace gwconf
