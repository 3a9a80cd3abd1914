#include "text/builders.h"

#include <cstdlib>
#include <cstring>

#include "host/host_calls.h"
#include "host/host_references.h"
#include "text/string_bytes.h"

using velpicture::HeapBytes;
using velpicture::HostReference;
using velpicture::LoadUnaligned;
using velpicture::RawBytes;
using velpicture::StringReference;

namespace {

/// A new string of these bytes; the encoding is set even when the host built none.
REALstringStruct* BuildString(const char* bytes, int length, unsigned long encoding) {
  StringReference built(originalREALBuildString(bytes, length));
  REALSetStringEncoding(built.get(), encoding);
  return built.Release();
}

REALstringStruct* BuildFromUtf32(const void* data, int length) {
  constexpr int kUnitsOnStack = 199;
  const int units = length >> 2;
  uint16_t onStack[kUnitsOnStack + 1] = {};
  HeapBytes onHeap;
  char* work = reinterpret_cast<char*>(onStack);
  if (units > kUnitsOnStack) {
    onHeap.reset(static_cast<char*>(std::calloc(static_cast<size_t>(units) + 2, sizeof(uint16_t))));
    if (!onHeap) return nullptr;
    work = onHeap.get();
  }
  for (int i = 0; i < units; ++i) {
    const auto low =
        static_cast<uint16_t>(LoadUnaligned<uint32_t>(static_cast<const char*>(data) + 4 * i));
    std::memcpy(work + 2 * i, &low, sizeof low);
  }
  return BuildString(work, units * 2, kEncodingUtf16);
}

/// Builds from a text that ends at its first zero unit.
template <class Unit>
REALstringStruct* BuildTerminated(const Unit* text, unsigned long encoding) {
  if (text == nullptr) return nullptr;
  const auto* bytes = reinterpret_cast<const char*>(text);
  int length = 0;
  while (LoadUnaligned<Unit>(bytes + length) != 0) length += static_cast<int>(sizeof(Unit));
  return REALBuildUnicodeString(text, length, encoding);
}

}  // namespace

REALstringStruct* REALBuildUnicodeString(const void* data, int length, unsigned long encoding) {
  if (data == nullptr || length < 1) return nullptr;
  if (encoding == kEncodingUtf32) return BuildFromUtf32(data, length);
  return BuildString(static_cast<const char*>(data), length, encoding);
}

REALstringStruct* CString2RBmax(const char* text, unsigned long encoding, int max) {
  if (text == nullptr) return nullptr;
  const size_t length = max >= 1 ? strnlen(text, static_cast<size_t>(max)) : std::strlen(text);
  return REALBuildUnicodeString(text, static_cast<int>(length), encoding);
}

REALstringStruct* UnicodeCString2RB(const unsigned short* text) {
  return BuildTerminated(text, kEncodingUtf16);
}

REALstringStruct* UnicodeCString2RB(const wchar_t* text) {
  return BuildTerminated(text, kEncodingUtf32);
}

REALstringStruct* REALBuildOSTypeString(unsigned long code) {
  const char characters[4] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                              static_cast<char>(code >> 8), static_cast<char>(code)};
  const bool ascii = (code & 0x80808080) == 0;
  return REALBuildUnicodeString(characters, sizeof characters,
                                ascii ? kEncodingAscii : kEncodingMacRoman);
}

unsigned long REALstringToOSType(REALstringStruct* string) {
  const StringReference converted(REALConvertString(string, kEncodingMacRoman));
  const RawBytes text(converted ? converted.get() : string);
  unsigned long code = 0;
  for (uint32_t i = 0; i < 4; ++i) code = code << 8 | (i < text.length() ? text[i] : ' ');
  return code;
}

REALmemoryBlockStruct* REALBuildMemoryblock(const void* data, int length) {
  if (data == nullptr || length < 1) return nullptr;
  HostReference<REALmemoryBlockStruct> block(REALNewMemoryBlock(length));
  if (!block) return nullptr;
  void* const target = REALMemoryBlockGetPtr(block.get());
  if (target == nullptr) return nullptr;
  std::memcpy(target, data, static_cast<size_t>(length));
  return block.Release();
}
