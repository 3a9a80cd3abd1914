#pragma once

// The plugin's exported functions by their plain names and C++ types: the mangled name follows from
// both, so a function that is exported with other types than these is not found.

#include <string>
#include <typeinfo>

#include "tests/session.h"

template <class Signature>
struct SignatureName;

template <class Result, class... Args>
struct SignatureName<Result(Args...)> {
  /// "Fv…E" is the type's own name; the parameters between are spelled alike in a function's name.
  static std::string Mangled(const std::string& name) {
    const std::string type = typeid(void(Args...)).name();
    return "_Z" + std::to_string(name.size()) + name + type.substr(2, type.size() - 3);
  }
};

/// Function<long(void*)>(plugin, "REALGetArrayUBound"); throws when there is none of that type.
template <class Signature>
Signature* Function(const sim::Plugin& plugin, const std::string& name) {
  return Exported<Signature>(plugin, SignatureName<Signature>::Mangled(name));
}

/// A process-wide variable of the plugin.
template <class T>
T& Variable(const sim::Plugin& plugin, const char* name) {
  T* const variable = plugin.Symbol<T>(name);
  if (variable == nullptr) throw std::runtime_error(std::string("not exported: ") + name);
  return *variable;
}
