// Host values built from plain data, the recognisers, and what happens to all of the text code when
// the host fails or throws at any call.

#include <gtest/gtest.h>

#include <functional>

#include "tests/text/views.h"

namespace {

using std::string_literals::operator""s;

class Builders : public testing::TestWithParam<TextHost> {
 protected:
  Session session{GetParam().Settings()};
  sim::Host& host = session.host;

  template <class Result, class... Args>
  Result Call(const char* mangled, Args... args) {
    return Exported<Result(Args...)>(session.plugin, mangled)(args...);
  }
  /// Bytes and encoding of a new string, which is released; "null" for null.
  std::pair<std::string, uint32_t> Take(void* built) {
    const auto string = sim::Ref<sim::String>::Adopt(static_cast<sim::String*>(built));
    if (!string) return {"null", 0};
    return {std::string(string->bytes()), string->encoding};
  }
  void* Build(const void* data, int length, unsigned long encoding) {
    return Call<void*>("_Z22REALBuildUnicodeStringPKvim", data, length, encoding);
  }
};

using Built = std::pair<std::string, uint32_t>;
const Built kNull = {"null", 0};

TEST_P(Builders, StringsFromUnits) {
  EXPECT_EQ(Take(Build("ab\0c", 4, kEncodingWindowsLatin1)),
            Built("ab\0c"s, kEncodingWindowsLatin1));
  EXPECT_EQ(Take(Build("abc", 0, kEncodingUtf8)), kNull);
  EXPECT_EQ(Take(Build(nullptr, 3, kEncodingUtf8)), kNull);
  // Either side of the work area on the stack.
  for (const size_t units : {1U, 199U, 200U, 1000U}) {
    std::u32string wide;
    std::u16string narrow;
    for (size_t i = 0; i < units; ++i) {
      wide += static_cast<char32_t>(0x10000 + 7 * i);
      narrow += static_cast<char16_t>(7 * i);
    }
    const Built expected(
        std::string(reinterpret_cast<const char*>(narrow.data()), narrow.size() * 2),
        kEncodingUtf16);
    const auto bytes = static_cast<int>(4 * units);
    EXPECT_EQ(Take(Build(wide.data(), bytes, kEncodingUtf32)), expected) << units;
    EXPECT_EQ(Take(Build(wide.data(), bytes + 3, kEncodingUtf32)), expected) << units;
  }

  const auto bounded = [&](const char* text, int max) {
    return Take(Call<void*>("_Z13CString2RBmaxPKcmi", text, 0x0600UL, max)).first;
  };
  EXPECT_EQ(bounded("sixsix", 3), "six");
  EXPECT_EQ(bounded("sixsix", 0), "sixsix");
  EXPECT_EQ(bounded("sixsix", 9), "sixsix");
  EXPECT_EQ(bounded("", 3), "null");
  EXPECT_EQ(bounded(nullptr, 3), "null");

  const Built utf16("\xE9\0\x3D\xD8"s, kEncodingUtf16);
  EXPECT_EQ(Take(Call<void*>("_Z17UnicodeCString2RBPKt", u"\u00E9\xD83D")), utf16);
  EXPECT_EQ(Take(Call<void*>("_Z17UnicodeCString2RBPKw", L"\u00E9\xD83D")), utf16);
  EXPECT_EQ(Take(Call<void*>("_Z17UnicodeCString2RBPKw", nullptr)), kNull);
}

TEST_P(Builders, FourCharacterCodes) {
  struct {
    uint32_t encoding;
    std::string text;
    unsigned long code;
  } const cases[] = {
      {kEncodingAscii, "TEXT", 0x54455854},
      {kEncodingUtf8, "TEXT+", 0x54455854},
      {kEncodingUtf8, "a\xC3\xA9z", 0x618E7A20},
      {kEncodingUtf16, "A\0"s, 0x41202020},
      {kEncodingMacRoman, "\xFF\xFE\x80\x81", 0xFFFE8081},
      {kEncodingUtf8, "", 0x20202020},
  };
  const char* const toCode = "_Z18REALstringToOSTypeP16REALstringStruct";
  for (const auto& [encoding, text, code] : cases) {
    auto string = host.MakeString(text, encoding);
    EXPECT_EQ(Call<unsigned long>(toCode, string.get()), code) << text;
  }
  EXPECT_EQ(Call<unsigned long>(toCode, nullptr), 0x20202020UL);
  EXPECT_EQ(Take(Call<void*>("_Z21REALBuildOSTypeStringm", 0x54455854UL)),
            Built("TEXT", kEncodingAscii));
  EXPECT_EQ(Take(Call<void*>("_Z21REALBuildOSTypeStringm", 0x00450080UL)),
            Built("\0\x45\0\x80"s, kEncodingMacRoman));
}

TEST_P(Builders, BytesAreReadAsTheyAreWhereNothingConvertsOrLends) {
  host.settings.missing = {"REALConvertString", "PluginGetStringData", "StringGetCString"};
  auto string = host.MakeString("\xE9", kEncodingWindowsLatin1);
  EXPECT_EQ(Call<unsigned long>("_Z18REALstringToOSTypeP16REALstringStruct", string.get()),
            0xE9202020UL);
  EXPECT_EQ(Call<unsigned long>("_Z27REALGetLowestStringEncodingP16REALstringStruct", string.get()),
            kEncodingWindowsLatin1);
}

TEST_P(Builders, LowestEncodings) {
  struct {
    uint32_t encoding;
    std::string text;
    uint32_t lowest;
  } const cases[] = {
      {kEncodingUtf8, "plain\x7F", kEncodingAscii},
      {kEncodingUtf8, "caf\xC3\xA9", kEncodingUtf8},
      {kEncodingMacRoman, "x\x80", kEncodingMacRoman},
      {kEncodingWindowsLatin1, "\xFF", kEncodingWindowsLatin1},
      {kEncodingUndefined, "\xFF", kEncodingUndefined},
      {kEncodingUndefined, "", kEncodingAscii},
      {kEncodingUtf16, "A\0"s, kEncodingUtf16},
      {kEncodingAscii, "\xFF", kEncodingAscii},
  };
  const char* const lowestOf = "_Z27REALGetLowestStringEncodingP16REALstringStruct";
  for (const auto& [encoding, text, lowest] : cases) {
    auto string = host.MakeString(text, encoding);
    EXPECT_EQ(Call<unsigned long>(lowestOf, string.get()), lowest) << text;
  }
  EXPECT_EQ(Call<unsigned long>(lowestOf, nullptr), kEncodingAscii);
}

TEST_P(Builders, MemoryBlocksAndRecognisers) {
  const char* const build = "_Z20REALBuildMemoryblockPKvi";
  {
    const auto block = sim::Ref<sim::MemoryBlock>::Adopt(
        Call<sim::MemoryBlock*>(build, static_cast<const void*>("a\0b"), 3));
    EXPECT_EQ(block->bytes(), "a\0b"s);
    EXPECT_TRUE(Call<bool>("_Z13IsMemoryBlockP16REALobjectStruct", block->object()));
    EXPECT_FALSE(Call<bool>("_Z12IsFolderItemP16REALobjectStruct", block->object()));
  }
  EXPECT_EQ(Call<void*>(build, static_cast<const void*>("a"), 0), nullptr);
  EXPECT_EQ(Call<void*>(build, static_cast<const void*>(nullptr), 3), nullptr);

  const auto item = host.MakeObject("FolderItem");
  EXPECT_TRUE(Call<bool>("_Z12IsFolderItemP16REALobjectStruct", item->object()));
  EXPECT_FALSE(Call<bool>("_Z13IsMemoryBlockP16REALobjectStruct", item->object()));

  const auto isA = [&](REALobjectStruct* object, const char* name) {
    return Call<bool>("_Z13REALObjectIsAP16REALobjectStructPKc", object, name);
  };
  const auto exception = host.MakeObject("NilObjectException");
  EXPECT_TRUE(isA(exception->object(), "RuntimeException"));
  EXPECT_FALSE(isA(exception->object(), "Picture"));
  EXPECT_FALSE(isA(exception->object(), "NoSuchClass"));
  EXPECT_FALSE(isA(nullptr, "Picture"));
}

TEST_P(Builders, RaisesWithAMessageSetAfterwards) {
  const auto raise = [&](const char* name, const char* message) {
    host.log.Clear();
    Call<void>("_Z14RaiseExceptionPKcS0_", name, message);
  };
  raise("RuntimeException", "too \xE9");
  raise("NoSuchClass", nullptr);
  EXPECT_EQ(host.log.Calls("REALUnlockString"), 0);
  ASSERT_EQ(host.raised.size(), 2U);
  EXPECT_EQ(host.raised[0]->classRef->info().name, "RuntimeException");
  const auto* message = reinterpret_cast<const sim::String*>(
      static_cast<uintptr_t>(host.raised[0]->properties.at("Message").bits));
  EXPECT_EQ(message->bytes(), "too \xE9");
  EXPECT_EQ(message->encoding, kEncodingAscii);
  EXPECT_EQ(host.raised[1]->classRef->info().name, "NilObjectException");
  EXPECT_EQ(host.raised[1]->properties.at("Message").bits, 0U);

  host.settings.missing.insert("NilObjectException");
  raise("NoSuchClass", "lost");
  EXPECT_EQ(host.raised.size(), 2U);
}

TEST_P(Builders, DebugLogWritesALineOfUtf8) {
  auto string = host.MakeString("caf\xE9 \0 cut"s, kEncodingWindowsLatin1);
  testing::internal::CaptureStderr();
  Call<void>("_Z8DebugLogP16REALstringStruct", string.get());
  Call<void>("_Z8DebugLogP16REALstringStruct", nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "caf\xC3\xA9 \n\n");
}

TEST_P(Builders, TicksAreSixtiethsOfASecond) {
  const auto before = static_cast<unsigned long>(time(nullptr));
  const unsigned long ticks = Call<unsigned long>("_Z9TickCountv");
  EXPECT_LE(ticks - before * 60, 60 * (static_cast<unsigned long>(time(nullptr)) - before));
}

// A failure, and an exception of the host's own, at every call in turn: whatever was taken until
// then is given back, and the next round works.
TEST_P(Builders, NothingIsLostWhenAnyCallFailsOrThrows) {
  auto defined = host.MakeString("na\xC3\xAFve", kEncodingUtf8);
  auto undefined = host.MakeString("na\xEFve", kEncodingUndefined);
  auto block = host.MakeMemoryBlock("block");
  const std::u32string wide(300, U'w');
  const std::pair<const char*, std::function<void()>> uses[] = {
      {"views of text",
       [&] {
         Text text(session.plugin, undefined.get());
         for (const Encoding& encoding : kEncodings) text.Length(encoding.name);
         text.Length("UTF32");
         Text other(session.plugin, defined.get());
         other.Length("UTF16");
         text.Assign(other);
         Text copy(session.plugin, text);
         copy.Length("ASCII");
       }},
      {"views of data",
       [&] {
         const Data blockData(session.plugin, block.get(), 1, 0);
         const Data stringData(session.plugin, defined.get());
       }},
      {"builders",
       [&] {
         Take(Build(wide.data(), 1200, kEncodingUtf32));
         Take(Build("abc", 3, kEncodingUtf8));
         sim::Ref<sim::MemoryBlock>::Adopt(Call<sim::MemoryBlock*>(
             "_Z20REALBuildMemoryblockPKvi", static_cast<const void*>("abc"), 3));
       }},
      {"codes",
       [&] {
         Call<unsigned long>("_Z18REALstringToOSTypeP16REALstringStruct", defined.get());
         Call<unsigned long>("_Z27REALGetLowestStringEncodingP16REALstringStruct", defined.get());
       }},
      {"exceptions",
       [&] {
         Call<void>("_Z14RaiseExceptionPKcS0_", "RuntimeException", "message");
         host.raised.clear();
       }},
  };
  for (const auto& [name, use] : uses) {
    for (const bool throws : {false, true}) {
      int number = 0;
      do {
        ++number;
        SCOPED_TRACE(name + (throws ? " throwing"s : " failing"s) + " at " +
                     std::to_string(number));
        if (throws) {
          host.faults.ThrowNth(number);
        } else {
          host.faults.FailNth(number);
        }
        try {
          use();
        } catch (const sim::HostException&) {
          host.raised.clear();
        }
        ASSERT_EQ(host.Imbalance(), "");
      } while (host.faults.fired());
      EXPECT_GT(number, 2);
      host.faults.Clear();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(On, Builders, testing::ValuesIn(kTextHosts), TextHostName);

}  // namespace
