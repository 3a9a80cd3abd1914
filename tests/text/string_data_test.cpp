// Borrowed string bytes and rbData: who fills, who releases, and where each view ends.

#include <gtest/gtest.h>

#include "tests/text/views.h"

namespace {

using std::string_literals::operator""s;

constexpr const char* kGet = "PluginGetStringData";
constexpr const char* kDispose = "PluginDisposeStringData";

/// A session, a string, and one record that starts with nothing of use in it.
struct Lending : Session {
  Lending(std::set<std::string, std::less<>> missing, std::string_view bytes, uint32_t encoding)
      : Session({.missing = std::move(missing)}), string(host.MakeString(bytes, encoding)) {
    log.Clear();
  }
  bool Get(REALstringStruct* from, uint32_t encoding) {
    return Call<bool(REALstringStruct*, unsigned long, REALstringData*)>("REALGetStringData", from,
                                                                         encoding, &record);
  }
  bool Get(uint32_t encoding) { return Get(string->handle(), encoding); }
  void Dispose() { Call<void(REALstringData*)>("REALDisposeStringData", &record); }
  std::string_view bytes() const { return {record.data, record.length}; }

  sim::Log& log = host.log;
  sim::Ref<sim::String> string;
  REALstringData record = {nullptr, 77, 78, {79, 80}};
};

TEST(StringData, IsLeftToAHostThatLendsIt) {
  Lending l({}, "\xE9", kEncodingWindowsLatin1);
  ASSERT_TRUE(l.Get(kEncodingUtf8));
  EXPECT_EQ(l.bytes(), "\xC3\xA9");
  l.Dispose();
  EXPECT_FALSE(l.Get(nullptr, kEncodingUtf8));
  EXPECT_EQ(l.log.Sequence(), std::string(kGet) + " " + kDispose + " " + kGet);
  EXPECT_EQ(l.log.Lookups("StringGetCString"), 0);
}

TEST(StringData, IsLentWhereTheLowestByteOfTheAnswerSaysSo) {
  Lending l({}, "a", kEncodingUtf8);
  for (const bool lent : {true, false}) {
    l.host.Record(kGet, lent ? 0x1202 : 0x1200);
    EXPECT_EQ(l.Get(kEncodingUtf8), lent);
  }
}

TEST(StringData, IsCopiedInAFixedOrderOfCalls) {
  const std::string bytes = "a\0\xC3\xA9"s;
  Lending l({kGet, kDispose}, bytes, kEncodingUtf8);
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
    ASSERT_TRUE(l.Get(encoding));
    EXPECT_EQ(l.log.Sequence(), calls);
    EXPECT_EQ(l.bytes(), expected);
    EXPECT_EQ(std::memcmp(l.bytes().end(), "\0\0\0", 4), 0);
    EXPECT_EQ(l.record.encoding, encoding);
    const REALstringData filled = l.record;
    l.Dispose();
    EXPECT_EQ(std::memcmp(&l.record, &filled, sizeof filled), 0) << "cleared";
    EXPECT_TRUE(filled.reserved[0] == 79 && filled.reserved[1] == 80);
    EXPECT_EQ(l.host.Imbalance(), "");
  }
}

TEST(StringData, AFailureLeavesTheRecordAlone) {
  for (const auto& [missing, failing, claim] : {std::tuple{"StringGetCString", "", 2},
                                                {"LenB( s as string ) as integer", "", 2},
                                                {"REALConvertString", "", 2},
                                                {"", "StringGetCString", 2},
                                                {"", "malloc", 2},
                                                {"", "", -1}}) {
    SCOPED_TRACE(std::string(missing) + failing);
    Lending l({kGet, kDispose, missing}, "\xC3\xA9", kEncodingUtf8);
    l.host.faults.failing = {failing};
    l.string->Claim(claim);
    EXPECT_FALSE(l.Get(kEncodingWindowsLatin1));
    EXPECT_EQ(l.log.Lookups("StringGetCString"), 1);
    EXPECT_EQ(l.log.Calls("REALLoadGlobalMethod"), 1) << "whatever else is missing";
    EXPECT_EQ(l.record.data, nullptr);
    EXPECT_EQ(l.record.length, 77U);
  }
  // An encoding that cannot be asked counts as 0.
  Lending l({kGet, kDispose, "REALGetStringEncoding"}, "\x80", kEncodingUtf8);
  EXPECT_TRUE(l.Get(kEncodingMacRoman));
  l.Dispose();
  EXPECT_EQ(l.log.Calls("REALConvertString"), 0);
}

TEST(StringData, HalfAPairMixesNobodysMemoryWithAnybodyElses) {
  for (const bool lends : {true, false}) {
    Lending l({lends ? kDispose : kGet}, "abc", kEncodingUtf8);
    l.host.settings.allowLeaks = lends;
    ASSERT_TRUE(l.Get(kEncodingUtf8));
    l.Dispose();
    // What is lent stays lent; our own copy is freed by us.
    EXPECT_EQ(l.log.Calls(kDispose), 0);
    EXPECT_EQ(l.host.ledger.borrowedStrings, lends ? 1 : 0);
    EXPECT_EQ(l.host.ledger.pluginAllocations.size(), 0U);
    EXPECT_TRUE(!lends || l.bytes() == "abc");
  }
}

/// Destroys a view twice.
void ExpectToEnd(Data& data) {
  data.Destroy();
  EXPECT_EQ(data.Words(), (std::array<uint32_t, 10>()));
  data.Destroy();
}

TEST(RbDataOfBlocks, NeverReachPastTheBlock) {
  const std::string bytes = "0123456789";
  struct {
    uint32_t offset, length;
    std::string expected;
    const char* calls;
    bool knowsSize = true;
  } const cases[] = {
      {0, 0, bytes, "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {4, 3, "456", "REALLockObject memoryBlockGetPtr"},
      {4, 0, "456789", "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {10, 0, "", "REALLockObject memoryBlockGetSize memoryBlockGetPtr"},
      {11, 0, "", "REALLockObject memoryBlockGetSize"},
      {1, 0, "", "REALLockObject memoryBlockGetSize", false},
  };
  for (const auto& [offset, length, expected, calls, knowsSize] : cases) {
    SCOPED_TRACE(offset);
    Session session;
    auto block = session.host.MakeMemoryBlock(bytes);
    if (!knowsSize) session.host.Record("memoryBlockGetSize", ~0U);
    session.host.log.Clear();
    Data data(session.plugin, block.get(), offset, length);
    EXPECT_EQ(session.host.log.Sequence(), calls);
    EXPECT_EQ(data.bytes(), expected);
    EXPECT_EQ(data.At(4), reinterpret_cast<uintptr_t>(block.get()));
    EXPECT_EQ(block->references(), 2);
    ExpectToEnd(data);
    EXPECT_EQ(block->references(), 1);

    block->hidden = true;
    Data hidden(session.plugin, block.get(), 4, 3);
    EXPECT_TRUE(hidden.data() == nullptr && hidden.length() == 0);
    EXPECT_EQ(block->references(), 2);
    session.host.log.Clear();
    EXPECT_EQ(Data(session.plugin, nullptr, 4, 3).data(), nullptr);
    EXPECT_EQ(Data(session.plugin, nullptr).data(), nullptr);
    EXPECT_EQ(session.host.log.CallCount(), 0);
  }
}

class RbDataOfStrings : public testing::TestWithParam<TextHost> {};

TEST_P(RbDataOfStrings, HoldTheStringOrItsBytes) {
  const bool borrows = GetParam().Borrows();
  Session session(GetParam().Settings());
  for (const std::string& bytes : {"\xE9\0x"s, ""s}) {
    auto string = session.host.MakeString(bytes, kEncodingUtf16);
    Data data(session.plugin, string.get());
    EXPECT_EQ(data.bytes(), bytes);
    EXPECT_NE(data.data(), nullptr);
    EXPECT_EQ(string->references(), borrows ? 1 : 2);
    EXPECT_EQ(data.At(0) != 0, !borrows);
    EXPECT_EQ(data.At<uint8_t>(28), borrows ? 1 : 0);
    ExpectToEnd(data);
  }
  if (!borrows) return;
  session.host.faults.failing = {GetParam().conversion};
  const auto string = session.host.MakeString("refused", kEncodingUtf8);
  EXPECT_EQ(Data(session.plugin, string.get()).Words(), (std::array<uint32_t, 10>()));
}

INSTANTIATE_TEST_SUITE_P(On, RbDataOfStrings, testing::ValuesIn(kTextHosts),
                         testing::PrintToStringParamName());

}  // namespace
