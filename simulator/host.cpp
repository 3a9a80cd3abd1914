// The host's life: what it owns, how handles are found, locked and released.

#include "simulator/host.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "simulator/entry_table.h"
#include "simulator/nearest.h"

namespace sim {
namespace {

Host* currentHost = nullptr;

constexpr uint32_t kPoisonWord = 0xDEADDEAD;

// In the order of AppKind.
constexpr const char* kApplicationClasses[] = {nullptr, "ConsoleApplication", "WebApplication",
                                               "Application"};

}  // namespace

Host::Host(Settings hostSettings) : settings(std::move(hostSettings)) {
  if (currentHost != nullptr) currentHost->Misuse("a second host was made");
  currentHost = this;
  memory.warm = settings.warmMemory;
  memory.bites = settings.bites;
  AddClass({.name = "Picture",
            .properties = {{"Width", {PropertyType::kInt}},
                           {"Height", {PropertyType::kInt}},
                           {"HasAlphaChannel", {PropertyType::kBool}}}});
  for (const char* const name : {"Graphics", "MemoryBlock", "FolderItem"}) AddClass({.name = name});
  AddClass({.name = "RuntimeException", .properties = {{"Message", {PropertyType::kString}}}});
  AddClass({.name = "NilObjectException",
            .super = "RuntimeException",
            .properties = {{"Message", {PropertyType::kString}}}});
  const char* const name = kApplicationClasses[static_cast<size_t>(settings.application)];
  if (name != nullptr) AddClass({.name = name});
}

Host::~Host() {
  raised.clear();
  const std::string imbalance = Imbalance();
  if (!imbalance.empty() && !settings.allowLeaks && std::uncaught_exceptions() == 0) {
    Misuse("torn down while out of balance:\n" + imbalance);
  }
  currentHost = nullptr;
}

Host& Host::Current() {
  if (currentHost == nullptr) {
    std::fputs("simulated host: called while there is none\n", stderr);
    std::abort();
  }
  return *currentHost;
}

bool Host::Exists() { return currentHost != nullptr; }

void* Host::Resolve(const char* name) {
  Host& host = Current();
  const CallScope scope(host, "the look-up of an entry", __builtin_return_address(0));
  void* address = nullptr;
  if (!host.Missing(name)) {
    const bool isRecorded = host.FindRecorder(name) != nullptr;
    address = isRecorded ? RecorderAddress(name) : EntryAddress(name);
  }
  host.log.Add({LogLine::kLookup, name, "", address == nullptr});
  return address;
}

Recorder& Host::Record(std::string name, uint64_t result) {
  Recorder& recorder = recorders_[std::move(name)];
  recorder.result = result;
  return recorder;
}

Recorder* Host::FindRecorder(std::string_view name) {
  const auto found = recorders_.find(name);
  return found == recorders_.end() ? nullptr : &found->second;
}

void Host::Misuse(const std::string& text) const {
  const std::string entry = now.entry == nullptr ? "" : std::string(now.entry) + ": ";
  if (onMisuse != nullptr) onMisuse({entry + text, now.site});
  const std::string method = now.method == nullptr ? "" : std::string(now.method) + ": ";
  log.EndEchoedLine();
  std::fprintf(stderr, "simulated host: %s%s\n", (entry.empty() ? method : entry).c_str(),
               text.c_str());
  std::abort();
}

uint32_t Host::NextLitter() {
  // Whatever asks whether something is there, positive, or true, is answered another way at the
  // next call.
  constexpr uint32_t kLitters[] = {0xA5A5A5A5, 0x5A5A5A5A, 0};
  return litter = kLitters[(settings.firstLitter + litters_++) % std::size(kLitters)];
}

// Handles.

void Host::Register(std::unique_ptr<Handle> handle) {
  handle->serial_ = static_cast<uint32_t>(++serials_[handle->KindName()]);
  Lock(handle.get());
  if (dynamic_cast<Picture*>(handle.get()) != nullptr) ++ledger.livePictures;
  byAddress_[handle.get()] = handle.get();
  handles_.push_back(std::move(handle));
}

Handle* Host::Find(const void* address) const {
  const auto found = byAddress_.find(address);
  if (found == byAddress_.end()) Misuse("was given an address that is no handle of this host");
  if (!found->second->live()) Misuse(found->second->Name() + " was used after its release");
  return found->second;
}

Handle* Host::Known(const void* address) const {
  const auto found = byAddress_.find(address);
  return found == byAddress_.end() || !found->second->live() ? nullptr : found->second;
}

std::string Host::Describe(const void* address) const {
  if (address == nullptr) return "null";
  const auto found = byAddress_.find(address);
  return found == byAddress_.end() ? "*" : found->second->Name();
}

std::vector<Picture*> Host::LivePictures() const {
  std::vector<Picture*> pictures;
  for (const auto& handle : handles_) {
    auto* const picture = dynamic_cast<Picture*>(handle.get());
    if (picture != nullptr && picture->live()) pictures.push_back(picture);
  }
  return pictures;
}

void Host::Lock(Handle* handle) {
  handle->AddReferences(1);
  handle->lockedAt_ = now.site;
}

void Host::Unlock(Handle* handle) {
  if (handle->references_ <= handle->heldOutside_) {
    Misuse(handle->Name() + " lost a reference that the caller did not hold");
  }
  handle->AddReferences(-1);
  if (handle->references_ == 0) Release(handle);
}

void Host::HoldOutside(Handle* handle) {
  // A host that lets nobody add a reference gets its own objects back without one.
  if (handle->references_ == handle->heldOutside_ && Missing("REALLockObject")) Lock(handle);
  ++handle->heldOutside_;
}

void Host::DropOutside(Handle* handle) {
  --handle->heldOutside_;
  Unlock(handle);
}

void Host::Release(Handle* handle) {
  if (auto* const picture = dynamic_cast<Picture*>(handle)) {
    // Where nobody can unlock, everything stays locked.
    if (picture->descriptionLocks != 0 && !Missing("unlockPictureDescription")) {
      Misuse(handle->Name() + " was released while locked");
    }
    --ledger.livePictures;
  }
  CheckGuards(*handle);
  std::vector<Handle*> held;
  handle->VisitHeld([&](Handle* other) {
    if (other != nullptr) held.push_back(other);
  });
  handle->Clear();
  handle->live_ = false;
  handle->word1_ = handle->word2_ = kPoisonWord;
  handle->word3_ = static_cast<int32_t>(kPoisonWord);
  for (Handle* other : held) Unlock(other);
}

// Classes.

ClassRef* Host::AddClass(ClassInfo info) {
  std::string name = info.name;
  auto* const made = New<ClassRef>(std::move(info));
  classes_[std::move(name)] = made;
  return made;
}

const ClassRef* Host::FindClass(std::string_view name) const {
  const auto found = classes_.find(name);
  return found == classes_.end() || Missing(name) ? nullptr : found->second;
}

const ClassRef& Host::OwnClass(std::string_view name) {
  const auto found = classes_.find(name);
  return found != classes_.end() ? *found->second : *AddClass({.name = std::string(name)});
}

std::string Host::NearestClass(std::string_view name) const {
  constexpr size_t kNear = 3;
  return NearestName(
      name, classes_, [](const auto& each) { return each.first; }, kNear);
}

bool Host::IsA(const ClassRef& derived, const ClassRef& base) const {
  for (const ClassRef* step = &derived; step != nullptr; step = FindClass(step->info().super)) {
    if (step == &base) return true;
  }
  return false;
}

// Pictures.

PictureOptions Host::NewPictureOptions(bool alpha) const {
  return {alpha ? settings.newAlphaPictures : settings.newPictures, alpha, settings.rows};
}

bool Host::ConstructPicture(Picture& picture, const PictureOptions& options, int width,
                            int height) {
  picture.storage = MakeStorage(options.storage, {width, height, options.alpha, options.rows,
                                                  settings.extraStrideBytes, memory});
  if (picture.storage == nullptr) return false;
  picture.properties["Width"].bits = static_cast<uint32_t>(width);
  picture.properties["Height"].bits = static_cast<uint32_t>(height);
  picture.properties["HasAlphaChannel"].bits = options.alpha ? 1 : 0;
  return true;
}

Picture* Host::NewPicture(int width, int height, bool alpha) {
  auto* const picture = New<Picture>(OwnClass("Picture"));
  if (!ConstructPicture(*picture, NewPictureOptions(alpha), width, height)) {
    Unlock(picture);
    return nullptr;
  }
  if (!settings.warmMemory) picture->Fill(alpha ? settings.blankWithAlpha : settings.blank);
  return picture;
}

Ref<Picture> Host::MakePicture(const Image& image, const PictureOptions& options) {
  auto picture = Ref<Picture>::Adopt(New<Picture>(OwnClass("Picture")));
  if (!ConstructPicture(*picture, options, image.width, image.height)) return {};
  picture->Write(image);
  return picture;
}

Ref<Picture> Host::MakePicture(const Image& image, bool alpha) {
  return MakePicture(image, NewPictureOptions(alpha));
}

// Other things for tests and tools.

Ref<String> Host::MakeString(std::string_view bytes, uint32_t encoding) {
  return Ref<String>::Adopt(New<String>(bytes, encoding, StringEdge()));
}

Ref<MemoryBlock> Host::MakeMemoryBlock(std::string_view bytes) {
  auto* const block = New<MemoryBlock>(OwnClass("MemoryBlock"), bytes.size(), memory.NextEdge());
  std::memcpy(block->data(), bytes.data(), bytes.size());
  return Ref<MemoryBlock>::Adopt(block);
}

Ref<Array> Host::MakeArray(ElementType type, size_t count) {
  return Ref<Array>::Adopt(New<Array>(OwnClass("Array"), type, count));
}

Ref<Object> Host::MakeObject(std::string_view className) {
  const ClassRef* const found = FindClass(className);
  return Ref<Object>::Adopt(found == nullptr ? nullptr : New<Object>(*found));
}

char* Host::Borrow(std::string_view bytes) {
  // A single NUL follows: more is not promised.
  auto buffer = FencedBytes::Make(bytes.size() + 1, StringEdge(), 0);
  auto* const data = reinterpret_cast<char*>(buffer->bytes());
  std::memcpy(data, bytes.data(), bytes.size());
  buffer->Allow(FencedBytes::Access::kRead);
  borrowed_[data] = std::move(buffer);
  ++ledger.borrowedStrings;
  return data;
}

void Host::GiveBack(char* data) {
  const auto found = borrowed_.find(data);
  if (found == borrowed_.end()) Misuse("was given string data that the host did not lend");
  borrowed_.erase(found);
  --ledger.borrowedStrings;
}

}  // namespace sim
