#include "imagefile/server/exports.h"

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "foundation/module.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/class_factories.h"
#include "imagefile/server/diagnostics.h"
#include "imagefile/server/registration.h"
#include "platform/class_objects.h"

// The version script of the library (exports.map) lists the exported functions as well.
#define IMAGEFILE_EXPORT __attribute__((visibility("default")))

namespace {

/// Registers the classes and record types of the library in the process while the library is loaded.
class LoadedModule {
public:
  LoadedModule() noexcept {
    RegisterTypeLibrary(SharedTypeLibrary());
    RegisterTypeLibrary(&m_typeLibrary);
    for (ProcessClass& entry : m_classes) {
      RegisterProcessClass(&entry);
    }
  }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;
  ~LoadedModule() {
    for (ProcessClass& entry : m_classes) {
      RevokeProcessClass(&entry);
    }
    RevokeTypeLibrary(&m_typeLibrary);
    RevokeTypeLibrary(SharedTypeLibrary());
  }

private:
  const Diagnostics m_diagnostics;
  TypeLibraryDescription m_typeLibrary{kComponentTypeLibrary, 1, 0, nullptr, 0, nullptr}; // It has no records.
  ProcessClass m_classes[4] = {
      {CLSID_ZSImageFile, kProgIdImageFile, GetClassFactory, nullptr},
      {CLSID_ZSImageFile, u"ZSImageFile.ZSImageFile.1", GetClassFactory, nullptr},
      {CLSID_ZSCueSheet, kProgIdCueSheet, GetClassFactory, nullptr},
      {CLSID_ZSCueSheet, u"ZSImageFile.ZSCueSheet.1", GetClassFactory, nullptr},
  };
};

LoadedModule g_module;

} // namespace

IMAGEFILE_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) noexcept {
  return GetClassFactory(clsid, iid, factory);
}

IMAGEFILE_EXPORT HRESULT DllCanUnloadNow() noexcept { return Module().LockCount() == 0 ? S_OK : S_FALSE; }

IMAGEFILE_EXPORT HRESULT DllRegisterServer() noexcept { return WriteRegistration(); }

IMAGEFILE_EXPORT HRESULT DllUnregisterServer() noexcept { return RemoveRegistration(); }
