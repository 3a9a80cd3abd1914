// Entries for properties and variants: one get and one set per value type, all made from the same
// two functions. A property has exactly one type; asking through another type's entry is misuse, as
// is asking for one that the class does not have. What a get entry hands out carries a reference
// for the caller.

#include <cstring>
#include <utility>

#include "simulator/entry_table.h"

namespace sim {
namespace {

template <class T>
T FromBits(uint64_t bits) {
  T value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

template <class T>
uint64_t ToBits(T value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof value);
  return bits;
}

/// The property, or null where there is no object or the host is told to lack the property.
Property* FindProperty(Host& host, Object* object, const char* name, PropertyType type) {
  if (object == nullptr || host.Missing(name)) return nullptr;
  const auto found = object->properties.find(std::string_view(name));
  if (found == object->properties.end()) {
    host.Misuse(object->Name() + " has no property " + name);
  }
  if (found->second.type != type) host.Misuse(std::string(name) + " has another type");
  return &found->second;
}

template <PropertyType kType, class T>
bool Get(Host& host, Object* object, const char* name, T* out) {
  const Property* const property = FindProperty(host, object, name, kType);
  if (property == nullptr) return false;
  *out = FromBits<T>(property->bits);
  LockValue(host, *out);
  return true;
}

template <PropertyType kType, class T>
bool Set(Host& host, Object* object, const char* name, T value) {
  Property* const property = FindProperty(host, object, name, kType);
  if (property == nullptr) return false;
  LockValue(host, value);
  UnlockValue(host, FromBits<T>(std::exchange(property->bits, ToBits(value))));
  return true;
}

template <PropertyType kType, class T>
Object* ToVariant(Host& host, T value) {
  auto* const variant = host.New<Object>(host.OwnClass("Variant"));
  variant->properties["Value"] = {kType, ToBits(value)};
  LockValue(host, value);
  return variant;
}

}  // namespace

std::span<const EntryRow> PropertyEntries() {
  using enum PropertyType;
  static const EntryRow rows[] = {
      Row<"REALGetPropValueInt", Get<kInt, int32_t>>(),
      Row<"REALGetPropValueUInt32", Get<kUInt32, uint32_t>>(),
      Row<"REALGetPropValueInt64", Get<kInt64, int64_t>>(),
      Row<"REALGetPropValueUInt64", Get<kUInt64, uint64_t>>(),
      Row<"REALGetPropValueInt16", Get<kInt16, int16_t>>(),
      Row<"REALGetPropValueUInt16", Get<kUInt16, uint16_t>>(),
      Row<"REALGetPropValueInt8", Get<kInt8, int8_t>>(),
      Row<"REALGetPropValueBool", Get<kBool, uint8_t>>(),
      Row<"REALGetPropValueSingle", Get<kSingle, float>>(),
      Row<"REALGetPropValueDouble", Get<kDouble, double>>(),
      Row<"REALGetPropValueString", Get<kString, String*>>(),
      Row<"REALGetPropValueObject", Get<kObject, Object*>>(),
      Row<"REALSetPropValueInt", Set<kInt, int32_t>>(),
      Row<"REALSetPropValueUInt32", Set<kUInt32, uint32_t>>(),
      Row<"REALSetPropValueInt64", Set<kInt64, int64_t>>(),
      Row<"REALSetPropValueUInt64", Set<kUInt64, uint64_t>>(),
      Row<"REALSetPropValueBoolean", Set<kBool, uint8_t>>(),
      Row<"REALSetPropValueDouble", Set<kDouble, double>>(),
      Row<"REALSetPropValueString", Set<kString, String*>>(),
      Row<"REALSetPropValueObject", Set<kObject, Object*>>(),
      Row<"StringToVariant", ToVariant<kString, String*>>(),
      Row<"Int32ToVariant", ToVariant<kInt, int32_t>>(),
      Row<"UInt32ToVariant", ToVariant<kUInt32, uint32_t>>(),
      Row<"Int64ToVariant", ToVariant<kInt64, int64_t>>(),
      Row<"UInt64ToVariant", ToVariant<kUInt64, uint64_t>>(),
      Row<"SingleToVariant", ToVariant<kSingle, float>>(),
      Row<"DoubleToVariant", ToVariant<kDouble, double>>(),
      Row<"BooleanToVariant", ToVariant<kBool, uint8_t>>(),
      Row<"ColorToVariant", ToVariant<kUInt32, uint32_t>>(),
  };
  return rows;
}

}  // namespace sim
