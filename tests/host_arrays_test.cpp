// Array elements: every overload, through the host's procedures and through the built-in ones, on
// one shared table of element types.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/session.h"

namespace {

using sim::ElementType;

constexpr const char* kInsertProvider = "RuntimeArrayDirectGetInsertProc";
constexpr const char* kGetProvider = "RuntimeArrayDirectGetGetProc";
constexpr const char* kSetProvider = "RuntimeArrayDirectGetSetProc";

/// One element type: its name in exported names, values that fill its width, and which of the
/// overloads exist.
template <class T, ElementType kType>
struct Kind {
  using Value = T;
  static constexpr ElementType kElementType = kType;
  const char* mangled;
  T first;
  T second;
  bool inserts = true;
  bool writes = true;
};

template <class T>
class Element {
 public:
  explicit Element(const sim::Plugin& plugin, const std::string& type)
      : insert(plugin.Symbol<void(void*, long, T)>(
            ("_Z20REALInsertArrayValueP15REALarrayStructl" + type).c_str())),
        get(plugin.Symbol<void(void*, long, T*)>(
            ("_Z17REALGetArrayValueP15REALarrayStructlP" + type).c_str())),
        set(plugin.Symbol<void(void*, long, T)>(
            ("_Z17REALSetArrayValueP15REALarrayStructl" + type).c_str())) {}

  void (*insert)(void*, long, T);
  void (*get)(void*, long, T*);
  void (*set)(void*, long, T);
};

/// Writes (where it can), reads and inserts at element 1 of 3, and checks neighbours and look-ups.
template <class KindOf>
void Exercise(Session& session, const KindOf& kind, bool builtIn) {
  using T = typename KindOf::Value;
  SCOPED_TRACE(std::string(kind.mangled) + (builtIn ? " built-in" : " by the host"));
  const Element<T> element(session.plugin, kind.mangled);
  ASSERT_NE(element.get, nullptr);
  ASSERT_EQ(element.insert != nullptr, kind.inserts);
  ASSERT_EQ(element.set != nullptr, kind.writes);
  sim::Log& log = session.host.log;
  log.Clear();
  const sim::Ref<sim::Array> array = session.host.MakeArray(KindOf::kElementType, 3);

  if (kind.writes) {
    element.set(array.get(), 1, kind.first);
    element.set(array.get(), 1, kind.first);
    EXPECT_EQ(log.Lookups(kSetProvider), 1);
  } else {
    array->At<T>(1) = kind.first;
  }
  EXPECT_EQ(array->At<T>(0), T());
  EXPECT_EQ(array->At<T>(1), kind.first);
  EXPECT_EQ(array->At<T>(2), T());

  const bool readable = !builtIn || !std::is_same_v<T, unsigned short>;
  for (int round = 1; round <= 2; ++round) {
    T out[2] = {T(), kind.second};
    element.get(array.get(), 1, out);
    EXPECT_EQ(out[0], readable ? kind.first : T());
    EXPECT_EQ(out[1], kind.second) << "written beyond the value";
    element.get(array.get(), 1, nullptr);
    EXPECT_EQ(log.Lookups(kGetProvider), readable ? 1 : 2 * round);
  }

  if (!kind.inserts) return;
  element.insert(array.get(), 1, kind.second);
  element.insert(array.get(), 0, kind.second);
  EXPECT_EQ(array->count(), builtIn ? 3U : 5U);
  EXPECT_EQ(array->At<T>(builtIn ? 1 : 3), kind.first);
  EXPECT_EQ(array->At<T>(2), builtIn ? T() : kind.second);
  EXPECT_EQ(log.Lookups(kInsertProvider), builtIn ? 2 : 1);
}

class Arrays : public testing::TestWithParam<bool> {
 protected:
  Arrays() {
    if (GetParam()) session.host.settings.missing = {kInsertProvider, kGetProvider, kSetProvider};
  }
  Session session;
};

TEST_P(Arrays, EveryNumberTypeKeepsItsFullWidth) {
  using E = ElementType;
  const auto exercise = [&](const auto& kind) { Exercise(session, kind, GetParam()); };
  exercise(Kind<long long, E::kInt64>{"x", -0x7123456789ABCDEFLL, 5});
  exercise(Kind<unsigned long long, E::kUInt64>{"y", 0xFEDCBA9876543210ULL, 5});
  exercise(Kind<long, E::kInt32>{"l", -0x12345678, 5});
  exercise(Kind<unsigned long, E::kUInt32>{"m", 0xFEDCBA98, 5});
  exercise(Kind<unsigned short, E::kUInt16>{"t", 0xFEDC, 0xFFFF, true, false});
  exercise(Kind<unsigned char, E::kByte>{"h", 0xFE, 5, false, false});
  exercise(Kind<float, E::kSingle>{"f", -1.5e-38F, 5, true, false});
  exercise(Kind<double, E::kDouble>{"d", -1.000000000000001e300, 5});
}

/// What happens to references when a handle is set, set again, read, inserted and set to null.
template <class Handle, class Ref>
void ExerciseReferences(Session& session, const char* mangled, ElementType type, Ref first,
                        Ref second, bool builtIn) {
  const Element<void*> element(session.plugin, mangled);
  {
    auto array = session.host.MakeArray(type, 2);
    element.set(array.get(), 0, first.get());
    element.set(array.get(), 0, first.get());
    EXPECT_EQ(first->references(), 2);
    void* out = nullptr;
    element.get(array.get(), 0, &out);
    EXPECT_EQ(out, first.get());
    EXPECT_EQ(first->references(), 3);
    Ref::Adopt(static_cast<Handle*>(out));

    element.set(array.get(), 0, second.get());
    EXPECT_EQ(first->references(), 1);
    EXPECT_EQ(second->references(), 2);
    element.get(array.get(), 1, &out);
    EXPECT_EQ(out, nullptr);
    element.set(array.get(), 0, nullptr);
    EXPECT_EQ(second->references(), 1);
    element.insert(array.get(), 0, first.get());
    EXPECT_EQ(first->references(), builtIn ? 1 : 2);
    EXPECT_EQ(session.host.Imbalance(), "");
  }
  EXPECT_EQ(first->references(), 1);
}

TEST_P(Arrays, StringsAndObjectsHoldOneReferencePerElement) {
  sim::Host& host = session.host;
  ExerciseReferences<sim::String>(session, "P16REALstringStruct", ElementType::kString,
                                  host.MakeString("a", kEncodingUtf8),
                                  host.MakeString("b", kEncodingUtf8), GetParam());
  ExerciseReferences<sim::Object>(session, "P16REALobjectStruct", ElementType::kObject,
                                  host.MakeObject("MemoryBlock"), host.MakeObject("Picture"),
                                  GetParam());
}

TEST_P(Arrays, AnExceptionOfTheHostUnbalancesNoElement) {
  sim::Host& host = session.host;
  const Element<void*> element(session.plugin, "P16REALstringStruct");
  auto first = host.MakeString("a", kEncodingUtf8);
  auto second = host.MakeString("b", kEncodingUtf8);
  int number = 0;
  do {
    auto array = host.MakeArray(ElementType::kString, 1);
    element.set(array.get(), 0, first.get());
    host.faults.ThrowNth(++number);
    try {
      element.set(array.get(), 0, second.get());
    } catch (const sim::HostException&) {
    }
    EXPECT_EQ(host.Imbalance(), "") << "thrown at call " << number;
  } while (host.faults.fired());
}

INSTANTIATE_TEST_SUITE_P(By, Arrays, testing::Bool(), [](const auto& param) {
  return std::string(param.param ? "BuiltIn" : "Host");
});

TEST(ArrayProviders, ABuiltInIsKeptWhenTheHostGainsItsOwn) {
  Session session;
  session.host.settings.missing = {kGetProvider};
  const Element<long> element(session.plugin, "l");
  auto array = session.host.MakeArray(ElementType::kInt32, 1);
  array->At<long>(0) = 7;
  long out = 0;
  element.get(array.get(), 0, &out);
  session.host.settings.missing.clear();
  array->withoutProcedures = true;
  array->At<long>(0) = 8;
  element.get(array.get(), 0, &out);
  EXPECT_EQ(out, 8);
  // The overload beside it has not settled yet: it finds the host's provider, which offers nothing.
  unsigned long untouched = 3;
  Element<unsigned long>(session.plugin, "m").get(array.get(), 0, &untouched);
  EXPECT_EQ(untouched, 3U);
  element.set(array.get(), 0, 9);
  EXPECT_EQ(array->At<long>(0), 8);
}

TEST(ArrayForwards, PassTheirArgumentsAndDefaultToZero) {
  struct {
    const char* entry;
    const char* mangled;
  } const forwards[] = {
      {"RuntimeArrayCreateSingleDimBoundedArray", "_Z15REALCreateArray13REALArrayTypel"},
      {"RuntimeDirectReadIntArray", "_Z15REALGetArrayIntP18REALintArrayStructi"},
      {"RuntimeDirectReadStringArray", "_Z18REALGetArrayStringP21REALstringArrayStructi"},
      {"RuntimeDirectReadObjectArray", "_Z18REALGetArrayObjectP21REALobjectArrayStructi"},
      {"RuntimeUBound", "_Z18REALGetArrayUBoundPv"},
  };
  Session session;
  for (const auto& [entry, mangled] : forwards) {
    SCOPED_TRACE(entry);
    auto* const call = session.plugin.Symbol<uint32_t(uint32_t, uint32_t)>(mangled);
    ASSERT_NE(call, nullptr);
    session.host.settings.missing = {entry};
    EXPECT_EQ(call(0x1234, 56), 0U);
    session.host.settings.missing.clear();
    sim::Recorder& recorder = session.host.Record(entry, 0x89ABCDEF);
    EXPECT_EQ(call(0x1234, 56), 0x89ABCDEFU);
    ASSERT_EQ(recorder.calls.size(), 1U);
    EXPECT_EQ(recorder.calls[0][0], 0x1234U);
    if (entry != std::string("RuntimeUBound")) {
      EXPECT_EQ(recorder.calls[0][1], 56U);
    }
  }
}

}  // namespace
