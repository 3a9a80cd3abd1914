// velhost_manual man|bash|zsh: writes the manual page of velhost, or what completes its command
// line.

#include <cstdio>
#include <functional>
#include <map>

#include "cli/manual/pages.h"
#include "cli/options.h"

int main(int argc, char** argv) {
  const std::map<std::string, std::function<std::string(const CLI::App&)>> pages = {
      {"man", velhost::ManPage},
      {"bash", velhost::BashCompletion},
      {"zsh", velhost::ZshCompletion}};
  const auto page = pages.find(argc == 2 ? argv[1] : "");
  if (page == pages.end()) {
    std::fputs("usage: velhost_manual man|bash|zsh\n", stderr);
    return 2;
  }
  velhost::Options options;
  CLI::App app;
  velhost::DeclareOptions(app, options);
  return std::fputs(page->second(app).c_str(), stdout) < 0;
}
