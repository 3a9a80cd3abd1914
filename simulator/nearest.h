#pragma once

// Which of several names somebody may have meant.

#include <algorithm>
#include <string>
#include <string_view>

namespace sim {

/// How many letters must be taken out or put in to make one name of the other, case aside. Changing
/// a letter is both: names that merely lack an ending are nearer.
size_t Distance(std::string_view left, std::string_view right);

/// The element of a list whose name(element) is nearest; the list's end when it is empty.
template <class List, class Name>
auto Nearest(std::string_view wanted, const List& list, Name name) {
  return std::min_element(list.begin(), list.end(), [&](const auto& left, const auto& right) {
    return Distance(wanted, name(left)) < Distance(wanted, name(right));
  });
}

}  // namespace sim
