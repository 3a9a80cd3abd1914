#pragma once

// The work on picture files: one with all details told, or many into a folder.

#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/session.h"

namespace velhost {

/// Runs the calls on one picture file, says what was done, and writes the result. Throws what
/// Session::Run, ReadImage and WriteImage throw.
void RunOnFile(Session& session, const Options& options, const std::vector<PreparedCall>& calls);

/// Runs the calls on each file and writes the results into the output folder as PNG files of the
/// same names. Goes on after a failure. Returns false when any failed. Throws Problem, with nothing
/// done, when two results would share a name or take the place of an input.
bool RunOnMany(Session& session, const Options& options, const std::vector<PreparedCall>& calls);

/// What is out of balance after the work, as one line; false when anything is.
bool ReportBalance(Session& session);

}  // namespace velhost
