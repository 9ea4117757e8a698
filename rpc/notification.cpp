#include "rpc/notification.h"

#include <cerrno>
#include <cstdio>
#include <new>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include "core/path.h"
#include "rpc/request_time.h"
#include "storage/file.h"

namespace gwconf {

Registration* notify_reg = nullptr;

namespace {

/// A listener that starts anew finds what it missed, up to this many bytes of lines.
constexpr long kKeptForTheGone = 256 * 1024;

std::int32_t serving_process = 0;

[[nodiscard]] bool is_complete(const Registration& registration) {
  // A number below 1 names a group of processes, or all of them: never a listener. The service
  // itself is none either; most signals would end it.
  return registration.process > 0 && registration.process != serving_process &&
         registration.signal != 0 && registration.file;
}

/// The word of a change line. Passive goes before active here.
const char* change_word(const Parameter& param) {
  if (has(param, kPassiveNotification)) return "Passive";
  return has(param, kActiveNotification) ? "Active" : "None";
}

/// Takes the lock on the whole file, waiting for a reader that holds it as long as for any other
/// peer. One that holds it for longer has stalled, and must not stop the service; the line is
/// appended all the same, as it is where a file cannot be locked.
void lock_file(int fd) {
  constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 1'000'000};
  const std::int64_t end = milliseconds() + next_wait();
  while (lockf(fd, F_TLOCK, 0) != 0 && (errno == EACCES || errno == EAGAIN) && milliseconds() < end)
    nanosleep(&kPause, nullptr);
}

/// Sends the signal to the listener. False when it is gone: there is no such process, or none of
/// the registrant's.
bool signal_listener(const Registration& registration) {
  if (!registration.registrant.owns(registration.process)) return false;
  return kill(registration.process, registration.signal) == 0 || errno != ESRCH;
}

}  // namespace

void exclude_from_listening(std::int32_t process) {
  serving_process = process;
}

Registration* renew_registration() {
  if (notify_reg) {
    *notify_reg = {};
  } else if (void* memory = CM_UTL_malloc(nullptr, sizeof(Registration))) {
    notify_reg = new (memory) Registration{};
  }
  return notify_reg;
}

Status start_notification_file(Registration* registration, const char* path) {
  const bool copied = registration->file.assign(std::string_view{path});
  const ActingFor registrant{registration->registrant};
  const FilePtr file{registrant ? open_regular(path, "w+") : nullptr};
  if (!registration->registrant.owns(registration->process)) registration->process = 0;
  return copied && file && is_complete(*registration) ? CM_OK : CM_INVALID;
}

Status CM_RPC_TR069_Notification_Check(const Parameter* param, char* buf, std::int32_t size) {
  if (!param || !buf || size < 1 || !notify_reg || !is_complete(*notify_reg)) return CM_INVALID;
  char path[kPathBufferSize];
  if (CM_CORE_GetURIByParaNode(param, path) != CM_OK)
    std::snprintf(path, sizeof path, "Get Parameter URI fail");
  std::snprintf(buf, static_cast<std::size_t>(size), "%s,%s\n", path, change_word(*param));
  const ActingFor registrant{notify_reg->registrant};
  bool is_full = false;
  {
    const FilePtr file{registrant ? open_regular(notify_reg->file.get(), "a+") : nullptr};
    if (!file) return CM_INVALID;
    lock_file(fileno(file.get()));
    std::fputs(buf, file.get());
    is_full = CM_UTL_GetFileSize(file.get()) > kKeptForTheGone;
  }
  // Closing released the lock, so the listener finds the whole line.
  if (!signal_listener(*notify_reg) && is_full) *notify_reg = {};
  return CM_OK;
}

}  // namespace gwconf
