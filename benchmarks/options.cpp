#include "benchmarks/options.h"

#include <CLI/CLI.hpp>

#include "imaging/image_file.h"
#include "imaging/output_file.h"
#include "transforms/kernels/variant_names.h"

namespace velbench {
namespace {

constexpr const char* kAbout =
    "Measures the Picture methods of VelPicture.so in a simulated host, beside memcpy and other "
    "libraries.";

constexpr const char* kExamples =
    "Examples:\n"
    "  velbench --quick\n"
    "  velbench --filter '^Rotate90Vel/.*/console/warm' --kernels sse2\n"
    "  velbench --json figures.json --plot figures.png\n"
    "  velbench --against before/VelPicture.so --filter Mirror\n";

void CheckFiles(const Options& options) {
  for (const std::string& file : {options.json, options.markdown}) {
    if (!file.empty()) imaging::CheckOutputPath(file);
  }
  if (options.plot.empty()) return;
  imaging::CheckImageName(options.plot);
  imaging::CheckOutputPath(options.plot);
}

}  // namespace

std::optional<Options> ParseOptions(int argc, const char* const* argv) {
  Options options;
  std::string filter;
  CLI::App app(kAbout, "velbench");
  app.footer(kExamples);
  app.get_formatter()->column_width(32);
  app.add_flag("--quick", options.quick, "the smaller sizes, fewer repetitions");
  app.add_option("--json", options.json, "file to write the figures to")->type_name("FILE");
  app.add_option("--markdown", options.markdown, "file to write the tables of docs/speed.md to")
      ->type_name("FILE");
  app.add_option("--plot", options.plot, "picture to draw them into (.png)")->type_name("FILE");
  app.add_option("--kernels", options.kernels,
                 "pixel kernels to use, of" + std::string(velpicture::kVariantList))
      ->type_name("NAME");
  app.add_option("--against", options.against,
                 "another build of the plugin, measured by turns with this one; other libraries "
                 "are left out")
      ->type_name("FILE");
  app.add_option("--filter", filter, "only rows such as Rotate90Vel/1920x1080/console/warm")
      ->type_name("REGEX");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    app.exit(help);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw std::runtime_error(std::string(error.what()) + " (velbench --help shows what there is)");
  }
  try {
    options.filter = std::regex(filter);
  } catch (const std::regex_error&) {
    throw std::runtime_error("--filter " + filter + " is no regular expression");
  }
  CheckFiles(options);
  return options;
}

}  // namespace velbench
