// In a program with the C++ run-time library within: shows _Unwind_Resume to plugins, which call it
// when they have cleaned up behind a passing exception. The static library hides its own, so there
// it goes by another name (velpicture_standalone). A jump, since it looks at its caller's frame.
__asm__(
    ".text\n"
    ".globl _Unwind_Resume\n"
    ".type _Unwind_Resume, @function\n"
    "_Unwind_Resume: jmp velpicture_unwind_resume\n"
    ".size _Unwind_Resume, . - _Unwind_Resume\n"
    ".hidden velpicture_unwind_resume\n");
