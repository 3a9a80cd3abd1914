#pragma once

// Conversion between the text encodings that the host numbers (kEncodingMacRoman and so on), by the
// C library's own tables. What the target lacks becomes a question mark; a byte order mark is a
// character like any other, and UTF-16 is little-endian without one of its own.

#include <optional>
#include <string>
#include <string_view>

#include <cstdint>

namespace sim {

/// Empty when one of the encodings is unknown. kEncodingUndefined on either side means the bytes as
/// they are.
std::optional<std::string> ConvertText(std::string_view bytes, uint32_t from, uint32_t to);

}  // namespace sim
