#include "imagefile/server/class_factories.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <type_traits>

#include "cuesheet/cue_sheet.h"
#include "disc/record_descriptions.h"
#include "foundation/module.h"
#include "imagefile/image_file.h"
#include "imagefile/server/diagnostics.h"
#include "imagefile/server/registration.h"
#include "platform/class_objects.h"

namespace {

using CreateFunction = HRESULT (*)(IUnknown* outer, REFIID iid, void** object);

/// A factory lives with the library; each reference of a host keeps the library in memory, as an object does.
class ClassFactory final : public IClassFactory {
public:
  explicit ClassFactory(CreateFunction create) noexcept : m_create(create) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
    if (*object == nullptr) {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override {
    Module().Lock();
    return ++m_references;
  }
  ULONG Release() override {
    const ULONG left = --m_references;
    Module().Unlock();
    return left;
  }
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override { return m_create(outer, iid, object); }
  HRESULT LockServer(std::int32_t lock) override {
    if (lock != 0) {
      Module().Lock();
    } else {
      Module().Unlock();
    }
    return S_OK;
  }

private:
  CreateFunction m_create;
  std::atomic<ULONG> m_references{1}; ///< One is the table's own.
};
// A host may hold a factory in a global of its own, which goes after those of the library.
static_assert(std::is_trivially_destructible_v<ClassFactory>);

/// One row of the module's table of classes.
struct ClassEntry {
  CLSID clsid;
  CreateFunction create;
  std::optional<ClassFactory> factory; ///< Made at the first request.
};

struct ClassTable {
  std::mutex lock; ///< Guards the factories.
  ClassEntry entries[2] = {{CLSID_ZSImageFile, CreateImageFileService, std::nullopt},
                           {CLSID_ZSCueSheet, CreateCueSheetService, std::nullopt}};
};

ClassTable& Classes() noexcept {
  static ClassTable table;
  return table;
}

/// The library from its load to its unload. While it lives, this process finds the library's classes and record types
/// without registration.
class ModuleAttachment {
public:
  ModuleAttachment() noexcept {
    RegisterTypeLibrary(SharedTypeLibrary());
    RegisterTypeLibrary(&m_typeLibrary);
    for (ProcessClass& entry : m_classes) {
      RegisterProcessClass(&entry);
    }
  }
  ModuleAttachment(const ModuleAttachment&) = delete;
  ModuleAttachment& operator=(const ModuleAttachment&) = delete;
  ~ModuleAttachment() {
    for (ProcessClass& entry : m_classes) {
      RevokeProcessClass(&entry);
    }
    RevokeTypeLibrary(&m_typeLibrary);
    RevokeTypeLibrary(SharedTypeLibrary());
  }

private:
  const Diagnostics m_diagnostics;
  // The lists of the process run through these.
  TypeLibraryDescription m_typeLibrary{kComponentTypeLibrary, 1, 0, nullptr, 0, nullptr}; // It has no records.
  ProcessClass m_classes[4] = {
      {CLSID_ZSImageFile, kProgIdImageFile, GetClassFactory, nullptr},
      {CLSID_ZSImageFile, u"ZSImageFile.ZSImageFile.1", GetClassFactory, nullptr},
      {CLSID_ZSCueSheet, kProgIdCueSheet, GetClassFactory, nullptr},
      {CLSID_ZSCueSheet, u"ZSImageFile.ZSCueSheet.1", GetClassFactory, nullptr},
  };
};

ModuleAttachment attachment;

} // namespace

HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept {
  if (factory == nullptr) {
    return E_POINTER;
  }
  *factory = nullptr;
  ClassTable& classes = Classes();
  const std::lock_guard guard(classes.lock);
  for (ClassEntry& entry : classes.entries) {
    if (entry.clsid != clsid) {
      continue;
    }
    if (!entry.factory) {
      entry.factory.emplace(entry.create);
    }
    return entry.factory->QueryInterface(iid, factory);
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}
