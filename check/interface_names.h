#pragma once

// The names of all entries that there are in the host's interface, whether the simulated host has
// them or not.

#include <string>

namespace check {

bool IsInterfaceName(const std::string& name);
std::string NearestInterfaceName(const std::string& name);

}  // namespace check
