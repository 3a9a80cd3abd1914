#pragma once

// What methods are called on and with: sizes of pictures and values of arguments, tame ones and
// others. All of it is in tables: the same plugin gives the same findings.

#include <span>
#include <string_view>
#include <vector>

#include "simulator/declaration.h"
#include "simulator/host.h"
#include "simulator/picture_setup.h"

namespace check {

struct Size {
  int width;
  int height;
};
constexpr Size kUsualSize = {5, 3};
/// Single pixels and lines, sides off and on whole vectors, more columns or rows than a byte
/// counts.
constexpr Size kOtherSizes[] = {{1, 1}, {1, 7}, {17, 1}, {33, 16}, {300, 2}, {2, 300}};

enum class PictureChoice { kUsual, kNull, kReceiver, kOtherSize, kOtherStorage, kOtherAlpha };

/// One value for each type that a parameter can have.
struct ArgumentSet {
  const char* name;
  double number;
  int64_t whole;
  uint32_t color;
  std::string_view text;  ///< without any address for a null string
  PictureChoice picture;
};
/// The usual one first.
std::span<const ArgumentSet> ArgumentSets();
/// Null when there is none of that name.
const ArgumentSet* ArgumentSetNamed(std::string_view name);

/// Makes receivers and arguments in a host, and keeps them alive.
class Inputs {
 public:
  Inputs(sim::Host& host, const sim::PictureSetup& setup, Size size)
      : host_(host), setup_(setup), size_(size) {}

  /// A picture with a mask, always of the same pixels; null where there can be none.
  sim::Picture* NewReceiver();
  std::vector<sim::Argument> Arguments(const sim::Method& method, const ArgumentSet& set);
  /// Gives up what was made so far, so that the use of an address kept without a reference shows.
  void Release();

 private:
  sim::Picture* NewPicture(Size size, const sim::PictureOptions& options, const char* title);
  sim::Picture* PictureFor(PictureChoice choice);
  sim::String* NewText(std::string_view bytes);

  sim::Host& host_;
  const sim::PictureSetup& setup_;
  Size size_;
  sim::Picture* receiver_ = nullptr;
  std::vector<sim::Ref<sim::Picture>> pictures_;
  std::vector<sim::Ref<sim::String>> texts_;
};

}  // namespace check
