// The numbers of the C header, which must be the protocol's.

#include "gwconf/client.h"
#include "protocol/attributes.h"
#include "protocol/limits.h"
#include "protocol/status.h"
#include "protocol/value_types.h"

namespace gwconf {
namespace {

constexpr bool same(std::int32_t ours, std::int32_t daemons) {
  return ours == daemons;
}
static_assert(same(GWCONF_OK, CM_OK) && same(GWCONF_UNCHANGED, CM_UNCHANGED) &&
              same(GWCONF_NOT_FOUND, CM_NOT_FOUND) && same(GWCONF_UNUSABLE, CM_UNUSABLE) &&
              same(GWCONF_NO_MEMORY, CM_NO_MEMORY) && same(GWCONF_EXISTS, CM_EXISTS) &&
              same(GWCONF_REFUSED, CM_REFUSED) && same(GWCONF_CUT_FAILURE, CM_CUT_FAILURE) &&
              same(GWCONF_INVALID, CM_INVALID));
static_assert(same(GWCONF_ATTRIBUTE_WRITABLE, kWritable) &&
              same(GWCONF_ATTRIBUTE_DISABLED, kDisabled) &&
              same(GWCONF_ATTRIBUTE_USER_SET, kUserSet) &&
              same(GWCONF_ATTRIBUTE_USER_SET_BELOW, kUserSetBelow) &&
              same(GWCONF_ATTRIBUTE_NOTIFY_OFF, kNotificationOff) &&
              same(GWCONF_ATTRIBUTE_NOTIFY_PASSIVE, kPassiveNotification) &&
              same(GWCONF_ATTRIBUTE_NOTIFY_ACTIVE, kActiveNotification));
static_assert(same(GWCONF_TYPE_STRING, kString) && same(GWCONF_TYPE_INT, kInt) &&
              same(GWCONF_TYPE_UNSIGNED_INT, kUnsignedInt) && same(GWCONF_TYPE_BOOLEAN, kBoolean) &&
              same(GWCONF_TYPE_DATE_TIME, kDateTime) && same(GWCONF_TYPE_BASE64, kBase64) &&
              same(GWCONF_TYPE_ENUMERATION, kEnumeration) &&
              same(GWCONF_TYPE_IP_ADDRESS, kIpAddress) && same(GWCONF_TYPE_NETMASK, kNetmask) &&
              same(GWCONF_TYPE_MAC_ADDRESS, kMacAddress) &&
              same(GWCONF_TYPE_UNKNOWN, kUnknownType));
static_assert(same(GWCONF_TEXT_MAX, kMessageMax));

}  // namespace
}  // namespace gwconf
