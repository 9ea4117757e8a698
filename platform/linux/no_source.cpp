#include "platform/services.h"

// What a plain Linux machine has no source for: it has no telephone lines, and no ping test that
// runs for the gateway. Nothing is told, which reads as the empty text.

const char* voice_get_line_status(int) {
  return "";
}

const char* voice_get_line_call_state(int) {
  return "";
}

const char* sal_misc_get_ipping_diag_succ_count() {
  return "";
}

const char* sal_misc_get_ipping_diag_fail_count() {
  return "";
}

const char* sal_misc_get_ipping_diag_avg_resp_time() {
  return "";
}

const char* sal_misc_get_ipping_diag_min_resp_time() {
  return "";
}

const char* sal_misc_get_ipping_diag_max_resp_time() {
  return "";
}
