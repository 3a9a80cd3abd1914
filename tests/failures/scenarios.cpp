#include "tests/failures/scenarios.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "pixels/picture_editor.h"
#include "simulator/plugin_snapshot.h"
#include "tests/host/plugin_function.h"
#include "tests/text/views.h"

namespace {

using Picture = REALpictureStruct;
using String = REALstringStruct;

template <class Signature>
Signature* Function(Stage& stage, const char* name) {
  return ::Function<Signature>(stage.plugin, name);
}

std::string Told(bool value) { return value ? "true" : "false"; }

std::string Told(const sim::Result& result) {
  switch (result.type) {
    case sim::Type::kPicture:
      return Told(result.picture.get());
    case sim::Type::kBoolean:
      return Told(result.boolean);
    default:
      return std::to_string(result.integer);
  }
}

/// A picture that a function returned; the reference is given back.
std::string Taken(Stage& stage, Picture* picture) {
  return Told(sim::Ref<sim::Picture>::Adopt(stage.host.Live<sim::Picture>(picture)).get());
}

std::string Taken(Stage& stage, String* string) {
  const auto held = sim::Ref<sim::String>::Adopt(stage.host.Live<sim::String>(string));
  if (!held) return "null";
  std::string start(held->bytes().substr(0, 12));
  std::replace(start.begin(), start.end(), '\0', '.');
  return std::to_string(held->bytes().size()) + " bytes of encoding " +
         std::to_string(held->encoding) + ": " + start;
}

/// The story of a method is its call.
std::string Method(Stage& stage, const char* text) {
  std::string why;
  const auto call = sim::ParseCall(text, &why);
  if (!call) throw std::runtime_error(why);
  return Told(stage.plugin.Call(call->name, stage.picture.get(), call->arguments));
}

using Open = bool(PictureEditor&, Picture*);
using OpenAs = bool(PictureEditor&, Picture*, signed char, signed char);
using Close = void(PictureEditor&);

/// Writes something into an opened writer and renders it, or gives it up.
std::string Rendered(Stage& stage, PictureEditor& editor) {
  const auto set = Function<void(PictureEditor&, int, int, int, int, int, int)>(stage, "SetPixel");
  for (int i = 0; i < 3; ++i) set(editor, i, i, 10 * i, 20, 30, 255);
  try {
    return Taken(stage, Function<Picture*(PictureEditor&)>(stage, "RenderPictureWriter")(editor));
  } catch (const sim::HostException&) {
    Function<Close>(stage, "FreePictureWriter")(editor);
    throw;
  }
}

const Story kPictureStories[] = {
    {"RotateVel(30)", Method},
    {"RotateVel(120)", Method},
    {"RotateVel(0)", Method},
    {"RotateVel(270)", Method},
    {"Rotate90Vel", Method},
    {"Rotate180Vel", Method},
    {"Rotate270Vel", Method},
    {"RotateMemoryVel(30)", Method, "[24][204][4]"},
    {"MirrorVel", Method},
    {"HMirrorVel", Method},
    {"VMirrorVel", Method},
    {"MirrorPictureVel", Method},
    {"HMirrorPictureVel", Method},
    {"VMirrorPictureVel", Method},
    {"CloneVel", Method},
    {"CloneVel(9, 2)", Method},
    {"BitmapVel", Method},
    {"GetPictureReader",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<Open>(stage, "GetPictureReader")(editor, stage.picture->handle())) {
         return "false";
       }
       std::string told = std::to_string(editor.width) + " x " + std::to_string(editor.height);
       Function<Close>(stage, "ClosePictureReader")(editor);
       return told;
     }},
    {"GetPictureEditor",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<Open>(stage, "GetPictureEditor")(editor, stage.picture->handle())) {
         return "false";
       }
       Function<Close>(stage, "ClosePictureEditor")(editor);
       return "true";
     }},
    {"NewPictureWriter",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<bool(PictureEditor&, int, int)>(stage, "NewPictureWriter")(editor, 6, 4)) {
         return "null";
       }
       return Rendered(stage, editor);
     }},
    {"NewPictureWriter with alpha",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<bool(PictureEditor&, int, int, signed char)>(stage, "NewPictureWriter")(
               editor, 6, 4, 1)) {
         return "null";
       }
       return Rendered(stage, editor);
     }},
    {"NewPictureWriter on a picture",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<bool(PictureEditor&, Picture*, int, int)>(stage, "NewPictureWriter")(
               editor, stage.other->handle(), 3, 3)) {
         return "null";
       }
       return Rendered(stage, editor);
     }},
    {"FreePictureWriter",
     [](Stage& stage, const char*) -> std::string {
       PictureEditor editor;
       if (!Function<bool(PictureEditor&, int, int)>(stage, "NewPictureWriter")(editor, 6, 4)) {
         return "false";
       }
       Function<Close>(stage, "FreePictureWriter")(editor);
       return "true";
     }},
    {"NewPicture with alpha",
     [](Stage& stage, const char*) {
       return Taken(stage, Function<Picture*(int, int, signed char)>(stage, "NewPicture")(6, 4, 1));
     }},
    {"ClonePictureWithMask",
     [](Stage& stage, const char*) {
       return Taken(stage, Function<Picture*(Picture*)>(
                               stage, "ClonePictureWithMask")(stage.picture->handle()));
     }},
    {"GraphicsDrawPicture",
     [](Stage& stage, const char*) {
       using Draw = bool(Picture*, Picture*, long, long, long, long, long, long, long, long);
       const bool drawn = Function<Draw>(stage, "GraphicsDrawPicture")(
           stage.other->handle(), stage.picture->handle(), 0, 0, 5, 3, 0, 0, 5, 3);
       return Told(drawn) + ", " + Told(stage.other.get());
     }},
    {"OwnCopy",
     [](Stage& stage, const char*) {
       using Copy = bool(Picture*, Picture*, long, long, long, long, long, long, long, long);
       const bool copied = Function<Copy>(stage, "OwnCopy")(
           stage.other->handle(), stage.picture->handle(), 0, 0, 5, 3, 0, 0, 5, 3);
       return Told(copied) + ", " + Told(stage.other.get());
     }},
};

/// All texts of a view, one after another. To be stored before the view goes: Clang loses a return
/// value when a destructor throws on the way out, as one does whose host call throws.
std::string Texts(Text& view) {
  std::string told;
  for (const Encoding& encoding : kEncodings) told += std::string(view.Bytes(encoding)) + "|";
  return told + std::to_string(view.Length("UTF32"));
}

const Story kTextStories[] = {
    {"rbText",
     [](Stage& stage, const char*) {
       std::string told;
       {
         Text view(stage.plugin, stage.string.get());
         told = Texts(view);
       }
       return told;
     }},
    // Built afresh from bytes that have no encoding.
    {"rbText of bytes",
     [](Stage& stage, const char*) {
       const auto bytes = stage.host.MakeString("bytes", kEncodingUndefined);
       return std::string(Text(stage.plugin, bytes.get()).Bytes(kEncodings[0]));
     }},
    {"rbText copied and assigned",
     [](Stage& stage, const char*) {
       std::string told;
       {
         const auto bytes = stage.host.MakeString("bytes", kEncodingUndefined);
         Text view(stage.plugin, bytes.get());
         view.Assign(view);
         Texts(view);
         Text other(stage.plugin, stage.string.get());
         Text copy(stage.plugin, other);
         Texts(copy);
         view.Assign(copy);
         told = Texts(view);
       }
       return told;
     }},
    {"rbData of a string",
     [](Stage& stage, const char*) {
       return std::string(Data(stage.plugin, stage.string.get()).bytes());
     }},
    {"rbData of a block",
     [](Stage& stage, const char*) {
       return std::string(Data(stage.plugin, stage.block.get(), 2, 0).bytes());
     }},
    {"REALGetStringData",
     [](Stage& stage, const char*) -> std::string {
       REALstringData record = {};
       if (!Function<bool(String*, unsigned long, REALstringData*)>(stage, "REALGetStringData")(
               stage.string->handle(), kEncodingUtf16, &record)) {
         return "false";
       }
       std::string told(record.data, record.length);
       Function<void(REALstringData*)>(stage, "REALDisposeStringData")(&record);
       return told;
     }},
    {"REALBuildUnicodeString",
     [](Stage& stage, const char*) {
       return Taken(stage, Function<String*(const wchar_t*)>(
                               stage, "UnicodeCString2RB")(std::wstring(250, L'w').c_str()));
     },
     "[500 bytes of encoding 65535: w.w.w.w.w.w.]"},
    {"REALBuildMemoryblock",
     [](Stage& stage, const char*) -> std::string {
       const auto block = sim::Ref<sim::MemoryBlock>::Adopt(
           stage.host.Live<sim::MemoryBlock>(Function<REALmemoryBlockStruct*(const void*, int)>(
               stage, "REALBuildMemoryblock")("bytes", 5)));
       return block ? std::string(block->bytes()) : "null";
     }},
    {"REALstringToOSType",
     [](Stage& stage, const char*) {
       return std::to_string(
           Function<unsigned long(String*)>(stage, "REALstringToOSType")(stage.string->handle()));
     },
     "[1667327683][538976288]"},
    {"REALGetLowestStringEncoding",
     [](Stage& stage, const char*) {
       return std::to_string(Function<unsigned long(String*)>(
           stage, "REALGetLowestStringEncoding")(stage.string->handle()));
     },
     "[1536]"},
    {"REALObjectIsA",
     [](Stage& stage, const char*) {
       return Told(Function<bool(REALobjectStruct*, const char*)>(stage, "REALObjectIsA")(
           stage.block->object(), "MemoryBlock"));
     }},
    {"IsMemoryBlock",
     [](Stage& stage, const char*) {
       return Told(
           Function<bool(REALobjectStruct*)>(stage, "IsMemoryBlock")(stage.block->object()));
     }},
    {"RaiseException",
     [](Stage& stage, const char*) -> std::string {
       auto& raised = stage.host.raised;
       Function<void(const char*, const char*)>(stage, "RaiseException")("RuntimeException", "why");
       std::string told = raised.empty() ? "nothing" : raised.back()->classRef->info().name;
       raised.clear();
       return told;
     },
     "[NilObjectException][nothing]"},
    {"array of strings",
     [](Stage& stage, const char*) {
       REALarrayStruct* const array = stage.array->handle();
       Function<void(REALarrayStruct*, long, String*)>(stage, "REALSetArrayValue")(
           array, 1, stage.string->handle());
       String* out = nullptr;
       Function<void(REALarrayStruct*, long, String**)>(stage, "REALGetArrayValue")(array, 1, &out);
       // Element and reader do without the references that nobody could add.
       const bool uncounted = out != nullptr && stage.host.Missing("REALLockString");
       while (uncounted && stage.string->references() < 4) stage.host.Lock(stage.string.get());
       return Taken(stage, out);
     }},
};

const sim::Plugin& FreshPlugin(sim::Host& host) {
  static sim::Plugin plugin(PluginPath());
  static const sim::PluginSnapshot unstarted(plugin);
  unstarted.Restore();
  plugin.Start(host);
  return plugin;
}

}  // namespace

std::string Told(const sim::Picture* picture) {
  if (picture == nullptr) return "null";
  if (picture->storage == nullptr) return "a picture never constructed";
  const sim::Image image = picture->Read();
  uint32_t sum = 0;
  for (const sim::Rgba& pixel : image.pixels) {
    for (const uint8_t channel : {pixel.red, pixel.green, pixel.blue, pixel.alpha}) {
      sum = (sum ^ channel) * 0x01000193U;
    }
  }
  char text[64];
  std::snprintf(text, sizeof text, "%d x %d pixels %08x", image.width, image.height, sum);
  return text;
}

Stage::Stage(const PictureSetup& setup, sim::Settings settings)
    : host(std::move(settings)), plugin(FreshPlugin(host)) {
  sim::Image image(5, 3);
  uint8_t n = 7;
  for (sim::Rgba& pixel : image.pixels) {
    pixel = {n, static_cast<uint8_t>(n * 3), static_cast<uint8_t>(200 - n),
             static_cast<uint8_t>(255 - n)};
    n = static_cast<uint8_t>(n + 13);
  }
  const sim::PictureOptions options{setup.source, setup.alpha, setup.rows};
  picture = host.MakePicture(image, options);
  picture->mask = host.NewPicture(5, 3, false);
  other = host.MakePicture(sim::Image(5, 3), options);
  string = host.MakeString("caf\xC3\xA9 text", kEncodingUtf8);
  block = host.MakeMemoryBlock("0123456789");
  array = host.MakeArray(sim::ElementType::kString, 2);
  array->At<void*>(0) = string.get();
  host.Lock(string.get());
  host.log.Clear();
}

std::span<const Story> PictureStories() { return kPictureStories; }
std::span<const Story> TextStories() { return kTextStories; }
