// Array elements: every overload, through the host's procedures and through the built-in ones, on
// one shared table of element types.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/host/plugin_function.h"

namespace {

using sim::ElementType;
using String = REALstringStruct;

constexpr const char* kInsertProvider = "RuntimeArrayDirectGetInsertProc";
constexpr const char* kGetProvider = "RuntimeArrayDirectGetGetProc";
constexpr const char* kSetProvider = "RuntimeArrayDirectGetSetProc";

template <class Last>
using Overload = void(REALarrayStruct*, long, Last);

/// Null where there is none of that type.
template <class Last>
Overload<Last>* Find(const sim::Plugin& plugin, const char* name) {
  return plugin.Symbol<Overload<Last>>(SignatureName<Overload<Last>>::Mangled(name).c_str());
}

/// The three overloads for one type of element.
template <class T>
struct Element {
  explicit Element(const sim::Plugin& plugin)
      : insert(Find<T>(plugin, "REALInsertArrayValue")),
        get(Find<T*>(plugin, "REALGetArrayValue")),
        set(Find<T>(plugin, "REALSetArrayValue")) {}
  Overload<T>* insert;
  Overload<T*>* get;
  Overload<T>* set;
};

class Arrays : public testing::TestWithParam<bool> {
 protected:
  Arrays() {
    if (builtIn) host.settings.missing = {kInsertProvider, kGetProvider, kSetProvider};
  }

  /// Writes (where it can), reads and inserts at element 1 of 3, and checks neighbours and
  /// look-ups. The values fill the width of their type.
  template <class T>
  void Exercise(ElementType type, T first, T second, bool inserts = true, bool writes = true) {
    SCOPED_TRACE(typeid(T).name());
    const Element<T> element(session.plugin);
    ASSERT_NE(element.get, nullptr);
    ASSERT_EQ(element.insert != nullptr, inserts);
    ASSERT_EQ(element.set != nullptr, writes);
    sim::Log& log = host.log;
    log.Clear();
    const auto array = host.MakeArray(type, 3);
    array->At<T>(1) = first;
    if (writes) {
      array->At<T>(1) = second;
      element.set(array->handle(), 1, first);
      element.set(array->handle(), 1, first);
      EXPECT_EQ(log.Lookups(kSetProvider), 1);
    }
    EXPECT_EQ(array->At<T>(0), T());
    EXPECT_EQ(array->At<T>(1), first);
    EXPECT_EQ(array->At<T>(2), T());

    const bool readable = !builtIn || !std::is_same_v<T, unsigned short>;
    for (int round = 1; round <= 2; ++round) {
      T out[2] = {T(), second};
      element.get(array->handle(), 1, out);
      EXPECT_EQ(out[0], readable ? first : T());
      EXPECT_EQ(out[1], second) << "written beyond the value";
      element.get(array->handle(), 1, nullptr);
      EXPECT_EQ(log.Lookups(kGetProvider), readable ? 1 : 2 * round);
    }

    if (!inserts) return;
    element.insert(array->handle(), 1, second);
    element.insert(array->handle(), 0, second);
    EXPECT_EQ(array->count(), builtIn ? 3U : 5U);
    EXPECT_EQ(array->At<T>(builtIn ? 1 : 3), first);
    EXPECT_EQ(array->At<T>(2), builtIn ? T() : second);
    EXPECT_EQ(log.Lookups(kInsertProvider), builtIn ? 2 : 1);
  }

  /// What happens to references when a handle is set, set again, read, inserted and set to null.
  template <class T, class Ref>
  void ExerciseReferences(ElementType type, const Ref& first, const Ref& second) {
    const Element<T*> element(session.plugin);
    T* const a = reinterpret_cast<T*>(first.get());
    T* const b = reinterpret_cast<T*>(second.get());
    const auto array = host.MakeArray(type, 2);
    element.set(array->handle(), 0, a);
    element.set(array->handle(), 0, a);
    EXPECT_EQ(first->references(), 2);
    T* out = nullptr;
    element.get(array->handle(), 0, &out);
    EXPECT_EQ(out, a);
    EXPECT_EQ(first->references(), 3);
    sim::Ref<sim::Handle>::Adopt(host.Live<sim::Handle>(out));

    element.set(array->handle(), 0, b);
    EXPECT_EQ(first->references(), 1);
    EXPECT_EQ(second->references(), 2);
    element.get(array->handle(), 1, &out);
    EXPECT_EQ(out, nullptr);
    element.set(array->handle(), 0, nullptr);
    EXPECT_EQ(second->references(), 1);
    element.insert(array->handle(), 0, a);
    EXPECT_EQ(first->references(), builtIn ? 1 : 2);
    EXPECT_EQ(host.Imbalance(), "");
  }

  const bool builtIn = GetParam();
  Session session;
  sim::Host& host = session.host;
};

TEST_P(Arrays, EveryNumberTypeKeepsItsFullWidth) {
  using E = ElementType;
  Exercise<long long>(E::kInt64, -0x7123456789ABCDEFLL, 5);
  Exercise<unsigned long long>(E::kUInt64, 0xFEDCBA9876543210ULL, 5);
  Exercise<long>(E::kInt32, -0x12345678, 5);
  Exercise<unsigned long>(E::kUInt32, 0xFEDCBA98, 5);
  Exercise<unsigned short>(E::kUInt16, 0xFEDC, 0xFFFF, true, false);
  Exercise<unsigned char>(E::kByte, 0xFE, 5, false, false);
  Exercise<float>(E::kSingle, -1.5e-38F, 5, true, false);
  Exercise<double>(E::kDouble, -1.000000000000001e300, 5);
}

TEST_P(Arrays, StringsAndObjectsHoldOneReferencePerElement) {
  ExerciseReferences<String>(ElementType::kString, host.MakeString("a", kEncodingUtf8),
                             host.MakeString("b", kEncodingUtf8));
  ExerciseReferences<REALobjectStruct>(ElementType::kObject, host.MakeObject("MemoryBlock"),
                                       host.MakeObject("Picture"));
}

TEST_P(Arrays, AnExceptionOfTheHostUnbalancesNoElement) {
  const Element<String*> element(session.plugin);
  const auto first = host.MakeString("a", kEncodingUtf8);
  const auto second = host.MakeString("b", kEncodingUtf8);
  int number = 0;
  do {
    const auto array = host.MakeArray(ElementType::kString, 1);
    element.set(array->handle(), 0, first->handle());
    host.faults.ThrowNth(++number);
    try {
      element.set(array->handle(), 0, second->handle());
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
  const Element<long> element(session.plugin);
  const auto array = session.host.MakeArray(ElementType::kInt32, 1);
  long out = 0;
  element.get(array->handle(), 0, &out);
  session.host.settings.missing.clear();
  array->withoutProcedures = true;
  array->At<long>(0) = 8;
  element.get(array->handle(), 0, &out);
  EXPECT_EQ(out, 8);
  // The overload beside it has not settled yet: it finds the host's provider, which offers nothing.
  unsigned long untouched = 3;
  Element<unsigned long>(session.plugin).get(array->handle(), 0, &untouched);
  EXPECT_EQ(untouched, 3U);
  element.set(array->handle(), 0, 9);
  EXPECT_EQ(array->At<long>(0), 8);
}

}  // namespace
