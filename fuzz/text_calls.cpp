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

void UseText(FuzzSession& session) {
  const uint32_t encoding = session.input.OneOf(kStringEncodings);
  const int copies = session.input.Below(3);
  uint8_t order = session.input.Byte();
  const auto string = session.host.MakeString(session.input.Bytes(60), encoding);
  const auto construct = session.Exported<void(void*, void*)>("_ZN6rbTextC1EP16REALstringStruct");
  const auto copy = session.Exported<void(void*, void*)>("_ZN6rbTextC1ERKS_");
  const auto assign = session.Exported<void*(void*, void*)>("_ZN6rbTextaSERKS_");
  const auto destroy = session.Exported<void(void*)>("_ZN6rbTextD1Ev");

  ViewMemory<180> first, second;
  bool firstLives = false, secondLives = false;
  const auto read = [&](ViewMemory<180>& view) {
    for (size_t i = 0; i < std::size(kSlots); ++i) {
      const Slot& slot = kSlots[(i + order) % std::size(kSlots)];
      const long length = session.Exported<long(void*)>(slot.getLength)(&view);
      const auto* const text = session.Exported<const char*(void*)>(slot.getText)(&view);
      session.Require(text != nullptr && length >= 0, "a view without a text");
      const std::string got(text, static_cast<size_t>(length) * slot.unitBytes);
      session.Require(session.disturbed || got == ExpectedText(string->bytes(), encoding, slot),
                      "wrong text");
    }
  };
  session.Run([&] {
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

void UseData(FuzzSession& session) {
  const std::string bytes = session.input.Bytes(60);
  const bool ofString = session.input.Flag();
  const auto size = static_cast<uint32_t>(bytes.size());
  const uint32_t offset = session.input.Byte() % (size + 1);
  const uint32_t length = session.input.Byte() % (size - offset + 1);
  const auto string = session.host.MakeString(bytes, session.input.OneOf(kStringEncodings));
  const auto block = session.host.MakeMemoryBlock(bytes);
  block->hidden = session.input.Below(8) == 7;

  ViewMemory<40> view;
  const bool built = session.Run([&] {
    if (ofString) {
      session.Exported<void(void*, void*)>("_ZN6rbDataC1EP16REALstringStruct")(&view, string.get());
    } else {
      session.Exported<void(void*, void*, uint32_t, uint32_t)>(
          "_ZN6rbDataC1EP21REALmemoryBlockStructjj")(&view, block.get(), offset, length);
    }
  });
  if (!built) return;
  const char* data;
  std::memcpy(&data, &view[8], sizeof data);
  const std::string_view seen(data, view[9]);
  if (!session.disturbed) {
    const std::string_view all = bytes;
    const std::string_view part =
        block->hidden ? std::string_view() : all.substr(offset, length == 0 ? size : length);
    session.Require(seen == (ofString ? all : part), "wrong data");
  }
  session.Exported<void(void*)>("_ZN6rbDataD1Ev")(&view);
}

void UseStringData(FuzzSession& session) {
  const uint32_t from = session.input.OneOf(kStringEncodings);
  const uint32_t to = session.input.Below(8) == 7 ? session.input.Take<uint32_t>() & 0xFFFF
                                                  : session.input.OneOf(kStringEncodings);
  const bool onNull = session.input.Below(16) == 15;
  const auto string = session.host.MakeString(session.input.Bytes(60), from);
  const REALstringData untouched = {"untouched", 1, 2, {3, 4}};
  REALstringData record = untouched;
  bool filled = false;
  const bool finished = session.Run([&] {
    filled = session.Exported<bool(void*, uint32_t, void*)>(
        "_Z17REALGetStringDataP16REALstringStructmP14REALstringData")(
        onNull ? nullptr : string.get(), to, &record);
  });
  const auto expected = sim::ConvertText(string->bytes(), from, to);
  if (!filled) {
    session.Require(std::memcmp(&record, &untouched, sizeof record) == 0, "false, but filled");
    session.Require(session.disturbed || !finished || onNull || !expected, "no string data");
    return;
  }
  session.Require(std::string_view(record.data, record.length) == expected || session.disturbed,
                  "wrong string data");
  session.Exported<void(void*)>("_Z21REALDisposeStringDataP14REALstringData")(&record);
}

void UseBuilders(FuzzSession& session) {
  const int which = session.input.Below(5);
  const uint32_t encoding = session.input.Below(4) == 3 ? uint32_t{kEncodingUtf32}
                                                        : session.input.OneOf(kStringEncodings);
  const auto code = session.input.Take<uint32_t>();
  const std::string bytes = session.input.Bytes(255) + session.input.Bytes(255);
  const auto size = static_cast<int>(bytes.size());
  const auto string = session.host.MakeString(bytes, session.input.OneOf(kStringEncodings));
  void* made = nullptr;
  uint32_t number = 0;
  const bool finished = session.Run([&] {
    if (which == 0) {
      made = session.Exported<void*(const void*, int, uint32_t)>("_Z22REALBuildUnicodeStringPKvim")(
          bytes.data(), size, encoding);
    } else if (which == 1) {
      made = session.Exported<void*(const void*, int)>("_Z20REALBuildMemoryblockPKvi")(bytes.data(),
                                                                                       size);
    } else if (which == 2) {
      made = session.Exported<void*(uint32_t)>("_Z21REALBuildOSTypeStringm")(code);
    } else if (which == 3) {
      number = session.Exported<uint32_t(void*)>("_Z18REALstringToOSTypeP16REALstringStruct")(
          string.get());
    } else {
      number = session.Exported<uint32_t(void*)>(
          "_Z27REALGetLowestStringEncodingP16REALstringStruct")(string.get());
    }
  });
  if (which == 1) {
    const auto block = sim::Ref<sim::MemoryBlock>::Adopt(session.host.Live<sim::MemoryBlock>(made));
    session.Require(session.disturbed || static_cast<bool>(block) == (size > 0), "wrong block");
    session.Require(!block || block->bytes() == bytes, "wrong bytes");
    return;
  }
  const auto built = sim::Ref<sim::String>::Adopt(session.host.Live<sim::String>(made));
  if (session.disturbed || !finished) return;
  if (which == 0) {
    std::string expected = bytes;
    if (encoding == kEncodingUtf32) {
      expected.clear();
      for (size_t i = 0; i + 4 <= bytes.size(); i += 4) expected += bytes.substr(i, 2);
    }
    session.Require(static_cast<bool>(built) == (size > 0), "wrong string");
    session.Require(!built || built->bytes() == expected, "wrong characters");
  } else if (which == 2) {
    const std::string expected = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                                  static_cast<char>(code >> 8), static_cast<char>(code)};
    session.Require(built && built->bytes() == expected, "wrong code string");
  } else if (which == 4) {
    const bool examined = string->encoding != kEncodingUtf16 && string->encoding != kEncodingAscii;
    const bool plain = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0; });
    session.Require(number == (examined && plain ? uint32_t{kEncodingAscii} : string->encoding),
                    "wrong lowest encoding");
  }
}

}  // namespace

void FuzzText(FuzzSession& session) {
  constexpr void (*kUses[])(FuzzSession&) = {UseText, UseData, UseStringData, UseBuilders};
  kUses[session.input.Below(4)](session);
  session.RequireBalance();
}
