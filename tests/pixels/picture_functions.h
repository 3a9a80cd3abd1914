#pragma once

// The plugin's pixel functions, bound by name, and the host's log in a few letters.

#include <string>

#include "pixels/picture_editor.h"
#include "simulator/console_storage.h"
#include "tests/host/plugin_function.h"

using Picture = REALpictureStruct;

/// A session and its pixel functions, each called by its plain name and exact types.
struct PixelSession : Session {
  explicit PixelSession(sim::Settings settings = {}) : Session(std::move(settings)) {
    host.log.Clear();
  }
  template <class Signature, class... Args>
  auto Call(const char* name, Args... args) {
    return Function<Signature>(plugin, name)(args...);
  }
  bool Read(PictureEditor& editor, Picture* picture) {
    return Function<bool(PictureEditor&, Picture*)>(plugin, "GetPictureReader")(editor, picture);
  }
  bool Read(PictureEditor& editor, Picture* picture, bool allowCopy, bool writable) {
    using Signature = bool(PictureEditor&, Picture*, signed char, signed char);
    return Function<Signature>(plugin, "GetPictureReader")(editor, picture, allowCopy ? 1 : 0,
                                                           writable ? 1 : 0);
  }
  void Close(PictureEditor& editor) {
    Function<void(PictureEditor&)>(plugin, "ClosePictureReader")(editor);
  }
  velpicture::Rgba Get(PictureEditor& editor, int x, int y) {
    return Function<velpicture::Rgba(PictureEditor&, int, int)>(plugin, "GetPixel")(editor, x, y);
  }
  /// The picture that a function returned, with its reference taken over.
  sim::Ref<sim::Picture> Own(Picture* picture) {
    return sim::Ref<sim::Picture>::Adopt(host.Live<sim::Picture>(picture));
  }
  bool& isConsole() { return Variable<bool>(plugin, "IsConsole"); }
  bool& isDesktop() { return Variable<bool>(plugin, "IsDesktop"); }

  /// The calls since the last Steps(), shortened: "kinds alpha? 12 6 10 hold" for one that asked
  /// for the application's classes and the alpha property, locked for 12, 6 and 10, and took a
  /// reference.
  std::string Steps() {
    static const std::pair<std::string, std::string> kShort[] = {
        {"REALGetPropValueBool", "alpha?"},
        {"REALGetPropValueInt", "side?"},
        {"REALLockObject", "hold"},
        {"REALUnlockObject", "drop"},
        {"unlockPictureDescription", "unlock"},
        {"REALPictureClearCache", "clear"},
        {"newPicture", "new"},
        {"pluginPictureGraphicsGetter", "graphics"},
        {"REALLoadObjectMethod", "method?"},
        {"DrawPicture", "draw"},
        {"REALBuildPictureFromBuffer", "build"},
        {"PluginNewInstance", "instance"},
        {"Constructor", "construct"},
        {"REALGetPictureMask", "mask"}};
    std::string text;
    for (const sim::LogLine& line : host.log.lines) {
      if (line.kind != sim::LogLine::kCall) continue;
      std::string step = line.name;
      for (const auto& [name, shorter] : kShort) step = name == step ? shorter : step;
      if (line.name == "REALLockPictureDescription") {
        step = line.arguments.substr(line.arguments.rfind(' ') + 1);
      }
      if (line.name == "pluginObjectType") {
        if (line.arguments != "\"Application\"") continue;  // the first of three
        step = "kinds";
      }
      text += (text.empty() ? "" : " ") + step;
    }
    host.log.Clear();
    return text;
  }
};

/// Makes a storage available; on a machine without its libraries says why the test is skipped.
#define SKIP_WITHOUT(kind) \
  if (const std::string why = sim::InstallStorage(kind); !why.empty()) GTEST_SKIP() << why

/// A picture of distinct pixels, each with another alpha.
inline sim::Image Numbered(int width, int height) {
  sim::Image image(width, height);
  for (size_t i = 0; i < image.pixels.size(); ++i) {
    const auto n = static_cast<uint8_t>(i * 7 + 3);
    image.pixels[i] = {n, static_cast<uint8_t>(n * 3), static_cast<uint8_t>(200 - n),
                       static_cast<uint8_t>(255 - i * 11)};
  }
  return image;
}
