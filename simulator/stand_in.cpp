// Takes the place of recorder.cpp and import_hooks.cpp in the 64-bit stand-in for timing, which has
// neither: both read what only 32-bit code leaves behind, and no measurement needs them.

#include "simulator/entry_table.h"
#include "simulator/import_hooks.h"

namespace sim {

void* RecorderAddress(std::string_view) { Host::Current().Misuse("no recorders in 64 bits"); }

ImportHooks::ImportHooks(void*) { Host::Current().Misuse("no import hooks in 64 bits"); }

}  // namespace sim
