// The three operations are written once, as templates over the element type; the overloads below
// them only name the type. Every overload has an entry of its own, inside the template.

#include "host/host_arrays.h"

#include <cstring>
#include <type_traits>

#include "host/host_calls.h"
#include "host/host_entry.h"
#include "host/host_references.h"
#include "host/scope_exit.h"

using velpicture::AddReference;
using velpicture::CallHost;
using velpicture::DropReference;
using velpicture::HostEntry;
using velpicture::LockEntry;
using velpicture::Promoted;
using velpicture::ScopeExit;

namespace {

template <class T>
using InsertProcedure = void (*)(REALarrayStruct* array, long index, Promoted<T> value);
template <class T>
using GetProcedure = T (*)(REALarrayStruct* array, long index);
/// The value stands before the index here.
template <class T>
using SetProcedure = void (*)(REALarrayStruct* array, Promoted<T> value, long index);

template <class Procedure>
using Provider = Procedure (*)(REALarrayStruct* array);

template <class T>
char* Element(REALarrayStruct* array, long index) {
  return static_cast<char*>(array->elements) + index * static_cast<long>(sizeof(T));
}

template <class T>
T LoadElement(REALarrayStruct* array, long index) {
  T value;
  std::memcpy(&value, Element<T>(array, index), sizeof value);
  return value;
}

template <class T>
T ReadElement(REALarrayStruct* array, long index) {
  const T value = LoadElement<T>(array, index);
  if constexpr (std::is_pointer_v<T>) {
    if (value != nullptr) AddReference(value);
  }
  return value;
}

template <class T>
void StoreElement(REALarrayStruct* array, T value, long index) {
  std::memcpy(Element<T>(array, index), &value, sizeof value);
}

template <class T>
void WriteElement(REALarrayStruct* array, T value, long index) {
  if constexpr (std::is_pointer_v<T>) {
    // The new reference comes first: storing what the element already holds must not destroy it.
    const T old = LoadElement<T>(array, index);
    const auto lock = LockEntry(value);
    if (value != nullptr && lock != nullptr) lock(value);
    // The array owns that reference even when the host throws while it destroys the old element.
    const ScopeExit store([=] { StoreElement(array, value, index); });
    // Where nobody can add a reference, the new element takes over the one that the old one has.
    if (old != nullptr && (lock != nullptr || value == nullptr)) DropReference(old);
  } else {
    StoreElement(array, value, index);
  }
}

template <class T>
GetProcedure<T> ProvideReadElement(REALarrayStruct*) {
  return ReadElement<T>;
}
template <class T>
SetProcedure<T> ProvideWriteElement(REALarrayStruct*) {
  return WriteElement<T>;
}

template <class T>
void InsertValue(REALarrayStruct* array, long index, T value) {
  static constinit HostEntry<InsertProcedure<T>(REALarrayStruct*)> entry(
      "RuntimeArrayDirectGetInsertProc");
  const InsertProcedure<T> insert = entry(array);
  if (insert != nullptr) insert(array, index, value);
}

template <class T>
void GetValue(REALarrayStruct* array, long index, T* out, Provider<GetProcedure<T>> builtIn) {
  static constinit HostEntry<GetProcedure<T>(REALarrayStruct*)> entry(
      "RuntimeArrayDirectGetGetProc");
  const Provider<GetProcedure<T>> provider = entry.AddressOr(builtIn);
  if (provider == nullptr) return;
  const GetProcedure<T> get = provider(array);
  if (get != nullptr && out != nullptr) *out = get(array, index);
}

template <class T>
void SetValue(REALarrayStruct* array, long index, T value) {
  static constinit HostEntry<SetProcedure<T>(REALarrayStruct*)> entry(
      "RuntimeArrayDirectGetSetProc");
  const SetProcedure<T> set = entry.AddressOr(ProvideWriteElement<T>)(array);
  if (set != nullptr) set(array, value, index);
}

}  // namespace

long REALGetArrayUBound(void* array) { return CallHost<"RuntimeUBound", long>(array); }
REALarrayStruct* REALCreateArray(REALArrayType type, long upperBound) {
  return CallHost<"RuntimeArrayCreateSingleDimBoundedArray", REALarrayStruct*>(type, upperBound);
}
long REALGetArrayInt(REALintArrayStruct* array, int index) {
  return CallHost<"RuntimeDirectReadIntArray", long>(array, index);
}
REALstringStruct* REALGetArrayString(REALstringArrayStruct* array, int index) {
  return CallHost<"RuntimeDirectReadStringArray", REALstringStruct*>(array, index);
}
REALobjectStruct* REALGetArrayObject(REALobjectArrayStruct* array, int index) {
  return CallHost<"RuntimeDirectReadObjectArray", REALobjectStruct*>(array, index);
}

#define VEL_INSERT(Type)                                                      \
  void REALInsertArrayValue(REALarrayStruct* array, long index, Type value) { \
    InsertValue(array, index, value);                                         \
  }
#define VEL_GET(Type, builtIn)                                            \
  void REALGetArrayValue(REALarrayStruct* array, long index, Type* out) { \
    GetValue<Type>(array, index, out, builtIn);                           \
  }
#define VEL_SET(Type)                                                      \
  void REALSetArrayValue(REALarrayStruct* array, long index, Type value) { \
    SetValue(array, index, value);                                         \
  }
#define VEL_ALL(Type)                     \
  VEL_INSERT(Type)                        \
  VEL_GET(Type, ProvideReadElement<Type>) \
  VEL_SET(Type)
VEL_ALL(long long)
VEL_ALL(unsigned long long)
VEL_ALL(long)
VEL_ALL(unsigned long)
VEL_ALL(double)
VEL_ALL(REALstringStruct*)
VEL_ALL(REALobjectStruct*)
VEL_INSERT(float)
VEL_GET(float, ProvideReadElement<float>)
VEL_INSERT(unsigned short)
VEL_GET(unsigned short, nullptr)
VEL_GET(unsigned char, ProvideReadElement<unsigned char>)
