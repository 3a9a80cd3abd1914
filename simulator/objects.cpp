#include "simulator/objects.h"

#include <cstring>

namespace sim {
namespace {

// Bytes of memory blocks are fenced like pixels, only thinner.
constexpr size_t kBlockFence = 16;

Handle* HandleIn(uint64_t bits) { return reinterpret_cast<Handle*>(static_cast<uintptr_t>(bits)); }

}  // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
void Handle::CheckLayout() {
  static_assert(IsHostLayout(offsetof(Handle, word1_), offsetof(REALstringLegacyLayout, storage)));
  static_assert(IsHostLayout(offsetof(Handle, word2_), offsetof(REALarrayStruct, elements)));
  static_assert(IsHostLayout(offsetof(Handle, word3_), offsetof(REALobjectHeader, lockCount)));
  static_assert(
      IsHostLayout(offsetof(Handle, word3_), offsetof(REALstringLegacyLayout, lengthBytes)));
}
#pragma GCC diagnostic pop

String::String(std::string_view bytes, uint32_t textEncoding, Edge edge)
    // One odd byte before the text, one NUL after it, and not a byte more.
    : encoding(textEncoding),
      size_(bytes.size()),
      text_(FencedBytes::Make(bytes.size() + 2, edge, 0)) {
  text_->bytes()[0] = kGuardByte;
  std::memcpy(text_->bytes() + 1, bytes.data(), bytes.size());
  text_->Allow(FencedBytes::Access::kRead);
  word1_ = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(text_->bytes()));
  word3_ = static_cast<int32_t>(bytes.size());
}

void String::Clear() {
  text_->Allow(FencedBytes::Access::kWrite);
  std::memset(text_->bytes(), 0xDD, text_->size());
  text_.reset();
}

void Object::VisitHeld(const Visit& visit) const {
  for (const auto& [name, property] : properties) {
    if (property.type == PropertyType::kString || property.type == PropertyType::kObject) {
      visit(HandleIn(property.bits));
    }
  }
}

void Picture::VisitHeld(const Visit& visit) const {
  Object::VisitHeld(visit);
  visit(mask);
}

bool Picture::GuardsIntact() const {
  if (storage == nullptr) return true;
  const OpenPixels open(*storage);
  return storage->GuardsIntact();
}

Image Picture::Read() const {
  const OpenPixels open(*storage);
  Image image(storage->width(), storage->height());
  for (int y = 0; y < image.height; ++y) storage->ReadRow(y, image.Row(y));
  return image;
}

void Picture::Write(const Image& image) {
  const OpenPixels open(*storage);
  for (int y = 0; y < image.height; ++y) storage->WriteRow(y, image.Row(y));
}

std::string Picture::Describe() const {
  return storage == nullptr ? "a picture never constructed" : Digest(Read());
}

void Picture::Fill(Rgba colour) {
  const OpenPixels open(*storage);
  const std::vector<Rgba> row(static_cast<size_t>(storage->width()), colour);
  for (int y = 0; y < storage->height(); ++y) storage->WriteRow(y, row.data());
}

MemoryBlock::MemoryBlock(const ClassRef& blockClass, size_t blockSize, Edge edge)
    : Object(blockClass),
      size(blockSize),
      bytes_(FencedBytes::Make(blockSize, edge, kBlockFence)) {}

Array::Array(const ClassRef& arrayClass, ElementType elementType, size_t count)
    : Object(arrayClass), type(elementType), elements_(count * elementSize()) {
  word2_ = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(elements_.data()));
}

size_t Array::elementSize() const {
  constexpr size_t kSizes[] = {8, 8, 4, 4, 2, 1, 4, 8, sizeof(void*), sizeof(void*)};
  return kSizes[static_cast<size_t>(type)];
}

void Array::OpenGap(size_t index) {
  elements_.insert(elements_.begin() + static_cast<ptrdiff_t>(index * elementSize()), elementSize(),
                   uint8_t{0});
  word2_ = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(elements_.data()));
}

void Array::VisitHeld(const Visit& visit) const {
  Object::VisitHeld(visit);
  if (type != ElementType::kString && type != ElementType::kObject) return;
  for (size_t i = 0; i < count(); ++i) visit(reinterpret_cast<Handle* const*>(elements_.data())[i]);
}

}  // namespace sim
