#include "simulator/faults.h"

namespace sim {

bool Faults::Fails(std::string_view name) {
  ++fallible_;
  const bool fails =
      (fallible_ >= first_ && fallible_ <= last_ && first_ > 0) || failing.contains(name);
  fired_ = fired_ || fails;
  return fails;
}

bool Faults::Throws() {
  ++calls_;
  const bool throws = calls_ == thrown_;
  fired_ = fired_ || throws;
  return throws;
}

}  // namespace sim
