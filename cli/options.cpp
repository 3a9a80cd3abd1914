#include "cli/options.h"

#include <CLI/CLI.hpp>

#include <iterator>
#include <sstream>

#include "cli/print.h"
#include "cli/user_error.h"
#include "simulator/declaration.h"
#include "simulator/settings.h"
#include "transforms/kernels/variant_names.h"

namespace velhost {
namespace {

const std::vector<std::string> kFormats = {"png", "jpg", "bmp"};

constexpr const char* kAbout =
    "Loads a plugin into a simulated host and runs its Picture methods on picture\n"
    "files, or checks what the plugin leaks and breaks.";

constexpr const char* kFooter =
    "Examples:\n"
    "  velhost photo.jpg -m Rotate90Vel -o turned.png\n"
    "  velhost -m \"RotateVel(30, &cFFFFFFFF)\" -m HMirrorVel photo.png -o both.png\n"
    "  velhost *.jpg -m \"CloneVel(320, 240)\" -o corners/\n"
    "  velhost --check MyPlugin.so --quick\n\n"
    "Exit status:\n"
    "    0  all went well\n"
    "    1  a picture or the check failed\n"
    "    2  the command line is wrong, or a file would be replaced: nothing was done;\n"
    "       or nothing of the plugin could be tried\n"
    "  130  ended by Ctrl-C (129: the terminal went; 143: by a request to terminate)\n";

/// What --help shows in the place of an option's value: its choices, of which completions know,
/// too.
std::string Choices(const std::vector<std::string>& words) { return Joined(words, "|"); }

std::vector<std::string> HostNames() {
  std::vector<std::string> names;
  for (const sim::HostKind& kind : sim::kHostKinds) names.emplace_back(kind.name);
  return names;
}

std::vector<std::string> KernelNames() {
  std::istringstream list(velpicture::kVariantList);
  return {std::istream_iterator<std::string>(list), {}};
}

// What can be seen to be missing before any work is done.
void Complete(Options& options) {
  if (options.list || !options.check.plugin.empty()) return;
  if (options.inputs.empty()) {
    throw UserError("no picture given: velhost photo.jpg -m Rotate90Vel -o turned.png");
  }
  if (options.calls.empty() && !options.sheet) {
    throw UserError("no method given: add -m Rotate90Vel, or see velhost --list");
  }
}

// What would go unheeded, or be taken for something else.
void CheckCompany(const CLI::App& app, const Options& options) {
  // The parser takes whatever stands there.
  const std::string& plugin = options.check.plugin;
  if (app.count("--check") != 0 && (plugin.empty() || plugin.starts_with('-'))) {
    throw UserError("--check '" + plugin +
                    "': the plugin stands right behind, as in --check MyPlugin.so --quick");
  }
  constexpr const char* kNeeds[][2] = {
      {"--no-times", "--sheet"}, {"--case", "--check"},       {"--case-seconds", "--check"},
      {"--jobs", "--check"},     {"--exceptions", "--check"}, {"--json", "--check"},
      {"--junit", "--check"},    {"--level", "--check"},      {"--only", "--check"},
      {"--quick", "--check"},    {"--list-cases", "--check"}};
  for (const auto& [option, other] : kNeeds) {
    if (app.count(option) != 0 && app.count(other) == 0) {
      throw UserError(std::string(option) + " belongs to " + other);
    }
  }
  for (const char* alone : {"--list", "--check"}) {
    for (const char* option : {"PICTURE", "--method", "--output", "--sheet"}) {
      if (app.count(alone) != 0 && app.count(option) != 0) {
        throw UserError(std::string(option) + " does not go with " + alone);
      }
    }
  }
}

sim::Rgba ParseBackground(const std::string& text) {
  const auto literal = sim::ParseLiteral(text);
  const auto* const color = literal ? std::get_if<sim::Color>(&*literal) : nullptr;
  if (color == nullptr || color->value >> 24 != 0) {
    throw UserError("--background " + text + " is no colour: write it as \"&cRRGGBB\"");
  }
  return {static_cast<uint8_t>(color->value >> 16), static_cast<uint8_t>(color->value >> 8),
          static_cast<uint8_t>(color->value)};
}

}  // namespace

void DeclareOptions(CLI::App& app, Options& options) {
  app.name("velhost");
  app.description(kAbout);
  app.footer(kFooter);
  app.get_formatter()->column_width(24);
  app.set_help_flag("-h,--help", "show this");
  app.set_version_flag("-V,--version", "velhost " VELPICTURE_VERSION, "show the version");

  app.add_option("PICTURE", options.inputs,
                 "PNG, JPEG or BMP files to work on; - is standard input")
      ->option_text("...");
  app.add_option("-m,--method", options.calls,
                 "method to call, as the host's language writes it;\n"
                 "several are called in order, each with an -m of its own")
      ->option_text("CALL")
      ->allow_extra_args(false);
  app.add_option("-o,--output", options.output,
                 "file to write (.png, .jpg, .bmp), a folder for files of\n"
                 "the same names (FOLDER/), or - for standard output")
      ->option_text("FILE");
  app.add_flag("--force", options.force, "replace files, also the pictures themselves");
  app.add_option("--format", options.write.format,
                 "whatever the names say; without it the ending tells, and\n"
                 "- is written as PNG")
      ->option_text(Choices(kFormats))
      ->check(CLI::IsMember(kFormats));
  app.add_option("--quality", options.write.quality,
                 "of JPEG files, 1 to 100; without it JPEG pictures keep\n"
                 "theirs, others get 95")
      ->option_text("NUMBER")
      ->check(CLI::Range(1, 100));
  app.add_option_function<std::string>(
         "--background",
         [&options](const std::string& text) { options.write.background = ParseBackground(text); },
         "what shows through where formats or hosts have no alpha\n[&cFFFFFF]")
      ->option_text("COLOUR");
  app.add_flag_callback(
      "--no-orient", [&options] { options.orient = false; },
      "leave pictures as cameras store them: do not turn them\nupright as their EXIF data ask for");
  app.add_flag("--stats", options.stats, "show time, host calls, memory, and what is left over");
  app.add_flag("-q,--quiet", options.quiet, "say only what is wrong, and numbers asked for");
  app.add_flag("--log", options.log, "show every call into the host");
  app.add_flag("--list", options.list, "show the methods that the plugin registered");
  app.add_flag("--sheet", options.sheet,
               "draw all methods, or those given, on a picture into one\n"
               "file [sheet.png]");
  app.add_flag_callback(
      "--no-times", [&options] { options.times = false; }, "leave the times out of the sheet");
  check::CheckOptions& check = options.check;
  app.add_option("--check", check.plugin,
                 "try any plugin in strict hosts: start-up, all methods,\n"
                 "each host call failing; tells what it leaks or breaks")
      ->option_text("PLUGIN");
  app.add_option("--case", options.checkedCase,
                 "only this case of the check, in this process and with\n"
                 "every call into the host shown")
      ->option_text("NAME");
  app.add_option("--only", check.only,
                 "only cases with that in their names, or whose names\n"
                 "match a pattern such as '*/cairo/*'")
      ->option_text("PATTERN");
  app.add_flag("--quick", check.quick, "one console and one desktop set-up at the newest version");
  app.add_flag("--list-cases", check.listed, "name the cases of the check instead");
  app.add_option("--level", options.telling.level, "what counts as a failure [warning]")
      ->option_text("error|warning|pedantic")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, check::Level>{{"error", check::Level::kError},
                                              {"warning", check::Level::kWarning},
                                              {"pedantic", check::Level::kPedantic}}));
  app.add_option("--case-seconds", check.seconds, "time that a case of the check may take [10]")
      ->option_text("NUMBER")
      ->check(CLI::Range(0.1, 86400.0));
  app.add_option("--jobs", check.processes,
                 "cases of the check at a time [as many as there are\n"
                 "processors]")
      ->option_text("NUMBER")
      ->check(CLI::Range(1, 1024));
  app.add_flag("--exceptions", check.exceptions,
               "let host calls throw exceptions in the check, too");
  app.add_option("--json", options.json, "file for the results of the check, case by case, or -")
      ->option_text("FILE");
  app.add_option("--junit", options.junit, "the same as XML, which CI systems read, or -")
      ->option_text("FILE");
  app.add_option("--host", options.host, "kind of host [console]")
      ->option_text(Choices(HostNames()))
      ->check(CLI::IsMember(HostNames()));
  app.add_option("--host-version", options.hostVersion, "what the host says it is [2012.01]")
      ->option_text("NUMBER")
      ->check(CLI::Range(0.0, 9999.0));
  app.add_option("--plugin", options.plugin, "plugin to load [VelPicture.so that came with it]")
      ->option_text("FILE");
  app.add_option("--kernels", options.kernels, "pixel kernels to use [the fastest that can run]")
      ->option_text(Choices(KernelNames()));
  // So that messages about a value that is missing name it.
  for (CLI::Option* const option : app.get_options()) option->type_name(option->get_option_text());
}

std::optional<Options> ParseOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app;
  DeclareOptions(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UserError(std::string(error.what()) + " (velhost --help shows what there is)");
  }
  CheckCompany(app, options);
  if (options.sheet && app.count("--output") == 0) options.output = "sheet.png";
  Complete(options);
  return options;
}

}  // namespace velhost
