#include "simulator/text_conversion.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/host_types.h"

namespace sim {
namespace {

constexpr std::pair<uint32_t, const char*> kLibraryNames[] = {{kEncodingMacRoman, "MACINTOSH"},
                                                              {kEncodingUtf16, "UTF-16LE"},
                                                              {kEncodingUtf8, "UTF-8"},
                                                              {kEncodingWindowsLatin1, "CP1252"},
                                                              {kEncodingAscii, "ASCII"}};

const char* LibraryName(uint32_t encoding) {
  for (const auto& [number, name] : kLibraryNames) {
    if (number == encoding) return name;
  }
  return nullptr;
}

// Bytes of the character at the start of `text`, as far as there are any; at least one.
size_t CharacterBytes(std::string_view text, uint32_t encoding) {
  const auto byte = [text](size_t i) {
    return i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t{0};
  };
  size_t count = 1;
  if (encoding == kEncodingUtf16) {
    const bool pair = (byte(1) & 0xFC) == 0xD8 && (byte(3) & 0xFC) == 0xDC;
    count = pair ? 4 : 2;
  } else if (encoding == kEncodingUtf8) {
    while ((byte(count) & 0xC0) == 0x80) ++count;
  }
  return std::min(count, text.size());
}

class Converter {
 public:
  Converter(uint32_t from, uint32_t to) : state_(iconv_open(LibraryName(to), LibraryName(from))) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (opened()) iconv_close(state_);
  }
  bool opened() const { return state_ != reinterpret_cast<iconv_t>(-1); }

  /// Converts from the front of `text` up to its end or the first character that it cannot.
  void Run(std::string_view& text, std::string& out) {
    char* in = const_cast<char*>(text.data());
    size_t left = text.size();
    size_t result = 0;
    do {
      char buffer[256];
      char* next = buffer;
      size_t room = sizeof buffer;
      result = iconv(state_, &in, &left, &next, &room);
      out.append(buffer, next);
    } while (result == static_cast<size_t>(-1) && errno == E2BIG);
    text.remove_prefix(text.size() - left);
  }

 private:
  iconv_t state_;
};

}  // namespace

std::optional<std::string> ConvertText(std::string_view bytes, uint32_t from, uint32_t to) {
  if (from == to || from == kEncodingUndefined || to == kEncodingUndefined) {
    return std::string(bytes);
  }
  if (LibraryName(from) == nullptr || LibraryName(to) == nullptr) return std::nullopt;
  Converter converter(from, to);
  if (!converter.opened()) return std::nullopt;

  std::string converted;
  std::string_view rest = bytes;
  for (;;) {
    converter.Run(rest, converted);
    if (rest.empty()) return converted;
    converted += to == kEncodingUtf16 ? std::string("?\0", 2) : "?";
    rest.remove_prefix(CharacterBytes(rest, from));
  }
}

}  // namespace sim
