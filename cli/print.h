#pragma once

// What velhost says. Names come from anywhere, and control characters in them would steer the
// terminal: they are shown as \\x1b.

#include <string>
#include <string_view>
#include <vector>

namespace velhost {

constexpr const char* kClearLine = "\r\x1b[K";

/// Prints a line on standard output.
void Print(std::string_view line);

/// Prints one line about what is wrong, or worth a note, on standard error.
void PrintError(const std::string& text);

/// Whether lines on standard error can be drawn over.
bool HasTerminal();

std::string Printable(std::string_view text);

/// The words in their order, `between` between them.
std::string Joined(const std::vector<std::string>& words, const char* between);

}  // namespace velhost
