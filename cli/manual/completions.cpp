#include <algorithm>

#include "cli/manual/pages.h"
#include "cli/print.h"

namespace velhost {
namespace {

// What `command` calls the methods of the plugin that it came with.
std::string MethodsOf(const std::string& command) {
  return "$(" + command + " --list 2>/dev/null | sed 's/[ (].*//')";
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

/// What may stand behind an option, by the text in the place of its value.
enum class Value { kNone, kChoice, kMethod, kFile, kOther };

Value ValueOf(const CLI::Option& option) {
  const std::string& text = option.get_option_text();
  if (text.empty()) return Value::kNone;
  if (text.find('|') != std::string::npos) return Value::kChoice;
  if (text == "CALL") return Value::kMethod;
  return text == "FILE" || text == "PLUGIN" ? Value::kFile : Value::kOther;
}

std::string ChoicesOf(const CLI::Option& option) {
  std::string choices = option.get_option_text();
  std::replace(choices.begin(), choices.end(), '|', ' ');
  return choices;
}

// In zsh's own words: what stands in brackets explains, what is quoted may hold neither.
std::string Explained(const CLI::Option& option) {
  std::string text;
  for (const char c : option.get_description()) {
    if (c == '\'') {
      text += "'\\''";
    } else if (c == '[' || c == ']' || c == ':') {
      text += std::string("\\") + c;
    } else {
      text += c == '\n' ? ' ' : c;
    }
  }
  return "[" + text + "]";
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
  std::vector<std::string> options;
  std::string values;
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_positional()) continue;
    const std::vector<std::string> names = NamesOf(*option);
    options.insert(options.end(), names.begin(), names.end());
    const auto row = [&](const std::string& reply) {
      values += "    " + Joined(names, " | ") + ") " + reply + " ;;\n";
    };
    switch (ValueOf(*option)) {
      case Value::kNone:
        break;
      case Value::kChoice:
        row("words='" + ChoicesOf(*option) + "'");
        break;
      case Value::kMethod:
        row("words=\"" + MethodsOf("\"$1\"") + "\"");
        break;
      case Value::kFile:
        row("compopt -o default; return");
        break;
      case Value::kOther:
        row("return");
        break;
    }
  }
  return "# bash completion of velhost, made from its options\n"
         "_velhost() {\n"
         "  local words=''\n"
         "  COMPREPLY=()\n"
         "  case \"$3\" in\n" +
         values +
         "    *)\n"
         "      [[ $2 == -* ]] || { compopt -o default; return; }\n"
         "      words='" +
         Joined(options, " ") +
         "'\n"
         "      ;;\n"
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$2\")\n"
         "}\n"
         "complete -F _velhost velhost\n";
}

std::string ZshCompletion(const CLI::App& app) {
  std::string rows;
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_positional()) continue;
    std::string value;
    switch (ValueOf(*option)) {
      case Value::kNone:
        break;
      case Value::kChoice:
        value = ":value:(" + ChoicesOf(*option) + ")";
        break;
      case Value::kMethod:
        value = ":method:_velhost_methods";
        break;
      case Value::kFile:
        value = ":file:_files";
        break;
      case Value::kOther:
        value = ":value: ";
        break;
    }
    for (const std::string& name : NamesOf(*option)) {
      rows += " \\\n    '*" + name + Explained(*option) + value + "'";
    }
  }
  return "#compdef velhost\n"
         "# zsh completion of velhost, made from its options\n"
         "_velhost_methods() { compadd -- ${(f)\"" +
         MethodsOf("$words[1]") +
         "\"} }\n"
         "_arguments" +
         rows + " \\\n    '*:picture:_files'\n";
}

}  // namespace velhost
