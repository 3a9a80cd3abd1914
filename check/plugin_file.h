#pragma once

#include <string>

namespace check {

/// Throws sim::PluginError, with what would be right, unless the file is a whole 32-bit i386
/// library.
void CheckFile(const std::string& path);

}  // namespace check
