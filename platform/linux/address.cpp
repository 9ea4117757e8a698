#include "platform/linux/address.h"

#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/text.h"

namespace gwconf {
namespace {

/// Asks the kernel for one of the addresses of an interface; they are all given in the same place.
std::uint32_t ask(const char* interface, unsigned long request) {
  const int kernel = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (kernel < 0) return 0;
  ifreq question = {};
  Answer{question.ifr_name, sizeof question.ifr_name}.append(interface);
  const bool answered = ioctl(kernel, request, &question) == 0;
  close(kernel);
  if (!answered || question.ifr_addr.sa_family != AF_INET) return 0;
  sockaddr_in address;
  std::memcpy(&address, &question.ifr_addr, sizeof address);
  return address.sin_addr.s_addr;
}

}  // namespace

std::uint32_t own_address(const char* interface) {
  return ask(interface, SIOCGIFADDR);
}

std::uint32_t network_mask(const char* interface) {
  return ask(interface, SIOCGIFNETMASK);
}

std::uint32_t remote_address(const char* interface) {
  return ask(interface, SIOCGIFDSTADDR);
}

}  // namespace gwconf
