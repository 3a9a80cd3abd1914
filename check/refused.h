#pragma once

#include <stdexcept>

namespace check {

/// A file that cannot be checked, or a case that there is not: what() says what is wrong and what
/// would be right.
struct Refused : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace check
