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

/// The three overloads for one type of element; null where there is none.
template <class T>
struct Element {
  template <class Last>
  using Overload = void(REALarrayStruct*, long, Last);

  explicit Element(const sim::Plugin& plugin) {
    const auto find = [&]<class Last>(Overload<Last>*& overload, const char* name) {
      overload = plugin.Function<Overload<Last>>(name);
    };
    find(insert, "REALInsertArrayValue");
    find(get, "REALGetArrayValue");
    find(set, "REALSetArrayValue");
  }
  Overload<T>* insert;
  Overload<T*>* get;
  Overload<T>* set;
};

class Arrays : public testing::TestWithParam<bool>, protected Session {
 protected:
  Arrays() {
    if (builtIn) host.settings.missing = {kInsertProvider, kGetProvider, kSetProvider};
  }

  /// Writes (where it can), reads and inserts at element 1 of 3, and checks neighbours, look-ups
  /// and the references on handles. The values fill the width of their type.
  template <class T>
  void Exercise(ElementType type, T first, T second, bool inserts = true, bool writes = true) {
    SCOPED_TRACE(typeid(T).name());
    const Element<T> element(plugin);
    ASSERT_NE(element.get, nullptr);
    ASSERT_EQ(element.insert != nullptr, inserts);
    ASSERT_EQ(element.set != nullptr, writes);
    const auto expectReferences = [&](int ofFirst, int ofSecond) {
      if constexpr (std::is_pointer_v<T>) {
        EXPECT_EQ(host.Live<sim::Handle>(first)->references(), ofFirst);
        EXPECT_EQ(host.Live<sim::Handle>(second)->references(), ofSecond);
      }
    };
    host.log.Clear();
    const auto array = host.MakeArray(type, 3);
    if (writes) {
      for (const T value : {second, first, first}) element.set(array->handle(), 1, value);
      EXPECT_EQ(host.log.Lookups(kSetProvider), 1);
    } else {
      array->At<T>(1) = first;
    }
    EXPECT_EQ(array->At<T>(0), T());
    EXPECT_EQ(array->At<T>(1), first);
    EXPECT_EQ(array->At<T>(2), T());
    expectReferences(2, 1);

    const bool readable = !builtIn || !std::is_same_v<T, unsigned short>;
    for (int round = 1; round <= 2; ++round) {
      T out[2] = {T(), second};
      element.get(array->handle(), 1, out);
      EXPECT_EQ(out[0], readable ? first : T());
      EXPECT_EQ(out[1], second) << "written beyond the value";
      expectReferences(3, 1);
      if constexpr (std::is_pointer_v<T>) Own<sim::Handle>(out[0]);
      // The provider is asked all the same.
      host.log.Clear();
      element.get(array->handle(), 1, nullptr);
      EXPECT_EQ(host.log.Sequence(), builtIn ? "" : kGetProvider);
      element.get(array->handle(), 0, out);
      EXPECT_EQ(out[0], T());
      EXPECT_EQ(host.log.Lookups(kGetProvider), readable ? 0 : 2);
    }

    if (inserts) {
      element.insert(array->handle(), 1, second);
      element.insert(array->handle(), 0, second);
      EXPECT_EQ(array->count(), builtIn ? 3U : 5U);
      EXPECT_EQ(array->At<T>(builtIn ? 1 : 3), first);
      EXPECT_EQ(array->At<T>(2), builtIn ? T() : second);
      EXPECT_EQ(host.log.Lookups(kInsertProvider), builtIn ? 2 : 1);
      expectReferences(2, builtIn ? 1 : 3);
    }
    if (writes) element.set(array->handle(), builtIn ? 1 : 3, T());
    expectReferences(1, builtIn ? 1 : 3);
  }

  const bool builtIn = GetParam();
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
  const auto a = host.MakeString("a", kEncodingUtf8), b = host.MakeString("b", kEncodingUtf8);
  Exercise(ElementType::kString, a->handle(), b->handle());
  const auto block = host.MakeObject("MemoryBlock"), picture = host.MakeObject("Picture");
  Exercise(ElementType::kObject, block->object(), picture->object());
}

TEST_P(Arrays, AnExceptionOfTheHostUnbalancesNoElement) {
  const Element<REALstringStruct*> element(plugin);
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

TEST(ArrayProviders, NullReleasesAnElementEvenWhereNobodyCanAddReferences) {
  Session session({.missing = {kSetProvider, "REALLockString"}});
  const auto set = Element<REALstringStruct*>(session.plugin).set;
  const auto array = session.host.MakeArray(ElementType::kString, 1);
  const auto filled = session.host.MakeString("a", kEncodingUtf8);
  const auto other = session.host.MakeString("b", kEncodingUtf8);
  session.host.Lock(filled.get());
  array->At<void*>(0) = filled.get();
  set(array->handle(), 0, other->handle());
  EXPECT_EQ(array->At<void*>(0), other.get());
  EXPECT_EQ(std::pair(filled->references(), other->references()), std::pair(2, 1));
  set(array->handle(), 0, filled->handle());
  set(array->handle(), 0, nullptr);
  EXPECT_EQ(array->At<void*>(0), nullptr);
  EXPECT_EQ(filled->references(), 1);
}

TEST(ArrayProviders, ABuiltInIsKeptWhenTheHostGainsItsOwn) {
  Session session;
  session.host.settings.missing = {kGetProvider};
  const Element<long> element(session.plugin);
  const auto array = session.host.MakeArray(ElementType::kUInt32, 1);
  long out = 0;
  element.get(array->handle(), 0, &out);
  session.host.settings.missing.clear();
  array->At<long>(0) = 8;
  element.get(array->handle(), 0, &out);
  EXPECT_EQ(out, 8);
  // The overload beside it has not settled yet: it finds the host's provider, which is asked each
  // time, and may offer nothing.
  const Element<unsigned long> beside(session.plugin);
  for (const bool offers : {true, false}) {
    array->withoutProcedures = !offers;
    array->At<long>(0) = 8;
    unsigned long read = 3;
    beside.get(array->handle(), 0, &read);
    EXPECT_EQ(read, offers ? 8U : 3U);
    beside.set(array->handle(), 0, 9);
    EXPECT_EQ(array->At<long>(0), offers ? 9 : 8);
    beside.insert(array->handle(), 0, 7);
    EXPECT_EQ(array->count(), 2U);
  }
}

}  // namespace
