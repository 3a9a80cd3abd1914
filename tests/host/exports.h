#pragma once

// The exports of the shared object: what exported_names.txt says of them, and what the file has.

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

struct TableRow {
  /// With parameters: "REALAddStrings(REALstringStruct*, REALstringStruct*)".
  std::string name;
  /// For a plain wrapper of a host function, the entry and "nothing", "word" or "boolean".
  std::string entry;
  std::string result;
  /// For a method, its place among the methods, from 1 on, and its declaration.
  size_t method;
  std::string declaration;
};

inline std::vector<TableRow> ReadExportTable() {
  std::vector<TableRow> rows;
  std::ifstream table(VEL_PROJECT "/tests/host/exported_names.txt");
  const std::regex form(R"(([^#].*?)(?: = (\w+) (\w+)| : (\d+) (.+))?)");
  for (std::string line; std::getline(table, line);) {
    std::smatch parts;
    if (!std::regex_match(line, parts, form)) continue;
    rows.push_back(
        {parts[1], parts[2], parts[3], parts[4].matched ? std::stoul(parts[4]) : 0, parts[5]});
  }
  return rows;
}

/// The lines that a command prints.
inline std::vector<std::string> LinesOf(const std::string& command) {
  std::vector<std::string> lines;
  FILE* const pipe = popen(command.c_str(), "r");
  for (char line[512]; std::fgets(line, sizeof line, pipe) != nullptr;) {
    lines.emplace_back(line, std::string_view(line).find('\n'));
  }
  if (pclose(pipe) != 0) lines.clear();
  return lines;
}

/// The exported symbols by their readable names.
inline std::multimap<std::string, std::string> ExportedSymbols() {
  std::multimap<std::string, std::string> symbols;
  for (const std::string& symbol :
       LinesOf("nm -D --defined-only --format=posix " VEL_PLUGIN " | cut -d' ' -f1")) {
    int status = 0;
    char* const name = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
    symbols.emplace(name != nullptr ? name : symbol, symbol);
    std::free(name);
  }
  return symbols;
}
