// svbatch: the workbench's command-line tool.
#include <iostream>
#include <string>
#include <vector>

#include "cli/batch.h"
#include "cli/batch_host.h"

int main(int argc, char** argv) {
  sv::cli::InstallStopHandler();
  std::vector<std::string> args(argv + 1, argv + argc);
  return sv::cli::RunBatch(args, std::cout, std::cerr);
}
