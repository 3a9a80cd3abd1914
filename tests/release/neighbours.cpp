// velpicture_neighbours PLUGIN PLUGIN: VelPicture and the example of docs/support.md, loaded and
// started in the order given, as a host goes through its plugin folder. Both must work, on the same
// picture, and leave nothing behind. Exit status 0 when they do; else it says what is wrong.

#include <cstdio>
#include <exception>
#include <string>

#include "simulator/host.h"
#include "simulator/plugin.h"

namespace {

/// Calls a method of whichever of the two has it.
sim::Result Call(const sim::Plugin& one, const sim::Plugin& other, const char* name,
                 sim::Picture* picture, const std::vector<sim::Argument>& arguments = {}) {
  for (const sim::Method& method : one.methods()) {
    if (method.name == name) return one.Call(method, picture, arguments);
  }
  return other.Call(name, picture, arguments);
}

std::string Fault(const char* firstPath, const char* secondPath) {
  sim::Host host;
  const sim::Rgba ground{10, 20, 30};
  const auto picture = host.MakePicture(sim::Image(4, 2, ground));
  const auto text = host.MakeString("h\xC3\xA9", kEncodingUtf8);

  sim::Plugin first(firstPath);
  first.Start(host);
  sim::Plugin second(secondPath);
  second.Start(host);

  if (!Call(first, second, "Sign", picture.get(), {text.get()}).boolean) return "Sign is false";
  const sim::Result turned = Call(first, second, "Rotate180Vel", picture.get());
  if (!turned.picture) return "Rotate180Vel returned no picture";
  const sim::Image image = turned.picture->Read();
  const int blues[] = {30, 0xA9, 0xC3, 'h'};
  for (int x = 0; x < 4; ++x) {
    const sim::Rgba& pixel = image.At(x, 1);
    if (pixel.red != ground.red || pixel.green != ground.green || pixel.blue != blues[x] ||
        image.At(x, 0).blue != ground.blue) {
      return "a wrong pixel in column " + std::to_string(x);
    }
  }
  return host.Imbalance();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::string fault = argc == 3 ? Fault(argv[1], argv[2]) : "give two plugins";
    if (fault.empty()) return 0;
    std::fprintf(stderr, "velpicture_neighbours: %s\n", fault.c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velpicture_neighbours: %s\n", error.what());
  }
  return 1;
}
