#pragma once

// Writing a file so that nobody ever finds half of it.

#include <string>
#include <string_view>

namespace imaging {

constexpr std::string_view kStandardOutput = "-";

/// Throws FileError when `path` is something that a file must not take the place of (unless
/// `replace`, also when it is a file), or when its folder is missing.
void CheckOutputPath(const std::string& path, bool replace = true);

/// Keeps the standard output for what goes to kStandardOutput; all else that is printed there goes
/// to standard error from now on.
void KeepStandardOutput();

/// Puts `bytes` into the file `path`: written and flushed under another name beside it, then moved
/// into place in one step. On failure what was there before stays, and FileError is thrown. Through
/// a link, what it leads to is replaced, or made.
void ReplaceFile(const std::string& path, std::string_view bytes);

}  // namespace imaging
