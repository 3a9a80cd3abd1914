// Start-up: the order in which the host is asked, what is registered for which host version, and
// the functions that adjust records and tell kinds of application apart.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <limits>
#include <map>

#include "tests/host/exports.h"
#include "tests/session.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr uint32_t kSafe = 0x4, kOnly = 0x8, kWebOnly = 0x100;
constexpr uint32_t kMarkSafe = 0x40000, kMarkOnly = 0x80000;

TEST(StartUp, RegistersWhatTheVersionAsksFor) {
  std::map<size_t, TableRow> rows;
  for (TableRow& row : ReadExportTable()) {
    if (row.method > 0) rows[row.method - 1] = std::move(row);
  }
  const auto symbols = ExportedSymbols();
  struct VersionCase {
    double version;
    bool eightDigits, consoleBits;
    bool reported = true;
  };
  for (const VersionCase& each :
       {VersionCase{0.0, false, false, false}, VersionCase{0.0, false, false},
        VersionCase{2010.028, false, false}, VersionCase{2010.029, false, true},
        VersionCase{2011.03, false, true}, VersionCase{2011.04, true, true},
        VersionCase{2012.0, true, true}, VersionCase{kNaN, true, true}}) {
    SCOPED_TRACE(each.version);
    sim::Settings settings{.version = each.version};
    if (!each.reported) settings.missing = {"REALGetRBVersion"};
    const Session session(settings);

    std::string order;
    for (const sim::LogLine& line : session.host.log.lines) {
      order += (line.kind == sim::LogLine::kLookup ? "?" : "") + line.name + " ";
    }
    EXPECT_EQ(order,
              std::string("?RegisterPluginVersion RegisterPluginVersion ?REALGetRBVersion ") +
                  (each.reported ? "REALGetRBVersion " : "") +
                  "?PluginRegisterClassExtension PluginRegisterClassExtension ");
    const auto version = Variable<double>(session.plugin, "rbversion_rbversion");
    EXPECT_EQ(std::memcmp(&version, &each.version, sizeof version), 0) << version;

    const uint32_t flags = kMarkSafe | (each.consoleBits ? kSafe : 0);
    uint32_t words[25];
    std::memcpy(words, session.host.extensions.at(0), sizeof words);
    EXPECT_STREQ(reinterpret_cast<const char*>(words[1]), "Picture");
    const auto* const methods = reinterpret_cast<const REALmethodDefinition*>(words[9]);
    std::map<int, uint32_t> expected = {
        {0, 9}, {1, words[1]}, {9, words[9]}, {10, rows.size()}, {20, flags}};
    for (int i = 0; i < 25; ++i) EXPECT_EQ(words[i], expected[i]) << "word " << i;
    rows[0].declaration = std::string("RotateVel(angle as double, background as color = &cFFFFFF") +
                          (each.eightDigits ? "FF" : "") + ") as picture";
    for (const auto& [i, row] : rows) {
      EXPECT_EQ(methods[i].declaration, row.declaration);
      EXPECT_EQ(methods[i].function,
                session.plugin.Address(symbols.find(row.name)->second.c_str()));
      EXPECT_EQ(methods[i].secondFunction, nullptr);
      EXPECT_EQ(methods[i].flags, flags);
    }
  }
}

TEST(StartUp, AHostWithoutVersionRegistryIsServedAllTheSame) {
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
      session.Call<void(Args...)>("FixConsoleFlags", args...);
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
  for (const auto& [function, before, after] :
       {std::tuple{"SetClassWebOnly", 0x10CU, 0x104U},
        {"SetClassWebOnly", ~(kWebOnly | kSafe), ~(kSafe | kOnly)},
        {"SetClassConsoleSafe", ~(kSafe | kOnly), ~kOnly}}) {
    REALclassDefinition record{};
    record.flags = before;
    session.Call<void(REALclassDefinition*)>(function, &record);
    EXPECT_EQ(record.flags, after) << function;
  }
}

TEST(Registration, SizesAreRoundedInPlaceAndOnlyWhenTheyMustBe) {
  Session session;
  sim::Recorder& classes = session.host.Record("PluginRegisterClass");
  sim::Recorder& controls = session.host.Record("PluginRegisterControl");
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
        session.Call<void(REALcontrol*)>("MyREALRegisterControl", static_cast<REALcontrol*>(page));
      } else {
        session.Call<void(REALclassDefinition*)>("MyREALRegisterClass",
                                                 static_cast<REALclassDefinition*>(page));
      }
      mprotect(page, 4096, PROT_READ | PROT_WRITE);
      EXPECT_EQ(field, rounded);
      EXPECT_EQ((isControl ? controls : classes).calls.back()[0],
                reinterpret_cast<uintptr_t>(page));
      EXPECT_EQ(Variable<bool>(session.plugin, "gHasControls"), isControl);
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
    session.Call<void()>("CheckApplication");
    bool &isDesktop = Variable<bool>(session.plugin, "IsDesktop"),
         &isConsole = Variable<bool>(session.plugin, "IsConsole");
    EXPECT_EQ(isDesktop, (known & 1) != 0);
    EXPECT_EQ(isConsole, known == 2 || known == 4 || known == 6);
    std::string asked;
    for (const sim::LogLine& line : session.host.log.lines) asked += line.arguments;
    EXPECT_EQ(asked, "\"Application\"\"WebApplication\"\"ConsoleApplication\"");
    isDesktop = isConsole = true;
    session.Call<void()>("CheckApplication");  // clears nothing
    EXPECT_TRUE(isDesktop && isConsole);
  }
}

}  // namespace
