#include <cctype>
#include <map>
#include <sstream>

#include "cli/manual/pages.h"

namespace velhost {
namespace {

// What would come out as another character, or be a command.
const std::map<char, std::string> kSpecial = {{'\\', "\\e"},  {'-', "\\-"},   {'\'', "\\(aq"},
                                              {'`', "\\(ga"}, {'^', "\\(ha"}, {'~', "\\(ti"}};

// Text of a page. No line of it begins with a macro.
std::string Roff(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '.' && (escaped.empty() || escaped.back() == '\n')) escaped += "\\&";
    const auto special = kSpecial.find(c);
    escaped += special == kSpecial.end() ? std::string(1, c) : special->second;
  }
  return escaped;
}

std::string Option(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += "\\fB\\-" + Roff(name) + "\\fR, ";
  for (const std::string& name : option.get_lnames()) names += "\\fB\\-\\-" + Roff(name) + "\\fR";
  if (option.get_positional()) names = "\\fI" + Roff(option.get_name()) + "\\fR";
  const std::string value = option.get_option_text();
  if (!value.empty()) names += " \\fI" + Roff(value) + "\\fR";
  return ".TP\n" + names + "\n" + Roff(option.get_description()) + "\n";
}

// A line without indentation is the heading of those below it, which stay as they are.
std::string Sections(const std::string& text) {
  std::string sections;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == ' ') {
      sections += Roff(line) + "\n";
      continue;
    }
    line.pop_back();
    for (char& c : line) c = static_cast<char>(std::toupper(c));
    sections += (sections.empty() ? "" : ".fi\n") + (".SH " + line) + "\n.nf\n";
  }
  return sections + ".fi\n";
}

}  // namespace

std::string ManPage(const CLI::App& app) {
  const std::string name = app.get_name();
  std::string page = ".TH VELHOST 1 \"\" \"VelPicture " VELPICTURE_VERSION "\"\n";
  page += ".SH NAME\n" + name + " \\- run the methods of a plugin on pictures, or check a plugin\n";
  page += ".SH SYNOPSIS\n.B " + name + "\n[\\fIOPTION\\fR]... [\\fIPICTURE\\fR]...\n";
  page += ".SH DESCRIPTION\n" + Roff(app.get_description()) + "\n.SH OPTIONS\n";
  for (const CLI::Option* const option : app.get_options()) page += Option(*option);
  return page + Sections(app.get_footer());
}

}  // namespace velhost
