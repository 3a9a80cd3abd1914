#pragma once

// The simulated host: strict and honest. It offers the entries that the plugin may use and nothing
// more, keeps account of every reference, lock and borrowed buffer, and stops the process with one
// line on misuse. One host at a time is current; the plugin reaches it through Host::Resolve, a
// plain function. Create it before anything that refers to it, and let nothing outlive it.
//
//   sim::Host host({.version = 2011.03});
//   sim::Plugin plugin(path);
//   plugin.Start(host);
//   auto photo = host.MakePicture(image);
//   auto result = plugin.Call("Rotate90Vel", photo.get());
//   host.Imbalance() == ""; result.picture->Read();

#include <pthread.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "simulator/faults.h"
#include "simulator/log.h"
#include "simulator/objects.h"
#include "simulator/settings.h"

namespace sim {

class Host;

/// The names of all entries that have behaviour here, to make each of them missing or fail in turn.
std::vector<std::string> EntryNames();
/// Without this entry, what the host gave cannot be given back.
bool GivesBack(std::string_view entry);
/// An address in a loaded library as "VelPicture.so+0x1a2b", which does not change from run to run.
std::string PlaceInLibrary(const void* address);

/// One reference held by a test or tool, dropped at the end of the scope. The ledger knows it as
/// such: everything beyond it and what other host objects hold is an imbalance.
template <class T>
class Ref {
 public:
  Ref() = default;
  /// Takes over a reference that the caller holds, such as a method's result.
  inline static Ref Adopt(T* handle);
  Ref(Ref&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
  Ref& operator=(Ref&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  inline ~Ref();

  T* get() const { return handle_; }
  T* operator->() const { return handle_; }
  T& operator*() const { return *handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

 private:
  explicit Ref(T* handle) : handle_(handle) {}
  T* handle_ = nullptr;
};

/// Where a test's picture lives; the host's settings decide what is left open.
struct PictureOptions {
  StorageKind storage = StorageKind::kConsole;
  bool alpha = false;
  RowLayout rows = RowLayout::kContiguous;
};

/// A stand-in for an entry without behaviour here (or instead of its behaviour): keeps the raw
/// argument words of each call and returns `result` in eax and edx.
struct Recorder {
  uint64_t result = 0;
  std::vector<std::array<uint32_t, 8>> calls;
};

/// A call by which the plugin asked the kernel about pages.
struct PageCall {
  /// As for madvise; kAsk for mincore.
  int advice;
  size_t byteCount;
  static constexpr int kAsk = -1;
};

/// What runs, for messages.
struct Whereabouts {
  /// The plugin's function that the host called, by the name of its method, or "start-up"; null
  /// between calls.
  const char* method = nullptr;
  /// The host's entry that it called, or the C library's; null outside one.
  const char* entry = nullptr;
  /// Where in the plugin that was called (or the function itself); null outside.
  const void* site = nullptr;
};

/// What the plugin did wrong: "unlockPictureDescription: picture#1 is not locked", and where.
struct MisuseReport {
  std::string text;
  const void* site;
};

/// What the ledger counts besides references.
struct Ledger {
  int livePictures = 0;
  int borrowedStrings = 0;
  /// Allocations of the plugin's own that are not freed (needs import hooks), and where in its code
  /// they were made.
  struct Allocation {
    size_t size;
    const void* site;
    size_t fence = 0;  ///< guard bytes behind it
    int number = 0;
    bool isMapped = false;  ///< by mmap
  };
  std::unordered_map<void*, Allocation> pluginAllocations;
  int allocationsMade = 0;
  /// In order, refused ones too (needs import hooks).
  std::vector<PageCall> pageCalls;
};

/// One thing that is out of balance.
struct Discrepancy {
  enum Aspect { kReferences, kBounds, kLock, kBorrowed };
  Aspect aspect;
  /// "picture#1: 2 references, 1 expected"
  std::string text;
  /// References beyond those that are accounted for, negative where they are too few.
  int count = 0;
  /// Where the plugin took what it did not give back; null when that is not known.
  const void* site = nullptr;
};

class Host {
 public:
  explicit Host(Settings hostSettings = {});
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  /// Stops the process on an imbalance that settings.allowLeaks does not allow.
  ~Host();

  static Host& Current();
  static bool Exists();
  /// The resolver handed to plugins. Logged; null for what is missing.
  static void* Resolve(const char* name);

  Settings settings;
  Log log;
  Faults faults;
  Ledger ledger;
  PixelPool memory;

  // Things for tests and tools, each with the one reference that the Ref holds.
  /// Empty when memory is short or the storage is not installed.
  Ref<Picture> MakePicture(const Image& image, const PictureOptions& options);
  /// With the storage and rows of the pictures that the host makes.
  Ref<Picture> MakePicture(const Image& image, bool alpha = false);
  Ref<String> MakeString(std::string_view bytes, uint32_t encoding);
  Ref<MemoryBlock> MakeMemoryBlock(std::string_view bytes);
  Ref<Array> MakeArray(ElementType type, size_t count);
  /// An instance of a class that the host knows, or empty.
  Ref<Object> MakeObject(std::string_view className);
  /// Adds a class, or replaces the one of that name.
  ClassRef* AddClass(ClassInfo info);
  /// Routes an entry to a recorder from now on (look-ups that the plugin made before keep the
  /// former address).
  Recorder& Record(std::string name, uint64_t result = 0);

  // The ledger.
  /// What of the host's is out of balance: references beyond those held by tests and by other
  /// objects, locked descriptions, unlocks still owed, borrowed string data, damaged guards.
  std::vector<Discrepancy> Account() const;
  /// All of that and the plugin's own allocations, a line each; empty when nothing is.
  std::string Imbalance() const;
  /// Those whose pixels changed under a lock with no clearing of the cache after its end, by name
  /// and each once (settings.watchesCaches).
  std::vector<std::string> TakeStaleCaches();
  /// Stops the process when the plugin wrote behind memory of its own.
  void CheckFences() const;
  void CheckFence(const void* address, const Ledger::Allocation& allocation) const;
  /// Checks the guards of all live pictures and memory blocks; stops the process on damage.
  void CheckGuards() const;
  void CheckGuards(const Handle& handle) const;
  /// Keeps account of a call about these pages; stops the process when some are a host object's and
  /// not all a live picture's. False when the call shall fail.
  bool AdmitPageCall(const char* name, const void* begin, size_t byteCount, int advice,
                     const void* callSite);
  /// Exceptions that the plugin raised, in order. Raising one hands its reference to the host.
  std::vector<Ref<Object>> raised;

  /// The class extensions that the plugin started last registered, in order.
  std::vector<const REALclassDefinition*> extensions;
  /// What it registered besides: nothing that is tried here. "the class Robot", "a module".
  std::vector<std::string> registered;
  /// The methods of these and the shared ones of the extensions.
  struct MethodList {
    std::string owner;  ///< "class Robot", "a module", "Picture (shared)"
    const REALmethodDefinition* rows;
    int count;
  };
  std::vector<MethodList> otherMethods;
  /// What that plugin declared with "RegisterPluginVersion"; 0 before.
  int pluginVersion = 0;
  /// The version that the plugin was told; what it never asked for is 0.
  double reportedVersion = 0.0;

  // For the host's own entries.
  /// Prints "simulated host: <entry or method>: <text>" to standard error and aborts.
  [[noreturn]] void Misuse(const std::string& text) const;
  /// Told before that, when set; need not return. The text names the entry, but not the method.
  static inline void (*onMisuse)(const MisuseReport& report) = nullptr;
  /// The live handle at `address` as a T (null for null); anything else is misuse.
  template <class T>
  T* Live(const void* address) const;
  /// The live handle at `address`; null for anything else.
  Handle* Known(const void* address) const;
  /// Name of a handle, "null", or the bare address, for the log.
  std::string Describe(const void* address) const;
  /// Makes a handle, which starts with one reference for the caller.
  template <class T, class... Args>
  T* New(Args&&... args) {
    auto made = std::make_unique<T>(std::forward<Args>(args)...);
    T* const handle = made.get();
    Register(std::move(made));
    return handle;
  }
  void Lock(Handle* handle);
  void Unlock(Handle* handle);
  const ClassRef* FindClass(std::string_view name) const;
  /// The class that somebody who misspelt it may have meant; empty when none is near.
  std::string NearestClass(std::string_view name) const;
  bool IsA(const ClassRef& derived, const ClassRef& base) const;
  /// Null when memory is short, or the storage is not installed.
  Picture* NewPicture(int width, int height, bool alpha);
  /// Gives a picture its storage, not filled, and its properties; false when it cannot be had.
  bool ConstructPicture(Picture& picture, const PictureOptions& options, int width, int height);
  PictureOptions NewPictureOptions(bool alpha) const;
  /// What the bytes of strings end at.
  Edge StringEdge() const { return memory.bites ? Edge::kEndsAtPage : Edge::kFences; }
  bool Missing(std::string_view name) const { return settings.missing.contains(name); }
  /// A class for an object of the host's own kind, made on first use.
  const ClassRef& OwnClass(std::string_view name);
  Recorder* FindRecorder(std::string_view name);
  /// Hands out a buffer that the plugin borrows, and takes it back (misuse unless it is borrowed).
  char* Borrow(std::string_view bytes);
  void GiveBack(char* data);

  /// What runs now.
  Whereabouts now;
  /// Calls from any other are misuse.
  const pthread_t thread = pthread_self();
  /// What lies where nobody wrote, where memory bites; another pattern at each call of the plugin.
  uint32_t litter = 0;
  uint32_t NextLitter();

 private:
  template <class T>
  friend class Ref;
  void HoldOutside(Handle* handle);
  void DropOutside(Handle* handle);
  std::unordered_map<const Handle*, int> ExpectedReferences() const;
  static void AccountFor(const Handle& handle, int expected, std::vector<Discrepancy>& all);
  std::vector<Picture*> LivePictures() const;
  Handle* Find(const void* address) const;
  void Register(std::unique_ptr<Handle> handle);
  void Release(Handle* handle);

  std::vector<std::unique_ptr<Handle>> handles_;
  std::unordered_map<const void*, Handle*> byAddress_;
  std::map<std::string, int, std::less<>> serials_;
  std::map<std::string, ClassRef*, std::less<>> classes_;
  std::map<std::string, Recorder, std::less<>> recorders_;
  std::unordered_map<char*, std::unique_ptr<FencedBytes>> borrowed_;
  size_t litters_ = 0;
};

template <class T>
T* Host::Live(const void* address) const {
  if (address == nullptr) return nullptr;
  T* const handle = dynamic_cast<T*>(Find(address));
  if (handle == nullptr) Misuse(Describe(address) + " is of the wrong kind");
  return handle;
}

template <class T>
Ref<T> Ref<T>::Adopt(T* handle) {
  if (handle != nullptr) Host::Current().HoldOutside(handle);
  return Ref(handle);
}

template <class T>
Ref<T>::~Ref() {
  if (handle_ != nullptr && Host::Exists()) Host::Current().DropOutside(handle_);
}

}  // namespace sim
