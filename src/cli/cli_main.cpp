// sondara-cli: Sondara Utility's operations from a shell, without a window.
#include <unistd.h>

#include <clocale>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_runner.h"

int main(int argc, char* argv[]) {
  // Dates and times of a saved transaction log follow the user's locale, as in the window.
  std::setlocale(LC_ALL, "");
  const std::vector<std::string> args(argv + 1, argv + argc);
  return cli::RunCli(args, std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1);
}
