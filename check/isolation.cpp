#include "check/isolation.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "check/places.h"

namespace check {
namespace {

constexpr size_t kMostText = size_t{1} << 20;
constexpr int kTimeUp = SIGQUIT;
constexpr int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};

/// What parent and child both see. The child may end at any point, so what ended it is told here
/// and not by its exit status, which the plugin may have chosen.
struct Shared {
  enum { kRunning, kReturned, kFound } state;
  Kind kind;       ///< of what was found
  char when[768];  ///< what was going on
  char text[512];
  char place[256];
  size_t returnedSize;
  char returned[kMostText];
};

// Mapped once per process that runs others, with files for what its children print.
Shared* shared = nullptr;
pid_t mappedBy = 0;
bool isChild = false;
int printed[2];
off_t outputSeen = 0;

void Keep(char* to, size_t size, const std::string& text) {
  std::snprintf(to, size, "%s", text.c_str());
}

Shared& MapShared() {
  if (mappedBy == getpid()) return *shared;
  void* const map =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) throw std::runtime_error("no memory to share with a child process");
  for (int& file : printed) {
    file = memfd_create("printed", MFD_CLOEXEC);
    if (file < 0) throw std::runtime_error("no file for what a child process prints");
  }
  mappedBy = getpid();
  return *(shared = static_cast<Shared*>(map));
}

std::string SignalName(int number) {
  const char* const name = sigabbrev_np(number);
  return name == nullptr ? "signal " + std::to_string(number) : "SIG" + std::string(name);
}

std::string LastOfLog() {
  if (!sim::Host::Exists() || sim::Host::Current().log.lines.empty()) return "";
  return "after \"" + sim::Log::TextOf(sim::Host::Current().log.lines.back()) + "\"";
}

Finding CrashFinding(int number, const siginfo_t& signal, const ucontext_t& context) {
  const void *instruction = nullptr, *stack = nullptr;
#if defined(__i386__)
  instruction = reinterpret_cast<const void*>(context.uc_mcontext.gregs[REG_EIP]);
  stack = reinterpret_cast<const void*>(context.uc_mcontext.gregs[REG_ESP]);
#endif
  Finding finding{Kind::kCrash, SignalName(number), PlaceOnStack(instruction, stack)};
  // The kernel names no address where an instruction found its own misaligned.
  if (number == SIGSEGV && signal.si_code == SI_KERNEL && NeedsAlignment(instruction)) {
    finding.kind = Kind::kAlignment;
    finding.text = "needs a stack that is aligned to 16 bytes, and crashes where it is to 4";
    finding.level = LevelOf(finding.kind);
  }
  return finding;
}

std::string Joined(std::initializer_list<std::string> parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() || part.empty() ? "" : ", ") + part;
  return text;
}

/// "when malloc (call 2, at Sign.so+0x11d3) failed, after "call  …""
std::string WhatWasGoingOn() {
  const std::string fault =
      sim::Host::Exists() ? DescribeFault(sim::Host::Current(), "") : std::string();
  return Joined({fault, LastOfLog()});
}

void Tell(const Finding& finding, const std::string& details) {
  shared->kind = finding.kind;
  Keep(shared->text, sizeof shared->text, finding.text);
  Keep(shared->place, sizeof shared->place, finding.place);
  Keep(shared->when, sizeof shared->when, Joined({shared->when, details}));
  shared->state = Shared::kFound;
}

// A signal handler may do little of this. But the process is lost anyway, and should it hang now,
// its parent ends it.
void OnCrash(int number, siginfo_t* signal, void* context) {
  std::signal(number, SIG_DFL);
  const Finding finding = CrashFinding(number, *signal, *static_cast<ucontext_t*>(context));
  if (isChild) {
    Tell(finding, WhatWasGoingOn());
  } else {
    if (sim::Host::Exists()) sim::Host::Current().log.EndEchoedLine();
    std::fprintf(stderr, "%s\n",
                 Joined({finding.text, "at " + finding.place, WhatWasGoingOn()}).c_str());
  }
  raise(number);
}

void OnTimeUp(int, siginfo_t*, void* context) {
  Tell({Kind::kTimeOut, "does not come to its end",
        CrashFinding(0, {}, *static_cast<ucontext_t*>(context)).place},
       WhatWasGoingOn());
  _exit(0);
}

void OnMisuse(const sim::MisuseReport& report) {
  Tell({Kind::kMisuse, report.text,
        report.site != nullptr ? PlaceOfCall(report.site)
                               : PlaceOnStack(nullptr, __builtin_frame_address(0))},
       WhatWasGoingOn());
  _exit(0);
}

[[noreturn]] void RunChild(const std::function<std::string()>& work) {
  isChild = true;
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  dup2(nowhere, 0);
  close(nowhere);
  dup2(printed[0], 1);
  dup2(printed[1], 2);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  ExplainCrashes();
  sim::Host::onMisuse = OnMisuse;
  const std::string text = work();
  if (text.size() > kMostText) throw std::length_error("a case has too much to tell");
  std::memcpy(shared->returned, text.data(), text.size());
  shared->returnedSize = text.size();
  shared->state = Shared::kReturned;
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

/// The last line that a child wrote to standard error, with those that begin with a space after it.
std::string LastWords() {
  char bytes[4096];
  const off_t end = lseek(printed[1], 0, SEEK_END);
  const off_t start = std::max<off_t>(0, end - static_cast<off_t>(sizeof bytes));
  const ssize_t count = pread(printed[1], bytes, sizeof bytes, start);
  std::string text(bytes, static_cast<size_t>(std::max<ssize_t>(count, 0)));
  while (!text.empty() && text.back() == '\n') text.pop_back();
  size_t line = text.rfind('\n');
  while (line != std::string::npos && line + 1 < text.size() && text[line + 1] == ' ') {
    text[line] = ';';
    line = text.rfind('\n');
  }
  return line == std::string::npos ? text : text.substr(line + 1);
}

/// Nothing is told, nothing printed, and the signal of a child's end waits until it is asked for.
void PrepareForChild() {
  Shared& exchange = MapShared();
  exchange.state = Shared::kRunning;
  exchange.when[0] = exchange.text[0] = exchange.place[0] = '\0';
  for (const int file : printed) {
    if (ftruncate(file, 0) != 0) throw std::runtime_error("no file for what a case prints");
    lseek(file, 0, SEEK_SET);
  }
  sigset_t childEnded;
  sigemptyset(&childEnded);
  sigaddset(&childEnded, SIGCHLD);
  sigprocmask(SIG_BLOCK, &childEnded, nullptr);
}

/// The status of the child, which is ended when time is up.
int StatusOf(pid_t child, double seconds) {
  int status = 0;
  bool ended = WaitFor(child, seconds, status);
  if (!ended) {
    // It may still be able to say where it is.
    kill(child, kTimeUp);
    ended = WaitFor(child, 1, status);
  }
  // Whatever it started ends with it.
  kill(-child, SIGKILL);
  if (!ended) {
    waitpid(child, &status, 0);
    Tell({Kind::kTimeOut, "does not come to its end"}, "");
  }
  return status;
}

/// What ended a child that returned nothing.
Finding WhatEnded(int status) {
  Finding finding{shared->kind, shared->text, shared->place, shared->when};
  if (shared->state == Shared::kRunning) {
    // Ended by a signal without a handler, or by exit().
    finding.kind = WIFSIGNALED(status) ? Kind::kCrash : Kind::kExit;
    finding.text = WIFSIGNALED(status) ? SignalName(WTERMSIG(status)) : "ends the process";
  }
  finding.level = LevelOf(finding.kind);
  const std::string words = LastWords();
  if (!words.empty()) finding.text += " (\"" + words + "\")";
  return finding;
}

}  // namespace

Ending RunIsolated(const std::function<std::string()>& work, double seconds) {
  PrepareForChild();
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process for a case");
  if (child == 0) RunChild(work);
  const int status = StatusOf(child, seconds);
  if (shared->state != Shared::kReturned) return {false, "", WhatEnded(status)};
  return {true, {shared->returned, shared->returnedSize}, {}};
}

void Enter(const std::string& when) {
  if (isChild) Keep(shared->when, sizeof shared->when, when);
}

bool TakeOutput() {
  if (!isChild) return false;
  std::fflush(stdout);
  const off_t end = lseek(printed[0], 0, SEEK_END);
  return std::exchange(outputSeen, end) != end;
}

void ExplainCrashes() {
  // On a stack of their own, since the plugin's may be full.
  static char stackBytes[65536];
  const stack_t stack{stackBytes, 0, sizeof stackBytes};
  sigaltstack(&stack, nullptr);
  struct sigaction action = {};
  action.sa_sigaction = OnCrash;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  for (const int number : kCrashSignals) sigaction(number, &action, nullptr);
  action.sa_sigaction = OnTimeUp;
  if (isChild) sigaction(kTimeUp, &action, nullptr);
}

std::string DescribeFault(const sim::Host& host, const std::string& missing) {
  std::string text;
  if (const auto& struck = host.faults.struck()) {
    text = "when " + struck->name + " (call " + std::to_string(struck->number);
    if (struck->site != nullptr) text += ", at " + PlaceOfCall(struck->site);
    text += ") failed";
  }
  if (!missing.empty()) text += (text.empty() ? "without " : ", without ") + missing;
  return text;
}

}  // namespace check
