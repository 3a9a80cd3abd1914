// Every wrapper of a host function: asks for the right entry, once, when it is there and again and
// again while it is not; hands its arguments over unchanged and its result back.

#include <gtest/gtest.h>

#include "tests/host/exports.h"
#include "tests/session.h"

namespace {

using RawWrapper = uint64_t(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t);

/// A distinct word for argument word `i`, of which every bit pattern is also a usual float.
constexpr uint32_t Word(size_t i) { return 0x41F28381 + 0x00120317 * static_cast<uint32_t>(i); }

/// What must arrive at the host when a function of these parameters is given Word(0), Word(1), …:
/// of a byte, the lowest 8 bits.
std::vector<uint32_t> Arriving(const std::string& name) {
  std::vector<uint32_t> words;
  std::string parameters = name.substr(name.find('(') + 1);
  parameters.back() = ',';
  for (size_t start = 0, end; (end = parameters.find(',', start)) != std::string::npos;
       start = end + 2) {
    const std::string type = parameters.substr(start, end - start);
    if (type.empty()) continue;
    const bool isWide = type == "double" || type == "long long" || type == "unsigned long long";
    for (int i = 0; i < (isWide ? 2 : 1); ++i) words.push_back(Word(words.size()));
    if (type == "unsigned char") words.back() &= 0xFF;
  }
  return words;
}

TEST(HostCalls, ForwardWhatTheyAreGivenAndKeepWhatTheyFound) {
  std::vector<TableRow> wrappers = ReadExportTable();
  std::erase_if(wrappers, [](const TableRow& row) { return row.entry.empty(); });
  ASSERT_FALSE(wrappers.empty());
  sim::Settings settings;
  for (const TableRow& wrapper : wrappers) settings.missing.insert(wrapper.entry);
  sim::Host host(settings);
  for (const TableRow& wrapper : wrappers) host.Record(wrapper.entry);
  sim::Plugin plugin(PluginPath());
  plugin.Start(host);

  const auto symbols = ExportedSymbols();
  for (const TableRow& wrapper : wrappers) {
    SCOPED_TRACE(wrapper.name);
    const auto symbol = symbols.find(wrapper.name);
    ASSERT_NE(symbol, symbols.end());
    // Of a boolean, the lowest byte counts.
    const uint32_t mask = wrapper.result == "nothing" ? 0 : wrapper.result == "word" ? ~0U : 0xFF;
    const auto call = [&, function = plugin.Symbol<RawWrapper>(symbol->second.c_str())] {
      return static_cast<uint32_t>(function(Word(0), Word(1), Word(2), Word(3), Word(4), Word(5))) &
             mask;
    };
    host.log.Clear();
    for (int look = 1; look <= 2; ++look) {
      EXPECT_EQ(call(), 0U);
      EXPECT_EQ(host.log.Lookups(wrapper.entry), look);
    }
    host.settings.missing.erase(wrapper.entry);
    const std::vector<uint32_t> expected = Arriving(wrapper.name);
    for (const uint32_t result : {0xABCDEF00U, 0xABCDEF02U}) {
      sim::Recorder& recorder = host.Record(wrapper.entry, result);
      // Anything but zero is true.
      EXPECT_EQ(call(),
                wrapper.result == "boolean" ? uint32_t{(result & 0xFF) != 0} : result & mask);
      ASSERT_FALSE(recorder.calls.empty());
      const auto* const words = recorder.calls.back().data();
      EXPECT_EQ(std::vector(words, words + expected.size()), expected);
    }
    EXPECT_EQ(host.Record(wrapper.entry).calls.size(), 2U);
    EXPECT_EQ(host.log.Lookups(wrapper.entry), 3);
    EXPECT_EQ(host.log.lines.size(), 5U) << host.log.Text();
  }
}

TEST(HostCalls, TheFewThatDifferDoSo) {
  constexpr const char* kEntries[] = {"PluginCallFunctionWithExceptionHandler",
                                      "PluginRegisterBackgroundTask", "CreateInstance",
                                      "REALLoadGlobalMethod", "GetEventInstance"};
  Session session;
  sim::Host& host = session.host;
  for (const char* entry : kEntries) {
    host.Record(entry, 77);
    host.settings.missing.insert(entry);
  }
  using Task = void(void*);
  const auto guarded =
      Function<long(Task*, void*)>(session.plugin, "REALCallFunctionWithExceptionHandler");
  const auto background =
      Function<long(Task*, unsigned long, void*)>(session.plugin, "REALRegisterBackgroundTask");
  const auto instance =
      Function<REALobjectStruct*(REALclassRefStruct*)>(session.plugin, "REALnewInstance");
  const auto method = Function<void*(const char*)>(session.plugin, "REALLoadFrameworkMethod");
  const auto event = Function<void*(REALcontrolInstanceStruct*, REALevent*)>(
      session.plugin, "REALGetEventInstance");
  Task* const count = [](void* number) { ++*static_cast<int*>(number); };
  auto* const control = reinterpret_cast<REALcontrolInstanceStruct*>(0x1234);
  REALevent pressed{1, 0x8765};
  int runs = 0;

  for (int round = 1; round <= 2; ++round) {
    EXPECT_EQ(guarded(count, &runs), 0);
    EXPECT_EQ(background(count, 5, &runs), -1);
    EXPECT_EQ(runs, round);
    EXPECT_EQ(instance(nullptr), nullptr);
    EXPECT_EQ(method("M"), nullptr);
    EXPECT_EQ(event(control, nullptr), nullptr);
    for (const char* entry : kEntries) EXPECT_EQ(host.log.Lookups(entry), round) << entry;
  }
  EXPECT_THROW(guarded([](void*) { throw 5; }, nullptr), int);

  for (const char* entry : kEntries) host.settings.missing.erase(entry);
  EXPECT_EQ(guarded(count, &runs), 77);
  EXPECT_EQ(background(count, 5, &runs), 77);
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(instance(nullptr), nullptr);
  EXPECT_EQ(host.log.Lookups("CreateInstance"), 3);
  EXPECT_EQ(host.log.Calls("CreateInstance"), 0);
  const char* const declaration = "M";
  EXPECT_EQ(method(declaration), reinterpret_cast<void*>(77));
  EXPECT_EQ(event(control, &pressed), reinterpret_cast<void*>(77));
  const auto words = [&](const char* entry) { return host.Record(entry, 77).calls.at(0); };
  EXPECT_EQ(words("REALLoadGlobalMethod")[0], 0U);
  EXPECT_EQ(words("REALLoadGlobalMethod")[1], reinterpret_cast<uintptr_t>(declaration));
  EXPECT_EQ(words("GetEventInstance")[0], 0x1234U);
  EXPECT_EQ(words("GetEventInstance")[1], 0x8765U);
  EXPECT_EQ(words("PluginRegisterBackgroundTask")[1], 5U);
  EXPECT_EQ(words("PluginRegisterBackgroundTask")[2], reinterpret_cast<uintptr_t>(&runs));
}

}  // namespace
