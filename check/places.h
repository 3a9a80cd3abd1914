#pragma once

// Places in the code of the plugin that is checked: what a finding is about happened there, not in
// the C library or the host, where it showed.

#include <string>

namespace check {

/// The code of the library that holds this address is the plugin's from now on.
void WatchCode(const void* inside);

/// Where the call was made that returns to that address: "Sign.so+0x11d3". With debugging
/// information, addr2line makes a source line of it.
std::string PlaceOfCall(const void* returnAddress);

/// The instruction itself when it is the plugin's; else the innermost call in the plugin that the
/// stack tells of. Empty when there is none.
std::string PlaceOnStack(const void* instruction, const void* stack);

/// The source line of a place in that file, "Sign.cpp:21", where addr2line is there and knows it.
std::string SourceLine(const std::string& file, const std::string& place);

/// Whether that instruction moves vectors that must be aligned.
bool NeedsAlignment(const void* instruction);

}  // namespace check
