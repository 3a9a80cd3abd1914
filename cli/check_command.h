#pragma once

#include "cli/options.h"

namespace velhost {

/// velhost --check: checks the plugin and tells what was found. Returns an exit status.
int CheckPlugin(const Options& options);

}  // namespace velhost
