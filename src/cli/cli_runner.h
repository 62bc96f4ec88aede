// sondara-cli from its arguments to its exit status.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace cli {

// `args` are the arguments after the program name. Results go to `out`, help to `out`,
// failures and refusals to `err`; when `err_terminal`, walks and sweeps also show their progress
// there. Returns the exit status (see ExitStatus).
int RunCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
           bool err_terminal = false);

}  // namespace cli
