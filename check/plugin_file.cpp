#include "check/plugin_file.h"

#include <elf.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "simulator/plugin.h"

namespace check {
namespace {

namespace fs = std::filesystem;

/// How long a library is by what its header says of its parts.
uintmax_t LengthByHeader(std::ifstream& file, const Elf32_Ehdr& header) {
  uintmax_t length = uintmax_t{header.e_phoff} + uintmax_t{header.e_phnum} * sizeof(Elf32_Phdr);
  std::vector<Elf32_Phdr> segments(header.e_phnum);
  file.seekg(header.e_phoff);
  file.read(reinterpret_cast<char*>(segments.data()),
            static_cast<std::streamsize>(segments.size() * sizeof(Elf32_Phdr)));
  if (!file) return length;
  for (const Elf32_Phdr& segment : segments) {
    length = std::max(length, uintmax_t{segment.p_offset} + segment.p_filesz);
  }
  return length;
}

}  // namespace

void CheckFile(const std::string& path) {
  const std::string name = ": name a plugin's file";
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) throw sim::PluginError("there is no plugin " + path + name);
  if (fs::is_directory(status)) throw sim::PluginError(path + " is a folder" + name);
  if (!fs::is_regular_file(status))
    throw sim::PluginError(path + " is no file that can be loaded" + name);
  std::ifstream file(path, std::ios::binary);
  if (!file) throw sim::PluginError(path + " cannot be read: look at its permissions");
  Elf32_Ehdr header = {};
  file.read(reinterpret_cast<char*>(&header), sizeof header);
  if (!file || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN) {
    throw sim::PluginError(path + " is no shared library" + name);
  }
  if (header.e_ident[EI_CLASS] != ELFCLASS32 || header.e_machine != EM_386) {
    throw sim::PluginError(
        path + " is no 32-bit i386 library, as this host's plugins are: build it with -m32");
  }
  if (LengthByHeader(file, header) > fs::file_size(path, error)) {
    throw sim::PluginError(path + " is cut off: copy or build it again");
  }
}

}  // namespace check
