// A plugin that does one thing that is wrong, or right but unusual: what the environment variable
// FAULT names. Each is a row of one of two tables, of what it registers here, and of what its
// method Break does (broken_calls.cpp).

#include "tests/check/broken_host.h"

namespace {

extern "C" bool ClobberEdi(Picture*);
asm("ClobberEdi: movl $1, %edi\n movl $1, %eax\n ret");

bool NotDeclared(Picture*, int parameter) { return parameter != 0; }
double Number(Picture*) { return 1; }

// Methods with parameters, for what only some arguments show.
bool Narrow(Picture* picture) {
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) return false;
  if (description.width > 255 || description.height > 255) CrashHere();
  return Host("unlockPictureDescription", picture) || true;
}
bool Divide(Picture*, double number) { return number == number || CrashHere(); }
bool Index(Picture*, int32_t index) {
  static volatile int table[512];
  return table[index < 0 ? 0 : index & 511] + (index > 1000 ? CrashHere() : 0) == 0;
}
/// As a table of 256 has one entry that nobody filled.
bool Masked(Picture*, int32_t index) { return (index & 255) != 21 || CrashHere(); }
bool Label(Picture*, REALstringStruct* text) {
  // A string is null where it is empty.
  const auto* const layout = reinterpret_cast<const REALstringLegacyLayout*>(text);
  return *reinterpret_cast<const volatile uint32_t*>(&layout->lengthBytes) < 0x7FFFFFFF;
}
bool Scribble(Picture*, REALstringStruct* text) {
  if (text == nullptr) return false;
  auto* const get = reinterpret_cast<char* (*)(REALstringStruct*)>(resolve("StringGetCString"));
  if (get != nullptr) get(text)[0] = 'x';
  return true;
}
bool Combine(Picture* picture, Picture* other) {
  if (other == nullptr) return false;
  if (other == picture && Is("itself")) return CrashHere();
  // Of the pictures that it writes, the other's cache is forgotten.
  if (Is("other_cache")) return WithRows(other, [](uint32_t** rows) { rows[0][0] ^= 1; });
  return true;
}
Picture* Painted(Picture* picture) {
  WriteCleared(picture, 1);
  return NewPicture();
}
/// Forgets what it was told when another method runs in between.
bool After(Picture* picture) { return WriteCleared(picture, calls == 0 ? 1 : 2); }

double Sum(Picture*, double a, double b, double c, double d, double e) { return a + b + c + d + e; }
REALstringStruct* Long(Picture*) {
  static char text[300000];
  std::memset(text, 'x', sizeof text);
  return Host<REALstringStruct*>("REALBuildString", text, static_cast<int>(sizeof text));
}

REALmethodDefinition methods[3] = {
    {reinterpret_cast<void*>(Break), nullptr, "Break as boolean", 0},
    {reinterpret_cast<void*>(Break), nullptr, "Untried(item as FolderItem)", 0},
    {reinterpret_cast<void*>(Break), nullptr, nullptr, 0}};
REALclassDefinition extension;

template <class Function = decltype(Break)>
void Declare(const char* declaration, Function* function = Break) {
  methods[2] = {reinterpret_cast<void*>(function), nullptr, declaration, 0};
  extension.methodCount = 3;
}

/// What is wrong with what it registers.
struct Registration {
  const char* name;
  void (*change)();
};
const Registration kRegistrations[] = {
    {"register", [] { methods[0].function = reinterpret_cast<void*>(ClobberEdi); }},
    {"parameter", [] { methods[0].function = reinterpret_cast<void*>(NotDeclared); }},
    {"number", [] { methods[0].declaration = "Break as double"; }},
    {"no_declared_number", [] { methods[0].function = reinterpret_cast<void*>(Number); }},
    {"declaration", [] { Declare("Broken as"); }},
    {"twice", [] { Declare("break as boolean"); }},
    {"flags", [] { methods[0].flags = 1; }},
    {"size", [] { extension.size = 20; }},
    {"pitcure", [] { extension.name = "Pitcure"; }},
    {"untried", [] { methods[0].declaration = "Break(item as FolderItem)"; }},
    {"misspelt", [] { Declare("Misspelt(at as interger)"); }},
    {"kept_entry", [] { clearCache = resolve("REALPictureClearCache"); }},
    {"start_memory", [] { *static_cast<volatile char*>(std::malloc(78)) = 0; }},
    // What only some inputs show.
    {"narrow", [] { Declare("Narrow as boolean", Narrow); }},
    {"no_number", [] { Declare("Divide(number as double) as boolean", Divide); }},
    {"index", [] { Declare("Index(at as integer) as boolean", Index); }},
    {"masked", [] { Declare("Masked(at as integer) as boolean", Masked); }},
    {"null_text", [] { Declare("Label(text as string) as boolean", Label); }},
    {"scribble", [] { Declare("Scribble(text as string) as boolean", Scribble); }},
    {"itself", [] { Declare("Combine(other as picture) as boolean", Combine); }},
    {"other_cache", [] { Declare("Combine(other as picture) as boolean", Combine); }},
    {"receiver", [] { Declare("Painted as picture", Painted); }},
    {"together", [] { Declare("After as boolean", After); }},
    // Right, if unusual.
    {"overload", [] { Declare("Untried(item as Date)"); }},
    {"defaults", [] { Declare("Other(a as string = \"(a, b)\", b as Module1.Kind = &hFF)"); }},
    {"sum",
     [] {
       Declare("Sum(a as double, b as double, c as double, d as double, e as double) as double",
               Sum);
     }},
    {"long", [] { Declare("Long as string", Long); }},
};

struct Unloaded {
  ~Unloaded() {
    if (Is("destructor")) std::abort();
  }
} unloaded;

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(
    void* (*resolver)(const char*)) {
  resolve = resolver;
  if (Is("nothing")) return;
  extension.version = 9;
  extension.name = "Picture";
  extension.methods = methods;
  extension.methodCount = 2;
  for (const Registration& registration : kRegistrations) {
    if (Is(registration.name)) registration.change();
  }
  auto* const ask = reinterpret_cast<double (*)()>(resolve("REALGetRBVersion"));
  if (ask != nullptr) version = ask();
  Host("RegisterPluginVersion", 9);
  Host("PluginRegisterClassExtension", &extension);
}
