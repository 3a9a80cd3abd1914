#pragma once

// The plugin's two view classes as a caller without their headers sees them: memory of their size,
// exported members, and fields at known offsets.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
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
  void Destroy() { Exported<void(void*)>(plugin_, "_ZN" + class_ + "D1Ev")(memory_); }
  template <class T = uint32_t>
  T At(size_t offset) const {
    T value;
    std::memcpy(&value, memory_ + offset, sizeof value);
    return value;
  }
  void* get() { return memory_; }

 protected:
  View(const sim::Plugin& plugin, const char* className)
      : plugin_(plugin), class_(Sized(className)) {
    std::memset(memory_, 0xCD, sizeof memory_);
  }
  const sim::Plugin& plugin_;
  std::string class_;
  alignas(4) unsigned char memory_[kSize];
};

class Text : public View<180> {
 public:
  Text(const sim::Plugin& plugin, void* string) : View(plugin, "rbText") {
    Exported<void(void*, void*)>(plugin, "_ZN6rbTextC1EP16REALstringStruct")(memory_, string);
  }
  Text(const sim::Plugin& plugin, Text& other) : View(plugin, "rbText") {
    Exported<void(void*, void*)>(plugin, "_ZN6rbTextC1ERKS_")(memory_, other.memory_);
  }
  void Assign(Text& other) {
    Exported<void*(void*, void*)>(plugin_, "_ZN6rbTextaSERKS_")(memory_, other.memory_);
  }

  long Length(const std::string& encoding) { return Call<long>("Length" + encoding); }
  const char* Get(const std::string& encoding, const char* suffix = "") {
    return Call<const char*>("Get" + encoding + suffix);
  }
  /// Through the free function.
  const char* GetFree(const std::string& encoding) {
    return Exported<const char*(void*)>(plugin_,
                                        "_Z" + Sized("Get" + encoding) + "R6rbText")(memory_);
  }
  std::string_view Bytes(const Encoding& encoding) {
    return {Get(encoding.name), static_cast<size_t>(Length(encoding.name)) * encoding.unitBytes};
  }

 private:
  template <class Result>
  Result Call(const std::string& member) {
    return Exported<Result(void*)>(plugin_, "_ZN6rbText" + Sized(member) + "Ev")(memory_);
  }
};

class Data : public View<40> {
 public:
  Data(const sim::Plugin& plugin, void* block, uint32_t offset, uint32_t length)
      : View(plugin, "rbData") {
    Exported<void(void*, void*, uint32_t, uint32_t)>(
        plugin, "_ZN6rbDataC1EP21REALmemoryBlockStructjj")(memory_, block, offset, length);
  }
  Data(const sim::Plugin& plugin, void* string) : View(plugin, "rbData") {
    Exported<void(void*, void*)>(plugin, "_ZN6rbDataC1EP16REALstringStruct")(memory_, string);
  }
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
    {"Before2012", 2011.99, false, "REALConvertString"},
    {"Lending", 2012.0, true, "PluginGetStringData"},
    {"Copying", 2012.0, false, "StringGetCString"},
};
inline void PrintTo(const TextHost& host, std::ostream* out) { *out << host.name; }
inline std::string TextHostName(const testing::TestParamInfo<TextHost>& info) {
  return info.param.name;
}
