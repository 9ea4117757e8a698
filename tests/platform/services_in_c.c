/* A vendor's library in C takes its prototypes from the same header. */
#include "platform/services.h"

long get_uptime(void) {
  return 4711;
}
