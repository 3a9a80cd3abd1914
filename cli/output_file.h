#pragma once

// Writing a file so that nobody ever finds half of it.

#include <string>
#include <string_view>

namespace velhost {

/// Throws Problem when `path` is something that a file must not take the place of, or when its
/// folder is missing.
void CheckOutputPath(const std::string& path);

/// Puts `bytes` into the file `path`: written and flushed under another name beside it, then moved
/// into place in one step. On failure what was there before stays, and Problem is thrown.
void ReplaceFile(const std::string& path, std::string_view bytes);

}  // namespace velhost
