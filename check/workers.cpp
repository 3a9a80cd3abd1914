#include "check/workers.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <new>
#include <stdexcept>

namespace check {
namespace {

/// What goes before a result in the pipe that all workers write to.
struct Header {
  uint32_t index;
  uint32_t size;
};

/// A number that all workers see.
class SharedCounter {
 public:
  SharedCounter() {
    void* const map = mmap(nullptr, sizeof(std::atomic<uint32_t>), PROT_READ | PROT_WRITE,
                           MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::runtime_error("no memory to share with other processes");
    count_ = new (map) std::atomic<uint32_t>(0);
  }
  SharedCounter(const SharedCounter&) = delete;
  SharedCounter& operator=(const SharedCounter&) = delete;
  ~SharedCounter() { munmap(count_, sizeof *count_); }
  uint32_t Next() { return count_->fetch_add(1); }

 private:
  std::atomic<uint32_t>* count_;
};

void WriteAll(int to, const void* bytes, size_t size) {
  const char* rest = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = write(to, rest, size);
    if (written < 0) _exit(1);
    rest += written;
    size -= static_cast<size_t>(written);
  }
}

/// False at the end of what there is to read.
bool ReadAll(int from, void* bytes, size_t size) {
  char* rest = static_cast<char*>(bytes);
  while (size > 0) {
    const ssize_t count = read(from, rest, size);
    if (count <= 0) return false;
    rest += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

/// Works until nothing is left. Results go through the pipe one after the other: whoever writes has
/// locked the file.
[[noreturn]] void Work(SharedCounter& counter, size_t count, int pipe, int lock,
                       const std::function<std::string(size_t)>& work) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  try {
    for (uint32_t index; (index = counter.Next()) < count;) {
      const std::string result = work(index);
      const Header header{index, static_cast<uint32_t>(result.size())};
      if (lockf(lock, F_LOCK, 0) != 0) _exit(1);
      WriteAll(pipe, &header, sizeof header);
      WriteAll(pipe, result.data(), result.size());
      if (lockf(lock, F_ULOCK, 0) != 0) _exit(1);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velhost: %s\n", error.what());
    _exit(1);
  }
  _exit(0);
}

}  // namespace

std::vector<std::string> RunShared(size_t count, int processes,
                                   const std::function<std::string(size_t)>& work,
                                   const std::function<void()>& done) {
  std::fflush(nullptr);
  SharedCounter counter;
  int ends[2];
  const int lock = memfd_create("lock", MFD_CLOEXEC);
  if (lock < 0 || pipe(ends) != 0) throw std::runtime_error("no pipe to other processes");
  std::vector<pid_t> workers;
  for (int i = 0; i < processes; ++i) {
    workers.push_back(fork());
    if (workers.back() < 0) throw std::runtime_error("no further process");
    if (workers.back() == 0) Work(counter, count, ends[1], lock, work);
  }
  close(ends[1]);
  std::vector<std::string> results(count);
  size_t finished = 0;
  // Not to the end of the pipe: a child that got away from a plugin may hold it open. A worker that
  // was killed at a result's half would leave a header that is none.
  for (Header header; finished < count && ReadAll(ends[0], &header, sizeof header);
       ++finished, done()) {
    if (header.index >= count) break;
    std::string& result = results[header.index];
    result.resize(header.size);
    if (!ReadAll(ends[0], result.data(), header.size)) break;
  }
  close(ends[0]);
  close(lock);
  for (const pid_t worker : workers) waitpid(worker, nullptr, 0);
  if (finished != count) throw std::runtime_error("a process was lost with its cases");
  return results;
}

}  // namespace check
