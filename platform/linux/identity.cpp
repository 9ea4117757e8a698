#include <cstdio>

#include "core/owned_text.h"
#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/linux/key_value.h"
#include "platform/services.h"
#include "platform/text.h"

// What the boot loader tells of the board. A machine without a device tree has no identity of a
// gateway, and then the services say that they have none.

namespace gwconf {
namespace {

/// Copies a text of the device tree's root. False, and the empty text, when there is none.
bool copy_property(const char* name, char* text, int size) {
  char path[512];
  std::snprintf(path, sizeof path, "%s/device-tree/%s", paths().proc, name);
  LineReader<256> file{path};
  Answer answer{text, size};
  // The property holds its own NUL, behind which nothing counts.
  if (!file.next() || *file.c_str() == '\0') return false;
  answer.append(file.c_str());
  return true;
}

}  // namespace
}  // namespace gwconf

int util_get_hw_sn(char* text, int size) {
  return gwconf::copy_property("serial-number", text, size) ? 0 : -1;
}

int util_getProductName(char* text, int size) {
  return gwconf::copy_property("model", text, size) ? 1 : 0;
}

int get_version(char* text, int size) {
  using namespace gwconf;
  Answer answer{text, size};
  OwnedText version;
  for (const char* key : {"VERSION_ID", "BUILD_ID"}) {
    if (find_key_value(paths().os_release, key, version) != CM_OK) continue;
    answer.append(version.view());
    return 0;
  }
  return -1;
}

int getOemName(char* text) {
  *text = '\0';
  return 0;
}

void getHwVersion(char* text) {
  *text = '\0';
}

void getManufacturerOUI(char* text) {
  *text = '\0';
}

void getProductDesc(char* text) {
  *text = '\0';
}
