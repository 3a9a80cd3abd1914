#pragma once

// The plugin's two view classes as a caller without their headers sees them: memory of their size,
// exported members, and fields at known offsets.

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "tests/session.h"

/// One of the encodings that text is handed out in.
struct Encoding {
  const char* name;  ///< as in the names of the members
  uint32_t value;
  int slot;
  size_t unitBytes;
};
inline constexpr Encoding kEncodings[] = {
    {"UTF8", kEncodingUtf8, 3, 1},
    {"ASCII", kEncodingAscii, 2, 1},
    {"Windows", kEncodingWindowsLatin1, 0, 1},
    {"MacRoman", kEncodingMacRoman, 1, 1},
    {"UTF16", kEncodingUtf16, 4, 2},
};

inline std::string Sized(const std::string& name) { return std::to_string(name.size()) + name; }

template <size_t kSize>
class View {
 public:
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  ~View() noexcept(false) { Destroy(); }

  /// May be called any number of times.
  void Destroy() { Call<void>("D1Ev"); }
  template <class T = uint32_t>
  T At(size_t offset) const {
    T value;
    std::memcpy(&value, memory_ + offset, sizeof value);
    return value;
  }
  std::array<uint32_t, kSize / 4> Words() const { return At<std::array<uint32_t, kSize / 4>>(0); }

 protected:
  template <class... Args>
  View(const sim::Plugin& plugin, const char* className, const std::string& constructor,
       Args... args)
      : plugin_(plugin), class_(Sized(className)) {
    std::memset(memory_, 0xCD, sizeof memory_);
    Call<void>("C1E" + constructor, args...);
  }
  /// A member function, by what its mangled name has after that of the class.
  template <class Result, class... Args>
  Result Call(const std::string& member, Args... args) {
    return Exported<Result(void*, Args...)>(plugin_, "_ZN" + class_ + member)(memory_, args...);
  }

  const sim::Plugin& plugin_;
  std::string class_;
  alignas(4) unsigned char memory_[kSize];
};

class Text : public View<180> {
 public:
  Text(const sim::Plugin& plugin, void* string)
      : View(plugin, "rbText", "P16REALstringStruct", string) {}
  Text(const sim::Plugin& plugin, Text& other) : View(plugin, "rbText", "RKS_", other.memory_) {}
  void Assign(Text& other) { Call<void*>("aSERKS_", other.memory_); }

  long Length(const std::string& encoding) { return Call<long>(Sized("Length" + encoding) + "Ev"); }
  const char* Get(const std::string& encoding, const char* suffix = "") {
    return Call<const char*>(Sized("Get" + encoding + suffix) + "Ev");
  }
  /// Through the free function.
  const char* GetFree(const std::string& encoding) {
    return Exported<const char*(void*)>(plugin_,
                                        "_Z" + Sized("Get" + encoding) + "R6rbText")(memory_);
  }
  std::string_view Bytes(const Encoding& encoding) {
    return {Get(encoding.name), static_cast<size_t>(Length(encoding.name)) * encoding.unitBytes};
  }
};

class Data : public View<40> {
 public:
  Data(const sim::Plugin& plugin, void* block, uint32_t offset, uint32_t length)
      : View(plugin, "rbData", "P21REALmemoryBlockStructjj", block, offset, length) {}
  Data(const sim::Plugin& plugin, void* string)
      : View(plugin, "rbData", "P16REALstringStruct", string) {}
  const char* data() const { return At<const char*>(32); }
  uint32_t length() const { return At(36); }
  std::string_view bytes() const { return {data(), length()}; }
};

/// The hosts that text is tested on: what they report, and what they lack.
struct TextHost {
  const char* name;
  double version;
  bool lendsStringData;
  const char* conversion;  ///< called once for each conversion of a slot

  bool Borrows() const { return version >= 2012.0; }
  sim::Settings Settings() const {
    sim::Settings settings;
    settings.version = version;
    if (!lendsStringData) settings.missing = {"PluginGetStringData", "PluginDisposeStringData"};
    return settings;
  }
};
inline constexpr TextHost kTextHosts[] = {
    {"NoVersion", 0.0, true, "REALConvertString"},
    {"NotANumber", std::numeric_limits<double>::quiet_NaN(), true, "REALConvertString"},
    {"Before2012", 2011.99, false, "REALConvertString"},
    {"Lending", 2012.0, true, "PluginGetStringData"},
    {"Copying", 2012.0, false, "StringGetCString"},
};
inline void PrintTo(const TextHost& host, std::ostream* out) { *out << host.name; }
