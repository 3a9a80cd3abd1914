// Entries for registration, classes, objects and exceptions, and the look-up over all tables.

#include <cstring>

#include "simulator/entry_table.h"

namespace sim {
namespace {

constexpr int kInterfaceVersion = 9;

void RegisterPluginVersion(Host& host, int version) {
  if (version != kInterfaceVersion) host.Misuse("unknown interface version");
  host.pluginVersion = version;
}

double GetVersion(Host& host) { return host.reportedVersion = host.settings.version; }

void RegisterClassExtension(Host& host, const REALclassDefinition* record) {
  if (host.pluginVersion == 0) host.Misuse("registered before its interface version");
  if (record->version != kInterfaceVersion) host.Misuse("wrong version of the record");
  if (std::strcmp(record->name, "Picture") != 0) host.Misuse("extends an unknown class");
  const bool consoleBits = (record->flags & ~0xC0000U) != 0;
  for (int i = 0; i < record->methodCount; ++i) {
    const REALmethodDefinition& method = record->methods[i];
    if (method.function == nullptr || method.secondFunction != nullptr) {
      host.Misuse("a method without its one function");
    }
    if (((method.flags & ~0xC0000U) != 0) != consoleBits) {
      host.Misuse("console flags differ between the class and its methods");
    }
  }
  host.extension = record;
}

const ClassRef* FindClassRef(Host& host, const char* name) { return host.FindClass(name); }

Object* Instantiate(Host& host, const ClassRef* classRef) {
  if (classRef == nullptr) return nullptr;
  if (classRef->info().name == "Picture") return host.Own(std::make_unique<Picture>(*classRef));
  return host.Own(std::make_unique<Object>(*classRef));
}

Object* InstantiateByName(Host& host, const char* name) {
  return Instantiate(host, host.FindClass(name));
}

bool ObjectIsA(Host& host, Object* object, const ClassRef* classRef) {
  return object != nullptr && classRef != nullptr && host.IsA(*object->classRef, *classRef);
}

Taken LockObject(Host& host, Object* object) {
  if (object == nullptr) host.Misuse("no object");
  host.Lock(object);
  return {};
}

void UnlockObject(Host& host, Object* object) {
  if (object == nullptr) host.Misuse("no object");
  host.Unlock(object);
}

void* LoadObjectMethod(Host& host, Object* object, const char* declaration) {
  if (object == nullptr || host.Missing(declaration)) return nullptr;
  const auto& methods = object->classRef->info().methods;
  const auto found = methods.find(std::string_view(declaration));
  return found == methods.end() ? nullptr : found->second;
}

void* LoadGlobalMethod(Host& host, void* nothing, const char* declaration) {
  if (nothing != nullptr) host.Misuse("a global method of an object");
  if (host.Missing(declaration)) return nullptr;
  static const MethodTable methods = GlobalMethods();
  const auto found = methods.find(std::string_view(declaration));
  return found == methods.end() ? nullptr : found->second;
}

void RaiseHostException(Host& host, Object* exception) {
  if (exception == nullptr) host.Misuse("no exception");
  host.raised.push_back(Ref<Object>::Adopt(exception));
}

}  // namespace

std::span<const EntryRow> RuntimeEntries() {
  static const EntryRow rows[] = {
      Row<"RegisterPluginVersion", RegisterPluginVersion>(),
      Row<"REALGetRBVersion", GetVersion>(),
      Row<"PluginRegisterClassExtension", RegisterClassExtension>(),
      Row<"pluginObjectType", FindClassRef>(),
      Row<"CreateInstance", Instantiate>(),
      Row<"PluginNewInstance", InstantiateByName>(),
      Row<"RuntimeObjectIsa", ObjectIsA>(),
      Row<"REALLockObject", LockObject>(),
      Row<"REALUnlockObject", UnlockObject>(),
      Row<"REALLoadObjectMethod", LoadObjectMethod>(),
      Row<"REALLoadGlobalMethod", LoadGlobalMethod>(),
      Row<"RuntimeRaiseException", RaiseHostException>(),
  };
  return rows;
}

void* EntryAddress(const char* name) {
  static const std::map<std::string, void*, std::less<>> addresses = [] {
    std::map<std::string, void*, std::less<>> all;
    for (const auto& table :
         {RuntimeEntries(), PropertyEntries(), PictureEntries(), StringEntries(), ArrayEntries()}) {
      for (const EntryRow& row : table) all[row.name] = row.function;
    }
    return all;
  }();
  const auto found = addresses.find(std::string_view(name));
  return found == addresses.end() ? nullptr : found->second;
}

std::vector<std::string> EntryNames() {
  std::vector<std::string> names;
  for (const auto& table :
       {RuntimeEntries(), PropertyEntries(), PictureEntries(), StringEntries(), ArrayEntries()}) {
    for (const EntryRow& row : table) names.emplace_back(row.name);
  }
  return names;
}

}  // namespace sim
