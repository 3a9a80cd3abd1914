// Included ahead of every source file of the plugin. Its scopes clean up after exceptions that pass
// through, which takes two functions of the C++ run-time library; the plugin may not depend on that
// library. Weak references settle it: a process that throws C++ exceptions has the library, and its
// own copy serves; in a process that has none they stay null and are never called, since the
// unwinder skips frames whose personality is null. A copy linked into the plugin would not do: it
// would have to read the records of whatever version threw. The last two are what Clang names where
// an exception must not leave a function.
#pragma once

#if defined(__i386__) || defined(__x86_64__)
__asm__(
    ".weak __gxx_personality_v0\n"
    ".weak _Unwind_Resume\n"
    ".weak __cxa_begin_catch\n"
    ".weak _ZSt9terminatev\n");
#endif
