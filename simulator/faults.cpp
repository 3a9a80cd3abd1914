#include "simulator/faults.h"

namespace sim {

bool Faults::Fails(std::string_view name, const void* site) {
  ++fallible_;
  const bool fails =
      (fallible_ >= first_ && fallible_ <= last_ && first_ > 0) || failing.contains(name);
  if (fails) Note(name, fallible_, site);
  return fails;
}

bool Faults::Throws(std::string_view name, const void* site) {
  ++calls_;
  const bool throws = calls_ == thrown_;
  if (throws) Note(name, calls_, site);
  return throws;
}

void Faults::Note(std::string_view name, int number, const void* site) {
  if (!struck_) struck_ = Struck{std::string(name), number, site};
}

}  // namespace sim
