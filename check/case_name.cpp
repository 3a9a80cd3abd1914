#include "check/case_name.h"

#include <charconv>
#include <cstdio>
#include <sstream>
#include <string_view>

#include "check/refused.h"

namespace check {
namespace {

bool TakePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

bool TakeNumber(std::string_view& text, int& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number < 1) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

}  // namespace

std::optional<Variant> Variant::Parse(const std::string& text) {
  Variant variant;
  std::string_view rest = text;
  if (TakePrefix(rest, "without ")) {
    variant.fault = FaultKind::kWithout;
    variant.missing = rest;
    return variant;
  }
  if (TakePrefix(rest, "call ")) variant.fault = FaultKind::kCall;
  if (TakePrefix(rest, "from call ")) variant.fault = FaultKind::kFromCall;
  if (TakePrefix(rest, "exception ")) variant.fault = FaultKind::kException;
  if (variant.fault != FaultKind::kNone) {
    if (!TakeNumber(rest, variant.number)) return std::nullopt;
  } else if (!rest.empty()) {
    if (!TakeNumber(rest, variant.width) || !TakePrefix(rest, "x") ||
        !TakeNumber(rest, variant.height)) {
      return std::nullopt;
    }
    if (TakePrefix(rest, " zero")) variant.arguments = ArgumentSet::kZero;
    if (TakePrefix(rest, " negative")) variant.arguments = ArgumentSet::kNegative;
  }
  if (!rest.empty()) return std::nullopt;
  return variant;
}

std::string Trial::Name() const {
  char number[32];
  std::snprintf(number, sizeof number, "%.7g", version);
  return method + "/" + setup->name + "/" + number + (variant.empty() ? "" : "/" + variant);
}

Trial Trial::Parse(const std::string& name) {
  std::istringstream parts(name);
  std::string method, setupName, version, variant;
  std::getline(parts, method, '/');
  std::getline(parts, setupName, '/');
  std::getline(parts, version, '/');
  std::getline(parts, variant, '\0');
  Trial trial{method, nullptr, 0, variant};
  for (const sim::PictureSetup& setup : sim::PictureSetups()) {
    if (setup.name == setupName) trial.setup = &setup;
  }
  const char* const end = version.data() + version.size();
  const auto [stop, error] = std::from_chars(version.data(), end, trial.version);
  const bool isMethod = method != kStartUp;
  if (trial.setup == nullptr || error != std::errc() || stop != end || !Variant::Parse(variant) ||
      (isMethod && variant.empty())) {
    throw Refused("--case '" + name +
                  "' is no case: give one as the check names it, such as "
                  "'HMirrorVel/console/2012.01/call 3'");
  }
  return trial;
}

}  // namespace check
