#pragma once

// A view of one host string that hands out its text in any encoding. Each encoding is converted the
// first time it is asked for and kept for the life of the view, which lives in one scope, typically
// around a call that needs a terminated text.
//
// Every encoding has a slot: converted once, or failed once and then empty for good. Text handed
// out stays valid until the view is destroyed or assigned to, even by itself; where a host string
// is read in place, whether a terminator follows is up to the host. UTF-16 text may lie at an odd
// address.

#include "host/export.h"
#include "host/host_types.h"

class VEL_EXPORT rbText {
 public:
  /// A view of `string`, which may be null; nothing is converted yet. The bytes of a string without
  /// a defined encoding are taken as Windows Latin-1.
  explicit rbText(REALstringStruct* string);
  /// A fresh view of the same string; no conversion is shared.
  rbText(const rbText& other);
  /// Becomes a fresh view of the other's string, which it holds before it releases what it held.
  rbText& operator=(const rbText& other);
  /// Releases everything and leaves the view empty: destroying it again has no effect.
  ~rbText() noexcept(false);

  // Converts into the slot. For slots that are not converted yet only; the members below see to it.

  void ConvertUTF8();
  void ConvertASCII();
  void ConvertWindows();
  void ConvertMacRoman();
  /// Byte order marks at the start are dropped: one 0xFEFF, then one 0xFFFE. Nothing is swapped.
  void ConvertUTF16();
  /// Every UTF-16 unit becomes one unit of 32 bits: surrogates stay apart.
  void ConvertUTF32();

  // Lengths in bytes, or in units for UTF-16, UTF-32 and wchar_t.

  long LengthUTF8();
  long LengthASCII();
  long LengthWindows();
  long LengthMacRoman();
  long LengthUTF16();
  long LengthUTF32();
  long LengthWChar();

  // The text, never null: where there is nothing it is an empty text.

  const char* GetUTF8();
  const char* GetNative();  ///< UTF-8 on this platform
  const char* GetASCII();
  const char* GetWindows();
  const char* GetMacRoman();
  const unsigned short* GetUTF16();
  const unsigned int* GetUTF32();
  const wchar_t* GetWChar();  ///< the UTF-32 text

  // The text, or null where there is nothing.

  const char* GetUTF8Nil();
  const char* GetASCIINil();
  const char* GetWindowsNil();
  const char* GetMacRomanNil();
  const unsigned short* GetUTF16Nil();
  const unsigned int* GetUTF32Nil();
  const wchar_t* GetWCharNil();

  /// The slots, in the order of the arrays below.
  enum Slot { kWindows, kMacRoman, kAscii, kUtf8, kUtf16, kHostSlots, kUtf32 = kHostSlots, kSlots };

  // The fields' order is known to callers.

  REALstringStruct* source = nullptr;                  ///< one reference
  REALstringStruct* strings[kHostSlots] = {};          ///< one reference each; below version 2012.0
  int32_t lengths[kSlots] = {-1, -1, -1, -1, -1, -1};  ///< -1: not converted yet
  const void* texts[kSlots] = {};                      ///< meaningless while the length is -1
  REALstringData records[kHostSlots] = {};             ///< from version 2012.0 on
  bool ownsRecord[kHostSlots] = {};                    ///< the record is filled
  bool unreferenced = false;  ///< the host let nobody add the reference on `source`

 private:
  // The constructors start from a complete, empty view, so that one that a host call cuts short by
  // an exception still gives everything back.
  __attribute__((visibility("hidden"))) rbText() = default;
};

// What the member of the same encoding does, on the given view.

VEL_EXPORT const char* GetUTF8(rbText& text);
VEL_EXPORT const char* GetASCII(rbText& text);
VEL_EXPORT const char* GetWindows(rbText& text);
VEL_EXPORT const char* GetPassword(rbText& text);  ///< in Windows Latin-1
VEL_EXPORT const char* GetMacRoman(rbText& text);
VEL_EXPORT const unsigned short* GetUTF16(rbText& text);
VEL_EXPORT const unsigned int* GetUTF32(rbText& text);
