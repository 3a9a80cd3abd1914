#pragma once

// The plugin as the host sees it: a shared object loaded by path, started once, and called by the
// declarations it registered. Unloaded at the end, so that the next Plugin starts fresh.

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/declaration.h"
#include "simulator/host.h"
#include "simulator/import_hooks.h"
#include "simulator/mangled_name.h"
#include "simulator/raw_call.h"

namespace sim {

/// A file that is no plugin, a method or a case that is not there, arguments that do not fit:
/// what() says what is wrong and what would be right.
struct PluginError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Result {
  Type type = Type::kNone;
  Ref<Picture> picture;
  Ref<String> string;
  /// Of another type, when it is a handle of the host.
  Ref<Handle> other;
  bool boolean = false;
  int64_t integer = 0;
  double number = 0;

  /// The result as text: "true", "-3", "5 x 3 pixels 89abcdef", "null".
  std::string Describe() const;
};

/// A row of a list of methods whose declaration cannot be read, and why.
struct UnreadableRow {
  std::string owner, declaration, why;
  /// "\"Break as\": the type of the result is missing"
  std::string Text() const { return '"' + declaration + "\": " + why; }
};

class Plugin {
 public:
  /// Throws PluginError. With hooks, the plugin's allocations and library look-ups go through the
  /// current host's ledger, log and faults.
  explicit Plugin(const std::string& path, bool hooks = true);
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  ~Plugin();

  /// Calls REALPluginMain and reads what it registered.
  void Start(Host& host);

  /// Of all class extensions, in the order of their registration.
  const std::vector<Method>& methods() const { return methods_; }
  /// Of registered classes and modules, and shared ones: read, never called here.
  const std::vector<Method>& others() const { return others_; }
  /// Rows of either kind that are not among them.
  const std::vector<UnreadableRow>& unreadable() const { return unreadable_; }
  /// The overload that takes these arguments. Throws PluginError.
  const Method& Choose(std::string_view name, const std::vector<Argument>& arguments) const;
  /// Calls a method on a picture (which may be null), with the defaults of the arguments left out.
  Result Call(std::string_view name, Picture* picture,
              const std::vector<Argument>& arguments = {}) const;
  Result Call(const Method& method, Picture* picture,
              const std::vector<Argument>& arguments = {}) const;

  /// The exported function or variable of that mangled name; null when there is none.
  template <class T>
  T* Symbol(const char* mangled) const {
    return reinterpret_cast<T*>(Address(mangled));
  }
  /// The exported function of that name and type; null when there is none.
  template <class Signature>
  Signature* Function(const std::string& name) const {
    return Symbol<Signature>(MangledName<Signature>::Of(name).c_str());
  }
  void* Address(const char* mangled) const;
  /// The name that the dynamic loader knows this plugin's file under.
  const std::string& path() const { return path_; }
  /// Files of the plugins that this one is linked with.
  std::vector<std::string> Neighbours() const;

  /// How the plugin is called. What it does not leave as it was is misuse.
  CallerHabits habits;

 private:
  uint64_t Run(RawCall call, const char* name, void* function, bool returnsNumber) const;

  std::string path_;
  void* library_;
  std::unique_ptr<ImportHooks> hooks_;
  void Read(const Host::MethodList& list, std::vector<Method>& into);

  std::vector<Method> methods_, others_;
  std::vector<UnreadableRow> unreadable_;
};

}  // namespace sim
