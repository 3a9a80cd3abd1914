#include "tests/failures/scenarios.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "pixels/picture_editor.h"
#include "simulator/plugin_snapshot.h"
#include "tests/text/views.h"

namespace {

using Picture = REALpictureStruct;
using String = REALstringStruct;

template <class Signature, class... Args>
auto Call(Fixture& fixture, const char* name, Args&&... args) {
  return Function<Signature>(fixture.plugin, name)(std::forward<Args>(args)...);
}

std::string Describe(Fixture&, bool value) { return value ? "true" : "false"; }
std::string Describe(Fixture&, unsigned long value) { return std::to_string(value); }

/// A picture that a function returned; the reference is given back.
std::string Describe(Fixture& fixture, Picture* picture) {
  const auto held = sim::Ref<sim::Picture>::Adopt(fixture.host.Live<sim::Picture>(picture));
  return held ? held->Describe() : "null";
}

std::string Describe(Fixture& fixture, String* string) {
  const auto held = sim::Ref<sim::String>::Adopt(fixture.host.Live<sim::String>(string));
  if (!held) return "null";
  std::string start(held->bytes().substr(0, 12));
  std::replace(start.begin(), start.end(), '\0', '.');
  return std::to_string(held->bytes().size()) + " bytes of encoding " +
         std::to_string(held->encoding) + ": " + start;
}

/// The scenario of a method is its call.
std::string Method(Fixture& fixture, const char* text) {
  const auto call = sim::ParseCall(text);
  return fixture.plugin.Call(call.name, fixture.picture.get(), call.arguments).Describe();
}

/// The scenario of a function of one object is what it returns of the fixture's.
template <class Result, class Object>
std::string Of(Fixture& fixture, const char* name) {
  const std::tuple objects(fixture.picture->handle(), fixture.string->handle(),
                           fixture.block->object());
  return Describe(fixture, Call<Result(Object)>(fixture, name, std::get<Object>(objects)));
}

std::string Drawn(Fixture& fixture, const char* name) {
  using Draw = bool(Picture*, Picture*, long, long, long, long, long, long, long, long);
  const bool drawn = Call<Draw>(fixture, name, fixture.other->handle(), fixture.picture->handle(),
                                0, 0, 5, 3, 0, 0, 5, 3);
  return Describe(fixture, drawn) + ", " + fixture.other->Describe();
}

using Close = void(PictureEditor&);

/// Writes something into an opened writer and renders it, or gives it up.
std::string Rendered(Fixture& fixture, PictureEditor& editor) {
  for (int i = 0; i < 3; ++i) {
    Call<void(PictureEditor&, int, int, int, int, int, int)>(fixture, "SetPixel", editor, i, i,
                                                             10 * i, 20, 30, 255);
  }
  try {
    return Describe(fixture,
                    Call<Picture*(PictureEditor&)>(fixture, "RenderPictureWriter", editor));
  } catch (const sim::HostException&) {
    Call<Close>(fixture, "FreePictureWriter", editor);
    throw;
  }
}

const Scenario kPictureScenarios[] = {
    {"RotateVel(120)", Method},
    {"RotateMemoryVel(30)", Method, {"24", "204", "4"}},
    {"HMirrorPictureVel", Method},
    {"CloneVel(9, 2)", Method},
    {"NewPictureWriter on a picture",
     [](Fixture& fixture, const char*) -> std::string {
       PictureEditor editor;
       using Open = bool(PictureEditor&, Picture*, int, int);
       Picture* const other = fixture.other->handle();
       if (!Call<Open>(fixture, "NewPictureWriter", editor, other, 5, 3)) return "null";
       return Rendered(fixture, editor);
     },
     {"5 x 3"}},
    {"FreePictureWriter",
     [](Fixture& fixture, const char* name) -> std::string {
       PictureEditor editor;
       using Open = bool(PictureEditor&, int, int);
       if (!Call<Open>(fixture, "NewPictureWriter", editor, 6, 4)) return "false";
       Call<Close>(fixture, name, editor);
       return "true";
     }},
    {"NewPicture",
     [](Fixture& fixture, const char* name) {
       constexpr signed char kAlpha = 1;
       return Describe(fixture, Call<Picture*(int, int, signed char)>(fixture, name, 6, 4, kAlpha));
     },
     {"6 x 4"}},
    {"ClonePictureWithMask", Of<Picture*, Picture*>},
    {"GraphicsDrawPicture", Drawn},
    {"OwnCopy", Drawn},
};

/// All texts of a view, one after another. To be stored before the view goes: Clang loses a return
/// value when a destructor throws on the way out, as one does whose host call throws.
std::string Texts(auto&& view) {
  std::string text;
  for (const Encoding& encoding : kEncodings) text += std::string(view.Bytes(encoding)) + "|";
  return text + std::to_string(view.Length("UTF32"));
}

const Scenario kTextScenarios[] = {
    {"rbText",
     [](Fixture& fixture, const char*) {
       std::string text;
       text = Texts(Text(fixture.plugin, fixture.string.get()));
       return text;
     }},
    // Built afresh from bytes that have no encoding.
    {"rbText of bytes",
     [](Fixture& fixture, const char*) {
       const auto bytes = fixture.host.MakeString("bytes", kEncodingUndefined);
       return std::string(Text(fixture.plugin, bytes.get()).Bytes(kEncodings[0]));
     }},
    {"rbText copied and assigned",
     [](Fixture& fixture, const char*) {
       std::string text;
       {
         const auto bytes = fixture.host.MakeString("bytes", kEncodingUndefined);
         Text view(fixture.plugin, bytes.get());
         view.Assign(view);
         Texts(view);
         Text other(fixture.plugin, fixture.string.get());
         Text copy(fixture.plugin, other);
         Texts(copy);
         view.Assign(copy);
         text = Texts(view);
       }
       return text;
     }},
    {"rbData of a string",
     [](Fixture& fixture, const char*) {
       return std::string(Data(fixture.plugin, fixture.string.get()).bytes());
     }},
    {"rbData of a block",
     [](Fixture& fixture, const char*) {
       return std::string(Data(fixture.plugin, fixture.block.get(), 2, 0).bytes());
     }},
    {"REALGetStringData",
     [](Fixture& fixture, const char* name) -> std::string {
       REALstringData record = {};
       using Get = bool(String*, unsigned long, REALstringData*);
       String* const string = fixture.string->handle();
       if (!Call<Get>(fixture, name, string, kEncodingUtf16, &record)) return "false";
       std::string text(record.data, record.length);
       Call<void(REALstringData*)>(fixture, "REALDisposeStringData", &record);
       return text;
     }},
    {"UnicodeCString2RB",
     [](Fixture& fixture, const char* name) {
       const std::wstring text(250, L'w');
       return Describe(fixture, Call<String*(const wchar_t*)>(fixture, name, text.c_str()));
     },
     {"500 bytes of encoding 65535: w.w.w.w.w.w."}},
    {"REALBuildMemoryblock",
     [](Fixture& fixture, const char* name) -> std::string {
       const auto block = sim::Ref<sim::MemoryBlock>::Adopt(fixture.host.Live<sim::MemoryBlock>(
           Call<REALmemoryBlockStruct*(const void*, int)>(fixture, name, "bytes", 5)));
       return block ? std::string(block->bytes()) : "null";
     }},
    {"REALstringToOSType", Of<unsigned long, String*>, {"1667327683", "538976288"}},
    {"REALGetLowestStringEncoding", Of<unsigned long, String*>, {"1536"}},
    {"IsMemoryBlock", Of<bool, REALobjectStruct*>},
    {"REALObjectIsA",
     [](Fixture& fixture, const char* name) {
       return Describe(fixture, Call<bool(REALobjectStruct*, const char*)>(
                                    fixture, name, fixture.block->object(), "MemoryBlock"));
     }},
    {"RaiseException",
     [](Fixture& fixture, const char* name) -> std::string {
       Call<void(const char*, const char*)>(fixture, name, "RuntimeException", "why");
       auto& raised = fixture.host.raised;
       std::string text = raised.empty() ? "nothing" : raised.back()->classRef->info().name;
       raised.clear();
       return text;
     },
     {"NilObjectException", "nothing"}},
    {"array of strings",
     [](Fixture& fixture, const char*) {
       REALarrayStruct* const array = fixture.array->handle();
       Call<void(REALarrayStruct*, long, String*)>(fixture, "REALSetArrayValue", array, 1,
                                                   fixture.string->handle());
       String* out = nullptr;
       Call<void(REALarrayStruct*, long, String**)>(fixture, "REALGetArrayValue", array, 1, &out);
       // Element and reader do without the references that nobody could add.
       const bool uncounted = out != nullptr && fixture.host.Missing("REALLockString");
       while (uncounted && fixture.string->references() < 4)
         fixture.host.Lock(fixture.string.get());
       return Describe(fixture, out);
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

Fixture::Fixture(const PictureSetup& setup, sim::Settings settings)
    : host(std::move(settings)), plugin(FreshPlugin(host)) {
  const sim::PictureOptions options{setup.source, setup.alpha, setup.rows};
  picture = host.MakePicture(sim::PatternImage(5, 3), options);
  picture->mask = host.NewPicture(5, 3, false);
  other = host.MakePicture(sim::Image(5, 3), options);
  string = host.MakeString("caf\xC3\xA9 text", kEncodingUtf8);
  block = host.MakeMemoryBlock("0123456789");
  array = host.MakeArray(sim::ElementType::kString, 2);
  array->At<void*>(0) = string.get();
  host.Lock(string.get());
  host.log.Clear();
}

std::span<const Scenario> PictureScenarios() { return kPictureScenarios; }
std::span<const Scenario> TextScenarios() { return kTextScenarios; }
