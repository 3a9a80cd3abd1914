#pragma once

// A library of the desktop, opened at run time as the host itself would: nothing here is linked
// with Cairo or GDK. Once opened it stays for the life of the process.

#include <dlfcn.h>

#include <string>

namespace sim {

class SharedLibrary {
 public:
  /// Why something could not be had; empty while nothing is wrong.
  const std::string& problem() const { return problem_; }

 protected:
  /// `package`: what Debian calls the one that brings it.
  SharedLibrary(const char* name, const char* package) : library_(dlopen(name, RTLD_NOW)) {
    if (library_ != nullptr) return;
    const char* const architecture = sizeof(void*) == 4 ? ":i386" : "";
    problem_ = std::string(dlerror()) + " (Debian's package " + package + architecture + ")";
  }

  /// An entry, as the type of function that it is taken for.
  struct Entry {
    void* address;
    template <class Function>
    operator Function*() const {  // NOLINT(google-explicit-constructor)
      return reinterpret_cast<Function*>(address);
    }
  };
  /// Null when the library or the entry is missing, and problem() then says so.
  Entry Find(const char* name) {
    void* const address = library_ == nullptr ? nullptr : dlsym(library_, name);
    if (address == nullptr && problem_.empty()) problem_ = std::string(name) + " is missing";
    return {address};
  }

  std::string problem_;

 private:
  void* library_;
};

}  // namespace sim
