// Real text through rbText: the same views, whichever way the host hands out its strings.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/text/views.h"

namespace {

using std::string_literals::operator""s;

struct Sample {
  const char* name;
  uint32_t encoding;
  std::string bytes;
  std::string windows, macRoman, ascii, utf8;
  std::u16string utf16;

  std::string In(const Encoding& target) const {
    const std::string* const narrow[] = {&windows, &macRoman, &ascii, &utf8};
    if (target.slot < 4) return *narrow[target.slot];
    return {reinterpret_cast<const char*>(utf16.data()), utf16.size() * 2};
  }
};

// What an encoding lacks becomes a question mark. UTF-16 sources are little-endian.
const Sample kSamples[] = {
    {"plain", kEncodingAscii, "Hi", "Hi", "Hi", "Hi", "Hi", u"Hi"},
    {"accents", kEncodingUtf8, "Zo\xC3\xAB n\xC3\xA9", "Zo\xEB n\xE9", "Zo\x91 n\x8E", "Zo? n?",
     "Zo\xC3\xAB n\xC3\xA9", u"Zo\u00EB n\u00E9"},
    {"no encoding", kEncodingUndefined, "\xE9!", "\xE9!", "\x8E!", "?!", "\xC3\xA9!", u"\u00E9!"},
    {"from Mac Roman", kEncodingMacRoman, "\x8A", "\xE4", "\x8A", "?", "\xC3\xA4", u"\u00E4"},
    {"Greek", kEncodingUtf8, "\xCE\xB1", "?", "?", "?", "\xCE\xB1", u"\u03B1"},
    {"emoji", kEncodingUtf8, "\xF0\x9F\x98\x80", "?", "?", "?", "\xF0\x9F\x98\x80", u"\U0001F600"},
    {"mark", kEncodingUtf16, "\xFF\xFE\x41\0"s, "?A", "?A", "?A", "\xEF\xBB\xBF\x41", u"A"},
    {"swapped mark", kEncodingUtf16, "\xFE\xFF\0\x41"s, "??", "??", "??",
     "\xEF\xBF\xBE\xE4\x84\x80", u"\u4100"},
    {"both marks", kEncodingUtf16, "\xFF\xFE\xFE\xFF\x41\0"s, "??A", "??A", "??A",
     "\xEF\xBB\xBF\xEF\xBF\xBE\x41", u"A"},
    {"two marks", kEncodingUtf16, "\xFF\xFE\xFF\xFE"s, "??", "??", "??", "\xEF\xBB\xBF\xEF\xBB\xBF",
     u"\uFEFF"},
    {"a mark alone", kEncodingUtf16, "\xFF\xFE"s, "?", "?", "?", "\xEF\xBB\xBF", u""},
    {"half a unit", kEncodingUtf16, "A\0B"s, "A?", "A?", "A?", "A?", u"A"},
    {"zeros", kEncodingUtf8, "a\0b\0"s, "a\0b\0"s, "a\0b\0"s, "a\0b\0"s, "a\0b\0"s, u"a\0b\0"s},
    {"empty", kEncodingUtf8, "", "", "", "", "", u""},
    {"empty without encoding", kEncodingUndefined, "", "", "", "", "", u""},
};

class RbText : public testing::TestWithParam<TextHost>, protected Session {
 protected:
  RbText() : Session(GetParam().Settings()) {}

  static void ExpectText(Text& text, const Sample& sample) {
    for (const Encoding& each : kEncodings) EXPECT_EQ(text.Bytes(each), sample.In(each));
  }
};

TEST_P(RbText, EveryEncodingConvertsOnceAndIsGivenBack) {
  std::array<uint32_t, 45> emptied{};
  std::fill_n(&emptied[6], 6, ~0U);  // The lengths are not known.
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    auto string = host.MakeString(sample.bytes, sample.encoding);
    Text text(plugin, string.get());
    const bool hasSource = text.At(0) != 0;
    for (const Encoding& encoding : kEncodings) {
      SCOPED_TRACE(encoding.name);
      const std::string expected = sample.In(encoding);
      const auto slot = static_cast<size_t>(encoding.slot);
      EXPECT_EQ(text.At<int32_t>(24 + 4 * slot), -1);
      host.log.Clear();
      EXPECT_EQ(text.Bytes(encoding), expected);
      const char* const bytes = text.Get(encoding.name);
      EXPECT_EQ(text.GetFree(encoding.name), bytes);
      EXPECT_EQ(text.Get(encoding.name, "Nil"),
                expected.size() < encoding.unitBytes ? nullptr : bytes);
      EXPECT_EQ(host.log.Calls(GetParam().conversion), hasSource ? 1 : 0);
      EXPECT_EQ(text.At<int32_t>(24 + 4 * slot), text.Length(encoding.name));
      EXPECT_EQ(text.At<const char*>(48 + 4 * slot), bytes);
      EXPECT_EQ(text.At<uint8_t>(172 + slot), hasSource && GetParam().Borrows() ? 1 : 0);
      if (encoding.unitBytes == 1) {
        EXPECT_EQ(bytes[expected.size()], '\0');
      }
    }
    EXPECT_EQ(text.GetFree("Password"), text.Get("Windows"));
    EXPECT_EQ(text.Get("Native"), text.Get("UTF8"));

    // UTF-32 widens each UTF-16 unit, without the host.
    host.log.Clear();
    std::u32string wide(sample.utf16.begin(), sample.utf16.end());
    wide.append(4, U'\0');
    EXPECT_EQ(std::memcmp(text.Get("UTF32"), wide.data(), wide.size() * 4), 0);
    EXPECT_EQ(text.Length("WChar"), static_cast<long>(sample.utf16.size()));
    EXPECT_EQ(text.Get("WChar"), text.Get("UTF32"));
    EXPECT_EQ(text.GetFree("UTF32"), text.Get("UTF32"));
    EXPECT_EQ(text.Get("WCharNil") == nullptr, sample.utf16.empty());
    EXPECT_EQ(host.log.CallCount(), 0);
    text.Destroy();
    EXPECT_EQ(text.Words(), emptied);
    text.Destroy();
    EXPECT_EQ(host.Imbalance(), "");
  }
}

TEST_P(RbText, NullMalformedStringsAndHostsWithoutConversionReadAsEmpty) {
  const auto string = host.MakeString("\xE9", kEncodingWindowsLatin1);
  const auto malformed = host.MakeString("\xE9", kEncodingWindowsLatin1);
  malformed->Claim(-1);
  for (sim::String* const each :
       {static_cast<sim::String*>(nullptr), string.get(), malformed.get()}) {
    if (each != malformed.get()) {
      host.settings.missing = {"REALConvertString", "PluginGetStringData"};
    }
    Text text(plugin, each);
    for (const char* encoding : {"UTF8", "ASCII", "MacRoman", "UTF16", "UTF32", "WChar"}) {
      SCOPED_TRACE(encoding);
      EXPECT_EQ(text.Length(encoding), 0);
      EXPECT_EQ(std::memcmp(text.Get(encoding), "\0\0\0", 4), 0);
      EXPECT_EQ(text.Get(encoding, "Nil"), nullptr);
    }
    // A failed conversion is not tried again.
    host.settings.missing = GetParam().Settings().missing;
    EXPECT_EQ(text.Length("UTF8"), 0);
    EXPECT_LE(host.log.Calls(GetParam().conversion), each == malformed.get() ? 4 : 0);
  }
}

TEST_P(RbText, CopiesAndAssignmentsStandAlone) {
  auto first = host.MakeString(kSamples[1].bytes, kSamples[1].encoding);
  auto second = host.MakeString(kSamples[2].bytes, kSamples[2].encoding);
  Text text(plugin, first.get());
  ExpectText(text, kSamples[1]);
  text.Length("UTF32");
  {
    Text other(plugin, second.get());
    ExpectText(other, kSamples[2]);
    Text copy(plugin, other);
    for (size_t slot = 0; slot < 6; ++slot) EXPECT_EQ(copy.At<int32_t>(24 + 4 * slot), -1);
    ExpectText(copy, kSamples[2]);
    text.Assign(other);
    EXPECT_EQ(first->references(), 1);
  }
  EXPECT_EQ(text.At<int32_t>(44), -1);
  ExpectText(text, kSamples[2]);
  text.Assign(text);
  EXPECT_EQ(text.At<int32_t>(24), -1);
  ExpectText(text, kSamples[2]);
}

INSTANTIATE_TEST_SUITE_P(On, RbText, testing::ValuesIn(kTextHosts),
                         testing::PrintToStringParamName());

TEST(RbTextRelease, FollowsTheFieldOrder) {
  Session session({.version = 2011.99});
  auto string = session.host.MakeString("A", kEncodingUtf8);
  Text text(session.plugin, string.get());
  for (const Encoding& encoding : kEncodings) text.Length(encoding.name);
  session.host.log.Clear();
  text.Destroy();
  std::string released;
  for (const sim::LogLine& line : session.host.log.lines) {
    if (line.kind == sim::LogLine::kCall) released += line.name + "(" + line.arguments + ") ";
  }
  // Converted in the order UTF-8, ASCII, Windows, Mac Roman, UTF-16, from the second string on.
  EXPECT_EQ(released,
            "REALUnlockString(string#1) REALUnlockString(string#4) REALUnlockString(string#5) "
            "REALUnlockString(string#3) REALUnlockString(string#2) REALUnlockString(string#6) ");
}

TEST(RbTextRelease, GivesRecordsBackInTheirOrder) {
  Session session({.allowLeaks = true});
  const sim::Recorder& disposals = session.host.Record("PluginDisposeStringData");
  const auto string = session.host.MakeString("A", kEncodingUtf8);
  Text text(session.plugin, string.get());
  for (const Encoding& encoding : kEncodings) text.Length(encoding.name);
  text.Destroy();
  ASSERT_EQ(disposals.calls.size(), 5U);
  for (size_t i = 1; i < 5; ++i) {
    EXPECT_EQ(disposals.calls[i][0], disposals.calls[0][0] + sizeof(REALstringData) * i);
  }
}

TEST(RbTextLimits, TextWhoseUtf32SizeWrapsAroundIsEmpty) {
  // A text of a billion units, of which only the first is ever looked at.
  Session session({.version = 2011.99});
  const auto string = session.host.MakeString("A", kEncodingUtf8);
  string->Claim(0x7FFFFFFE);
  Text text(session.plugin, string.get());
  EXPECT_EQ(text.Length("UTF16"), 0x3FFFFFFF);
  EXPECT_EQ(text.Length("UTF32"), 0);
  EXPECT_EQ(text.Get("UTF32Nil"), nullptr);
}

}  // namespace
