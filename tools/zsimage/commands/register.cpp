#include <dlfcn.h>

#include <filesystem>

#include "commands/commands.h"
#include "imagefile/server/exports.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/registry.h"

namespace {

/// The library that this program works with.
std::string LibraryPath() {
  Dl_info library{};
  const bool found = ::dladdr(reinterpret_cast<void*>(&DllRegisterServer), &library) != 0;
  return found && library.dli_fname != nullptr ? library.dli_fname : "the image library";
}

/// What is in the way of the registry: a folder, or the first of its folders that cannot be created.
std::string WhyUnusable(const std::string& registry, HRESULT result) {
  std::error_code error;
  std::filesystem::path missing = registry;
  if (std::filesystem::is_directory(missing, error)) {
    return "this is a folder; IMAGEFILE_REGISTRY must name a file";
  }
  while (missing.has_parent_path() && !std::filesystem::exists(missing.parent_path(), error)) {
    missing = missing.parent_path();
  }
  return std::string(std::filesystem::exists(missing, error) ? "" : missing.string() + " cannot be created: ")
      .append(CodeWords(result));
}

} // namespace

int RunRegister(const RegisterOptions& options) {
  const std::string registry = RegistryPath();
  if (registry.empty()) {
    throw Failure("", "there is no place for the registry: neither HOME nor XDG_DATA_HOME names a folder", E_FAIL);
  }
  const std::string lock = registry + ".lock";
  std::error_code ignored;
  const bool hadLock = std::filesystem::exists(lock, ignored);
  const HRESULT result = options.remove ? DllUnregisterServer() : DllRegisterServer();
  if (result != S_OK && !hadLock) {
    std::filesystem::remove(lock, ignored);
  }
  Check(result, registry, WhyUnusable(registry, result));
  Print("Other programs " + std::string(options.remove ? "no longer find " : "now find ") +
        TerminalText(LibraryPath()) + (options.remove ? ": it is taken out of " : ": it is registered in ") +
        TerminalText(registry) + ".\n");
  return 0;
}
