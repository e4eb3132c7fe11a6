#include "platform/loaded_libraries.h"

#include <dlfcn.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/never_destroyed.h"

namespace {

using CanUnloadFunction = HRESULT (*)();

struct CloseLibrary {
  void operator()(void* handle) const noexcept { ::dlclose(handle); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

template <class Function> Function FindFunction(const Library& library, const char* name) noexcept {
  return reinterpret_cast<Function>(::dlsym(library.get(), name));
}

bool IsUnused(const Library& library) noexcept {
  const auto canUnload = FindFunction<CanUnloadFunction>(library, "DllCanUnloadNow");
  return canUnload != nullptr && canUnload() == S_OK;
}

struct LibraryTable {
  std::mutex lock;
  std::vector<Library> libraries; ///< Without duplicates.
  int uses = 0;                   ///< Number of LibraryUse objects.
};

LibraryTable& Libraries() noexcept {
  static platform::NeverDestroyed<LibraryTable> table;
  return table.Get();
}

} // namespace

platform::LibraryUse::LibraryUse() noexcept {
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock);
  ++table.uses;
}

platform::LibraryUse::~LibraryUse() {
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock);
  --table.uses;
}

HRESULT platform::LoadClassLibrary(const std::string& path, GetClassObjectFunction* entry) {
  if (!path.starts_with('/')) {
    return CO_E_DLLNOTFOUND;
  }
  // Not under the lock, as a library runs code of its own while it is loaded.
  Library library(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library) {
    return CO_E_DLLNOTFOUND;
  }
  const auto getClassObject = FindFunction<GetClassObjectFunction>(library, "DllGetClassObject");
  if (getClassObject == nullptr) {
    return CO_E_ERRORINDLL;
  }
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock);
  if (std::find(table.libraries.begin(), table.libraries.end(), library) == table.libraries.end()) {
    table.libraries.push_back(std::move(library));
  }
  *entry = getClassObject;
  return S_OK;
}

void platform::FreeUnusedLibraries() noexcept {
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock); // Until they are unloaded, so that no class of theirs is found meanwhile.
  if (table.uses == 0) {
    std::erase_if(table.libraries, IsUnused);
  }
}
