#include <dlfcn.h>

#include <cstdio>

#include "commands.h"
#include "failure.h"
#include "imagefile/server/exports.h"
#include "platform/registry.h"
#include "terminal_text.h"

namespace {

/// The library that this program works with.
std::string LibraryPath() {
  Dl_info library{};
  const bool found = ::dladdr(reinterpret_cast<void*>(&DllRegisterServer), &library) != 0;
  return found && library.dli_fname != nullptr ? library.dli_fname : "the image library";
}

} // namespace

int RunRegister(const RegisterOptions& options) {
  const std::string registry = RegistryPath();
  if (registry.empty()) {
    throw Failure("", "there is no place for the registry: neither HOME nor XDG_DATA_HOME names a folder", E_FAIL);
  }
  const HRESULT result = options.remove ? DllUnregisterServer() : DllRegisterServer();
  Check(result, registry);
  std::printf(options.remove ? "Other programs no longer find %s: it is taken out of %s.\n"
                             : "Other programs now find %s: it is registered in %s.\n",
              TerminalText(LibraryPath()).c_str(), TerminalText(registry).c_str());
  return 0;
}
