#include "check/isolation.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include "simulator/host.h"

namespace check {
namespace {

constexpr size_t kMostText = size_t{1} << 20;
constexpr int kMisuseStatus = 97;
constexpr int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

/// What parent and child both see. The child may end at any point.
struct Shared {
  char phase[256];
  char details[1024];
  size_t textSize;
  char text[kMostText];
};

// Mapped once per process that runs others.
Shared* shared = nullptr;
pid_t mappedBy = 0;
bool isChild = false;

void Keep(char* to, size_t size, const std::string& text) {
  std::snprintf(to, size, "%s", text.c_str());
}

Shared& MapShared() {
  if (mappedBy == getpid()) return *shared;
  void* const map =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) throw std::runtime_error("no memory to share with a child process");
  mappedBy = getpid();
  return *(shared = static_cast<Shared*>(map));
}

std::string PlaceOf(const void* context) {
  uintptr_t place = 0, stack = 0;
#if defined(__i386__)
  const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
  place = static_cast<uintptr_t>(registers[REG_EIP]);
  stack = static_cast<uintptr_t>(registers[REG_ESP]);
#endif
  Dl_info where;
  if (dladdr(reinterpret_cast<void*>(place), &where) != 0) {
    return ", at " + sim::PlaceInLibrary(reinterpret_cast<void*>(place));
  }
  // A call of an address where no code is: the caller's is on the stack.
  void* caller = nullptr;
  std::memcpy(&caller, reinterpret_cast<void*>(stack), sizeof caller);
  return ", called from " + sim::PlaceInLibrary(caller);
}

std::string LastOfLog() {
  if (!sim::Host::Exists() || sim::Host::Current().log.lines.empty()) return "";
  return ", after \"" + sim::Log::TextOf(sim::Host::Current().log.lines.back()) + "\"";
}

// Little of this may be done in a signal handler; but the process is lost anyway, and should it not
// come to its end, the parent's time limit sees to it.
void OnCrash(int number, siginfo_t*, void* context) {
  std::signal(number, SIG_DFL);
  const std::string details = PlaceOf(context) + LastOfLog();
  if (isChild) {
    Keep(shared->details, sizeof shared->details, details);
  } else {
    std::fprintf(stderr, "%s%s\n", strsignal(number), details.c_str());
  }
  raise(number);
}

void OnMisuse(const sim::MisuseReport& report) {
  Keep(shared->details, sizeof shared->details, report.text + LastOfLog());
  _exit(kMisuseStatus);
}

[[noreturn]] void RunChild(const std::function<std::string()>& work) {
  isChild = true;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  ExplainCrashes();
  sim::Host::onMisuse = OnMisuse;
  const std::string text = work();
  if (text.size() > kMostText) _exit(1);
  std::memcpy(shared->text, text.data(), text.size());
  shared->textSize = text.size();
  _exit(0);
}

/// Waits until the child has ended; false when time is up.
bool WaitFor(pid_t child, double seconds, int& status) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  sigset_t childEnded;
  sigemptyset(&childEnded);
  sigaddset(&childEnded, SIGCHLD);
  while (waitpid(child, &status, WNOHANG) == 0) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(end - Clock::now());
    if (left.count() <= 0) return false;
    const timespec time{static_cast<time_t>(left.count() / 1'000'000'000),
                        static_cast<long>(left.count() % 1'000'000'000)};
    sigtimedwait(&childEnded, nullptr, &time);
  }
  return true;
}

std::string SignalName(int number) {
  const char* const name = sigabbrev_np(number);
  return name == nullptr ? "signal " + std::to_string(number) : "SIG" + std::string(name);
}

}  // namespace

Ending RunIsolated(const std::function<std::string()>& work, double seconds) {
  Shared& exchange = MapShared();
  exchange.phase[0] = exchange.details[0] = '\0';
  exchange.textSize = 0;
  // Blocked, the signal of a child's end waits until it is asked for.
  sigset_t childEnded;
  sigemptyset(&childEnded);
  sigaddset(&childEnded, SIGCHLD);
  sigprocmask(SIG_BLOCK, &childEnded, nullptr);
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process for a case");
  if (child == 0) RunChild(work);
  int status = 0;
  const std::string phase = " in ";
  if (!WaitFor(child, seconds, status)) {
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return {Ending::kTimedOut, "no end" + phase + exchange.phase};
  }
  if (WIFSIGNALED(status)) {
    return {Ending::kCrashed,
            SignalName(WTERMSIG(status)) + phase + exchange.phase + exchange.details};
  }
  if (WEXITSTATUS(status) == kMisuseStatus) {
    return {Ending::kMisuse, std::string(exchange.phase) + ": " + exchange.details};
  }
  if (WEXITSTATUS(status) != 0 || exchange.textSize == 0) {
    return {Ending::kCrashed, "the process was ended with status " +
                                  std::to_string(WEXITSTATUS(status)) + phase + exchange.phase};
  }
  return {Ending::kReturned, {exchange.text, exchange.textSize}};
}

void Enter(const std::string& phase) {
  if (isChild) Keep(shared->phase, sizeof shared->phase, phase);
}

void ExplainCrashes() {
  // A handler of its own stack, since there may be none left.
  static char stackBytes[65536];
  const stack_t stack{stackBytes, 0, sizeof stackBytes};
  sigaltstack(&stack, nullptr);
  struct sigaction action = {};
  action.sa_sigaction = OnCrash;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  for (const int number : kCrashSignals) sigaction(number, &action, nullptr);
}

}  // namespace check
