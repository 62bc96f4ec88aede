// sondara-cli: Sondara Utility's operations from a shell, without a window.
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_runner.h"

int main(int argc, char* argv[]) {
  // Dates and times of a saved transaction log follow the user's locale, as in the window.
  std::setlocale(LC_ALL, "");
  // Results going to a file are written in large blocks: each write costs the file system a new
  // time stamp, and a walk writes hundreds of kilobytes. A terminal or a pipe keeps the usual
  // buffering, so that what is found shows as it comes.
  static char out_buffer[1 << 15];  // glibc takes no size without the buffer
  struct stat out {};
  if (::fstat(STDOUT_FILENO, &out) == 0 && S_ISREG(out.st_mode))
    std::setvbuf(stdout, out_buffer, _IOFBF, sizeof out_buffer);
  const std::vector<std::string> args(argv + 1, argv + argc);
  return cli::RunCli(args, std::cout, std::cerr, ::isatty(STDERR_FILENO) == 1);
}
