#include <dlfcn.h>

#include <filesystem>

#include <fmt/format.h>

#include "commands/commands.h"
#include "imagefile/server/exports.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/registry.h"

namespace {

std::string LibraryPath() {
  Dl_info library{};
  const bool isFound = ::dladdr(reinterpret_cast<void*>(&DllRegisterServer), &library) != 0;
  return isFound && library.dli_fname != nullptr ? library.dli_fname : "the image library";
}

/// Explains why the registry cannot be used: its path is a folder, or names a folder that cannot be created.
std::string ExplainUnusable(const std::string& registry, HRESULT result) {
  std::error_code error;
  std::filesystem::path missing = registry;
  if (std::filesystem::is_directory(missing, error)) {
    return "this is a folder; IMAGEFILE_REGISTRY must name a file";
  }
  while (missing.has_parent_path() && !std::filesystem::exists(missing.parent_path(), error)) {
    missing = missing.parent_path();
  }
  const bool exists = std::filesystem::exists(missing, error);
  return fmt::format("{}{}", exists ? "" : missing.string() + " cannot be created: ", MeaningOf(result).words);
}

/// Changes the registry. A lock file that this creates is removed if the change fails.
/// @param words Sentence to print after the change: a format of two texts, the library and the registry.
int ChangeRegistration(HRESULT (*change)(), const char* words) {
  const std::string registry = RegistryPath();
  FailIf(registry.empty(), "", E_FAIL, "there is no folder for the registry: neither HOME nor XDG_DATA_HOME is set");
  const std::string lock = registry + ".lock";
  std::error_code ignored;
  const bool hadLock = std::filesystem::exists(lock, ignored);
  const HRESULT result = change();
  if (result != S_OK && !hadLock) {
    std::filesystem::remove(lock, ignored);
  }
  Check(result, registry, ExplainUnusable(registry, result));
  Print(fmt::format(fmt::runtime(words), TerminalText(LibraryPath()), TerminalText(registry)));
  return 0;
}

} // namespace

void AddRegister(Command* tool) {
  Command& command = tool->Add("register", "Let other programs of this user find the image library");
  command.AddExamples({{"zsimage register", "Programs can now create its objects by class."}});
  command.OnRun(
      [] { return ChangeRegistration(DllRegisterServer, "Other programs now find {}: it is registered in {}.\n"); });
}

void AddUnregister(Command* tool) {
  Command& command = tool->Add("unregister", "Undo register");
  command.AddExamples({{"zsimage unregister", "Programs no longer find it."}});
  command.OnRun([] {
    return ChangeRegistration(DllUnregisterServer, "Other programs no longer find {}: it is removed from {}.\n");
  });
}
