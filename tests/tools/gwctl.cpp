#include "tests/tools/gwctl.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace gwconf::test {
namespace {

std::string content_of(FILE* stream) {
  std::string content;
  std::rewind(stream);
  for (int byte = std::fgetc(stream); byte != EOF; byte = std::fgetc(stream))
    content += static_cast<char>(byte);
  std::fclose(stream);
  return content;
}

std::string answer_to(const std::string& command, const Entry& entry) {
  if (command == "2") return entry.value;
  if (command == "4") return std::to_string(entry.attributes);
  if (command == "5") return std::to_string(entry.type);
  if (command == "6") return std::to_string(entry.maximum);
  if (command == "7") return std::to_string(entry.minimum);
  if (command == "9") return entry.enumeration;
  throw std::runtime_error("no command of this script: " + command);
}

}  // namespace

Ran gwctl(const std::vector<std::string>& arguments, const std::string& environment_socket) {
  FILE* out = std::tmpfile();
  FILE* err = std::tmpfile();
  std::string program = GWCONF_GWCTL;
  std::vector<std::string> texts = arguments;
  std::vector<char*> argv{program.data()};
  for (std::string& text : texts)
    argv.push_back(text.data());
  argv.push_back(nullptr);

  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    if (environment_socket.empty())
      unsetenv("GWCONF_SOCKET");
    else
      setenv("GWCONF_SOCKET", environment_socket.c_str(), 1);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content_of(out), content_of(err)};
}

FakeDaemon::Script serving(Entries& entries) {
  return [&entries](Peer& peer) {
    const std::string command = peer.read();
    const auto found = entries.find(peer.read());
    if (command == "0") {
      const std::string value = peer.read();
      if (found == entries.end()) return peer.answer("2");
      const bool unchanged = found->second.value == value;
      found->second.value = value;
      peer.answer(unchanged ? "1" : "0");
    } else if (command == "31") {
      peer.answer("");
      peer.answer("2");
    } else {
      peer.answer(found == entries.end() ? "" : answer_to(command, found->second));
      peer.answer(found == entries.end() ? "2" : "0");
    }
  };
}

}  // namespace gwconf::test
