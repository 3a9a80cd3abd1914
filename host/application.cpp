#include "host/application.h"

#include "host/host_calls.h"

bool IsConsole = false;
bool IsDesktop = false;

void CheckApplication() {
  const auto* const desktop = REALGetClassRef("Application");
  const auto* const web = REALGetClassRef("WebApplication");
  const auto* const console = REALGetClassRef("ConsoleApplication");
  if (desktop != nullptr) {
    IsDesktop = true;
  } else if (console != nullptr || web != nullptr) {
    IsConsole = true;
  }
}
