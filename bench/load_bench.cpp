// What loading costs: time per parameter in files of growing size, and resident memory per
// parameter beyond its texts.
//
//   load_bench [ROUNDS]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "core/tree.h"
#include "xml/loader.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kParametersPerObject = 12;

/// A table of instances that look like those of a real configuration.
std::string document(int parameters) {
  std::string text =
      "<DATAMODEL>\n<OBJECT name=\"InternetGatewayDevice.\" type=\"object\" writable=\"0\">\n"
      "<OBJECT name=\"Table.\" type=\"object\" writable=\"0\">\n";
  int written = 0;
  for (int row = 1; written < parameters; ++row) {
    text += "<OBJECT name=\"" + std::to_string(row) + ".\" type=\"object\" writable=\"1\">\n";
    for (int i = 0; i < kParametersPerObject; ++i, ++written)
      text += "<PARAMETER name=\"PacketsReceived" + std::to_string(i) +
              "\" type=\"unsignedInt\" value=\"" + std::to_string(row * i) +
              "\" writable=\"0\"/>\n";
    text += "</OBJECT>\n";
  }
  return text + "</OBJECT>\n</OBJECT>\n</DATAMODEL>\n";
}

struct Tally {
  long parameters = 0;
  long objects = 0;
  long text_bytes = 0;
};

void add_text(const gwconf::OwnedText& text, Tally* tally) {
  if (text) tally->text_bytes += static_cast<long>(text.view().size()) + 1;
}

void count(const gwconf::Node* node, Tally* tally) {
  for (; node; node = node->next) {
    ++tally->objects;
    add_text(node->name, tally);
    for (const gwconf::Parameter* param = node->params; param; param = param->next) {
      ++tally->parameters;
      add_text(param->name, tally);
      add_text(param->value, tally);
      add_text(param->enumeration, tally);
    }
    count(node->children, tally);
  }
}

long resident_bytes() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  long all = 0;
  long resident = 0;
  if (!file || std::fscanf(file, "%ld %ld", &all, &resident) != 2) std::exit(1);
  std::fclose(file);
  return resident * sysconf(_SC_PAGESIZE);
}

gwconf::NodePtr load(const std::string& text) {
  gwconf::NodePtr root = gwconf::new_node();
  if (gwconf::VT_CM_XML2RAM(root.get(), text) != gwconf::CM_OK) std::exit(1);
  return root;
}

double nanoseconds_per_parameter(const std::string& text, int parameters, int rounds) {
  double best = 1e300;
  for (int round = 0; round < rounds; ++round) {
    const auto start = Clock::now();
    const gwconf::NodePtr root = load(text);
    const std::chrono::duration<double, std::nano> spent = Clock::now() - start;
    best = std::min(best, spent.count() / parameters);
  }
  return best;
}

/// In a process of its own, so that the heap is as fresh as a starting daemon's.
void print_memory(const std::string& text) {
  std::fflush(stdout);
  if (fork() != 0) {
    wait(nullptr);
    return;
  }
  const long before = resident_bytes();
  const gwconf::NodePtr root = load(text);
  const long taken = resident_bytes() - before;
  Tally tally;
  count(root.get(), &tally);
  std::printf(
      "| resident memory of a parameter beyond its texts | %.0f bytes | its record | %zu bytes | "
      "%.2f |\n",
      static_cast<double>(taken - tally.text_bytes) / static_cast<double>(tally.parameters),
      sizeof(gwconf::Parameter),
      static_cast<double>(taken - tally.text_bytes) / static_cast<double>(tally.parameters) /
          sizeof(gwconf::Parameter));
  std::fflush(stdout);
  _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 20;
  constexpr int kSmall = 2'400;
  constexpr int kLarge = 19'200;  // just below 2 MiB
  const std::string small = document(kSmall);
  const std::string large = document(kLarge);
  print_memory(large);
  const double small_cost = nanoseconds_per_parameter(small, kSmall, rounds * 8);
  const double large_cost = nanoseconds_per_parameter(large, kLarge, rounds);
  std::printf(
      "| loading, per parameter, file of %.2f MiB | %.0f ns | file of %.2f MiB | %.0f ns | %.2f "
      "|\n",
      static_cast<double>(large.size()) / 1048576, large_cost,
      static_cast<double>(small.size()) / 1048576, small_cost, large_cost / small_cost);
  return 0;
}
