#include "text/string_data.h"

#include <cstdlib>
#include <cstring>

#include "host/host_calls.h"
#include "host/host_entry.h"
#include "host/host_references.h"
#include "text/string_bytes.h"

using velpicture::HeapBytes;
using velpicture::HostEntry;
using velpicture::hostEntry;
using velpicture::StringReference;

namespace {

constinit HostEntry<bool(REALstringStruct*, unsigned long, REALstringData*)> hostGet(
    "PluginGetStringData");
constinit HostEntry<void(REALstringData*)> hostDispose("PluginDisposeStringData");

/// The host was asked to lend string data, and always will be: its entry stays cached.
constinit bool hostLends = false;

using ByteLengthMethod = long (*)(REALstringStruct*);

ByteLengthMethod FindByteLengthMethod() {
  static constinit ByteLengthMethod method = nullptr;
  if (method == nullptr) {
    method = reinterpret_cast<ByteLengthMethod>(
        REALLoadFrameworkMethod("LenB( s as string ) as integer"));
  }
  return method;
}

bool NeedsConversion(REALstringStruct* string, unsigned long encoding) {
  return encoding != kEncodingUndefined && REALGetStringEncoding(string) != encoding;
}

bool CopyStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  const auto getBytes = hostEntry<"StringGetCString", const char*(REALstringStruct*)>.Address();
  const ByteLengthMethod getByteLength = FindByteLengthMethod();
  if (getBytes == nullptr || getByteLength == nullptr || string == nullptr) return false;

  StringReference converted(nullptr);
  REALstringStruct* chosen = string;
  if (NeedsConversion(string, encoding)) {
    converted.Reset(REALConvertString(string, encoding));
    if (!converted) return false;
    chosen = converted.get();
  }

  const long length = getByteLength(chosen);
  if (length < 0) return false;
  // Four zeros terminate text of any unit width.
  constexpr uint32_t kTerminator = 0;
  HeapBytes copy(static_cast<char*>(std::malloc(static_cast<size_t>(length) + sizeof kTerminator)));
  if (!copy) return false;
  const char* const bytes = getBytes(chosen);
  if (length > 0) {
    if (bytes == nullptr) return false;
    std::memcpy(copy.get(), bytes, static_cast<size_t>(length));
  }
  std::memcpy(copy.get() + length, &kTerminator, sizeof kTerminator);
  converted.Reset();

  out->data = copy.release();
  out->length = static_cast<uint32_t>(length);
  out->encoding = encoding;
  return true;
}

}  // namespace

bool REALGetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  if (hostGet.Address() == nullptr) return CopyStringData(string, encoding, out);
  hostLends = true;
  return hostGet(string, encoding, out);
}

// A record does not say who filled it, but the host's entries do: a host that has the get entry
// from its start fills every record, one that lacks it none. So a host with only one of the two is
// never handed our copy, and what it lent is never freed here.
void REALDisposeStringData(REALstringData* data) {
  if (hostDispose.Address() != nullptr && hostGet.Address() != nullptr) {
    hostDispose(data);
  } else if (!hostLends) {
    std::free(const_cast<char*>(data->data));
  }
}
