#include "check/interface_names.h"

#include <algorithm>
#include <vector>

#include "simulator/nearest.h"

namespace check {
namespace {

const std::vector<std::string>& Names() {
  static const std::vector<std::string> names = {
#include "interface_names.inc"
  };
  return names;
}

}  // namespace

bool IsInterfaceName(const std::string& name) {
  return std::find(Names().begin(), Names().end(), name) != Names().end();
}

std::string NearestInterfaceName(const std::string& name) {
  return sim::NearestName(name, Names());
}

}  // namespace check
