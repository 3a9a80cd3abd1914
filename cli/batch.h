#pragma once

// The work on picture files. A single picture is a batch of one, with all details told.

#include <string>
#include <vector>

#include "cli/method_runner.h"
#include "cli/options.h"

namespace velhost {

using imaging::Image;

/// What velhost returns; 128 + N when signal N ended the work.
enum ExitStatus { kDone = 0, kFailed = 1, kWrong = 2, kSignal = 128 };

/// Prints one line about what is wrong, or worth a note, to standard error.
void PrintError(const std::string& text);

/// Writes a result and, if `told`, says so. Throws UserError, also when the file exists and may not
/// be replaced.
void SaveImage(const Options& options, const std::string& path, Image image, bool told = true);

/// Runs the calls on each picture and writes the results, each as soon as it is there. Says what
/// failed and goes on; stops when a signal asks for it; says what is out of balance in the host.
/// Returns an exit status. Throws UserError, with nothing done, when results would share a name or
/// replace a file unasked.
int RunBatch(MethodRunner& runner, const Options& options, const std::vector<PreparedCall>& calls);

}  // namespace velhost
