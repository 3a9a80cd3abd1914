// Texts and data: arbitrary bytes in arbitrary encodings, seen through the views and the builders.

#include <algorithm>
#include <cstring>
#include <optional>

#include "fuzz/fuzz_case.h"
#include "simulator/text_conversion.h"
#include "tests/text/views.h"

namespace {

constexpr uint32_t kStringEncodings[] = {kEncodingMacRoman,      kEncodingUtf16,
                                         kEncodingWindowsLatin1, kEncodingAscii,
                                         kEncodingUndefined,     kEncodingUtf8};

constexpr Encoding kSlots[] = {kEncodings[0], kEncodings[1], kEncodings[2],
                               kEncodings[3], kEncodings[4], {"UTF32", kEncodingUtf32, 5, 4}};

/// What a view hands out of a string in one encoding.
std::string ExpectedText(std::string_view bytes, uint32_t encoding, const Encoding& target) {
  // Text without an encoding is taken as Windows Latin-1.
  if (encoding == kEncodingUndefined) encoding = kEncodingWindowsLatin1;
  const bool wide = target.value == kEncodingUtf32;
  auto text = sim::ConvertText(bytes, encoding, wide ? uint32_t{kEncodingUtf16} : target.value);
  if (!text) return {};
  if (target.unitBytes == 1) return *text;
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
  std::optional<Text> first, second;
  const auto read = [&](Text& view) {
    for (size_t i = 0; i < std::size(kSlots); ++i) {
      const Encoding& slot = kSlots[(i + order) % std::size(kSlots)];
      fuzzCase.Require(view.Length(slot.name) >= 0 && view.Get(slot.name) != nullptr,
                       "a view without a text");
      fuzzCase.Require(
          fuzzCase.disturbed || view.Bytes(slot) == ExpectedText(string->bytes(), encoding, slot),
          "wrong text");
    }
  };
  fuzzCase.Run([&] {
    first.emplace(fuzzCase.plugin, string.get());
    read(*first);
    if (copies == 0) return;
    second.emplace(fuzzCase.plugin, *first);
    if (copies == 2) first->Assign(*second);
    read(*second);
  });
  // Whatever happened; once more at the end of their scope.
  if (first) first->Destroy();
  if (second) second->Destroy();
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

  std::optional<Data> view;
  const bool built = fuzzCase.Run([&] {
    if (ofString) {
      view.emplace(fuzzCase.plugin, string.get());
    } else {
      view.emplace(fuzzCase.plugin, block.get(), offset, length);
    }
  });
  if (!built || fuzzCase.disturbed) return;
  const std::string_view all = bytes;
  const std::string_view part =
      block->hidden ? std::string_view() : all.substr(offset, length == 0 ? size : length);
  fuzzCase.Require(view->bytes() == (ofString ? all : part), "wrong data");
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
    filled = Function<bool(REALstringStruct*, unsigned long, REALstringData*)>(
        fuzzCase.plugin, "REALGetStringData")(onNull ? nullptr : string->handle(), to, &record);
  });
  const auto expected = sim::ConvertText(string->bytes(), from, to);
  if (!filled) {
    const bool isOurs = fuzzCase.host.Missing("PluginGetStringData");
    fuzzCase.Require(!isOurs || std::memcmp(&record, &untouched, sizeof record) == 0,
                     "false, but filled");
    fuzzCase.Require(fuzzCase.disturbed || !finished || onNull || !expected, "no string data");
    return;
  }
  fuzzCase.Require(std::string_view(record.data, record.length) == expected || fuzzCase.disturbed,
                   "wrong string data");
  Function<void(REALstringData*)>(fuzzCase.plugin, "REALDisposeStringData")(&record);
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
    const sim::Plugin& plugin = fuzzCase.plugin;
    if (which == 0) {
      made = Function<void*(const void*, int, unsigned long)>(plugin, "REALBuildUnicodeString")(
          bytes.data(), size, encoding);
    } else if (which == 1) {
      made = Function<void*(const void*, int)>(plugin, "REALBuildMemoryblock")(bytes.data(), size);
    } else if (which == 2) {
      made = Function<void*(unsigned long)>(plugin, "REALBuildOSTypeString")(code);
    } else {
      const char* const ask = which == 3 ? "REALstringToOSType" : "REALGetLowestStringEncoding";
      number = Function<unsigned long(REALstringStruct*)>(plugin, ask)(string->handle());
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
