#pragma once

// A file that cannot be read as a picture, or written. The text is one line that says what is wrong
// and what would be right.

#include <stdexcept>

namespace imaging {

struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace imaging
