// Host values built from plain data, codes and encodings told from strings, and the recognisers.

#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <sys/mman.h>

#include "tests/text/views.h"

namespace {

using std::string_literals::operator""s;
using String = REALstringStruct;
using Object = REALobjectStruct;

/// Bytes and encoding of a new string; "null" for null.
using Built = std::pair<std::string, uint32_t>;
const Built kNull = {"null", 0};

class Builders : public testing::TestWithParam<TextHost>, protected Session {
 protected:
  Builders() : Session(GetParam().Settings()) {}

  template <class... Parameters, class... Args>
  Built Build(const char* name, Args... args) {
    const auto string = Own<sim::String>(Call<String*(Parameters...)>(name, args...));
    return string ? Built(string->bytes(), string->encoding) : kNull;
  }
  /// The answer of a function of one string, which is null for no bytes.
  unsigned long Ask(const char* name, const char* bytes, uint32_t encoding) {
    if (bytes == nullptr) return Call<unsigned long(String*)>(name, nullptr);
    return Call<unsigned long(String*)>(name, host.MakeString(bytes, encoding)->handle());
  }
};

TEST_P(Builders, StringsFromUnits) {
  const auto build = [&](const void* data, int length, unsigned long encoding) {
    return Build<const void*, int, unsigned long>("REALBuildUnicodeString", data, length, encoding);
  };
  EXPECT_EQ(build("ab\0c", 4, kEncodingWindowsLatin1), Built("ab\0c"s, kEncodingWindowsLatin1));
  EXPECT_EQ(build("abc", 3, kEncodingUtf32), Built("", kEncodingUtf16));
  host.log.Clear();
  EXPECT_EQ(build("abc", 0, kEncodingUtf8), kNull);
  EXPECT_EQ(build(nullptr, 3, kEncodingUtf8), kNull);
  EXPECT_EQ(host.log.CallCount(), 0);
  // Either side of the work area on the stack.
  for (const int units : {1, 199, 200, 1000}) {
    std::u32string wide;
    std::string narrow;
    for (int i = 0; i < units; ++i) {
      wide += static_cast<char32_t>(0x10000 + 7 * i);
      narrow += {static_cast<char>(7 * i), static_cast<char>(7 * i >> 8)};
    }
    for (const int excess : {0, 3}) {
      EXPECT_EQ(build(wide.data(), 4 * units + excess, kEncodingUtf32),
                Built(narrow, kEncodingUtf16))
          << units;
    }
  }

  const auto bounded = [&](const char* text, int most) {
    return Build<const char*, unsigned long, int>("CString2RBmax", text, kEncodingAscii, most)
        .first;
  };
  for (const int most : {-1, 0, 6, 9}) EXPECT_EQ(bounded("sixsix", most), "sixsix");
  // Nothing behind the bytes that may be taken is read.
  auto* const page = static_cast<char*>(
      mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  mprotect(page + 4096, 4096, PROT_NONE);
  EXPECT_EQ(bounded(static_cast<char*>(std::memset(page + 4093, 'x', 3)), 3), "xxx");
  munmap(page, 8192);
  EXPECT_EQ(bounded("sixsix", 1), "s");
  EXPECT_EQ(bounded("", 3), "null");
  EXPECT_EQ(bounded(nullptr, 3), "null");

  const Built utf16("\xE9\0\x3D\xD8"s, kEncodingUtf16);
  const unsigned short units[] = {0xE9, 0xD83D, 0};
  EXPECT_EQ(Build<const unsigned short*>("UnicodeCString2RB", units), utf16);
  EXPECT_EQ(Build<const wchar_t*>("UnicodeCString2RB", L"\u00E9\xD83D"), utf16);
  EXPECT_EQ(Build<const wchar_t*>("UnicodeCString2RB", nullptr), kNull);
}

TEST_P(Builders, FourCharacterCodes) {
  const char* const toCode = "REALstringToOSType";
  EXPECT_EQ(Ask(toCode, "TEXT", kEncodingAscii), 0x54455854U);
  EXPECT_EQ(Ask(toCode, "TEXT+", kEncodingUtf8), 0x54455854U);
  EXPECT_EQ(Ask(toCode, "a\xC3\xA9z", kEncodingUtf8), 0x618E7A20U);
  EXPECT_EQ(Ask(toCode, "\xFF\xFE\x80\x81", kEncodingMacRoman), 0xFFFE8081U);
  EXPECT_EQ(Ask(toCode, "", kEncodingUtf8), 0x20202020U);
  EXPECT_EQ(Ask(toCode, nullptr, 0), 0x20202020U);
  EXPECT_EQ(Build<unsigned long>("REALBuildOSTypeString", 0x54455854UL),
            Built("TEXT", kEncodingAscii));
  for (size_t i = 0; i < 4; ++i) {
    std::string bytes = "\0\x45\0\x7F"s;
    bytes[i] = '\x80';
    EXPECT_EQ(
        Build<unsigned long>("REALBuildOSTypeString",
                             (0x0045007FUL & ~(0xFFUL << (24 - 8 * i))) | 0x80UL << (24 - 8 * i)),
        Built(bytes, kEncodingMacRoman));
  }
}

TEST_P(Builders, LowestEncodings) {
  const char* const lowest = "REALGetLowestStringEncoding";
  EXPECT_EQ(Ask(lowest, "plain\x7F", kEncodingUtf8), kEncodingAscii);
  EXPECT_EQ(Ask(lowest, "", kEncodingUndefined), kEncodingAscii);
  EXPECT_EQ(Ask(lowest, nullptr, 0), kEncodingAscii);
  EXPECT_EQ(Ask(lowest, "caf\xC3\xA9", kEncodingUtf8), kEncodingUtf8);
  for (const uint32_t encoding : {kEncodingMacRoman, kEncodingWindowsLatin1, kEncodingUndefined}) {
    EXPECT_EQ(Ask(lowest, "x", encoding), kEncodingAscii);
    EXPECT_EQ(Ask(lowest, "x\x80", encoding), encoding);
  }
  // All others stay what they are.
  EXPECT_EQ(Ask(lowest, "x", kEncodingUtf16), kEncodingUtf16);
  EXPECT_EQ(Ask(lowest, "\xFF", kEncodingAscii), kEncodingAscii);
  EXPECT_EQ(host.log.Calls("PluginGetStringData") > 0, GetParam().name == "Lending"s);
}

TEST_P(Builders, NullIsTheHostsToJudge) {
  const auto expect = [&](const char* entry, auto call) {
    host.log.Clear();
    call();
    EXPECT_EQ(host.log.Sequence(), entry);
  };
  expect("REALConvertString", [&] { Ask("REALstringToOSType", nullptr, 0); });
  expect("REALGetStringEncoding", [&] { Ask("REALGetLowestStringEncoding", nullptr, 0); });
  expect("REALGetStringEncoding", [&] { Text(plugin, nullptr).Length("UTF8"); });
  for (const char* name : {"IsMemoryBlock", "IsFolderItem"}) {
    expect("REALLoadObjectMethod", [&] { EXPECT_FALSE(Call<bool(Object*)>(name, nullptr)); });
  }
  // A string that the host does not build.
  host.settings.missing = {"REALBuildString"};
  expect("REALSetStringEncoding", [&] {
    EXPECT_EQ((Build<const void*, int, unsigned long>("REALBuildUnicodeString", "a", 1, 0)), kNull);
  });
}

TEST_P(Builders, BytesAreReadAsTheyAreWhereNothingConvertsOrLends) {
  host.settings.missing = {"REALConvertString", "PluginGetStringData", "StringGetCString"};
  EXPECT_EQ(Ask("REALstringToOSType", "\xE9", kEncodingWindowsLatin1), 0xE9202020UL);
  EXPECT_EQ(Ask("REALGetLowestStringEncoding", "\xE9", kEncodingWindowsLatin1),
            kEncodingWindowsLatin1);
}

TEST_P(Builders, MemoryBlocksAndRecognisers) {
  const auto build = [&](const void* data, int length) {
    return Own<sim::MemoryBlock>(
        Call<REALmemoryBlockStruct*(const void*, int)>("REALBuildMemoryblock", data, length));
  };
  const auto block = build("a\0b", 3);
  EXPECT_EQ(block->bytes(), "a\0b"s);
  EXPECT_TRUE(build("a", 1) && !build("a", 0) && !build(nullptr, 3));

  const auto item = host.MakeObject("FolderItem");
  for (const bool isBlock : {true, false}) {
    Object* const object = isBlock ? block->object() : item->object();
    EXPECT_EQ(Call<bool(Object*)>("IsMemoryBlock", object), isBlock);
    EXPECT_EQ(Call<bool(Object*)>("IsFolderItem", object), !isBlock);
  }
  const auto exception = host.MakeObject("NilObjectException");
  for (const char* name : {"RuntimeException", "Picture", "NoSuchClass"}) {
    EXPECT_EQ(Call<bool(Object*, const char*)>("REALObjectIsA", exception->object(), name),
              name == "RuntimeException"s);
  }
  host.log.Clear();
  EXPECT_FALSE(Call<bool(Object*, const char*)>("REALObjectIsA", nullptr, "Picture"));
  EXPECT_FALSE(Call<bool(Object*, const char*)>("REALObjectIsA", item->object(), "NoSuchClass"));
  EXPECT_EQ(host.log.Sequence(), "pluginObjectType");
}

TEST_P(Builders, RaisesWithAMessageSetAfterwards) {
  const auto raise = [&](const char* name, const char* message) {
    Call<void(const char*, const char*)>("RaiseException", name, message);
  };
  const std::string build = "PluginNewInstance REALBuildString REALSetStringEncoding ",
                    set = "REALSetPropValueString", drop = " REALUnlockString";
  const auto expect = [&](const std::string& calls) {
    EXPECT_EQ(host.log.Sequence(), calls);
    host.log.Clear();
  };
  host.log.Clear();
  host.settings.missing.insert("RuntimeRaiseException");
  raise("RuntimeException", "kept");
  expect(build + set + drop + " REALUnlockObject");
  host.settings.missing.erase("RuntimeRaiseException");
  raise("RuntimeException", "too \xE9");
  expect(build + "RuntimeRaiseException " + set + drop);
  for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
    raise("NoSuchClass", nothing);
    expect("PluginNewInstance PluginNewInstance RuntimeRaiseException " + set);
  }
  ASSERT_EQ(host.raised.size(), 3U);
  const sim::Object &told = *host.raised[0], &silent = *host.raised[1];
  EXPECT_EQ(told.classRef->info().name, "RuntimeException");
  const auto* message = reinterpret_cast<const sim::String*>(
      static_cast<uintptr_t>(told.properties.at("Message").bits));
  EXPECT_EQ(Built(message->bytes(), message->encoding), Built("too \xE9", kEncodingAscii));
  EXPECT_EQ(silent.classRef->info().name, "NilObjectException");
  EXPECT_EQ(silent.properties.at("Message").bits, 0U);

  host.settings.missing.insert("NilObjectException");
  raise("NoSuchClass", "lost");
  EXPECT_EQ(host.raised.size(), 3U);
}

TEST_P(Builders, DebugLogWritesALineOfUtf8) {
  const auto string = host.MakeString("caf\xE9 \0 cut"s, kEncodingWindowsLatin1);
  // As long as the host says, with no terminator behind.
  const auto longer = host.MakeString("threefold", kEncodingUtf8);
  longer->Claim(5);
  testing::internal::CaptureStderr();
  setvbuf(stderr, nullptr, _IOFBF, 4096);
  for (String* const each : {string->handle(), static_cast<String*>(nullptr), longer->handle()}) {
    Call<void(String*)>("DebugLog", each);
    EXPECT_EQ(__fpending(stderr), 0U) << "not written at once";
  }
  setvbuf(stderr, nullptr, _IONBF, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "caf\xC3\xA9 \n\nthree\n");
}

TEST_P(Builders, TicksAreSixtiethsOfASecond) {
  const auto before = static_cast<unsigned long>(time(nullptr));
  const auto ticks = Call<unsigned long()>("TickCount");
  EXPECT_LE(ticks - before * 60, 60 * (static_cast<unsigned long>(time(nullptr)) - before));
}

INSTANTIATE_TEST_SUITE_P(On, Builders, testing::ValuesIn(kTextHosts),
                         testing::PrintToStringParamName());

}  // namespace
