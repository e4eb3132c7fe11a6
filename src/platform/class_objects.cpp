#include "platform/class_objects.h"

#include <dlfcn.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "platform/guard.h"
#include "platform/never_destroyed.h"
#include "platform/process_list.h"
#include "platform/registry.h"
#include "platform/text.h"

namespace {

constinit platform::ProcessList<ProcessClass> g_classes;

bool EqualNames(std::u16string_view left, std::u16string_view right) noexcept {
  return std::ranges::equal(left, right, {}, UpperUnit, UpperUnit);
}

/// Closes a handle of dlopen.
struct CloseLibrary {
  void operator()(void* handle) const noexcept { ::dlclose(handle); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

template <class Function> Function FindFunction(const Library& library, const char* name) noexcept {
  return reinterpret_cast<Function>(::dlsym(library.get(), name));
}

bool IsUnused(const Library& library) noexcept {
  const auto canUnload = FindFunction<HRESULT (*)()>(library, "DllCanUnloadNow");
  return canUnload != nullptr && canUnload() == S_OK;
}

/// The libraries that were loaded for their classes, which stay loaded while they are in the table.
struct LibraryTable {
  std::mutex lock;
  std::vector<Library> libraries; ///< Without duplicates.
  int uses = 0;                   ///< Number of LibraryUse objects.
};

LibraryTable& Libraries() noexcept {
  static platform::NeverDestroyed<LibraryTable> table;
  return table.Get();
}

/// Keeps all class libraries loaded while it exists. Without it, another thread could unload a library after it was
/// loaded and before its first object exists.
class LibraryUse {
public:
  LibraryUse() noexcept { Add(1); }
  LibraryUse(const LibraryUse&) = delete;
  LibraryUse& operator=(const LibraryUse&) = delete;
  ~LibraryUse() { Add(-1); }

private:
  static void Add(int count) noexcept {
    const std::lock_guard guard(Libraries().lock);
    Libraries().uses += count;
  }
};

/// Loads a library, unless it is loaded, and returns its entry point.
/// @param path Absolute path: the dynamic linker could find another library for a name.
HRESULT LoadClassLibrary(const std::string& path, GetClassObjectFunction* getClassObject) {
  if (!path.starts_with('/')) {
    return CO_E_DLLNOTFOUND;
  }
  // Not under the lock, because loading a library runs its static constructors, which may create objects.
  Library library(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library) {
    return CO_E_DLLNOTFOUND;
  }
  const auto function = FindFunction<GetClassObjectFunction>(library, "DllGetClassObject");
  if (function == nullptr) {
    return CO_E_ERRORINDLL;
  }
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock);
  if (std::ranges::find(table.libraries, library) == table.libraries.end()) {
    table.libraries.push_back(std::move(library));
  }
  *getClassObject = function;
  return S_OK;
}

/// Reads the value without a name of a key below HKEY_CLASSES_ROOT. `*text` is empty if there is no such value.
HRESULT ReadClassValue(const std::string& path, std::string* text) {
  RegistryKey registry;
  if (ReadRegistry(&registry) != 0) {
    return REGDB_E_READREGDB;
  }
  RegistryKey* key = registry.Find("HKEY_CLASSES_ROOT\\" + path);
  *text = key == nullptr ? std::string() : key->Text("");
  return S_OK;
}

HRESULT FindRegisteredClass(const std::string& progId, CLSID* clsid) {
  std::string identifier;
  const HRESULT result = ReadClassValue(progId + "\\CLSID", &identifier);
  if (FAILED(result)) {
    return result;
  }
  return GUIDFromString(identifier, clsid) ? S_OK : CO_E_CLASSSTRING;
}

HRESULT LoadRegisteredClass(REFCLSID clsid, GetClassObjectFunction* getClassObject) {
  std::string library;
  const HRESULT result = ReadClassValue("CLSID\\" + StringFromGUID(clsid) + "\\InprocServer32", &library);
  if (FAILED(result)) {
    return result;
  }
  return library.empty() ? REGDB_E_CLASSNOTREG : LoadClassLibrary(library, getClassObject);
}

} // namespace

void RegisterProcessClass(ProcessClass* entry) noexcept { g_classes.Add(entry); }
void RevokeProcessClass(ProcessClass* entry) noexcept { g_classes.Remove(entry); }

HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept {
  if (progId == nullptr || clsid == nullptr) {
    return E_INVALIDARG;
  }
  *clsid = CLSID{};
  ProcessClass found{};
  if (g_classes.Find([&](const ProcessClass& entry) { return EqualNames(entry.progId, progId); }, &found)) {
    *clsid = found.clsid;
    return S_OK;
  }
  return Guarded([&] {
    const std::string name = WideCharToMultiByte(progId);
    return name.empty() || name.find('\\') != std::string::npos ? CO_E_CLASSSTRING : FindRegisteredClass(name, clsid);
  });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept {
  if (object == nullptr) {
    return E_POINTER;
  }
  *object = nullptr;
  if ((context & CLSCTX_INPROC_SERVER) == 0) {
    return REGDB_E_CLASSNOTREG;
  }
  const LibraryUse use;
  ProcessClass found{};
  HRESULT result = S_OK;
  if (!g_classes.Find([&](const ProcessClass& entry) { return entry.clsid == clsid; }, &found)) {
    result = Guarded([&] { return LoadRegisteredClass(clsid, &found.getClassObject); });
  }
  ComPtr<IClassFactory> factory;
  if (SUCCEEDED(result)) {
    result = found.getClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid());
  }
  return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
}

void CoFreeUnusedLibraries() noexcept {
  LibraryTable& table = Libraries();
  const std::lock_guard guard(table.lock); // Held to the end: a new LibraryUse waits.
  if (table.uses == 0) {
    std::erase_if(table.libraries, IsUnused);
  }
}
