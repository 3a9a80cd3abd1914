#include "cli/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>

#include "cli/problem.h"

namespace velhost {
namespace {

constexpr const char* kAbout =
    "Loads VelPicture.so into a simulated host and runs its Picture methods on picture files.";

constexpr const char* kExamples =
    "Examples:\n"
    "  velhost photo.jpg -m Rotate90Vel -o turned.png\n"
    "  velhost photo.png -m \"RotateVel(30, &cFFFFFFFF)\" -m HMirrorVel --host cairo -o m.png\n"
    "  velhost *.jpg -m \"CloneVel(320, 240)\" -o thumbnails/\n";

HostKind ParseKind(const std::string& text) {
  if (text == "console") return HostKind::kConsole;
  if (text == "web") return HostKind::kWeb;
  if (text == "cairo") return HostKind::kCairo;
  if (text == "gdk") return HostKind::kGdk;
  throw Problem("--host " + text + " is unknown: give console, web, cairo or gdk");
}

double ParseVersion(const std::string& text) {
  double version = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), version);
  if (error == std::errc() && *end == '\0' && std::isfinite(version)) return version;
  throw Problem("--host-version " + text + " is no version: give a number such as 2011.04");
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv) {
  Options options;
  std::string kind = "console", version = "2012.01";
  CLI::App app(kAbout, "velhost");
  app.footer(kExamples);
  app.get_formatter()->column_width(32);

  app.add_option("PICTURE", options.inputs, "PNG, JPEG or BMP files to work on");
  app.add_option("-m,--method", options.calls,
                 "method to call, as the host's language writes it; several are called in order")
      ->type_name("CALL")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("-o,--output", options.output,
                 "file to write (.png, .jpg, .bmp), or a folder for PNG files: FOLDER/")
      ->type_name("FILE");
  app.add_flag("--list", options.list, "show the methods that the plugin registered");
  app.add_option("--host", kind, "kind of host: console, web, cairo or gdk [console]")
      ->type_name("KIND");
  app.add_option("--host-version", version, "what the host says it is [2012.01]")
      ->type_name("NUMBER");
  app.add_option("--plugin", options.plugin, "plugin to load [VelPicture.so beside velhost]")
      ->type_name("FILE");
  app.add_option("--kernels", options.kernels, "pixel kernels to use: plain, sse2, avx2, avx512")
      ->type_name("NAME");
  app.add_flag("--log", options.log, "show every call into the host");
  app.add_flag("--stats", options.stats, "show time, host calls and memory");
  app.add_flag("--sheet", options.sheet,
               "draw all methods, or those given, on a picture (or the test card) into one file "
               "[out/sheet.png]");
  app.add_flag("!--no-times", options.times, "leave the times out of the sheet");
  app.add_flag("--test-card", options.testCard, "write the project's test card");

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw Problem(std::string(error.what()) + " (velhost --help shows what there is)");
  }
  options.host = ParseKind(kind);
  options.hostVersion = ParseVersion(version);
  return options;
}

}  // namespace velhost
