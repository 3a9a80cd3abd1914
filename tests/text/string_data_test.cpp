// Borrowed string bytes and rbData: who fills, who releases, and where each view ends.

#include <gtest/gtest.h>

#include "tests/text/views.h"

namespace {

using std::string_literals::operator""s;

/// A session, and one record that starts with nothing of use in it.
struct Lending {
  explicit Lending(std::set<std::string, std::less<>> missing = {})
      : session({.missing = std::move(missing)}) {}

  bool Get(void* string, uint32_t encoding) {
    return Exported<bool(void*, unsigned long, REALstringData*)>(
        session.plugin, "_Z17REALGetStringDataP16REALstringStructmP14REALstringData")(
        string, encoding, &record);
  }
  void Dispose() {
    Exported<void(REALstringData*)>(session.plugin,
                                    "_Z21REALDisposeStringDataP14REALstringData")(&record);
  }

  Session session;
  sim::Host& host = session.host;
  sim::Log& log = host.log;
  REALstringData record = {nullptr, 77, 78, {79, 80}};
};

constexpr const char* kGet = "PluginGetStringData";
constexpr const char* kDispose = "PluginDisposeStringData";

TEST(StringData, IsLeftToAHostThatLendsIt) {
  Lending l;
  auto string = l.host.MakeString("\xE9", kEncodingWindowsLatin1);
  l.log.Clear();
  ASSERT_TRUE(l.Get(string.get(), kEncodingUtf8));
  EXPECT_EQ(std::string(l.record.data, l.record.length), "\xC3\xA9");
  l.Dispose();
  EXPECT_FALSE(l.Get(nullptr, kEncodingUtf8));
  EXPECT_EQ(l.log.Sequence(), std::string(kGet) + " " + kDispose + " " + kGet);
  EXPECT_EQ(l.log.Lookups("StringGetCString"), 0);
}

TEST(StringData, IsCopiedInAFixedOrderOfCalls) {
  Lending l({kGet, kDispose});
  const std::string bytes = "a\0\xC3\xA9"s;
  auto string = l.host.MakeString(bytes, kEncodingUtf8);
  struct {
    uint32_t encoding;
    std::string expected;
    const char* calls;
  } const cases[] = {
      {kEncodingUndefined, bytes, "LenB StringGetCString"},
      {kEncodingUtf8, bytes, "REALGetStringEncoding LenB StringGetCString"},
      {kEncodingWindowsLatin1, "a\0\xE9"s,
       "REALGetStringEncoding REALConvertString LenB StringGetCString REALUnlockString"},
  };
  EXPECT_FALSE(l.Get(nullptr, kEncodingUtf8));
  for (const auto& [encoding, expected, calls] : cases) {
    SCOPED_TRACE(calls);
    l.log.Clear();
    ASSERT_TRUE(l.Get(string.get(), encoding));
    EXPECT_EQ(l.log.Sequence(), calls);
    EXPECT_EQ(std::string(l.record.data, l.record.length + 4), expected + "\0\0\0\0"s);
    EXPECT_EQ(l.record.length, expected.size());
    EXPECT_EQ(l.record.encoding, encoding);
    l.Dispose();
    EXPECT_EQ(l.record.reserved[0], 79U);
    EXPECT_EQ(l.record.reserved[1], 80U);
    EXPECT_EQ(l.host.Imbalance(), "");
  }
}

TEST(StringData, AFailureLeavesTheRecordAlone) {
  for (const char* missing :
       {"StringGetCString", "LenB( s as string ) as integer", "REALConvertString"}) {
    SCOPED_TRACE(missing);
    Lending l({kGet, kDispose, missing});
    auto string = l.host.MakeString("\xC3\xA9", kEncodingUtf8);
    EXPECT_FALSE(l.Get(string.get(), kEncodingWindowsLatin1));
    EXPECT_EQ(l.record.data, nullptr);
    EXPECT_EQ(l.record.length, 77U);
  }
}

TEST(StringData, NothingIsReadOnImpossibleAnswers) {
  Lending l({kGet, kDispose, "REALGetStringEncoding"});
  auto string = l.host.MakeString("\x80", kEncodingUtf8);
  // An encoding that cannot be asked counts as 0.
  EXPECT_TRUE(l.Get(string.get(), kEncodingMacRoman));
  l.Dispose();
  EXPECT_EQ(l.log.Calls("REALConvertString"), 0);
  l.host.faults.failing = {"StringGetCString"};
  EXPECT_FALSE(l.Get(string.get(), kEncodingUndefined));
}

// Half a pair mixes nobody's memory with anybody else's.
TEST(StringData, AHostThatOnlyTakesBackIsNotHandedOurCopy) {
  Lending l({kGet});
  auto string = l.host.MakeString("abc", kEncodingUtf8);
  ASSERT_TRUE(l.Get(string.get(), kEncodingUtf8));
  l.Dispose();
  EXPECT_EQ(l.log.Calls(kDispose), 0);
  EXPECT_EQ(l.host.Imbalance(), "");
}

TEST(StringData, AHostThatOnlyLendsKeepsWhatItLent) {
  Lending l({kDispose});
  l.host.settings.allowLeaks = true;
  auto string = l.host.MakeString("abc", kEncodingUtf8);
  ASSERT_TRUE(l.Get(string.get(), kEncodingUtf8));
  l.Dispose();
  EXPECT_EQ(std::string(l.record.data, l.record.length), "abc");
  EXPECT_EQ(l.host.ledger.borrowedStrings, 1);
}

TEST(RbDataOfBlocks, NeverReachPastTheBlock) {
  Session session;
  const std::string bytes = "0123456789";
  auto block = session.host.MakeMemoryBlock(bytes);
  struct {
    uint32_t offset, length;
    std::string expected;
    const char* calls;
  } const cases[] = {
      {0, 0, bytes, "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {4, 3, "456", "REALLockObject memoryBlockGetPtr"},
      {4, 0, "456789", "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {10, 0, "", "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {11, 0, "", "REALLockObject memoryBlockGetSize"},
  };
  for (const auto& [offset, length, expected, calls] : cases) {
    SCOPED_TRACE(offset);
    session.host.log.Clear();
    Data data(session.plugin, block.get(), offset, length);
    EXPECT_EQ(session.host.log.Sequence(), calls);
    EXPECT_EQ(data.bytes(), expected);
    EXPECT_EQ(data.At(4), reinterpret_cast<uintptr_t>(block.get()));
    EXPECT_EQ(block->references(), 2);
    data.Destroy();
    for (size_t field = 0; field < 40; field += 4) EXPECT_EQ(data.At(field), 0U) << field;
    data.Destroy();
    EXPECT_EQ(block->references(), 1);
  }

  block->hidden = true;
  Data hidden(session.plugin, block.get(), 4, 3);
  EXPECT_EQ(hidden.data(), nullptr);
  EXPECT_EQ(hidden.length(), 0U);
  EXPECT_EQ(block->references(), 2);
  session.host.log.Clear();
  EXPECT_EQ(Data(session.plugin, nullptr, 4, 3).data(), nullptr);
  EXPECT_EQ(Data(session.plugin, nullptr).data(), nullptr);
  EXPECT_EQ(session.host.log.CallCount(), 0);
}

class RbDataOfStrings : public testing::TestWithParam<TextHost> {};

TEST_P(RbDataOfStrings, HoldTheStringOrItsBytes) {
  Session session(GetParam().Settings());
  for (const std::string& bytes : {"\xE9\0x"s, ""s}) {
    auto string = session.host.MakeString(bytes, kEncodingUtf16);
    Data data(session.plugin, string.get());
    EXPECT_EQ(data.bytes(), bytes);
    EXPECT_EQ(string->references(), GetParam().Borrows() ? 1 : 2);
    EXPECT_EQ(data.At(0) != 0, !GetParam().Borrows());
    EXPECT_EQ(data.At<uint8_t>(28), GetParam().Borrows() ? 1 : 0);
    data.Destroy();
    data.Destroy();
    EXPECT_EQ(session.host.Imbalance(), "");
  }
}

INSTANTIATE_TEST_SUITE_P(On, RbDataOfStrings, testing::ValuesIn(kTextHosts), TextHostName);

}  // namespace
