#pragma once

// The host's side of the bridge as C++ types: opaque handles, and the records that host and plugin
// read and write together. Records are sequences of 32-bit words in the host's own order; the
// assertions below them hold their layout. Handles are reference-counted by the host and never
// dereferenced here, except where a layout below says so.

#include <cstddef>
#include <cstdint>

#ifdef VEL_STAND_IN
// A build for 64 bits, to time the plugin where no 32-bit program can run. Both sides of its bridge
// are built from these records, which then have no layout to keep.
constexpr bool IsHostLayout(size_t, size_t) { return true; }
#else
static_assert(sizeof(void*) == 4 && sizeof(long) == 4, "the host's interface is 32-bit");
constexpr bool IsHostLayout(size_t actual, size_t expected) { return actual == expected; }
#endif

struct REALobjectStruct;
struct REALstringStruct;
struct REALpictureStruct;
struct REALgraphicsStruct;
struct REALmemoryBlockStruct;
struct REALclassRefStruct;
struct REALcontrolInstanceStruct;
struct REALfolderItemStruct;
struct REALintArrayStruct;
struct REALstringArrayStruct;
struct REALobjectArrayStruct;

namespace RB {

struct Rect {
  short top;
  short left;
  short bottom;
  short right;
};

}  // namespace RB

/// The host's numbering of the layouts that REALBuildPictureFromBuffer accepts.
enum RBPixelType : uint32_t {
  kRBPixelTypeRgb24 = 1,  ///< three bytes per pixel: red, green, blue
};

/// The host's numbering of array element types, passed through as it is.
enum REALArrayType : uint32_t {};

/// One method that a class extension adds: the function, and the declaration the host parses.
struct REALmethodDefinition {
  void* function;
  void* secondFunction;
  const char* declaration;
  uint32_t flags;
};
static_assert(IsHostLayout(sizeof(REALmethodDefinition), 16), "");

/// A 40-byte member entry of a class or module record. Only its flags are of interest here.
struct REALmemberDefinition {
  uint32_t hostWords1[3];
  uint32_t flags;
  uint32_t hostWords2[6];
};
static_assert(IsHostLayout(sizeof(REALmemberDefinition), 40), "");
static_assert(IsHostLayout(offsetof(REALmemberDefinition, flags), 12), "");

struct REALclassDefinition {
  uint32_t version;
  const char* name;
  uint32_t hostWord2;
  uint32_t size;
  uint32_t hostWords4[3];
  REALmemberDefinition* members;
  int32_t memberCount;
  REALmethodDefinition* methods;
  int32_t methodCount;
  uint32_t hostWords11[9];
  uint32_t flags;
  REALmemberDefinition* sharedMembers;
  int32_t sharedMemberCount;
  REALmethodDefinition* sharedMethods;
  int32_t sharedMethodCount;
};
static_assert(IsHostLayout(sizeof(REALclassDefinition), 100), "");
static_assert(IsHostLayout(offsetof(REALclassDefinition, size), 12), "");
static_assert(IsHostLayout(offsetof(REALclassDefinition, members), 28), "");
static_assert(IsHostLayout(offsetof(REALclassDefinition, methods), 36), "");
static_assert(IsHostLayout(offsetof(REALclassDefinition, flags), 80), "");
static_assert(IsHostLayout(offsetof(REALclassDefinition, sharedMethods), 92), "");

struct REALmoduleDefinition {
  uint32_t hostWords0[2];
  REALmethodDefinition* methods;
  int32_t methodCount;
  uint32_t hostWords4[2];
  REALmemberDefinition* members;
  int32_t memberCount;
};
static_assert(IsHostLayout(offsetof(REALmoduleDefinition, methods), 8), "");
static_assert(IsHostLayout(offsetof(REALmoduleDefinition, members), 24), "");

/// A control's record, as far as registering one needs it.
struct REALcontrol {
  uint32_t hostWords0[2];
  uint32_t size;
};
static_assert(IsHostLayout(offsetof(REALcontrol, size), 8), "");

struct REALevent {
  uint32_t hostWord0;
  uint32_t instanceKey;
};
static_assert(IsHostLayout(offsetof(REALevent, instanceKey), 4), "");

/// Kinds of native storage a picture description can be locked for.
enum REALpictureStorage : int32_t {
  kStorageGdkDrawable = 6,
  kStorageConsoleBlock = 10,
  kStorageCairoContext = 12,
};

/// A picture's native storage as the host describes it while it is locked.
struct REALpictureDescription {
  int32_t type;
  void* data;
  int32_t width;
  int32_t height;
  /// The host fills fields beyond the four above; this is room for them, never read.
  uint32_t hostWords[60];
};
static_assert(IsHostLayout(sizeof(REALpictureDescription), 256), "");
static_assert(IsHostLayout(offsetof(REALpictureDescription, height), 12), "");

/// The pixel block behind a console picture: 32-bit pixels, rows wherever the row table says.
struct ConsolePixelBlock {
  uint32_t flags;
  int32_t width;
  int32_t height;
  uint32_t hostWords3[1803];
  void* storage;
  uint8_t** rowTable;
};
static_assert(IsHostLayout(offsetof(ConsolePixelBlock, storage), 7224), "");
static_assert(IsHostLayout(offsetof(ConsolePixelBlock, rowTable), 7228), "");

/// The start of a host object, as far as it is read.
struct REALobjectHeader {
  uint32_t hostWords[3];
  int32_t lockCount;
};
static_assert(IsHostLayout(offsetof(REALobjectHeader, lockCount), 12), "");

/// A host array, as far as the built-in element procedures read it.
struct REALarrayStruct {
  uint32_t hostWords[2];
  void* elements;
};
static_assert(IsHostLayout(offsetof(REALarrayStruct, elements), 8), "");

/// The older layout of a host string, read directly below version 2012.0.
struct REALstringLegacyLayout {
  uint32_t hostWord0;
  const char* storage;  ///< the text starts one byte past this address
  uint32_t hostWord2;
  uint32_t lengthBytes;
};
static_assert(IsHostLayout(offsetof(REALstringLegacyLayout, storage), 4), "");
static_assert(IsHostLayout(offsetof(REALstringLegacyLayout, lengthBytes), 12), "");

/// A string's bytes, borrowed in a chosen encoding; filled by REALGetStringData and released by
/// REALDisposeStringData.
struct REALstringData {
  const char* data;
  uint32_t length;  ///< bytes of text, terminator not counted
  uint32_t encoding;
  uint32_t reserved[2];  ///< the host's own
};
static_assert(IsHostLayout(sizeof(REALstringData), 20), "");

/// The host's numbers of text encodings.
enum REALtextEncoding : uint32_t {
  kEncodingMacRoman = 0x0000,
  kEncodingUtf16 = 0x0100,
  kEncodingWindowsLatin1 = 0x0500,
  kEncodingAscii = 0x0600,
  kEncodingUndefined = 0xFFFF,
  kEncodingUtf8 = 0x08000100,
  kEncodingUtf32 = 0x0C000100,  ///< accepted from callers, never handed to the host
};
