#include "tools/cli/command_line.h"

int main(int argc, char** argv) {
  return gwconf::tool::run(argc, argv);
}
