#include "text/rb_data.h"

#include "host/host_calls.h"
#include "host/host_references.h"
#include "host/scope_exit.h"
#include "host/versions.h"
#include "text/keep_stores.h"
#include "text/string_bytes.h"

using velpicture::AddReference;
using velpicture::HostReference;
using velpicture::ScopeExit;
using velpicture::StringReference;

static_assert(IsHostLayout(sizeof(rbData), 40));
static_assert(IsHostLayout(offsetof(rbData, block), 4));
static_assert(IsHostLayout(offsetof(rbData, stringData), 8));
static_assert(IsHostLayout(offsetof(rbData, ownsStringData), 28));
static_assert(IsHostLayout(offsetof(rbData, data), 32));
static_assert(IsHostLayout(offsetof(rbData, length), 36));

rbData::rbData(REALmemoryBlockStruct* viewed, unsigned int offset, unsigned int viewedLength)
    : rbData() {
  if (viewed == nullptr) return;
  unreferenced = !AddReference(viewed);
  block = viewed;

  if (viewedLength == 0) {
    // A block of foreign memory may not know its size and say so with a negative one.
    const long size = REALMemoryBlockGetSize(viewed);
    const uint32_t known = size < 0 ? 0 : static_cast<uint32_t>(size);
    if (offset > known) return;
    viewedLength = known - offset;
  }
  const auto* start = static_cast<const char*>(REALMemoryBlockGetPtr(viewed));
  if (start == nullptr) return;
  data = start + offset;
  length = viewedLength;
}

rbData::rbData(REALstringStruct* viewed) : rbData() {
  if (viewed == nullptr) return;
  velpicture::TextBytes bytes;
  if (velpicture::BorrowsStringData()) {
    ownsStringData = REALGetStringData(viewed, kEncodingUndefined, &stringData);
    // A host that refuses may have written there all the same.
    if (!ownsStringData) stringData = {};
    bytes = velpicture::LentBytes(stringData);
  } else {
    unreferenced = !AddReference(viewed);
    string = viewed;
    bytes = velpicture::LegacyBytes(viewed);
  }
  data = bytes.data;
  length = bytes.length;
}

rbData::~rbData() noexcept(false) {
  // Released from the bottom up, each even when the host throws while it releases another.
  const ScopeExit clear([this] {
    string = nullptr;
    block = nullptr;
    stringData = {};
    ownsStringData = false;
    unreferenced = false;
    data = nullptr;
    length = 0;
    velpicture::KeepStores(this);
  });
  const velpicture::FilledRecord record(stringData, ownsStringData);
  const HostReference<REALmemoryBlockStruct> heldBlock(block, !unreferenced);
  const StringReference heldString(string, !unreferenced);
}
