#include "host/console_flags.h"

#include "host/versions.h"

using namespace velpicture;

namespace {

void FixFlags(uint32_t& flags) {
  if (!KnowsConsoleFlags()) return;
  if ((flags & kMarkConsoleSafe) != 0) flags |= kFlagConsoleSafe;
  if ((flags & kMarkConsoleOnly) != 0) flags |= kFlagConsoleOnly;
}

template <class Entry>
void FixList(Entry* entries, long count) {
  if (entries == nullptr) return;
  for (long i = 0; i < count; ++i) FixFlags(entries[i].flags);
}

}  // namespace

void FixConsoleFlags(REALmethodDefinition* method) { FixFlags(method->flags); }

void FixConsoleFlags(REALmethodDefinition* methods, long count) { FixList(methods, count); }

void FixConsoleFlags(REALclassDefinition* definition) {
  FixFlags(definition->flags);
  FixList(definition->methods, definition->methodCount);
  FixList(definition->sharedMethods, definition->sharedMethodCount);
  FixList(definition->members, definition->memberCount);
  FixList(definition->sharedMembers, definition->sharedMemberCount);
}

void FixConsoleFlags(REALmoduleDefinition* module) {
  FixList(module->methods, module->methodCount);
  FixList(module->members, module->memberCount);
}

void SetClassConsoleSafe(REALclassDefinition* definition) { definition->flags |= kFlagConsoleSafe; }

void SetClassWebOnly(REALclassDefinition* definition) {
  definition->flags &= ~(kFlagConsoleOnly | kFlagWebOnly);
  definition->flags |= kFlagWebOnly;
}
