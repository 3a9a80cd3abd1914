#pragma once

namespace velpicture {

/// Ends a destructor that must leave `object` empty. A compiler may drop stores to an object whose
/// life is over, and does; this makes it believe that somebody still reads them.
inline void KeepStores(void* object) { asm volatile("" : : "r"(object) : "memory"); }

}  // namespace velpicture
