#include "platform/linux/wireless.h"

#include <iterator>
#include <linux/wireless.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/interfaces.h"
#include "platform/services.h"
#include "platform/text.h"

using namespace gwconf;

// The wireless interfaces, in their natural order, are the tree's WLANConfigurations 1, 2, ...

int get_wlan_id(const char* path, int* id) {
  const std::int64_t number = number_behind(path, ".WLANConfiguration.");
  if (!wireless_interfaces().at(number - 1)) return 0;
  *id = static_cast<int>(number - 1);
  return 1;
}

int val_get_wifi_stats_info(int id, int counter) {
  // The kernel does not tell unicast and broadcast packets apart, nor what it multicast itself.
  constexpr const char* kSources[] = {
      "statistics/tx_errors",
      "statistics/rx_errors",
      nullptr,
      nullptr,
      "statistics/tx_dropped",
      "statistics/rx_dropped",
      nullptr,
      "statistics/multicast",
      nullptr,
      nullptr,
  };
  const InterfaceList interfaces = wireless_interfaces();
  const char* name = interfaces.at(id);
  if (!name || counter < 0 || counter >= static_cast<int>(std::size(kSources))) return 0;
  return kSources[counter] ? static_cast<int>(read_counter(name, kSources[counter])) : 0;
}

int val_get_wifi_channel(const char* path) {
  int id = 0;
  if (get_wlan_id(path, &id) == 0) return 0;
  const InterfaceList interfaces = wireless_interfaces();
  const char* name = interfaces.at(id);
  const int kernel = name ? socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1;
  if (kernel < 0) return 0;
  iwreq question = {};
  Answer{question.ifr_name, sizeof question.ifr_name}.append(name);
  const bool answered = ioctl(kernel, SIOCGIWFREQ, &question) == 0;
  close(kernel);
  return answered ? channel_of_driver(question.u.freq.m, question.u.freq.e) : 0;
}
