#include "simulator/raw_call.h"

#include <algorithm>

namespace sim {
namespace {

/// What goes into a call and what is found after it. The assembly below knows the offsets.
struct CallRecord {
  void* function;          // 0
  uint32_t misalignment;   // 4
  const uint32_t* words;   // 8
  uint32_t litter;         // 12
  int32_t litterBelow;     // 16: words below the call, as a negative number
  uint32_t returnsNumber;  // 20
  uint64_t result;         // 24
  uint32_t frame;          // 32
  uint32_t stack;          // 36
  uint16_t control;        // 40
  uint16_t controlAfter;   // 42
  uint32_t mxcsr;          // 44
  uint32_t mxcsrAfter;     // 48
  uint32_t mxcsrOutside;   // 52
  uint32_t flags;          // 56
  uint32_t registers[5];   // 60: ebx, esi, edi, ebp, esp after the call
  struct {
    uint32_t control, status, tags, rest[4];
  } x87;  // 80
};
static_assert(RawCall::kRoom == 64 && offsetof(CallRecord, result) == 24 &&
              offsetof(CallRecord, registers) == 60 && offsetof(CallRecord, x87) == 80);

constexpr uint32_t kSentinels[3] = {0x5EEDB0B0, 0x5EED5151, 0x5EEDD1D1};
constexpr int32_t kLitteredWords = 4096;
constexpr uint32_t kDirectionFlag = 0x400;
constexpr uint32_t kMxcsrControl = 0xFFC0;  // below it are the flags of what happened

/// After an exception of the host, nothing else puts the floating-point control back.
class ControlKeeper {
 public:
  ControlKeeper() { asm volatile("fnstcw %0\n\tstmxcsr %1" : "=m"(control_), "=m"(mxcsr_)); }
  ControlKeeper(const ControlKeeper&) = delete;
  ControlKeeper& operator=(const ControlKeeper&) = delete;
  ~ControlKeeper() { asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(control_), "m"(mxcsr_)); }

 private:
  uint16_t control_;
  uint32_t mxcsr_;
};

extern "C" void simCallStrictly(CallRecord* record);
// Above the arguments the record's address lies many times, so that it is found again even when the
// callee has taken its arguments off the stack.
asm(R"(
  .text
  .type simCallStrictly, @function
simCallStrictly:
  .cfi_startproc
  pushl %ebp
  .cfi_def_cfa_offset 8
  .cfi_offset 5, -8
  movl %esp, %ebp
  .cfi_def_cfa_register 5
  pushl %ebx
  .cfi_offset 3, -12
  pushl %esi
  .cfi_offset 6, -16
  pushl %edi
  .cfi_offset 7, -20
  movl 8(%ebp), %eax
  andl $-16, %esp
  subl 4(%eax), %esp
  movl $64, %ecx
1:
  pushl %eax
  decl %ecx
  jnz 1b
  movl 8(%eax), %edx
  movl $64, %ecx
2:
  pushl -4(%edx, %ecx, 4)
  decl %ecx
  jnz 2b
  movl 12(%eax), %edx
  movl 16(%eax), %ecx
  testl %ecx, %ecx
  jz 4f
3:
  movl %edx, (%esp, %ecx, 4)
  incl %ecx
  jnz 3b
4:
  movl %ebp, 32(%eax)
  movl %esp, 36(%eax)
  stmxcsr 52(%eax)
  fldcw 40(%eax)
  ldmxcsr 44(%eax)
  movl $0x5EEDB0B0, %ebx
  movl $0x5EED5151, %esi
  movl $0x5EEDD1D1, %edi
  call *(%eax)
  movl 256(%esp), %ecx
  movl %eax, 24(%ecx)
  movl %edx, 28(%ecx)
  movl %ebx, 60(%ecx)
  movl %esi, 64(%ecx)
  movl %edi, 68(%ecx)
  movl %ebp, 72(%ecx)
  movl %esp, 76(%ecx)
  movl 36(%ecx), %esp
  pushfl
  popl 56(%ecx)
  cld
  fnstcw 42(%ecx)
  stmxcsr 48(%ecx)
  ldmxcsr 52(%ecx)
  fnstenv 80(%ecx)
  cmpl $0, 20(%ecx)
  je 5f
  fstpl 24(%ecx)
5:
  fninit
  movl 32(%ecx), %ebp
  leal -12(%ebp), %esp
  popl %edi
  popl %esi
  popl %ebx
  popl %ebp
  .cfi_def_cfa 4, 4
  ret
  .cfi_endproc
  .size simCallStrictly, .-simCallStrictly
)");

/// How many x87 registers hold something: two bits for each are 3 when it is empty.
int RegistersInUse(uint32_t tags) {
  int count = 0;
  for (int i = 0; i < 8; ++i) count += (tags >> (2 * i) & 3) != 3;
  return count;
}

std::string Broken(const CallRecord& record) {
  std::string broken;
  const auto require = [&broken](bool kept, const char* what) {
    if (!kept) broken += (broken.empty() ? "" : ", ") + std::string(what);
  };
  require(record.registers[0] == kSentinels[0], "ebx");
  require(record.registers[1] == kSentinels[1], "esi");
  require(record.registers[2] == kSentinels[2], "edi");
  require(record.registers[3] == record.frame, "ebp");
  require(record.registers[4] == record.stack, "the stack pointer (not a cdecl function?)");
  require((record.flags & kDirectionFlag) == 0, "the direction flag");
  require(record.controlAfter == record.control, "the x87 control word");
  require(((record.mxcsrAfter ^ record.mxcsr) & kMxcsrControl) == 0, "the SSE control word");
  const int inUse = RegistersInUse(record.x87.tags);
  const int expected = record.returnsNumber != 0 ? 1 : 0;
  require(inUse >= expected, "the x87 stack, on which its number is not returned");
  require(inUse <= expected, "an x87 register left in use");
  return broken;
}

}  // namespace

uint64_t RawCall::Run(void* function, const CallerHabits& habits, bool returnsNumber,
                      std::string& broken) {
  CallRecord record = {};
  record.function = function;
  record.misalignment = habits.misalignment;
  std::fill(words_.begin() + static_cast<ptrdiff_t>(used_), words_.end(), habits.litter);
  record.words = words_.data();
  record.litter = habits.litter;
  record.litterBelow = habits.littersStack ? -kLitteredWords : 0;
  record.control = habits.x87Control;
  record.mxcsr = habits.mxcsr;
  record.returnsNumber = returnsNumber ? 1 : 0;
  const ControlKeeper keeper;
  simCallStrictly(&record);
  broken = Broken(record);
  return record.result;
}

}  // namespace sim
