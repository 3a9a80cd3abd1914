// Start-up: the order in which the host is asked, what is registered for which host version, and
// the functions that adjust records and tell kinds of application apart.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <limits>
#include <map>
#include <ostream>

#include "tests/host/exports.h"
#include "tests/host/plugin_function.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr uint32_t kSafe = 0x4, kOnly = 0x8, kWebOnly = 0x100;
constexpr uint32_t kMarkSafe = 0x40000, kMarkOnly = 0x80000;

std::string LookupsAndCalls(const sim::Log& log) {
  std::string text;
  for (const sim::LogLine& line : log.lines) {
    text += (line.kind == sim::LogLine::kLookup ? "?" : "") + line.name + " ";
  }
  return text;
}

struct VersionCase {
  double version;
  bool reported;
  bool eightDigits;
  bool consoleBits;
};
void PrintTo(const VersionCase& param, std::ostream* out) {
  *out << "version " << param.version << (param.reported ? "" : ", not reported");
}

class StartUp : public testing::TestWithParam<VersionCase> {};

TEST_P(StartUp, RegistersWhatTheVersionAsksFor) {
  const VersionCase& param = GetParam();
  sim::Settings settings{.version = param.version};
  if (!param.reported) settings.missing = {"REALGetRBVersion"};
  const Session session(settings);

  EXPECT_EQ(LookupsAndCalls(session.host.log),
            std::string("?RegisterPluginVersion RegisterPluginVersion ?REALGetRBVersion ") +
                (param.reported ? "REALGetRBVersion " : "") +
                "?PluginRegisterClassExtension PluginRegisterClassExtension ");
  const auto version = Variable<double>(session.plugin, "rbversion_rbversion");
  EXPECT_EQ(std::memcmp(&version, &param.version, sizeof version), 0) << version;

  std::map<size_t, TableRow> rows;
  for (TableRow& row : ReadExportTable()) {
    if (row.method > 0) rows[row.method - 1] = std::move(row);
  }
  if (!param.eightDigits) {
    rows[0].declaration = "RotateVel(angle as double, background as color = &cFFFFFF) as picture";
  }
  const auto symbols = ExportedSymbols();
  const uint32_t flags = kMarkSafe | (param.consoleBits ? kSafe : 0);
  uint32_t words[25];
  std::memcpy(words, session.host.extensions.at(0), sizeof words);
  EXPECT_STREQ(reinterpret_cast<const char*>(words[1]), "Picture");
  const auto* const methods = reinterpret_cast<const REALmethodDefinition*>(words[9]);
  std::map<int, uint32_t> expected = {
      {0, 9}, {1, words[1]}, {9, words[9]}, {10, rows.size()}, {20, flags}};
  for (int i = 0; i < 25; ++i) EXPECT_EQ(words[i], expected[i]) << "word " << i;
  for (const auto& [i, row] : rows) {
    EXPECT_EQ(methods[i].declaration, row.declaration);
    EXPECT_EQ(methods[i].function, session.plugin.Address(symbols.find(row.name)->second.c_str()));
    EXPECT_EQ(methods[i].secondFunction, nullptr);
    EXPECT_EQ(methods[i].flags, flags);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Versions, StartUp,
    testing::Values(VersionCase{0.0, false, false, false}, VersionCase{0.0, true, false, false},
                    VersionCase{2010.028, true, false, false},
                    VersionCase{2010.029, true, false, true},
                    VersionCase{2011.03, true, false, true}, VersionCase{2011.04, true, true, true},
                    VersionCase{2012.0, true, true, true}, VersionCase{kNaN, true, true, true}));

TEST(StartUpTest, AHostWithoutVersionRegistryIsServedAllTheSame) {
  sim::Host host({.missing = {"RegisterPluginVersion"}});
  // The host would not take a record from a plugin that has not declared its version.
  const auto& registered = host.Record("PluginRegisterClassExtension").calls;
  sim::Plugin plugin(PluginPath());
  plugin.Start(host);
  EXPECT_EQ(registered.size(), 1U);
  EXPECT_EQ(Variable<double>(plugin, "rbversion_rbversion"), 2012.01);
  host.log.Clear();
  const auto resolve = Function<void*(const char*)>(plugin, "HCallResolver");
  EXPECT_EQ(resolve("RegisterPluginVersion"), nullptr);
  EXPECT_EQ(resolve("newPicture"), resolve("newPicture"));
  EXPECT_NE(resolve("newPicture"), nullptr);
  EXPECT_EQ(host.log.lines.size(), 4U);
}

/// Four entries, marked as safe for odd numbers and as console-only from number 2 on.
template <class Entry>
struct List {
  List() {
    for (uint32_t i = 0; i < 4; ++i) entries[i].flags = Fresh(i);
  }
  static uint32_t Fresh(uint32_t i) {
    return 0x80000001 | (i & 1 ? kMarkSafe : 0) | (i & 2 ? kMarkOnly : 0);
  }
  /// What the entries gained: nothing, the bit for safe, that for only, both, something else.
  std::string Gained() const {
    std::string text;
    for (uint32_t i = 0; i < 4; ++i) {
      const uint32_t bits = entries[i].flags ^ Fresh(i);
      text += bits % 4 != 0 || bits > 12 ? '?' : "-sob"[bits / 4];
    }
    return text;
  }
  Entry entries[4] = {};
};

TEST(ConsoleFlags, AreTranslatedInEveryListOnNewHosts) {
  using Rows = REALmethodDefinition;
  for (const double version : {2010.028, 2010.029, kNaN}) {
    SCOPED_TRACE(version);
    const bool isNew = !(version < 2010.029);
    const Session session({.version = version});
    const auto fix = [&]<class... Args>(Args... args) {
      Function<void(Args...)>(session.plugin, "FixConsoleFlags")(args...);
    };
    const auto expect = [isNew](const auto& list, const char* gained) {
      EXPECT_EQ(list.Gained(), isNew ? gained : "----");
    };

    List<Rows> single, rows;
    fix(&single.entries[3]);
    expect(single, "---b");
    for (const long count : {0L, -1L}) fix(rows.entries + 0, count);
    fix(static_cast<Rows*>(nullptr), 4L);
    expect(rows, "----");
    fix(rows.entries + 0, 2L);
    expect(rows, "-s--");

    List<Rows> methods, sharedMethods;
    List<REALmemberDefinition> members, sharedMembers;
    REALclassDefinition record{};
    record.members = members.entries, record.memberCount = 2;
    record.methods = methods.entries, record.methodCount = 3;
    record.sharedMembers = sharedMembers.entries, record.sharedMemberCount = 4;
    record.sharedMethods = sharedMethods.entries, record.sharedMethodCount = -1;
    record.flags = kMarkOnly;
    fix(&record);
    EXPECT_EQ(record.flags, kMarkOnly | (isNew ? kOnly : 0));
    expect(members, "-s--");
    expect(methods, "-so-");
    expect(sharedMembers, "-sob");
    expect(sharedMethods, "----");
    record.methods = nullptr, record.sharedMethodCount = 4;
    fix(&record);
    expect(sharedMethods, "-sob");

    constexpr uint32_t kOwn = kMarkSafe | kMarkOnly;  // the module's own words are no flags
    REALmoduleDefinition module{{kOwn, kOwn}, single.entries, 3, {kOwn, kOwn}, members.entries, 4};
    const REALmoduleDefinition before = module;
    fix(&module);
    expect(single, "-sob");
    expect(members, "-sob");
    EXPECT_EQ(std::memcmp(&module, &before, sizeof module), 0);
  }
}

TEST(ConsoleFlags, ClassesAreMarkedDirectly) {
  const Session session;
  const auto safe = Function<void(REALclassDefinition*)>(session.plugin, "SetClassConsoleSafe");
  const auto web = Function<void(REALclassDefinition*)>(session.plugin, "SetClassWebOnly");
  REALclassDefinition record{};
  record.flags = 0x10C;
  web(&record);
  EXPECT_EQ(record.flags, 0x104U);
  record.flags = ~(kWebOnly | kSafe);
  web(&record);
  EXPECT_EQ(record.flags, ~(kSafe | kOnly));
  safe(&record);
  EXPECT_EQ(record.flags, ~kOnly);
}

TEST(Registration, SizesAreRoundedInPlaceAndOnlyWhenTheyMustBe) {
  Session session;
  sim::Recorder& classes = session.host.Record("PluginRegisterClass");
  sim::Recorder& controls = session.host.Record("PluginRegisterControl");
  const auto addClass = Function<void(REALclassDefinition*)>(session.plugin, "MyREALRegisterClass");
  const auto addControl = Function<void(REALcontrol*)>(session.plugin, "MyREALRegisterControl");
  auto& hasControls = Variable<bool>(session.plugin, "gHasControls");

  void* const page =
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  constexpr std::pair<uint32_t, uint32_t> kSizes[] = {{0, 0},   {1, 16},    {16, 16}, {17, 32},
                                                      {20, 32}, {100, 112}, {32, 32}};
  for (const bool isControl : {false, true}) {
    uint32_t& field = static_cast<uint32_t*>(page)[isControl ? 2 : 3];
    for (const auto& [size, rounded] : kSizes) {
      field = size;
      // A record that needs no change may be read-only.
      if (size == rounded) mprotect(page, 4096, PROT_READ);
      if (isControl) {
        addControl(static_cast<REALcontrol*>(page));
      } else {
        addClass(static_cast<REALclassDefinition*>(page));
      }
      mprotect(page, 4096, PROT_READ | PROT_WRITE);
      EXPECT_EQ(field, rounded);
      EXPECT_EQ((isControl ? controls : classes).calls.back()[0],
                reinterpret_cast<uintptr_t>(page));
      EXPECT_EQ(hasControls, isControl);
    }
  }
  EXPECT_EQ(classes.calls.size() + controls.calls.size(), 2 * std::size(kSizes));
  munmap(page, 4096);
}

TEST(Application, IsToldByTheClassesThatTheHostKnows) {
  const char* const kNames[] = {"Application", "WebApplication", "ConsoleApplication"};
  for (int known = 0; known < 8; ++known) {
    SCOPED_TRACE(known);
    Session session({.application = sim::AppKind::kUnknown});
    for (int i = 0; i < 3; ++i) {
      if (known >> i & 1) session.host.AddClass({.name = kNames[i]});
    }
    session.host.log.Clear();
    const auto check = Function<void()>(session.plugin, "CheckApplication");
    check();
    EXPECT_EQ(Variable<bool>(session.plugin, "IsDesktop"), (known & 1) != 0);
    EXPECT_EQ(Variable<bool>(session.plugin, "IsConsole"), known == 2 || known == 4 || known == 6);
    std::string asked;
    for (const sim::LogLine& line : session.host.log.lines) asked += line.arguments;
    EXPECT_EQ(asked, "\"Application\"\"WebApplication\"\"ConsoleApplication\"");
    session.host.settings.missing.insert(std::begin(kNames), std::end(kNames));
    Variable<bool>(session.plugin, "IsConsole") = true;
    check();  // finds nothing now, and clears nothing
    EXPECT_EQ(Variable<bool>(session.plugin, "IsDesktop"), (known & 1) != 0);
    EXPECT_TRUE(Variable<bool>(session.plugin, "IsConsole"));
  }
}

}  // namespace
