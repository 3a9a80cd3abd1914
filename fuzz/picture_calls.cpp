// Pictures: arbitrary words in arbitrary storage, and methods with arbitrary arguments.

#include <random>

#include "fuzz/fuzz_case.h"
#include "fuzz/picture_model.h"
#include "transforms/kernels/variant_names.h"

namespace {

/// Sizes that reach whole vectors and their tails, in pictures that stay small.
std::pair<int, int> PickSize(Input& input) {
  const int longSide = 1 + input.Byte();
  const int shortSide = 1 + input.Below(longSide > 32 ? 12 : 32);
  return input.Flag() ? std::pair(longSide, shortSide) : std::pair(shortSide, longSide);
}

double PickAngle(Input& input) {
  constexpr double kSteps[] = {1, 15, 45, 90, 360, 0.1, 1e-7, 1e-20};
  const int form = input.Below(4);
  if (form == 0) return input.Next<double>();
  if (form == 1) return input.Next<int16_t>() / 64.0;
  return input.Next<int8_t>() * kSteps[input.Below(8)] + (form == 2 ? 0.0 : 1e-13 * input.Byte());
}

bool HasWords(const sim::Picture& picture) {
  return picture.storage->kind() != sim::StorageKind::kNone;
}

/// Any words as pixels, also such as no host stores: unused bits set, colours above their alpha.
void Scribble(sim::Picture& picture, uint32_t seed, int style) {
  std::mt19937 random(seed);
  const sim::Storage& storage = *picture.storage;
  sim::Image image(storage.width(), storage.height());
  for (sim::Rgba& pixel : image.pixels) {
    uint32_t word = static_cast<uint32_t>(random());
    // Also runs of equal pixels, and channels at their ends.
    if (style == 1) word = (word >> 28 & 1) != 0 ? 0xFFFFFFFF : 0;
    if (style == 2) word = seed;
    pixel = {static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
             static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 24)};
  }
  if (!HasWords(picture)) return picture.Write(image);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const sim::Rgba pixel = image.At(x, y);
      picture.storage->Words(y)[x] = static_cast<uint32_t>(pixel.alpha) << 24 |
                                     static_cast<uint32_t>(pixel.red) << 16 |
                                     static_cast<uint32_t>(pixel.green) << 8 | pixel.blue;
    }
  }
}

/// Everything about a picture that a method may change or must leave alone.
struct Content {
  explicit Content(const sim::Picture& picture)
      : raster(HasWords(picture) ? model::Raster::Of(picture) : model::Raster()),
        image(HasWords(picture) ? sim::Image() : picture.Read()) {}
  friend bool operator==(const Content&, const Content&) = default;
  model::Raster raster;
  sim::Image image;
};

class PictureCall {
 public:
  PictureCall(FuzzCase& fuzzCase, model::PictureHost& host, sim::Picture& picture)
      : case_(fuzzCase), model_(host), picture_(picture), method_(PickMethod(fuzzCase)) {
    Input& input = fuzzCase.input;
    angle_ = PickAngle(input);
    background_ = input.Next<uint32_t>();
    width_ = picture.storage->width() + input.Next<int8_t>();
    height_ = picture.storage->height() + input.Next<int8_t>();
    onNull_ = input.Below(64) == 63;
  }

  void Run() {
    const Content before(picture_);
    sim::Result result;
    const bool finished = case_.Run([&] { result = Call(onNull_ ? nullptr : &picture_); });
    case_.host.CheckGuards();
    if (onNull_) {
      case_.Require(!result.picture && !result.boolean, "something came of a null picture");
    } else if (const model::Move* const move = MoveOf(model::kMovesInPlace)) {
      CheckInPlace(before, *move, finished, result.boolean);
    } else {
      case_.Require(Content(picture_) == before, "the source was changed");
      if (finished) CheckResult(result);
    }
    result = {};
    case_.RequireBalance();
  }

 private:
  /// Kept inputs go on picking the same methods when others are added at the end, up to so many.
  /// Only picks behind the last one begin again with the first, until a method is added there.
  static const sim::Method& PickMethod(FuzzCase& fuzzCase) {
    constexpr int kMostMethods = 16;
    const std::vector<sim::Method>& methods = fuzzCase.plugin.methods();
    return methods[fuzzCase.input.Below(kMostMethods) % methods.size()];
  }

  sim::Result Call(sim::Picture* picture) const {
    std::vector<sim::Argument> arguments;
    for (const sim::Parameter& parameter : method_.parameters) {
      if (parameter.type == sim::Type::kDouble) arguments.emplace_back(angle_);
      if (parameter.type == sim::Type::kColor) arguments.emplace_back(sim::Color{background_});
      if (parameter.type == sim::Type::kInteger) {
        arguments.emplace_back(int64_t{arguments.empty() ? width_ : height_});
      }
    }
    return case_.plugin.Call(method_, picture, arguments);
  }

  /// Where the method puts the pixels; null when it is none of these.
  template <class Moves>
  const model::Move* MoveOf(const Moves& moves) const {
    for (const auto& [name, move] : moves) {
      if (name == method_.name) return &move;
    }
    return nullptr;
  }

  void CheckInPlace(const Content& before, const model::Move& move, bool finished,
                    bool changed) const {
    Content mirrored = before;
    mirrored.raster = model::MovedInPlace(before.raster, move);
    const Content after(picture_);
    if (!finished) {
      case_.Require(after == before || after == mirrored, "half a mirror was left behind");
      return;
    }
    case_.Require(after == (changed ? mirrored : before), "wrong pixels in place");
    if (!case_.disturbed) {
      case_.Require(changed == model_.CanEdit(picture_), "wrong answer of an in-place mirror");
    }
  }

  void CheckResult(const sim::Result& result) const {
    if (method_.name == "RotateMemoryVel") {
      return case_.Require(
          case_.disturbed ||
              model::IsFairEstimate(
                  result.integer, {picture_.storage->width(), picture_.storage->height()}, angle_),
          "wrong memory estimate");
    }
    if (method_.name == "BitmapVel") {
      return case_.Require(
          result.picture.get() == &picture_ || (case_.disturbed && !result.picture),
          "a bitmap of another picture");
    }
    if (case_.disturbed) return;
    const bool rotates = method_.name == "RotateVel";
    if (method_.name == "CloneVel" || (rotates && model::QuarterTurnsOf(angle_) == 0)) {
      return CheckClone(result.picture.get());
    }
    const model::Move* const move = MoveOf(model::kMoves);
    // Of a method that the model does not know, the balance is all that can be said.
    if (!rotates && move == nullptr) return;
    const auto expected =
        rotates ? model_.Rotate(picture_, angle_, background_) : model_.Move(picture_, *move);
    case_.Require(expected.has_value() == static_cast<bool>(result.picture),
                  expected ? "no result" : "a result of nothing");
    if (!expected) return;
    case_.Require(result.picture->storage->alpha() == picture_.storage->alpha(), "wrong alpha");
    const model::Raster raster = model::Raster::Of(*result.picture);
    case_.Require(raster.width == expected->width && raster.height == expected->height,
                  "wrong size");
    case_.Require(raster == *expected, "wrong pixels");
  }

  void CheckClone(const sim::Picture* clone) const {
    const bool isSized = method_.name == "CloneVel" && !method_.parameters.empty();
    const int width = isSized ? width_ : picture_.storage->width();
    const int height = isSized ? height_ : picture_.storage->height();
    if (width < 1 || height < 1) return case_.Require(clone == nullptr, "a clone of no size");
    if (clone == nullptr) return case_.Require(false, "no clone");
    case_.Require(clone->Read() == model_.Clone(picture_, width, height), "wrong clone");
  }

  FuzzCase& case_;
  model::PictureHost& model_;
  sim::Picture& picture_;
  const sim::Method& method_;
  double angle_;
  uint32_t background_;
  int width_;
  int height_;
  bool onNull_;
};

}  // namespace

void FuzzPictures(FuzzCase& fuzzCase) {
  Input& input = fuzzCase.input;
  if (auto* const select = fuzzCase.plugin.Function<bool(const char*)>("SelectKernels")) {
    const int choice = input.Below(8);
    constexpr int kCount = std::size(velpicture::kVariantNames);
    if (choice < kCount) select(velpicture::kVariantNames[kCount - 1 - choice]);
  }
  const auto [width, height] = PickSize(input);
  const bool alpha = input.Flag();
  sim::PictureOptions options = fuzzCase.host.NewPictureOptions(alpha);
  if (input.Below(8) == 7) options.storage = sim::StorageKind::kNone;
  options.rows = static_cast<sim::RowLayout>(input.Below(5));
  const auto picture = fuzzCase.host.MakePicture(sim::Image(width, height), options);
  fuzzCase.Require(static_cast<bool>(picture), "the host makes no picture");
  Scribble(*picture, input.Next<uint32_t>(), input.Below(3));

  model::PictureHost expected(fuzzCase.host.settings);
  int calls = 3;
  do {
    PictureCall(fuzzCase, expected, *picture).Run();
  } while (!input.empty() && --calls > 0);
}
