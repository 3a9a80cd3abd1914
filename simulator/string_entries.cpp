// Entries for strings, borrowed string data and memory blocks.

#include "simulator/entry_table.h"
#include "simulator/text_conversion.h"

namespace sim {
namespace {

/// The host's own two words in a record that it filled are this and its complement: it knows the
/// record again, and only where it filled it.
uint32_t MarkOf(const REALstringData* record) {
  return 0x5744A7A1 ^ static_cast<uint32_t>(reinterpret_cast<uintptr_t>(record));
}

String* NewString(Host& host, std::string_view bytes, uint32_t encoding) {
  return host.New<String>(bytes, encoding, host.StringEdge());
}

std::string_view BytesOf(const String* string) {
  return string == nullptr ? std::string_view() : string->bytes();
}

String* BuildString(Host& host, const void* bytes, int length) {
  if (bytes == nullptr || length < 0) return nullptr;
  return NewString(host, {static_cast<const char*>(bytes), static_cast<size_t>(length)},
                   kEncodingUndefined);
}

int CompareStrings(Host&, String* left, String* right) {
  const int order = BytesOf(left).compare(BytesOf(right));
  return order < 0 ? -1 : order > 0;
}

String* AddStrings(Host& host, String* left, String* right) {
  std::string sum(BytesOf(left));
  sum += BytesOf(right);
  return NewString(host, sum, left == nullptr ? kEncodingUndefined : left->encoding);
}

uint32_t GetEncoding(Host&, String* string) {
  return string == nullptr ? uint32_t{kEncodingMacRoman} : string->encoding;
}

void CheckEncoding(const Host& host, uint32_t encoding) {
  if (encoding == kEncodingUtf32) host.Misuse("the host knows no UTF-32");
}

void SetEncoding(Host& host, String* string, uint32_t encoding) {
  CheckEncoding(host, encoding);
  if (string != nullptr) string->encoding = encoding;
}

/// The length of a string's bytes once they are converted: what is claimed of it stays claimed.
int32_t ConvertedLength(const String& string, std::string_view converted) {
  const bool isClaimed = string.length() != static_cast<int32_t>(string.bytes().size());
  return isClaimed ? string.length() : static_cast<int32_t>(converted.size());
}

String* ConvertString(Host& host, String* string, uint32_t encoding) {
  CheckEncoding(host, encoding);
  if (string == nullptr) return nullptr;
  const auto converted = ConvertText(string->bytes(), string->encoding, encoding);
  if (!converted) return nullptr;
  String* const made = NewString(host, *converted, encoding);
  made->Claim(ConvertedLength(*string, *converted));
  return made;
}

const void* GetCString(Host&, String* string) {
  return string == nullptr ? nullptr : string->text();
}

int LenB(Host&, String* string) { return string == nullptr ? 0 : string->length(); }

/// What a host that refuses makes of the record is up to it.
bool RefuseStringData(Host&, String*, uint32_t encoding, REALstringData* out) {
  *out = {"refused", 7, encoding, {}};
  return false;
}

bool GetStringData(Host& host, String* string, uint32_t encoding, REALstringData* out) {
  CheckEncoding(host, encoding);
  if (string == nullptr) return RefuseStringData(host, string, encoding, out);
  const auto converted = ConvertText(string->bytes(), string->encoding, encoding);
  if (!converted) return RefuseStringData(host, string, encoding, out);
  *out = {host.Borrow(*converted),
          static_cast<uint32_t>(ConvertedLength(*string, *converted)),
          encoding,
          {MarkOf(out), ~MarkOf(out)}};
  return true;
}

void DisposeStringData(Host& host, REALstringData* record) {
  if (record == nullptr || record->reserved[0] != MarkOf(record) ||
      record->reserved[1] != ~MarkOf(record)) {
    host.Misuse("was given a record that the host did not fill there");
  }
  host.GiveBack(const_cast<char*>(record->data));
}

MemoryBlock* NewMemoryBlock(Host& host, int size) {
  if (size < 0) return nullptr;
  return host.New<MemoryBlock>(host.OwnClass("MemoryBlock"), static_cast<size_t>(size),
                               host.memory.NextEdge());
}

void* GetBlockAddress(Host&, MemoryBlock* block) {
  return block == nullptr || block->hidden ? nullptr : block->data();
}

int GetBlockSize(Host&, MemoryBlock* block) {
  return block == nullptr ? 0 : static_cast<int>(block->size);
}

// Methods that are asked for but never called.
void NeverCalled(Host& host) { host.Misuse("this method is only there to be found"); }

}  // namespace

std::span<const MethodRow> StringMethods() {
  static const MethodRow rows[] = {
      {"", "LenB( s as string ) as integer", Wrapped<"LenB", LenB>()},
      {"MemoryBlock", "Constructor(bytes as Integer)",
       Wrapped<"MemoryBlock.Constructor", NeverCalled>()},
      {"FolderItem", "TrueItem(Index as integer) as Folderitem",
       Wrapped<"FolderItem.TrueItem", NeverCalled>()},
  };
  return rows;
}

std::span<const EntryRow> StringEntries() {
  static const EntryRow rows[] = {
      Row<"REALBuildString", BuildString>(),
      Row<"REALLockString", LockHandle<String>>(),
      Row<"REALUnlockString", UnlockHandle<String>>(),
      Row<"RuntimeStringCompare", CompareStrings>(),
      Row<"RuntimeAddString", AddStrings>(),
      Row<"REALGetStringEncoding", GetEncoding>(),
      Row<"REALSetStringEncoding", SetEncoding>(),
      Row<"REALConvertString", ConvertString>(),
      Row<"StringGetCString", GetCString>(),
      Row<"PluginGetStringData", GetStringData, RefuseStringData>(),
      Row<"PluginDisposeStringData", DisposeStringData>(),
      Row<"newMemoryBlock", NewMemoryBlock>(),
      Row<"memoryBlockGetPtr", GetBlockAddress>(),
      Row<"memoryBlockGetSize", GetBlockSize>(),
  };
  return rows;
}

}  // namespace sim
