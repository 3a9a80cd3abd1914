#include "check/inputs.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

namespace check {
namespace {

using namespace std::string_view_literals;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargest = std::numeric_limits<double>::max();

constexpr std::string_view kUsualText = "caf\xC3\xA9 text";
constexpr std::string_view kOtherScripts = "\xE6\x97\xA5\xE6\x9C\xAC\xF0\x9F\x98\x80";
const std::string kLongText(70000, 'x');

const ArgumentSet kSets[] = {
    {"usual", 30.0, 7, 0x80FF4020, kUsualText, PictureChoice::kUsual},
    {"zero", 0.0, 0, 0x00000000, {}, PictureChoice::kNull},
    {"negative", -120.5, -1, 0xFFFFFFFF, "", PictureChoice::kReceiver},
    {"one", 1.0, 1, 0x01FFFFFF, "in\0side"sv, PictureChoice::kOtherSize},
    {"lowest", -kLargest, INT32_MIN, 0x00FFFFFF, kOtherScripts, PictureChoice::kOtherStorage},
    {"highest", kLargest, INT32_MAX, 0x7F000000, kLongText, PictureChoice::kOtherAlpha},
    {"infinite", kInfinite, 123456789, 0xFF000000, kUsualText, PictureChoice::kUsual},
    {"no-number", kNaN, 256, 0xFE010203, kUsualText, PictureChoice::kUsual},
};

}  // namespace

std::span<const ArgumentSet> ArgumentSets() { return kSets; }

const ArgumentSet* ArgumentSetNamed(std::string_view name) {
  const auto set = std::ranges::find(kSets, name, &ArgumentSet::name);
  return set == std::end(kSets) ? nullptr : set;
}

sim::Picture* Inputs::NewPicture(Size size, const sim::PictureOptions& options, const char* title) {
  pictures_.push_back(host_.MakePicture(sim::PatternImage(size.width, size.height), options));
  sim::Picture* const picture = pictures_.back().get();
  if (picture == nullptr) return nullptr;
  picture->title = title;
  return picture;
}

sim::Picture* Inputs::NewReceiver() {
  receiver_ = NewPicture(size_, {setup_.source, setup_.alpha, setup_.rows}, "the receiver");
  if (receiver_ == nullptr) return nullptr;
  receiver_->mask = host_.NewPicture(size_.width, size_.height, false);
  if (receiver_->mask != nullptr) receiver_->mask->title = "the receiver's mask";
  return receiver_;
}

sim::Picture* Inputs::PictureFor(PictureChoice choice) {
  using enum PictureChoice;
  if (choice == kNull) return nullptr;
  if (choice == kReceiver) return receiver_;
  Size size = size_;
  sim::PictureOptions options = {setup_.source, setup_.alpha, setup_.rows};
  if (choice == kOtherSize) size = {size_.width + 4, size_.height + 2};
  if (choice == kOtherAlpha) options.alpha = !options.alpha;
  if (choice == kOtherStorage) {
    // Where all are alike, one that cannot be locked at all.
    options = {setup_.target != setup_.source ? setup_.target : sim::StorageKind::kNone};
  }
  return NewPicture(size, options, "the argument");
}

sim::String* Inputs::NewText(std::string_view bytes) {
  if (bytes.data() == nullptr) return nullptr;
  texts_.push_back(host_.MakeString(bytes, kEncodingUtf8));
  texts_.back()->title = "the text";
  return texts_.back().get();
}

void Inputs::Release() {
  pictures_.clear();
  texts_.clear();
}

std::vector<sim::Argument> Inputs::Arguments(const sim::Method& method, const ArgumentSet& set) {
  using sim::Type;
  std::vector<sim::Argument> arguments;
  for (const sim::Parameter& parameter : method.parameters) {
    switch (parameter.type) {
      case Type::kDouble:
      case Type::kSingle:
        arguments.emplace_back(set.number);
        break;
      case Type::kColor:
        arguments.emplace_back(sim::Color{set.color});
        break;
      case Type::kBoolean:
        arguments.emplace_back(int64_t{set.whole != 0});
        break;
      case Type::kString:
        arguments.emplace_back(NewText(set.text));
        break;
      case Type::kPicture:
        arguments.emplace_back(PictureFor(set.picture));
        break;
      default:
        arguments.emplace_back(set.whole);
    }
  }
  return arguments;
}

}  // namespace check
