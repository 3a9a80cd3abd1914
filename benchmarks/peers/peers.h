#pragma once

// Other libraries that turn and mirror pictures, each opened at run time: one that is not there
// leaves its column empty. They work on plain pixels in memory, without a host around them.

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "benchmarks/cases.h"
#include "simulator/shared_library.h"

namespace velbench {

struct Task {
  Work work;
  bool inPlace;
  double angleDegrees;
  Size size;
  /// Of the result.
  Size canvas;
  int bytesPerPixel;
  /// Rows without gaps; they stay as they are and outlive the task.
  const uint8_t* pixels;

  int StrideBytes() const { return size.width * bytesPerPixel; }
  /// Of the result, in rows made of whole words.
  int CanvasStrideBytes() const { return (canvas.width * bytesPerPixel + 3) / 4 * 4; }
  size_t ByteCount() const { return static_cast<size_t>(StrideBytes()) * size.height; }
  double Radians() const { return angleDegrees * std::numbers::pi / 180; }
};

struct PeerWork {
  /// Makes the result and releases it. Empty when the library has nothing for the task.
  std::function<void()> run;
  /// In which way this is not all that the task asks for, or not what it asks for.
  std::string note;
};

struct Peer {
  const char* name;
  /// Why the library cannot be used; empty when it can.
  std::string problem;
  std::function<PeerWork(const Task&)> prepare;
};

/// All peers, those that are missing too.
std::vector<Peer> OpenPeers();

Peer OpenPixman();
Peer OpenGdkPixbuf();
Peer OpenLibyuv();
Peer OpenImlib2();
Peer OpenLeptonica();
Peer OpenSdl2Gfx();

/// The one of its kind, opened at its first use.
template <class Library>
const Library& The() {
  static const Library library;
  return library;
}

constexpr const char* kCopies = "makes a new picture instead of changing one";
constexpr const char* kInPlace = "changes its picture instead of making a new one";

/// A new block, not cleared.
inline std::unique_ptr<uint8_t[]> NewPixels(size_t byteCount) {
  return std::make_unique_for_overwrite<uint8_t[]>(byteCount);
}

/// The work of a library that fills given memory: fill(first byte of a new result), which has room
/// for rows of whole words.
template <class Fill>
PeerWork FillingNewPixels(const Task& task, Fill fill) {
  const size_t byteCount = static_cast<size_t>(task.CanvasStrideBytes()) * task.canvas.height;
  return {[fill, byteCount] { fill(NewPixels(byteCount).get()); }, task.inPlace ? kCopies : ""};
}

}  // namespace velbench
