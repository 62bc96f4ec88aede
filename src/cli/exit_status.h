// What sondara-cli tells the shell. Scripts branch on these, so they never change meaning.
#pragma once

namespace cli {

enum ExitStatus : int {
  kExitDone = 0,
  kExitAgentError = 1,  // the agent answered with an error status
  kExitUsage = 2,       // the command line was refused; nothing was sent
  kExitNoAnswer = 3,    // no answer within the time-out and retries
  kExitFailure = 4,     // anything else: resolve, bind, transmit, a malformed answer, a file
  kExitStopped = 130,   // a walk or sweep stopped by Ctrl+C (the shell's 128 + SIGINT)
};

}  // namespace cli
