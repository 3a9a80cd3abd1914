#pragma once

// The plugin's pixel functions, bound by name, and the host's log in a few letters.

#include <string>

#include "pixels/picture_editor.h"
#include "simulator/console_storage.h"
#include "tests/session.h"

using Picture = REALpictureStruct;

/// A session and its pixel functions.
struct PixelSession : Session {
  explicit PixelSession(sim::Settings settings = {}) : Session(std::move(settings)) {
    host.log.Clear();
  }
  bool Read(PictureEditor& editor, Picture* picture) {
    return Call<bool(PictureEditor&, Picture*)>("GetPictureReader", editor, picture);
  }
  bool Read(PictureEditor& editor, Picture* picture, bool allowCopy, bool writable) {
    return Call<bool(PictureEditor&, Picture*, signed char, signed char)>(
        "GetPictureReader", editor, picture, allowCopy, writable);
  }
  void Close(PictureEditor& editor) { Call<void(PictureEditor&)>("ClosePictureReader", editor); }
  velpicture::Rgba Get(PictureEditor& editor, int x, int y) {
    return Call<velpicture::Rgba(PictureEditor&, int, int)>("GetPixel", editor, x, y);
  }
  sim::Ref<sim::Picture> Own(Picture* picture) { return Session::Own<sim::Picture>(picture); }
  /// By any of its names, that of an entry too.
  void LoseLibrary(const std::string& name) {
    for (const char* folder : {"", "/usr/lib/", "/usr/lib32/"}) {
      for (const char* suffix : {"", ".so", ".so.0", ".so.2", ".so.2.10800.10"}) {
        host.settings.missing.insert(folder + name + suffix);
      }
    }
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
