#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "core/paths.h"
#include "protocol/limits.h"
#include "rpc/commands.h"
#include "rpc/notification.h"
#include "rpc/peer.h"
#include "rpc/server.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "xml/loader.h"

using namespace gwconf;

namespace {

/// The live tree, the defaults, and the file that a request may restore.
constexpr std::string_view kTree = R"xml(<DATAMODEL>
<OBJECT name="InternetGatewayDevice.">
<PARAMETER name="Summary" type="string(64)" value="a &amp; b" writable="1" notification="2"/>
<PARAMETER name="HostNumberOfEntries" type="unsignedInt" value="2"/>
<OBJECT name="Host.">
<OBJECT name="0."><PARAMETER name="Name" type="string" value=""/><OBJECT name="Port.">
<OBJECT name="0."><PARAMETER name="Open" type="boolean" value="0"/></OBJECT></OBJECT></OBJECT>
<OBJECT name="1."><PARAMETER name="Name" type="string" value="x" enumeration="x,y"/>
<OBJECT name="Port."><OBJECT name="3."></OBJECT></OBJECT></OBJECT>
<OBJECT name="2."><OBJECT name="Port."></OBJECT></OBJECT>
</OBJECT>
<OBJECT name="X_VT_MiscCfg."><OBJECT name="DeletedDefaultInstances.">
<OBJECT name="0."><PARAMETER name="URI" type="string" value=""/></OBJECT>
</OBJECT></OBJECT>
</OBJECT>
</DATAMODEL>
)xml";

constexpr std::size_t kInputMax = 150'000;  // what a connection holds

void require(bool holds) {
  if (!holds) std::abort();
}

/// The input with every file that it names in the folder of the harness: no text holds a slash.
std::string confined(const std::uint8_t* input, std::size_t size) {
  std::string bytes{reinterpret_cast<const char*>(input), size};
  for (std::size_t at = 0; at < size;) {
    const std::size_t body = std::min(at + sizeof(std::int32_t), size);
    std::int32_t length = 0;
    std::memcpy(&length, &bytes[at], body - at);
    const bool usable = length > 0 && length <= kMessageMax;
    at = usable ? std::min(body + static_cast<std::size_t>(length), size) : size;
    std::replace(bytes.begin() + static_cast<std::ptrdiff_t>(body),
                 bytes.begin() + static_cast<std::ptrdiff_t>(at), '/', '_');
  }
  return bytes;
}

void prepare_world() {
  const std::string folder = test::sandbox_root() + "/fuzz";
  std::filesystem::create_directories(folder);
  std::filesystem::current_path(folder);
  test::write_file(paths().defaults, kTree);
  fill_command_table();
}

/// This process listens, by a signal that does nothing.
void prepare_request(int connection) {
  for (const auto& left : std::filesystem::directory_iterator{"."})
    std::filesystem::remove_all(left.path());
  test::write_file("./restore", kTree);
  cml_root = new_node().release();
  require(VT_CM_XML2RAM(cml_root, kTree) == CM_OK);
  Registration* registration = renew_registration();
  registration->registrant = peer_of(connection);
  registration->process = getpid();
  registration->signal = SIGURG;
  require(start_notification_file(registration, "changes") == CM_OK);
}

void release() {
  ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr)));
  Registration* registration = std::exchange(notify_reg, nullptr);
  registration->~Registration();
  CM_UTL_mfree(registration);
}

/// Whatever the daemon sent is whole messages of one text each.
void check_answers(int client) {
  std::int32_t length = 0;
  while (recv(client, &length, sizeof length, MSG_DONTWAIT) == sizeof length) {
    require(length > 0 && length <= 1 << 20);
    std::string body(static_cast<std::size_t>(length), '\0');
    require(recv(client, body.data(), body.size(), MSG_DONTWAIT) == length);
    require(body.find('\0') == body.size() - 1);
  }
}

}  // namespace

/// Serves the input as the bytes of one connection. The client is heard to have ended, so that no
/// read waits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  static const bool kPrepared = (prepare_world(), true);
  if (!kPrepared || size > kInputMax) return 0;
  const std::size_t blocks = test::live_blocks();
  int ends[2];
  require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
  prepare_request(ends[1]);
  const std::string bytes = confined(input, size);
  require(send(ends[0], bytes.data(), size, MSG_DONTWAIT) == static_cast<ssize_t>(size));
  shutdown(ends[0], SHUT_WR);
  const Status result = CM_RPC_RPOCESS(ends[1]);
  require(result != CM_STOP && result != CM_NOT_READY && result != CM_TIMED_OUT);
  check_answers(ends[0]);
  close(ends[0]);
  close(ends[1]);
  release();
  require(test::live_blocks() == blocks);
  return 0;
}
