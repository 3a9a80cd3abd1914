#include "check/workers.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>

namespace check {
namespace {

/// What goes before a result in its worker's pipe.
struct Header {
  uint32_t index;
  uint32_t size;
};

struct Worker {
  pid_t process;
  int pipe;
  std::string received = {};

  /// Reads what has come; false at the end.
  bool Read() {
    char bytes[65536];
    const ssize_t count = read(pipe, bytes, sizeof bytes);
    if (count > 0) received.append(bytes, static_cast<size_t>(count));
    return count > 0;
  }
  /// The next result that is complete.
  std::optional<std::pair<size_t, std::string>> Take() {
    Header header;
    if (received.size() < sizeof header) return std::nullopt;
    std::memcpy(&header, received.data(), sizeof header);
    if (received.size() - sizeof header < header.size) return std::nullopt;
    std::string result = received.substr(sizeof header, header.size);
    received.erase(0, sizeof header + header.size);
    return std::pair(size_t{header.index}, std::move(result));
  }
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

Worker Start(SharedCounter& counter, size_t count, const std::function<std::string(size_t)>& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe to another process");
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no further process");
  if (process > 0) {
    close(ends[1]);
    return {process, ends[0]};
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  try {
    for (uint32_t index; (index = counter.Next()) < count;) {
      const std::string result = work(index);
      const Header header{index, static_cast<uint32_t>(result.size())};
      WriteAll(ends[1], &header, sizeof header);
      WriteAll(ends[1], result.data(), result.size());
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
  std::vector<Worker> workers;
  for (int i = 0; i < processes; ++i) workers.push_back(Start(counter, count, work));
  std::vector<std::string> results(count);
  size_t finished = 0;
  while (!workers.empty()) {
    std::vector<pollfd> pipes;
    for (const Worker& worker : workers) pipes.push_back({worker.pipe, POLLIN, 0});
    poll(pipes.data(), pipes.size(), -1);
    for (size_t i = workers.size(); i-- > 0;) {
      if (pipes[i].revents == 0) continue;
      Worker& worker = workers[i];
      const bool more = worker.Read();
      while (auto result = worker.Take()) {
        results[result->first] = std::move(result->second);
        ++finished;
        done();
      }
      if (more) continue;
      close(worker.pipe);
      waitpid(worker.process, nullptr, 0);
      workers.erase(workers.begin() + static_cast<ptrdiff_t>(i));
    }
  }
  if (finished != count) throw std::runtime_error("a process was lost with its cases");
  return results;
}

}  // namespace check
