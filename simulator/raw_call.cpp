#include "simulator/raw_call.h"

namespace sim {
namespace {

/// What goes into a call and what is found after it. The assembly below knows the offsets.
struct CallRecord {
  void* function;         // 0
  uint32_t misalignment;  // 4
  uint32_t words[8];      // 8
  uint32_t frame;         // 40
  uint32_t stack;         // 44
  uint64_t result;        // 48
  uint32_t registers[5];  // 56: ebx, esi, edi, ebp, esp after the call
  uint16_t control;       // 76
  uint16_t controlAfter;  // 78
  uint32_t mxcsr;         // 80
  uint32_t mxcsrAfter;    // 84
  uint32_t mxcsrOutside;  // 88
  uint32_t flags;         // 92
  struct {
    uint32_t control, status, tags, rest[4];
  } x87;                   // 96
  uint32_t returnsNumber;  // 124
};
static_assert(offsetof(CallRecord, registers) == 56 && offsetof(CallRecord, x87) == 96 &&
              offsetof(CallRecord, returnsNumber) == 124);

constexpr uint32_t kSentinels[3] = {0x5EEDB0B0, 0x5EED5151, 0x5EEDD1D1};
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
  movl $16, %ecx
1:
  pushl %eax
  decl %ecx
  jnz 1b
  pushl 36(%eax)
  pushl 32(%eax)
  pushl 28(%eax)
  pushl 24(%eax)
  pushl 20(%eax)
  pushl 16(%eax)
  pushl 12(%eax)
  pushl 8(%eax)
  movl %ebp, 40(%eax)
  movl %esp, 44(%eax)
  stmxcsr 88(%eax)
  fldcw 76(%eax)
  ldmxcsr 80(%eax)
  movl $0x5EEDB0B0, %ebx
  movl $0x5EED5151, %esi
  movl $0x5EEDD1D1, %edi
  call *(%eax)
  movl 32(%esp), %ecx
  movl %eax, 48(%ecx)
  movl %edx, 52(%ecx)
  movl %ebx, 56(%ecx)
  movl %esi, 60(%ecx)
  movl %edi, 64(%ecx)
  movl %ebp, 68(%ecx)
  movl %esp, 72(%ecx)
  movl 44(%ecx), %esp
  pushfl
  popl 92(%ecx)
  cld
  fnstcw 78(%ecx)
  stmxcsr 84(%ecx)
  ldmxcsr 88(%ecx)
  cmpl $0, 124(%ecx)
  je 2f
  fstpl 48(%ecx)
2:
  fnstenv 96(%ecx)
  fninit
  movl 40(%ecx), %ebp
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
  require((record.x87.tags & 0xFFFF) == 0xFFFF, "an x87 register left in use");
  return broken;
}

}  // namespace

uint64_t RawCall::Run(void* function, const CallerHabits& habits, bool returnsNumber,
                      std::string& broken) {
  CallRecord record = {};
  record.function = function;
  record.misalignment = habits.misalignment;
  std::memcpy(record.words, words_.data(), sizeof record.words);
  record.control = habits.x87Control;
  record.mxcsr = habits.mxcsr;
  record.returnsNumber = returnsNumber ? 1 : 0;
  const ControlKeeper keeper;
  simCallStrictly(&record);
  broken = Broken(record);
  return record.result;
}

}  // namespace sim
