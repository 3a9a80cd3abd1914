#include "simulator/plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "simulator/entry_table.h"
#include "simulator/nearest.h"

namespace sim {
namespace {

void Push(RawCall& call, const Argument& value, Type type) {
  if (const auto* number = std::get_if<double>(&value)) {
    if (type == Type::kSingle) {
      call.Push(std::bit_cast<uint32_t>(static_cast<float>(*number)));
    } else {
      call.Push(*number);
    }
  }
  if (const auto* colour = std::get_if<Color>(&value)) call.Push(colour->value);
  if (const auto* string = std::get_if<String*>(&value)) call.Push(*string);
  if (const auto* picture = std::get_if<Picture*>(&value)) call.Push(*picture);
  if (const auto* whole = std::get_if<int64_t>(&value)) {
    if (type == Type::kInt64) {
      call.Push(*whole);
    } else {
      call.Push(static_cast<uint32_t>(*whole));
    }
  }
}

/// The arguments as the method takes them, defaults filled in; empty when they do not fit.
std::optional<std::vector<Argument>> Fit(const Method& method,
                                         const std::vector<Argument>& arguments) {
  if (arguments.size() > method.parameters.size()) return std::nullopt;
  std::vector<Argument> fitted;
  for (size_t i = 0; i < method.parameters.size(); ++i) {
    const Parameter& parameter = method.parameters[i];
    const auto value =
        i < arguments.size() ? Convert(arguments[i], parameter.type) : parameter.defaultValue;
    if (!value) return std::nullopt;
    fitted.push_back(*value);
  }
  return fitted;
}

/// What keeps a call from being one of this method: the number that is none of the type wanted, or
/// the arguments as a whole.
std::string Misfit(const Method& method, const std::vector<Argument>& arguments) {
  const size_t count = std::min(arguments.size(), method.parameters.size());
  for (size_t i = 0; i < count; ++i) {
    const Type type = method.parameters[i].type;
    const auto* const whole = std::get_if<int64_t>(&arguments[i]);
    if (whole == nullptr || Convert(arguments[i], type)) continue;
    const bool comma = i > 0 && std::holds_alternative<int64_t>(arguments[i - 1]);
    return std::to_string(*whole) + " is no " + (type == Type::kColor ? "colour" : TypeName(type)) +
           (comma ? "; decimals take a point" : "");
  }
  return "the arguments of " + method.name + " do not fit";
}

/// Bytes as text that every reader takes, whatever they are; of many the first, and what tells them
/// from others.
std::string Quoted(std::string_view bytes) {
  constexpr size_t kMostBytes = 200;
  if (bytes.size() > kMostBytes) {
    return Quoted(bytes.substr(0, 40)) + " and so on, " + std::to_string(bytes.size()) +
           " bytes with hash " + std::to_string(std::hash<std::string_view>()(bytes));
  }
  std::string text = "\"";
  for (const char c : bytes) {
    char letter[8];
    std::snprintf(letter, sizeof letter, c >= ' ' && c <= '~' ? "%c" : "\\x%02x", c & 0xFF);
    text += letter;
  }
  return text + '"';
}

/// The entry point that the library itself has, not one that it is linked with; null for none.
void* EntryPointOf(void* library) {
  void* const found = dlsym(library, "REALPluginMain");
  link_map* map = nullptr;
  Dl_info where;
  const bool own = found != nullptr && dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 &&
                   dladdr(found, &where) != 0 && std::strcmp(where.dli_fname, map->l_name) == 0;
  return own ? found : nullptr;
}

template <class T>
T* LiveResult(const Host& host, uint64_t raw) {
  const auto* const address = reinterpret_cast<const void*>(static_cast<uintptr_t>(raw));
  if (address == nullptr) return nullptr;
  Handle* const known = host.Known(address);
  if (known == nullptr) {
    const std::string name = host.Describe(address);
    host.Misuse("returned " +
                (name == "*" ? "no handle of this host" : name + " after its release"));
  }
  T* const handle = dynamic_cast<T*>(known);
  if (handle == nullptr)
    host.Misuse("returned " + known->Name() + ", of another type than declared");
  return handle;
}

/// What the dynamic loader says, which may be about a library that the plugin needs.
std::string LoadingProblem(const std::string& path) {
  const std::string problem = dlerror(), itself = path + ": ";
  return problem.starts_with(itself) ? problem.substr(itself.size()) : problem;
}

}  // namespace

std::string Result::Describe() const {
  char text[32];
  switch (type) {
    case Type::kPicture:
      return picture ? picture->Describe() : "null";
    case Type::kString:
      return string ? Quoted(string->bytes()) : "null";
    case Type::kBoolean:
      return boolean ? "true" : "false";
    case Type::kDouble:
    case Type::kSingle:
      std::snprintf(text, sizeof text, "%.17g", number);
      return text;
    case Type::kOther:
      return other ? other->KindName() : "nothing known";
    case Type::kNone:
      return "nothing";
    default:
      return std::to_string(integer);
  }
}

Plugin::Plugin(const std::string& path, bool hooks)
    : path_(path), library_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (library_ == nullptr) throw PluginError(path_ + " cannot be loaded: " + LoadingProblem(path_));
  if (EntryPointOf(library_) == nullptr) {
    dlclose(library_);
    throw PluginError(path_ + " has no entry point REALPluginMain: it is no plugin");
  }
  if (hooks) hooks_ = std::make_unique<ImportHooks>(library_);
}

Plugin::~Plugin() { dlclose(library_); }

void* Plugin::Address(const char* mangled) const { return dlsym(library_, mangled); }

std::vector<std::string> Plugin::Neighbours() const {
  std::vector<std::string> paths;
  link_map* map = nullptr;
  if (dlinfo(library_, RTLD_DI_LINKMAP, &map) != 0) return paths;
  for (const link_map* each = map->l_next; each != nullptr; each = each->l_next) {
    void* const library = dlopen(each->l_name, RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) continue;
    if (EntryPointOf(library) != nullptr) paths.emplace_back(each->l_name);
    dlclose(library);
  }
  return paths;
}

uint64_t Plugin::Run(RawCall call, const char* name, void* function, bool returnsNumber) const {
  Host& host = Host::Current();
  const CallScope scope(host, name);
  CallerHabits now = habits;
  if (host.settings.bites) {
    now.litter = host.NextLitter();
    now.littersStack = true;
  }
  std::string broken;
  const uint64_t raw = call.Run(function, now, returnsNumber, broken);
  host.now.site = function;
  host.CheckFences();
  if (broken.empty()) return raw;
  host.Misuse("did not leave its caller's as it was: " + broken);
}

void Plugin::Start(Host& host) {
  host.pluginVersion = 0;
  host.extensions.clear();
  host.otherMethods.clear();
  RawCall call;
  call.Push(reinterpret_cast<const void*>(Host::Resolve));
  Run(call, "start-up", EntryPointOf(library_), false);
  methods_.clear();
  others_.clear();
  unreadable_.clear();
  for (const REALclassDefinition* extension : host.extensions) {
    Read({extension->name, extension->methods, extension->methodCount}, methods_);
  }
  for (const Host::MethodList& list : host.otherMethods) Read(list, others_);
}

void Plugin::Read(const Host::MethodList& list, std::vector<Method>& into) {
  for (int i = 0; i < list.count; ++i) {
    const REALmethodDefinition& row = list.rows[i];
    try {
      Method method = ParseDeclaration(row.declaration);
      method.owner = list.owner;
      method.function = row.function;
      method.flags = row.flags;
      into.push_back(std::move(method));
    } catch (const Unreadable& why) {
      unreadable_.push_back({list.owner, row.declaration, why.what()});
    }
  }
}

const Method& Plugin::Choose(std::string_view name, const std::vector<Argument>& arguments) const {
  std::string misfit, forms;
  for (const Method& method : methods_) {
    if (!SameWord(method.name, name)) continue;
    if (Fit(method, arguments)) return method;
    misfit = Misfit(method, arguments);
    forms += (forms.empty() ? "" : ", or ") + method.declaration;
  }
  if (!forms.empty()) {
    throw PluginError(misfit + "; it is declared as " + forms);
  }
  const std::string nearest = NearestName(name, methods_, &Method::name);
  if (!nearest.empty()) forms = ": did you mean " + nearest + "?";
  for (const UnreadableRow& row : unreadable_) forms += "; unreadable: " + row.Text();
  throw PluginError("there is no method " + std::string(name) + forms);
}

Result Plugin::Call(std::string_view name, Picture* picture,
                    const std::vector<Argument>& arguments) const {
  return Call(Choose(name, arguments), picture, arguments);
}

Result Plugin::Call(const Method& method, Picture* picture,
                    const std::vector<Argument>& arguments) const {
  const auto fitted = Fit(method, arguments);
  if (!fitted) throw PluginError("the arguments do not fit " + method.declaration);
  RawCall call;
  call.Push(picture);
  for (size_t i = 0; i < fitted->size(); ++i) Push(call, (*fitted)[i], method.parameters[i].type);
  const bool returnsNumber = method.result == Type::kDouble || method.result == Type::kSingle;
  const uint64_t raw = Run(call, method.name.c_str(), method.function, returnsNumber);

  Result result;
  result.type = method.result;
  Host& host = Host::Current();
  const CallScope scope(host, method.name.c_str());
  host.now.site = method.function;
  switch (method.result) {
    case Type::kPicture:
      result.picture = Ref<Picture>::Adopt(LiveResult<Picture>(host, raw));
      break;
    case Type::kString:
      result.string = Ref<String>::Adopt(LiveResult<String>(host, raw));
      break;
    case Type::kBoolean:
      if ((raw & 0xFF) > 1) host.Misuse("a boolean result is neither 0 nor 1");
      result.boolean = (raw & 0xFF) != 0;
      break;
    case Type::kInteger:
      result.integer = static_cast<int32_t>(raw);
      break;
    case Type::kInt64:
      result.integer = static_cast<int64_t>(raw);
      break;
    case Type::kColor:
      result.integer = static_cast<uint32_t>(raw);
      break;
    case Type::kDouble:
    case Type::kSingle:
      result.number = std::bit_cast<double>(raw);
      break;
    case Type::kOther:
      result.other = Ref<Handle>::Adopt(
          host.Known(reinterpret_cast<const void*>(static_cast<uintptr_t>(raw))));
      break;
    case Type::kNone:
      break;
  }
  return result;
}

}  // namespace sim
