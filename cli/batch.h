#pragma once

// The work on picture files. A single picture is a batch of one, with all details told.

#include <vector>

#include "cli/method_runner.h"
#include "cli/options.h"

namespace velhost {

/// What velhost returns; 128 + N when signal N ended the work.
enum ExitStatus { kDone = 0, kFailed = 1, kWrong = 2, kSignal = 128 };

/// Runs the calls on each picture and writes the results, each as soon as it is there. Says what
/// failed and goes on; stops when a signal asks for it; says what is out of balance in the host.
/// Returns an exit status. Throws UserError, with nothing done, when results would share a name,
/// replace a file unasked, or go nowhere.
int RunBatch(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls);

}  // namespace velhost
