// Texts and data: arbitrary bytes in arbitrary encodings, seen through the views and the builders.

#include <algorithm>
#include <array>
#include <cstring>

#include "fuzz/calls.h"
#include "simulator/text_conversion.h"

namespace {

constexpr uint32_t kStringEncodings[] = {kEncodingMacRoman,      kEncodingUtf16,
                                         kEncodingWindowsLatin1, kEncodingAscii,
                                         kEncodingUndefined,     kEncodingUtf8};

/// The views' memory, as a caller without their headers has it.
template <size_t kSize>
using ViewMemory = std::array<uint32_t, kSize / 4>;

struct Slot {
  uint32_t encoding;
  size_t unitBytes;
  const char* getLength;
  const char* getText;
};
constexpr Slot kSlots[] = {
    {kEncodingUtf8, 1, "_ZN6rbText10LengthUTF8Ev", "_ZN6rbText7GetUTF8Ev"},
    {kEncodingAscii, 1, "_ZN6rbText11LengthASCIIEv", "_ZN6rbText8GetASCIIEv"},
    {kEncodingWindowsLatin1, 1, "_ZN6rbText13LengthWindowsEv", "_ZN6rbText10GetWindowsEv"},
    {kEncodingMacRoman, 1, "_ZN6rbText14LengthMacRomanEv", "_ZN6rbText11GetMacRomanEv"},
    {kEncodingUtf16, 2, "_ZN6rbText11LengthUTF16Ev", "_ZN6rbText8GetUTF16Ev"},
    {kEncodingUtf32, 4, "_ZN6rbText11LengthUTF32Ev", "_ZN6rbText8GetUTF32Ev"},
};

/// What a view hands out of a string in one encoding.
std::string ExpectedText(std::string_view bytes, uint32_t encoding, const Slot& slot) {
  // Text without an encoding is taken as Windows Latin-1.
  if (encoding == kEncodingUndefined) encoding = kEncodingWindowsLatin1;
  const bool wide = slot.encoding == kEncodingUtf32;
  auto text = sim::ConvertText(bytes, encoding, wide ? uint32_t{kEncodingUtf16} : slot.encoding);
  if (!text) return {};
  if (slot.unitBytes == 1) return *text;
  text->resize(text->size() / 2 * 2);
  for (const char* mark : {"\xFF\xFE", "\xFE\xFF"}) {
    if (text->compare(0, 2, mark, 2) == 0) text->erase(0, 2);
  }
  if (!wide) return *text;
  std::string units;
  for (size_t i = 0; i < text->size(); i += 2) units += text->substr(i, 2) + std::string(2, '\0');
  return units;
}

void UseText(FuzzCase& fuzzCase) {
  const uint32_t encoding = fuzzCase.input.OneOf(kStringEncodings);
  const int copies = fuzzCase.input.Below(3);
  uint8_t order = fuzzCase.input.Byte();
  const auto string = fuzzCase.host.MakeString(fuzzCase.input.Bytes(60), encoding);
  const auto construct = fuzzCase.Exported<void(void*, void*)>("_ZN6rbTextC1EP16REALstringStruct");
  const auto copy = fuzzCase.Exported<void(void*, void*)>("_ZN6rbTextC1ERKS_");
  const auto assign = fuzzCase.Exported<void*(void*, void*)>("_ZN6rbTextaSERKS_");
  const auto destroy = fuzzCase.Exported<void(void*)>("_ZN6rbTextD1Ev");

  ViewMemory<180> first, second;
  bool firstLives = false, secondLives = false;
  const auto read = [&](ViewMemory<180>& view) {
    for (size_t i = 0; i < std::size(kSlots); ++i) {
      const Slot& slot = kSlots[(i + order) % std::size(kSlots)];
      const long length = fuzzCase.Exported<long(void*)>(slot.getLength)(&view);
      const auto* const text = fuzzCase.Exported<const char*(void*)>(slot.getText)(&view);
      fuzzCase.Require(text != nullptr && length >= 0, "a view without a text");
      const std::string got(text, static_cast<size_t>(length) * slot.unitBytes);
      fuzzCase.Require(fuzzCase.disturbed || got == ExpectedText(string->bytes(), encoding, slot),
                       "wrong text");
    }
  };
  fuzzCase.Run([&] {
    construct(&first, string.get());
    firstLives = true;
    read(first);
    if (copies == 0) return;
    copy(&second, &first);
    secondLives = true;
    if (copies == 2) assign(&first, &second);
    read(second);
  });
  // Views are destroyed whatever happened; destroying them twice is harmless.
  for (int i = 0; i < 2; ++i) {
    if (firstLives) destroy(&first);
    if (secondLives) destroy(&second);
  }
}

void UseData(FuzzCase& fuzzCase) {
  const std::string bytes = fuzzCase.input.Bytes(60);
  const bool ofString = fuzzCase.input.Flag();
  const auto size = static_cast<uint32_t>(bytes.size());
  const uint32_t offset = fuzzCase.input.Byte() % (size + 1);
  const uint32_t length = fuzzCase.input.Byte() % (size - offset + 1);
  const auto string = fuzzCase.host.MakeString(bytes, fuzzCase.input.OneOf(kStringEncodings));
  const auto block = fuzzCase.host.MakeMemoryBlock(bytes);
  block->hidden = fuzzCase.input.Below(8) == 7;

  ViewMemory<40> view;
  const bool built = fuzzCase.Run([&] {
    if (ofString) {
      fuzzCase.Exported<void(void*, void*)>("_ZN6rbDataC1EP16REALstringStruct")(&view,
                                                                                string.get());
    } else {
      fuzzCase.Exported<void(void*, void*, uint32_t, uint32_t)>(
          "_ZN6rbDataC1EP21REALmemoryBlockStructjj")(&view, block.get(), offset, length);
    }
  });
  if (!built) return;
  const char* data;
  std::memcpy(&data, &view[8], sizeof data);
  const std::string_view seen(data, view[9]);
  if (!fuzzCase.disturbed) {
    const std::string_view all = bytes;
    const std::string_view part =
        block->hidden ? std::string_view() : all.substr(offset, length == 0 ? size : length);
    fuzzCase.Require(seen == (ofString ? all : part), "wrong data");
  }
  fuzzCase.Exported<void(void*)>("_ZN6rbDataD1Ev")(&view);
}

void UseStringData(FuzzCase& fuzzCase) {
  const uint32_t from = fuzzCase.input.OneOf(kStringEncodings);
  const uint32_t to = fuzzCase.input.Below(8) == 7 ? fuzzCase.input.Next<uint32_t>() & 0xFFFF
                                                   : fuzzCase.input.OneOf(kStringEncodings);
  const bool onNull = fuzzCase.input.Below(16) == 15;
  const auto string = fuzzCase.host.MakeString(fuzzCase.input.Bytes(60), from);
  const REALstringData untouched = {"untouched", 1, 2, {3, 4}};
  REALstringData record = untouched;
  bool filled = false;
  const bool finished = fuzzCase.Run([&] {
    filled = fuzzCase.Exported<bool(void*, uint32_t, void*)>(
        "_Z17REALGetStringDataP16REALstringStructmP14REALstringData")(
        onNull ? nullptr : string.get(), to, &record);
  });
  const auto expected = sim::ConvertText(string->bytes(), from, to);
  if (!filled) {
    fuzzCase.Require(std::memcmp(&record, &untouched, sizeof record) == 0, "false, but filled");
    fuzzCase.Require(fuzzCase.disturbed || !finished || onNull || !expected, "no string data");
    return;
  }
  fuzzCase.Require(std::string_view(record.data, record.length) == expected || fuzzCase.disturbed,
                   "wrong string data");
  fuzzCase.Exported<void(void*)>("_Z21REALDisposeStringDataP14REALstringData")(&record);
}

void UseBuilders(FuzzCase& fuzzCase) {
  const int which = fuzzCase.input.Below(5);
  const uint32_t encoding = fuzzCase.input.Below(4) == 3 ? uint32_t{kEncodingUtf32}
                                                         : fuzzCase.input.OneOf(kStringEncodings);
  const auto code = fuzzCase.input.Next<uint32_t>();
  const std::string bytes = fuzzCase.input.Bytes(255) + fuzzCase.input.Bytes(255);
  const auto size = static_cast<int>(bytes.size());
  const auto string = fuzzCase.host.MakeString(bytes, fuzzCase.input.OneOf(kStringEncodings));
  void* made = nullptr;
  uint32_t number = 0;
  const bool finished = fuzzCase.Run([&] {
    if (which == 0) {
      made = fuzzCase.Exported<void*(const void*, int, uint32_t)>(
          "_Z22REALBuildUnicodeStringPKvim")(bytes.data(), size, encoding);
    } else if (which == 1) {
      made = fuzzCase.Exported<void*(const void*, int)>("_Z20REALBuildMemoryblockPKvi")(
          bytes.data(), size);
    } else if (which == 2) {
      made = fuzzCase.Exported<void*(uint32_t)>("_Z21REALBuildOSTypeStringm")(code);
    } else if (which == 3) {
      number = fuzzCase.Exported<uint32_t(void*)>("_Z18REALstringToOSTypeP16REALstringStruct")(
          string.get());
    } else {
      number = fuzzCase.Exported<uint32_t(void*)>(
          "_Z27REALGetLowestStringEncodingP16REALstringStruct")(string.get());
    }
  });
  if (which == 1) {
    const auto block =
        sim::Ref<sim::MemoryBlock>::Adopt(fuzzCase.host.Live<sim::MemoryBlock>(made));
    fuzzCase.Require(fuzzCase.disturbed || static_cast<bool>(block) == (size > 0), "wrong block");
    fuzzCase.Require(!block || block->bytes() == bytes, "wrong bytes");
    return;
  }
  const auto built = sim::Ref<sim::String>::Adopt(fuzzCase.host.Live<sim::String>(made));
  if (fuzzCase.disturbed || !finished) return;
  if (which == 0) {
    std::string expected = bytes;
    if (encoding == kEncodingUtf32) {
      expected.clear();
      for (size_t i = 0; i + 4 <= bytes.size(); i += 4) expected += bytes.substr(i, 2);
    }
    fuzzCase.Require(static_cast<bool>(built) == (size > 0), "wrong string");
    fuzzCase.Require(!built || built->bytes() == expected, "wrong characters");
  } else if (which == 2) {
    const std::string expected = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                                  static_cast<char>(code >> 8), static_cast<char>(code)};
    fuzzCase.Require(built && built->bytes() == expected, "wrong code string");
  } else if (which == 4) {
    const bool examined = string->encoding != kEncodingUtf16 && string->encoding != kEncodingAscii;
    const bool plain = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0; });
    fuzzCase.Require(number == (examined && plain ? uint32_t{kEncodingAscii} : string->encoding),
                     "wrong lowest encoding");
  }
}

}  // namespace

void FuzzText(FuzzCase& fuzzCase) {
  constexpr void (*kUses[])(FuzzCase&) = {UseText, UseData, UseStringData, UseBuilders};
  kUses[fuzzCase.input.Below(4)](fuzzCase);
  fuzzCase.RequireBalance();
}
