#include "check/case_name.h"

#include <charconv>
#include <cstdio>
#include <string_view>

#include "simulator/plugin.h"

namespace check {
namespace {

constexpr std::string_view kAligned = "aligned", kReversed = "reversed", kApart = ", ";

/// Takes what stands before the separator off the text; all of it where there is none.
std::string_view Take(std::string_view& text, std::string_view separator) {
  const size_t end = text.find(separator);
  const std::string_view first = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
  return first;
}

template <class Number>
bool IsNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

/// "5x3" or "5x3 zero"
bool TakeInputs(std::string_view& text, Details& details) {
  std::string_view rest = text;
  std::string_view words = Take(rest, kApart);
  std::string_view size = Take(words, " ");
  Size parsed = {};
  if (!IsNumber(Take(size, "x"), parsed.width) || !IsNumber(size, parsed.height)) return false;
  const ArgumentSet* const set = words.empty() ? details.arguments : ArgumentSetNamed(words);
  if (parsed.width < 1 || parsed.height < 1 || set == nullptr) return false;
  details.size = parsed;
  details.arguments = set;
  text = rest;
  return true;
}

bool TakeWord(std::string_view& text, std::string_view word) {
  std::string_view rest = text;
  if (Take(rest, kApart) != word) return false;
  text = rest;
  return true;
}

}  // namespace

std::string Details::Name() const {
  std::string name;
  const auto add = [&name](std::string_view part) {
    if (!part.empty()) name.append(name.empty() ? "" : kApart).append(part);
  };
  const bool usual = size.width == kUsualSize.width && size.height == kUsualSize.height &&
                     arguments == ArgumentSets().data();
  if (!usual || (disturbance.IsNone() && !reversed)) {
    add(std::to_string(size.width) + "x" + std::to_string(size.height) +
        (arguments == ArgumentSets().data() ? "" : " " + std::string(arguments->name)));
  }
  if (reversed) add(kReversed);
  if (aligned) add(kAligned);
  add(disturbance.Name());
  return name;
}

std::optional<Details> Details::Parse(std::string_view text) {
  Details details;
  if (text.empty()) return std::nullopt;
  TakeInputs(text, details);
  details.reversed = TakeWord(text, kReversed);
  details.aligned = TakeWord(text, kAligned);
  if (text.empty()) return details;
  const auto disturbance = Disturbance::Parse(text);
  if (!disturbance) return std::nullopt;
  details.disturbance = *disturbance;
  return details;
}

const sim::PictureSetup* SetupNamed(std::string_view name) {
  for (const sim::PictureSetup& setup : sim::PictureSetups()) {
    if (setup.name == name) return &setup;
  }
  return nullptr;
}

std::string Case::Name() const {
  if (setup == nullptr) return method;
  char number[32];
  std::snprintf(number, sizeof number, "%.7g", version);
  return method + "/" + setup->name + "/" + number + "/" + details.Name();
}

Case Case::Parse(const std::string& name) {
  if (name == kLoading) return {kLoading, nullptr, 0, {}};
  std::string_view rest = name;
  const std::string_view method = Take(rest, "/"), setup = Take(rest, "/");
  const std::string_view version = Take(rest, "/");
  Case parsed{std::string(method), SetupNamed(setup), 0, {}};
  const auto details = Details::Parse(rest);
  if (parsed.setup == nullptr || !IsNumber(version, parsed.version) || !details) {
    throw sim::PluginError("--case '" + name +
                           "' is no case: give one as the check names it, such as "
                           "'HMirrorVel/console/2012.01/call 3'");
  }
  parsed.details = *details;
  return parsed;
}

}  // namespace check
