#pragma once

// What the simulated host's handles point to. Every kind starts with the words that the plugin may
// read (an object's lock count at byte 12, an array's elements at byte 8, a string's legacy layout)
// and is owned by the Host, also after its release: a released one stays as a poisoned shell, so
// that its use is noticed and named.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/host_types.h"
#include "simulator/storage.h"

namespace sim {

class Handle {
 public:
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  virtual ~Handle() = default;

  /// "picture", "string", …
  virtual const char* KindName() const = 0;
  /// "picture#3"
  std::string Name() const {
    return title.empty() ? std::string(KindName()) + "#" + std::to_string(serial_) : title;
  }
  bool live() const { return live_; }
  /// References that anybody holds.
  int references() const { return references_; }

  /// False once somebody wrote beside the bytes that the plugin gets to see.
  virtual bool GuardsIntact() const { return true; }
  /// Calls `visit` for each handle that this one holds a reference on; null handles included.
  using Visit = std::function<void(Handle*)>;
  virtual void VisitHeld(const Visit&) const {}

 protected:
  Handle() = default;

  // The plugin sees these three: bytes 4, 8 and 12.
  uint32_t word1_ = 0;
  uint32_t word2_ = 0;
  int32_t word3_ = 0;

 public:
  /// What messages and the log call it instead of its kind and number, when set: "the receiver".
  std::string title;

 private:
  friend class Host;
  void AddReferences(int change) {
    references_ += change;
    if (ShowsReferences()) word3_ = references_;
  }
  /// True where word 3 repeats the number of references.
  virtual bool ShowsReferences() const { return true; }
  /// Frees the content; what it held is released by the host.
  virtual void Clear() = 0;

  uint32_t serial_ = 0;
  int references_ = 0;
  int heldOutside_ = 0;             // by tests and tools
  const void* lockedAt_ = nullptr;  // the place in the plugin that took the last reference
  bool live_ = true;
  static void CheckLayout();
};

class String final : public Handle {
 public:
  String(std::string_view bytes, uint32_t textEncoding, Edge edge = Edge::kFences);
  const char* KindName() const override { return "string"; }
  REALstringStruct* handle() { return reinterpret_cast<REALstringStruct*>(this); }

  const char* text() const { return reinterpret_cast<const char*>(text_->bytes()) + 1; }
  std::string_view bytes() const { return {text(), size_}; }
  /// What the host says of the length in bytes; a malformed one may claim anything.
  int32_t length() const { return word3_; }
  void Claim(int32_t length) { word3_ = length; }

  uint32_t encoding;

 private:
  bool ShowsReferences() const override { return false; }
  void Clear() override;
  size_t size_;
  std::unique_ptr<FencedBytes> text_;
};

/// Kinds of property, one for each get entry.
enum class PropertyType {
  kInt,
  kUInt32,
  kInt64,
  kUInt64,
  kInt16,
  kUInt16,
  kInt8,
  kBool,
  kSingle,
  kDouble,
  kString,
  kObject
};

struct Property {
  PropertyType type;
  /// The value's bytes, little-endian, zero above its width.
  uint64_t bits = 0;
};

struct ClassInfo {
  std::string name = {};
  std::string super = {};
  std::map<std::string, Property, std::less<>> properties = {};
};

/// The host's own kind of pointer to a class; never reference-counted.
class ClassRef final : public Handle {
 public:
  explicit ClassRef(ClassInfo classInfo) : info_(std::move(classInfo)) {}
  const char* KindName() const override { return "class"; }
  REALclassRefStruct* handle() { return reinterpret_cast<REALclassRefStruct*>(this); }
  const ClassInfo& info() const { return info_; }

 private:
  void Clear() override {}
  ClassInfo info_;
};

/// An instance of any class.
class Object : public Handle {
 public:
  explicit Object(const ClassRef& objectClass)
      : classRef(&objectClass), properties(objectClass.info().properties) {}
  const char* KindName() const override { return "object"; }
  REALobjectStruct* object() { return reinterpret_cast<REALobjectStruct*>(this); }
  void VisitHeld(const Visit& visit) const override;

  const ClassRef* classRef;
  std::map<std::string, Property, std::less<>> properties;

 private:
  void Clear() override { properties.clear(); }
};

class Picture final : public Object {
 public:
  explicit Picture(const ClassRef& pictureClass) : Object(pictureClass) {}
  const char* KindName() const override { return "picture"; }
  REALpictureStruct* handle() { return reinterpret_cast<REALpictureStruct*>(this); }
  void VisitHeld(const Visit& visit) const override;

  bool GuardsIntact() const override;
  /// The pixels as they are, locks or not.
  Image Read() const;
  void Write(const Image& image);
  void Fill(Rgba colour);
  /// Digest of the pixels, if there are any.
  std::string Describe() const;
  template <class T>
  T& StorageAs() const {
    return dynamic_cast<T&>(*storage);
  }

  /// Null until the picture's constructor ran.
  std::unique_ptr<Storage> storage;
  Picture* mask = nullptr;
  int descriptionLocks = 0;
  /// The place in the plugin of the last lock.
  const void* descriptionLockedAt = nullptr;
  /// Failed locks that an old host wants one unlock for.
  int owedUnlocks = 0;
  int cacheClears = 0;
  /// Digest of the pixels when they were locked, and whether they changed under the lock and the
  /// cache was not cleared since (settings.watchesCaches).
  std::string lockedPixels;
  bool cacheIsStale = false;

 private:
  void Clear() override { storage.reset(); }
};

/// Draws into a picture, on which it holds no reference.
class Graphics final : public Object {
 public:
  Graphics(const ClassRef& graphicsClass, Picture& target)
      : Object(graphicsClass), picture(target) {}
  const char* KindName() const override { return "graphics"; }
  REALgraphicsStruct* handle() { return reinterpret_cast<REALgraphicsStruct*>(this); }

  Picture& picture;
};

class MemoryBlock final : public Object {
 public:
  MemoryBlock(const ClassRef& blockClass, size_t blockSize, Edge edge = Edge::kFences);
  const char* KindName() const override { return "memory block"; }
  REALmemoryBlockStruct* handle() { return reinterpret_cast<REALmemoryBlockStruct*>(this); }

  uint8_t* data() const { return bytes_->bytes(); }
  std::string_view bytes() const { return {reinterpret_cast<const char*>(data()), size}; }
  bool GuardsIntact() const override { return bytes_ == nullptr || bytes_->Intact(); }

  size_t size;
  /// Makes "memoryBlockGetPtr" answer null.
  bool hidden = false;

 private:
  void Clear() override { bytes_.reset(); }
  std::unique_ptr<FencedBytes> bytes_;
};

/// Element types of arrays; the host's own numbering.
enum class ElementType : uint32_t {
  kInt64,
  kUInt64,
  kInt32,
  kUInt32,
  kUInt16,
  kByte,
  kSingle,
  kDouble,
  kString,
  kObject
};

class Array final : public Object {
 public:
  Array(const ClassRef& arrayClass, ElementType elementType, size_t count);
  const char* KindName() const override { return "array"; }
  REALarrayStruct* handle() { return reinterpret_cast<REALarrayStruct*>(this); }
  void VisitHeld(const Visit& visit) const override;

  size_t elementSize() const;
  size_t count() const { return elements_.size() / elementSize(); }
  template <class T>
  T& At(size_t index) {
    return reinterpret_cast<T*>(elements_.data())[index];
  }
  /// Opens a gap of one zero element at `index`.
  void OpenGap(size_t index);

  const ElementType type;
  /// Makes the providers answer null for this array.
  bool withoutProcedures = false;

 private:
  void Clear() override { elements_.clear(); }
  std::vector<uint8_t> elements_;
};

}  // namespace sim
