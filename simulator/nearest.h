#pragma once

// Which of several names somebody may have meant.

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

namespace sim {

/// How many letters must be taken out or put in to make one name of the other, case aside. Changing
/// a letter is both: names that merely lack an ending are nearer.
size_t Distance(std::string_view left, std::string_view right);

/// The nearest of the names that a list has, each element's by `name`; empty when none is as near
/// as `most`.
template <class List, class Name = std::identity>
std::string NearestName(std::string_view wanted, const List& list, Name name = {},
                        size_t most = SIZE_MAX) {
  const auto distance = [&](const auto& each) { return Distance(wanted, std::invoke(name, each)); };
  const auto nearest = std::ranges::min_element(list, {}, distance);
  if (nearest == std::end(list) || distance(*nearest) > most) return "";
  return std::string(std::invoke(name, *nearest));
}

}  // namespace sim
