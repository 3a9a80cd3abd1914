#pragma once

// What goes wrong for a reason the user can mend: a missing option, a wrong argument, a library
// that is not there. The text is one line that says what is wrong and what would be right.

#include <stdexcept>

namespace velhost {

struct UserError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace velhost
