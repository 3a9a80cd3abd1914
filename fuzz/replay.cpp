// Runs the fuzz target on files, without a fuzzer: replay FILE_OR_FOLDER...

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int count, char** arguments) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < count; ++i) {
    if (fs::is_directory(arguments[i])) {
      for (const auto& entry : fs::directory_iterator(arguments[i])) files.push_back(entry.path());
    } else {
      files.emplace_back(arguments[i]);
    }
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
      std::fprintf(stderr, "replay: %s cannot be read\n", file.c_str());
      return 1;
    }
    // Named first: a file that is found wanting ends the process.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("%zu inputs replayed\n", files.size());
  return files.empty() ? 1 : 0;
}
