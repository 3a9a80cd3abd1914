// The simulated host's own strictness: misuse stops the process, an imbalance is named, faults
// strike where they were told to. Without these every other test would pass too easily.

#include "simulator/host.h"

#include <gtest/gtest.h>

#include <cmath>

#include "simulator/console_storage.h"

namespace sim {
namespace {

template <class Signature>
Signature* Entry(const char* name) {
  return reinterpret_cast<Signature*>(Host::Resolve(name));
}
void LockObject(void* object) { Entry<void(void*)>("REALLockObject")(object); }
void UnlockObject(void* object) { Entry<void(void*)>("REALUnlockObject")(object); }
bool LockDescription(void* picture, int type, REALpictureDescription& description) {
  const auto lock = Entry<uint32_t(void*, void*, int)>("REALLockPictureDescription");
  return (lock(picture, &description, type) & 0xFF) != 0;
}
void UnlockDescription(void* picture) { Entry<void(void*)>("unlockPictureDescription")(picture); }
/// -1 where the host gives none.
int SideOf(void* picture, const char* property) {
  int value = -1;
  Entry<uint32_t(void*, const char*, int*)>("REALGetPropValueInt")(picture, property, &value);
  return value;
}

// Leaves the host as broken as the test wants it.
const Settings kTolerant = {.allowLeaks = true};

struct MisuseCase {
  const char* message;
  void (*act)(Host& host, Picture* picture);
};

const MisuseCase kMisuseCases[] = {
    {"REALLockObject: picture#2 was used after its release",
     [](Host& host, Picture*) {
       Picture* const gone = host.NewPicture(1, 1, false);
       UnlockObject(gone);
       LockObject(gone);
     }},
    {"REALUnlockObject: picture#1 lost a reference that the caller did not hold",
     [](Host&, Picture* picture) { UnlockObject(picture); }},
    {"unlockPictureDescription: picture#1 is not locked",
     [](Host&, Picture* picture) { UnlockDescription(picture); }},
    {"unlockPictureDescription: picture#1 is not locked",
     [](Host&, Picture* picture) {
       Entry<double()>("REALGetRBVersion")();
       REALpictureDescription description;
       LockDescription(picture, kStorageCairoContext, description);
       UnlockDescription(picture);  // a new host wants nothing back for a failed lock
     }},
    {"unlockPictureDescription: picture#1 was written outside its bounds",
     [](Host&, Picture* picture) {
       REALpictureDescription description;
       LockDescription(picture, kStorageConsoleBlock, description);
       picture->StorageAs<ConsoleStorage>().Words(1)[3] = 0;
       UnlockDescription(picture);
     }},
    {"released while locked",
     [](Host& host, Picture*) {
       Picture* const made = host.NewPicture(1, 1, false);
       REALpictureDescription description;
       LockDescription(made, kStorageConsoleBlock, description);
       UnlockObject(made);
     }},
    {"picture#1 has no property Widht", [](Host&, Picture* picture) { SideOf(picture, "Widht"); }},
    {"Width has another type",
     [](Host&, Picture* picture) {
       uint8_t value = 0;
       Entry<uint32_t(void*, const char*, uint8_t*)>("REALGetPropValueBool")(picture, "Width",
                                                                             &value);
     }},
    {"REALLockString: picture#1 is of the wrong kind",
     [](Host&, Picture* picture) { Entry<void(void*)>("REALLockString")(picture); }},
    {"PluginDisposeStringData: was given a record that the host did not fill",
     [](Host&, Picture*) {
       REALstringData record = {};
       Entry<void(REALstringData*)>("PluginDisposeStringData")(&record);
     }},
    {"REALGetPictureMask: a narrow argument was not zero-extended",
     [](Host&, Picture* picture) {
       Entry<void*(void*, uint32_t)>("REALGetPictureMask")(picture, 0x100);
     }},
    {"REALPictureClearCache: called on a host that lacks it",
     [](Host& host, Picture* picture) {
       const auto clear = Entry<void(void*)>("REALPictureClearCache");
       host.settings.missing.insert("REALPictureClearCache");
       clear(picture);
     }},
    {"outside array#1",
     [](Host& host, Picture*) {
       auto array = host.MakeArray(ElementType::kInt32, 2);
       Entry<int(void*, int)>("RuntimeDirectReadIntArray")(array.get(), 2);
     }},
    {"torn down while out of balance:\npicture#1: 2 references, 1 expected",
     [](Host& host, Picture* picture) {
       LockObject(picture);
       host.settings.allowLeaks = false;
       host.~Host();
     }},
};

TEST(Misuse, StopsTheProcess) {
  for (const auto& [message, act] : kMisuseCases) {
    EXPECT_DEATH(
        {
          Host host(kTolerant);
          act(host, host.MakePicture(Image(3, 2)).get());
        },
        message);
  }
}

TEST(Ledger, NamesWhatIsOutOfBalance) {
  Host host(kTolerant);
  auto picture = host.MakePicture(Image(3, 2), {.rows = RowLayout::kScattered});
  auto text = host.MakeString("x", kEncodingAscii);
  auto list = host.MakeArray(ElementType::kString, 1);
  EXPECT_EQ(host.Imbalance(), "");

  // An element accounts for one reference, whoever stored it.
  Entry<void(void*)>("REALLockString")(text.get());
  EXPECT_EQ(host.Imbalance(), "string#1: 2 references, 1 expected\n");
  list->At<void*>(0) = text.get();
  EXPECT_EQ(host.Imbalance(), "");

  REALpictureDescription description;
  ASSERT_TRUE(LockDescription(picture.get(), kStorageConsoleBlock, description));
  EXPECT_EQ(host.Imbalance(), "picture#1: description left locked\n");
  UnlockDescription(picture.get());

  REALstringData record;
  const auto get = Entry<uint32_t(void*, uint32_t, void*)>("PluginGetStringData");
  get(text.get(), kEncodingUtf16, &record);
  EXPECT_EQ(std::string_view(record.data, record.length), std::string_view("x\0", 2));
  EXPECT_EQ(host.Imbalance(), "1 borrowed string record not given back\n");
  Entry<void(void*)>("PluginDisposeStringData")(&record);

  uint32_t& beyond = picture->StorageAs<ConsoleStorage>().Words(1)[3];
  const uint32_t guard = beyond;
  beyond = ~guard;
  EXPECT_EQ(host.Imbalance(), "picture#1: written outside its bounds\n");
  beyond = guard;
  EXPECT_EQ(host.Imbalance(), "");
}

TEST(Ledger, OldHostsWantOneUnlockForAFailedLock) {
  for (const double version : {0.0, 2011.99, 2012.0, std::nan("")}) {
    SCOPED_TRACE(version);
    Host host({.version = version});
    Entry<double()>("REALGetRBVersion")();
    auto picture = host.MakePicture(Image(1, 1));
    host.faults.FailNth(2);
    REALpictureDescription description;
    EXPECT_FALSE(LockDescription(picture.get(), kStorageGdkDrawable, description));
    EXPECT_FALSE(LockDescription(picture.get(), kStorageConsoleBlock, description));
    EXPECT_TRUE(host.faults.fired());
    EXPECT_EQ(picture->owedUnlocks, version < 2012 ? 2 : 0);
    while (picture->owedUnlocks > 0) UnlockDescription(picture.get());
  }
}

TEST(Faults, StrikeAtTheirNumber) {
  Host host;
  auto picture = host.MakePicture(Image(1, 1));
  const auto width = [&] { return SideOf(picture.get(), "Width"); };
  host.faults.FailNth(2);
  EXPECT_EQ(width(), 1);
  LockObject(picture.get());  // cannot fail, so it does not count
  EXPECT_EQ(width(), -1);
  EXPECT_EQ(width(), 1);
  EXPECT_EQ(host.faults.fallible(), 3);
  host.faults.FailFrom(1);
  EXPECT_EQ(width(), -1);
  EXPECT_EQ(width(), -1);
  host.faults.ThrowNth(1);
  EXPECT_THROW(UnlockObject(picture.get()), HostException);
  EXPECT_EQ(picture->references(), 1);
  host.faults.ThrowNth(1);
  EXPECT_THROW(LockObject(picture.get()), HostException);
  EXPECT_EQ(picture->references(), 1);
  EXPECT_EQ(host.log.Calls("REALGetPropValueInt"), 5);
}

TEST(Entries, OnlyOneByteOfABooleanCounts) {
  Host host;
  auto picture = host.MakePicture(Image(1, 1));
  const auto isA = Entry<uint32_t(void*, const void*)>("RuntimeObjectIsa");
  EXPECT_EQ(isA(picture.get(), host.FindClass("Picture")), 0xABCDEF01U);
  EXPECT_EQ(isA(picture.get(), host.FindClass("Graphics")), 0xABCDEF00U);
}

}  // namespace
}  // namespace sim
