#include "text/diagnostics.h"

#include <cstdio>
#include <ctime>

#include "host/host_calls.h"
#include "host/host_references.h"
#include "host/shared_entries.h"
#include "text/builders.h"
#include "text/rb_text.h"

using velpicture::HostReference;
using velpicture::StringReference;

namespace {

REALobjectStruct* NewException(const char* className) {
  REALobjectStruct* const exception = REALnewInstance(className);
  return exception != nullptr ? exception : REALnewInstance("NilObjectException");
}

}  // namespace

void RaiseException(const char* className, const char* message) {
  HostReference<REALobjectStruct> exception(NewException(className));
  if (!exception) return;
  const StringReference text(CString2RBmax(message, kEncodingAscii, 0));
  REALobjectStruct* const raised = exception.get();
  // Raising passes the instance on to the host, which looks at its message only later; a host that
  // cannot raise leaves it with us.
  if (const auto raise = velpicture::raiseExceptionEntry.Address()) raise(exception.Release());
  REALSetPropValue(raised, "Message", text.get());
}

void DebugLog(REALstringStruct* string) {
  rbText text(string);
  const int length = text.LengthUTF8();
  // Bounded by its length: text that is read in place need not be terminated.
  std::fprintf(stderr, "%.*s\n", length, text.GetUTF8());
  std::fflush(stderr);
}

unsigned long TickCount() { return static_cast<unsigned long>(std::time(nullptr)) * 60; }
