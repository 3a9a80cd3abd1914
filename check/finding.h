#pragma once

// What can be wrong with a plugin, and how bad each of it is.

#include <string>
#include <vector>

namespace check {

/// A note only tells. What the others tell is wrong: on pedantic hosts, on some, on every host.
enum class Level { kNote, kPedantic, kWarning, kError };

enum class Kind {
  kCrash,        ///< a signal ended the process
  kAlignment,    ///< it did so because the stack was aligned to 4 bytes only
  kExit,         ///< the plugin ended the process
  kTimeOut,      ///< no end within the time that a case may take
  kMisuse,       ///< the host was used in a way that it cannot tolerate
  kException,    ///< an exception of the plugin's own left it
  kSwallowed,    ///< an exception of the host's did not come back
  kReferences,   ///< references taken and not given back, or given back and not taken
  kLock,         ///< a description left locked, a string's bytes left borrowed
  kBounds,       ///< bytes written that are no pixels
  kMemory,       ///< the plugin's own memory, more with every call
  kCache,        ///< pixels written, and the picture's cache not cleared
  kRepeat,       ///< the same call gives another picture
  kOtherResult,  ///< the same call gives another number, text or boolean
  kLitter,       ///< the result depends on memory, stack or words that nobody wrote
  kAftermath,    ///< after a failure the next call gives another picture
  kPartial,      ///< a failure leaves a picture changed in part
  kSize,         ///< a failure gives a picture of another size
  kReceiver,     ///< a method that gives a new picture also changes the one it is called on
  kDeclaration,  ///< a declaration that cannot be read, or stands there twice
  kNothing,      ///< nothing is registered
  kClass,        ///< a class is extended that no host has
  kProcess,      ///< the process is not as it was: its locale, folder, signals, files, threads …
  kOutput,       ///< something was printed to standard output
  kName,         ///< a name was looked up that no host has
};

/// "crash", "time-out"
const char* NameOf(Kind kind);
const char* NameOf(Level level);
/// How bad that kind is where nothing else is said.
Level LevelOf(Kind kind);

struct Finding {
  Kind kind = Kind::kMisuse;
  /// What is wrong, in the same words in every case that shows it.
  std::string text;
  /// In the plugin's file, as "Sign.so+0x11d3"; empty when it is not known.
  std::string place = {};
  /// When it happened, such as "when malloc (call 2, at Sign.so+0x11d3) failed".
  std::string when = {};
  Level level = LevelOf(kind);
};

}  // namespace check
