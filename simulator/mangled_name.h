#pragma once

// Under what name a shared object exports a function.

#include <string>
#include <typeinfo>

namespace sim {

/// Follows from a function's plain name and its C++ type: "Fv…E" is the name of the type, with the
/// same parameters between.
template <class Signature>
struct MangledName;
template <class Result, class... Args>
struct MangledName<Result(Args...)> {
  static std::string Of(const std::string& name) {
    const std::string type = typeid(void(Args...)).name();
    return "_Z" + std::to_string(name.size()) + name + type.substr(2, type.size() - 3);
  }
};

}  // namespace sim
