#include "imaging/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "imaging/file_error.h"

namespace imaging {
namespace {

namespace fs = std::filesystem;

int standardOutput = STDOUT_FILENO;

bool Write(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    bytes.remove_prefix(count);
  }
  return true;
}

// Where a link leads, also when nothing is there yet.
fs::path LinkTarget(fs::path path) {
  constexpr int kMostLinks = 40;  // As many as the kernel follows.
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

// A file under a name of its own; removed again unless it was moved into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& besides) : path_(besides + ".XXXXXX") {
    descriptor_ = mkstemp(path_.data());
    if (descriptor_ < 0) path_.clear();
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!path_.empty()) unlink(path_.c_str());
  }

  /// Whether every step succeeded; errno tells which error it was.
  bool WriteAndMoveTo(const std::string& target, std::string_view bytes) {
    return descriptor_ >= 0 && TakePermissions(target) && Write(descriptor_, bytes) &&
           fsync(descriptor_) == 0 && MoveTo(target);
  }

 private:
  // mkstemp keeps others out. A file has the group and the permissions of what it replaces, a new
  // one those that any new file would have.
  bool TakePermissions(const std::string& target) const {
    struct stat old;
    if (stat(target.c_str(), &old) != 0) {
      const mode_t mask = umask(0);
      umask(mask);
      return fchmod(descriptor_, 0666 & ~mask) == 0;
    }
    // A group that cannot be kept must not hand its rights to another.
    const bool kept = fchown(descriptor_, static_cast<uid_t>(-1), old.st_gid) == 0;
    return fchmod(descriptor_, old.st_mode & (kept ? 0777 : 0707)) == 0;
  }

  bool MoveTo(const std::string& target) {
    if (std::rename(path_.c_str(), target.c_str()) != 0) return false;
    path_.clear();
    return true;
  }

  std::string path_;
  int descriptor_;
};

}  // namespace

void CheckOutputPath(const std::string& path, bool replace) {
  if (path == kStandardOutput) {
    if (replace || isatty(standardOutput) == 0) return;
    throw FileError("standard output is a terminal: give -o FILE, or --force");
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw FileError("the output " + path + " is no file: give the name of a picture file");
  }
  if (fs::exists(status) && !replace) {
    throw FileError(path + " is there already: give another name, or --force");
  }
  const fs::path folder = fs::path(path).parent_path();
  if (!folder.empty() && !fs::is_directory(folder, error)) {
    throw FileError("the output folder " + folder.string() + " is missing: make it first");
  }
}

void KeepStandardOutput() {
  standardOutput = dup(STDOUT_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
  bool done = false;
  if (path == kStandardOutput) {
    done = Write(standardOutput, bytes);
  } else {
    const std::string target = LinkTarget(path);
    done = TemporaryFile(target).WriteAndMoveTo(target, bytes);
  }
  if (!done) throw FileError(path + " cannot be written: " + std::strerror(errno));
}

}  // namespace imaging
