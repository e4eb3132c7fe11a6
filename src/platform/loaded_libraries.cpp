#include "platform/loaded_libraries.h"

#include <dlfcn.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/never_destroyed.h"

namespace {

using CanUnloadFunction = HRESULT (*)();

/// Owns one count of a library's handle.
class Library {
public:
  explicit Library(void* handle) noexcept : m_handle(handle) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  Library(Library&& other) noexcept : m_handle(other.m_handle) { other.m_handle = nullptr; }
  Library& operator=(Library&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    return *this;
  }
  ~Library() {
    if (m_handle != nullptr) {
      ::dlclose(m_handle);
    }
  }

  void* Handle() const noexcept { return m_handle; }

  template <class Function> Function Entry(const char* name) const noexcept {
    return reinterpret_cast<Function>(::dlsym(m_handle, name));
  }

  bool IsUnused() const noexcept {
    const auto canUnload = Entry<CanUnloadFunction>("DllCanUnloadNow");
    return canUnload != nullptr && canUnload() == S_OK;
  }

private:
  void* m_handle;
};

struct LibraryTable {
  std::mutex lock;
  std::vector<Library> libraries; ///< Each one once.
  int uses = 0;                   ///< LibraryUse objects that live.
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
  if (path.empty() || path.front() != '/') {
    return CO_E_DLLNOTFOUND;
  }
  // Not under the lock: what the library does when it is loaded is its own affair.
  Library library(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (library.Handle() == nullptr) {
    return CO_E_DLLNOTFOUND;
  }
  const auto getClassObject = library.Entry<GetClassObjectFunction>("DllGetClassObject");
  if (getClassObject == nullptr) {
    return CO_E_ERRORINDLL;
  }
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock);
  const bool known = std::any_of(table.libraries.begin(), table.libraries.end(),
                                 [&](const Library& other) { return other.Handle() == library.Handle(); });
  if (!known) {
    table.libraries.push_back(std::move(library));
  }
  *entry = getClassObject;
  return S_OK;
}

void platform::FreeUnusedLibraries() noexcept {
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock); // Kept while they go, so that nobody finds a class of theirs meanwhile.
  if (table.uses == 0) {
    table.libraries.erase(std::remove_if(table.libraries.begin(), table.libraries.end(),
                                         [](const Library& library) { return library.IsUnused(); }),
                          table.libraries.end());
  }
}
