#include "text/rb_text.h"

#include <cstdlib>
#include <utility>

#include "host/host_calls.h"
#include "host/host_references.h"
#include "host/scope_exit.h"
#include "host/versions.h"
#include "text/builders.h"
#include "text/keep_stores.h"
#include "text/rb_data.h"
#include "text/string_bytes.h"

using velpicture::LoadUnaligned;
using velpicture::ScopeExit;
using velpicture::StringReference;
using velpicture::TextBytes;

static_assert(IsHostLayout(sizeof(rbText), 180));
static_assert(IsHostLayout(offsetof(rbText, strings), 4));
static_assert(IsHostLayout(offsetof(rbText, lengths), 24));
static_assert(IsHostLayout(offsetof(rbText, texts), 48));
static_assert(IsHostLayout(offsetof(rbText, records), 72));
static_assert(IsHostLayout(offsetof(rbText, ownsRecord), 172));
static_assert(sizeof(wchar_t) == 4, "wchar_t text is the UTF-32 text");

namespace {

/// Reads as an empty text of any unit width. Never freed.
alignas(16) constinit const char kEmptyText[16] = {};

constexpr uint32_t kSlotEncoding[rbText::kHostSlots] = {
    kEncodingWindowsLatin1, kEncodingMacRoman, kEncodingAscii, kEncodingUtf8, kEncodingUtf16};

/// The source's bytes in the slot's encoding, kept by the slot; none when the host cannot convert.
TextBytes FetchBytes(rbText& text, rbText::Slot slot) {
  const uint32_t encoding = kSlotEncoding[slot];
  if (velpicture::BorrowsStringData()) {
    REALstringData& record = text.records[slot];
    if (!REALGetStringData(text.source, encoding, &record)) return {};
    text.ownsRecord[slot] = true;
    return velpicture::LentBytes(record);
  }
  text.strings[slot] = REALConvertString(text.source, encoding);
  if (text.strings[slot] == nullptr) return {};
  return velpicture::LegacyBytes(text.strings[slot]);
}

/// Converts into a slot whose units are 1 << `unitShift` bytes wide.
void ConvertSlot(rbText& text, rbText::Slot slot, int unitShift = 0) {
  text.lengths[slot] = 0;
  text.texts[slot] = kEmptyText;
  if (text.source == nullptr) return;
  const TextBytes bytes = FetchBytes(text, slot);
  if (bytes.data == nullptr) return;
  text.texts[slot] = bytes.data;
  text.lengths[slot] = static_cast<int32_t>(bytes.length >> unitShift);
}

/// Drops the first UTF-16 unit if it is `mark`.
void DropLeadingUnit(rbText& text, uint16_t mark) {
  const void*& start = text.texts[rbText::kUtf16];
  int32_t& length = text.lengths[rbText::kUtf16];
  if (length < 1 || LoadUnaligned<uint16_t>(start) != mark) return;
  start = static_cast<const char*>(start) + sizeof mark;
  --length;
}

/// What a slot holds of the host's, until the scope ends.
struct HeldSlot {
  HeldSlot(rbText& text, rbText::Slot slot)
      : record(text.records[slot], text.ownsRecord[slot]), string(text.strings[slot]) {}

  const velpicture::FilledRecord record;
  const StringReference string;
};

/// Releases everything and leaves the view empty, even when the host throws meanwhile.
void Empty(rbText& text) {
  const ScopeExit clear([&] {
    if (text.lengths[rbText::kUtf32] > 0) std::free(const_cast<void*>(text.texts[rbText::kUtf32]));
    text.source = nullptr;
    text.unreferenced = false;
    for (int slot = 0; slot < rbText::kHostSlots; ++slot) {
      text.strings[slot] = nullptr;
      text.records[slot] = {};
      text.ownsRecord[slot] = false;
    }
    for (int slot = 0; slot < rbText::kSlots; ++slot) {
      text.lengths[slot] = -1;
      text.texts[slot] = nullptr;
    }
    velpicture::KeepStores(&text);
  });
  // Released from the bottom up, each even when the host throws while it releases another.
  static_assert(rbText::kHostSlots == 5);
  const HeldSlot utf16(text, rbText::kUtf16);
  const HeldSlot utf8(text, rbText::kUtf8);
  const HeldSlot ascii(text, rbText::kAscii);
  const HeldSlot macRoman(text, rbText::kMacRoman);
  const HeldSlot windows(text, rbText::kWindows);
  const StringReference source(text.source, !text.unreferenced);
}

using ConvertMember = void (rbText::*)();
constexpr ConvertMember kConvert[rbText::kSlots] = {
    &rbText::ConvertWindows, &rbText::ConvertMacRoman, &rbText::ConvertASCII,
    &rbText::ConvertUTF8,    &rbText::ConvertUTF16,    &rbText::ConvertUTF32};

long Length(rbText& text, rbText::Slot slot) {
  if (text.lengths[slot] == -1) (text.*kConvert[slot])();
  return text.lengths[slot];
}

template <class Unit>
const Unit* Get(rbText& text, rbText::Slot slot) {
  Length(text, slot);
  return static_cast<const Unit*>(text.texts[slot]);
}

template <class Unit>
const Unit* GetNil(rbText& text, rbText::Slot slot) {
  return Length(text, slot) < 1 ? nullptr : Get<Unit>(text, slot);
}

}  // namespace

rbText::rbText(REALstringStruct* string) : rbText() {
  if (REALGetStringEncoding(string) == kEncodingUndefined) {
    const rbData raw(string);
    source = REALBuildUnicodeString(raw.data, static_cast<int>(raw.length), kEncodingWindowsLatin1);
  } else if (string != nullptr) {
    unreferenced = !velpicture::AddReference(string);
    source = string;
  }
}

rbText::rbText(const rbText& other) : rbText(other.source) {}

rbText& rbText::operator=(const rbText& other) {
  rbText fresh(other.source);
  // Where none could be added, the reference that this view has on the same string is passed on.
  if (fresh.unreferenced && fresh.source == source) std::swap(unreferenced, fresh.unreferenced);
  // The records stay where the host filled them until it has them back.
  const ScopeExit become([&] {
    std::swap(source, fresh.source);
    std::swap(unreferenced, fresh.unreferenced);
  });
  Empty(*this);
  return *this;
}

rbText::~rbText() noexcept(false) { Empty(*this); }

void rbText::ConvertUTF8() { ConvertSlot(*this, kUtf8); }
void rbText::ConvertASCII() { ConvertSlot(*this, kAscii); }
void rbText::ConvertWindows() { ConvertSlot(*this, kWindows); }
void rbText::ConvertMacRoman() { ConvertSlot(*this, kMacRoman); }

void rbText::ConvertUTF16() {
  ConvertSlot(*this, kUtf16, 1);
  DropLeadingUnit(*this, 0xFEFF);
  DropLeadingUnit(*this, 0xFFFE);
}

void rbText::ConvertUTF32() {
  const long units = LengthUTF16();
  texts[kUtf32] = kEmptyText;
  lengths[kUtf32] = 0;
  if (units < 1) return;
  // Some zero units follow the text. A size that does not fit in 31 bits is refused.
  constexpr long kTerminatorUnits = 4;
  constexpr long kMaxUnits = INT32_MAX / sizeof(uint32_t);
  if (units > kMaxUnits - kTerminatorUnits) return;
  auto* buffer = static_cast<uint32_t*>(
      std::calloc(static_cast<size_t>(units + kTerminatorUnits), sizeof(uint32_t)));
  if (buffer == nullptr) return;
  const auto* from = static_cast<const char*>(texts[kUtf16]);
  for (long i = 0; i < units; ++i) buffer[i] = LoadUnaligned<uint16_t>(from + 2 * i);
  texts[kUtf32] = buffer;
  lengths[kUtf32] = units;
}

long rbText::LengthUTF8() { return Length(*this, kUtf8); }
long rbText::LengthASCII() { return Length(*this, kAscii); }
long rbText::LengthWindows() { return Length(*this, kWindows); }
long rbText::LengthMacRoman() { return Length(*this, kMacRoman); }
long rbText::LengthUTF16() { return Length(*this, kUtf16); }
long rbText::LengthUTF32() { return Length(*this, kUtf32); }
long rbText::LengthWChar() { return Length(*this, kUtf32); }

const char* rbText::GetUTF8() { return Get<char>(*this, kUtf8); }
const char* rbText::GetNative() { return Get<char>(*this, kUtf8); }
const char* rbText::GetASCII() { return Get<char>(*this, kAscii); }
const char* rbText::GetWindows() { return Get<char>(*this, kWindows); }
const char* rbText::GetMacRoman() { return Get<char>(*this, kMacRoman); }
const unsigned short* rbText::GetUTF16() { return Get<unsigned short>(*this, kUtf16); }
const unsigned int* rbText::GetUTF32() { return Get<unsigned int>(*this, kUtf32); }
const wchar_t* rbText::GetWChar() { return Get<wchar_t>(*this, kUtf32); }

const char* rbText::GetUTF8Nil() { return GetNil<char>(*this, kUtf8); }
const char* rbText::GetASCIINil() { return GetNil<char>(*this, kAscii); }
const char* rbText::GetWindowsNil() { return GetNil<char>(*this, kWindows); }
const char* rbText::GetMacRomanNil() { return GetNil<char>(*this, kMacRoman); }
const unsigned short* rbText::GetUTF16Nil() { return GetNil<unsigned short>(*this, kUtf16); }
const unsigned int* rbText::GetUTF32Nil() { return GetNil<unsigned int>(*this, kUtf32); }
const wchar_t* rbText::GetWCharNil() { return GetNil<wchar_t>(*this, kUtf32); }

const char* GetUTF8(rbText& text) { return text.GetUTF8(); }
const char* GetASCII(rbText& text) { return text.GetASCII(); }
const char* GetWindows(rbText& text) { return text.GetWindows(); }
const char* GetPassword(rbText& text) { return text.GetWindows(); }
const char* GetMacRoman(rbText& text) { return text.GetMacRoman(); }
const unsigned short* GetUTF16(rbText& text) { return text.GetUTF16(); }
const unsigned int* GetUTF32(rbText& text) { return text.GetUTF32(); }
