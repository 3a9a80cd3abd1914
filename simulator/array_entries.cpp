// Entries for arrays: plain ones, and the providers, which answer an array's element procedures.
// Element procedures show up in the log as "get procedure", "set procedure", "insert procedure".

#include <utility>

#include "simulator/entry_table.h"

namespace sim {
namespace {

size_t CheckIndex(const Host& host, const Array& array, int index, size_t end) {
  if (index < 0 || static_cast<size_t>(index) >= end) {
    host.Misuse("index " + std::to_string(index) + " outside " + array.Name());
  }
  return static_cast<size_t>(index);
}

template <class T>
T GetElement(Host& host, Array* array, int index) {
  const T value = array->At<T>(CheckIndex(host, *array, index, array->count()));
  LockValue(host, value);
  return value;
}

template <class T>
void SetElement(Host& host, Array* array, T value, int index) {
  T& element = array->At<T>(CheckIndex(host, *array, index, array->count()));
  LockValue(host, value);
  UnlockValue(host, std::exchange(element, value));
}

template <class T>
void InsertElement(Host& host, Array* array, int index, T value) {
  array->OpenGap(CheckIndex(host, *array, index, array->count() + 1));
  SetElement<T>(host, array, value, index);
}

struct Procedures {
  void* get;
  void* set;
  void* insert;
};

template <class T>
Procedures ProceduresFor() {
  return {Wrapped<"get procedure", GetElement<T>>(), Wrapped<"set procedure", SetElement<T>>(),
          Wrapped<"insert procedure", InsertElement<T>>()};
}

const Procedures& ProceduresOf(ElementType type) {
  static const Procedures all[] = {ProceduresFor<int64_t>(),  ProceduresFor<uint64_t>(),
                                   ProceduresFor<int32_t>(),  ProceduresFor<uint32_t>(),
                                   ProceduresFor<uint16_t>(), ProceduresFor<uint8_t>(),
                                   ProceduresFor<float>(),    ProceduresFor<double>(),
                                   ProceduresFor<String*>(),  ProceduresFor<Object*>()};
  return all[static_cast<size_t>(type)];
}

template <void* Procedures::*kProcedure>
void* Provide(Host&, Array* array) {
  if (array == nullptr || array->withoutProcedures) return nullptr;
  return ProceduresOf(array->type).*kProcedure;
}

int UpperBound(Host&, Array* array) {
  return array == nullptr ? -1 : static_cast<int>(array->count()) - 1;
}

Array* CreateArray(Host& host, uint32_t type, int bound) {
  if (type > static_cast<uint32_t>(ElementType::kObject) || bound < -1) return nullptr;
  return host.New<Array>(host.OwnClass("Array"), static_cast<ElementType>(type),
                         static_cast<size_t>(bound + 1));
}

}  // namespace

std::span<const EntryRow> ArrayEntries() {
  static const EntryRow rows[] = {
      Row<"RuntimeUBound", UpperBound>(),
      Row<"RuntimeArrayCreateSingleDimBoundedArray", CreateArray>(),
      Row<"RuntimeDirectReadIntArray", GetElement<int32_t>>(),
      Row<"RuntimeDirectReadStringArray", GetElement<String*>>(),
      Row<"RuntimeDirectReadObjectArray", GetElement<Object*>>(),
      Row<"RuntimeArrayDirectGetGetProc", Provide<&Procedures::get>>(),
      Row<"RuntimeArrayDirectGetSetProc", Provide<&Procedures::set>>(),
      Row<"RuntimeArrayDirectGetInsertProc", Provide<&Procedures::insert>>(),
  };
  return rows;
}

}  // namespace sim
