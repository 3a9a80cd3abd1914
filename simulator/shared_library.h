#pragma once

// A library of the desktop, opened at run time as the host itself would: nothing here is linked
// with Cairo or GDK. Once opened it stays for the life of the process.

#include <dlfcn.h>

#include <string>

namespace sim {

class SharedLibrary {
 public:
  /// `package`: what Debian calls the one that brings it.
  SharedLibrary(const char* name, const char* package) : library_(dlopen(name, RTLD_NOW)) {
    if (library_ != nullptr) return;
    const char* const architecture = sizeof(void*) == 4 ? ":i386" : "";
    problem_ = std::string(dlerror()) + " (Debian's package " + package + architecture + ")";
  }

  /// Points `function` to the library's entry of that name; null when the library or the entry is
  /// missing, and problem() then says so.
  template <class Function>
  void Find(Function*& function, const char* name) {
    function = library_ == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library_, name));
    if (function == nullptr && problem_.empty()) problem_ = std::string(name) + " is missing";
  }

  /// Why something could not be had; empty while nothing is wrong.
  const std::string& problem() const { return problem_; }

 private:
  void* library_;
  std::string problem_;
};

}  // namespace sim
