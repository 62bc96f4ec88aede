// The commands of sondara-cli, one function each (see CliContext).
#pragma once

#include "cli/cli_context.h"

namespace cli {

int RunGet(CliContext& context);
int RunGetNext(CliContext& context);
int RunSet(CliContext& context);
int RunPing(CliContext& context);
int RunWalk(CliContext& context);
int RunTrap(CliContext& context);
int RunSweep(CliContext& context);
int RunMib(CliContext& context);
int RunListen(CliContext& context);

}  // namespace cli
