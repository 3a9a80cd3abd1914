// Entries for registration, classes, objects and exceptions, and the look-up over all tables.

#include <algorithm>

#include "simulator/entry_table.h"

namespace sim {
namespace {

constexpr int kInterfaceVersion = 9;

void RegisterPluginVersion(Host& host, int version) {
  if (version != kInterfaceVersion) host.Misuse("unknown interface version");
  host.pluginVersion = version;
}

double GetVersion(Host& host) { return host.reportedVersion = host.settings.version; }

// Flags: safe in console applications, only there, web only; and a plugin's own marks for the
// first two.
constexpr uint32_t kKnownFlags = 0x4 | 0x8 | 0x100 | 0x40000 | 0x80000;
constexpr uint32_t kSizeUnit = 16;

void CheckFlags(const Host& host, const char* what, uint32_t flags) {
  if ((flags & ~kKnownFlags) != 0) host.Misuse(std::string(what) + " has unknown flags");
}

void CheckMethods(const Host& host, const REALmethodDefinition* methods, int count) {
  const bool hasRows = count == 0 || (count > 0 && methods != nullptr);
  if (!hasRows) host.Misuse("a list of methods is impossible");
  for (int i = 0; i < count; ++i) {
    const char* const declaration = methods[i].declaration;
    if (declaration == nullptr) host.Misuse("a method has no declaration");
    if (methods[i].function == nullptr) host.Misuse(std::string(declaration) + " has no function");
    CheckFlags(host, declaration, methods[i].flags);
  }
}

void CheckClass(const Host& host, const REALclassDefinition* record) {
  // A host that cannot be told the version takes the record all the same.
  if (host.pluginVersion == 0 && !host.Missing("RegisterPluginVersion")) {
    host.Misuse("registered before its interface version");
  }
  if (record == nullptr || record->name == nullptr) host.Misuse("a class without a name");
  if (record->version != kInterfaceVersion) host.Misuse("wrong version of the record");
  if (record->size % kSizeUnit != 0) host.Misuse("the record's size is no multiple of 16");
  CheckFlags(host, record->name, record->flags);
  CheckMethods(host, record->methods, record->methodCount);
  CheckMethods(host, record->sharedMethods, record->sharedMethodCount);
}

void RegisterClassExtension(Host& host, const REALclassDefinition* record) {
  CheckClass(host, record);
  host.extensions.push_back(record);
  if (record->sharedMethodCount > 0) {
    const std::string name = record->name;
    host.registered.push_back("shared methods of " + name);
    host.otherMethods.push_back(
        {name + " (shared)", record->sharedMethods, record->sharedMethodCount});
  }
}

void RegisterClass(Host& host, const REALclassDefinition* record) {
  CheckClass(host, record);
  const std::string name = record->name;
  host.registered.push_back("the class " + name);
  host.otherMethods.push_back({"class " + name, record->methods, record->methodCount});
  host.otherMethods.push_back(
      {"class " + name + " (shared)", record->sharedMethods, record->sharedMethodCount});
}

void RegisterModule(Host& host, const REALmoduleDefinition* record) {
  if (record == nullptr) host.Misuse("no record");
  CheckMethods(host, record->methods, record->methodCount);
  host.registered.emplace_back("a module");
  host.otherMethods.push_back({"a module", record->methods, record->methodCount});
}

void RegisterMethod(Host& host, const REALmethodDefinition* record) {
  CheckMethods(host, record, 1);
  host.registered.push_back(record->declaration);
  host.otherMethods.push_back({"no class", record, 1});
}

void RegisterControl(Host& host, const REALcontrol* record) {
  if (record == nullptr || record->size % kSizeUnit != 0) {
    host.Misuse("the record's size is no multiple of 16");
  }
  host.registered.emplace_back("a control");
}

const ClassRef* FindClassRef(Host& host, const char* name) { return host.FindClass(name); }

Object* Instantiate(Host& host, const ClassRef* classRef) {
  if (classRef == nullptr) return nullptr;
  if (classRef->info().name == "Picture") return host.New<Picture>(*classRef);
  return host.New<Object>(*classRef);
}

Object* InstantiateByName(Host& host, const char* name) {
  return Instantiate(host, host.FindClass(name));
}

bool ObjectIsA(Host& host, Object* object, const ClassRef* classRef) {
  return object != nullptr && classRef != nullptr && host.IsA(*object->classRef, *classRef);
}

void* LoadMethod(const Host& host, std::string_view className, std::string_view declaration) {
  if (host.Missing(declaration)) return nullptr;
  for (const auto& table : {PictureMethods(), StringMethods()}) {
    for (const MethodRow& row : table) {
      if (row.className == className && row.declaration == declaration) return row.function;
    }
  }
  return nullptr;
}

void* LoadObjectMethod(Host& host, Object* object, const char* declaration) {
  if (object == nullptr) return nullptr;
  return LoadMethod(host, object->classRef->info().name, declaration);
}

void* LoadGlobalMethod(Host& host, void* nothing, const char* declaration) {
  if (nothing != nullptr) host.Misuse("a global method of an object");
  return LoadMethod(host, "", declaration);
}

void RaiseHostException(Host& host, Object& exception) {
  host.raised.push_back(Ref<Object>::Adopt(&exception));
}

}  // namespace

std::span<const EntryRow> RuntimeEntries() {
  static const EntryRow rows[] = {
      Row<"RegisterPluginVersion", RegisterPluginVersion>(),
      Row<"REALGetRBVersion", GetVersion>(),
      Row<"PluginRegisterClassExtension", RegisterClassExtension>(),
      Row<"PluginRegisterClass", RegisterClass>(),
      Row<"PluginRegisterModule", RegisterModule>(),
      Row<"PluginRegisterMethod", RegisterMethod>(),
      Row<"PluginRegisterControl", RegisterControl>(),
      Row<"pluginObjectType", FindClassRef>(),
      Row<"CreateInstance", Instantiate>(),
      Row<"PluginNewInstance", InstantiateByName>(),
      Row<"RuntimeObjectIsa", ObjectIsA>(),
      Row<"REALLockObject", LockHandle<Object>>(),
      Row<"REALUnlockObject", UnlockHandle<Object>>(),
      Row<"REALLoadObjectMethod", LoadObjectMethod>(),
      Row<"REALLoadGlobalMethod", LoadGlobalMethod>(),
      Row<"RuntimeRaiseException", RaiseHostException>(),
  };
  return rows;
}

std::span<const EntryRow> AllEntries() {
  static const std::vector<EntryRow> all = [] {
    std::vector<EntryRow> rows;
    for (const auto& table :
         {RuntimeEntries(), PropertyEntries(), PictureEntries(), StringEntries(), ArrayEntries()}) {
      rows.insert(rows.end(), table.begin(), table.end());
    }
    return rows;
  }();
  return all;
}

void* EntryAddress(std::string_view name) {
  const auto rows = AllEntries();
  const auto found = std::ranges::find(rows, name, &EntryRow::name);
  return found == rows.end() ? nullptr : found->function;
}

bool GivesBack(std::string_view entry) {
  return entry == "REALUnlockObject" || entry == "REALUnlockString" ||
         entry == "unlockPictureDescription" || entry == "PluginDisposeStringData";
}

std::vector<std::string> EntryNames() {
  std::vector<std::string> names;
  for (const EntryRow& row : AllEntries()) names.emplace_back(row.name);
  return names;
}

}  // namespace sim
