#include "imagefile/server/exports.h"

#include "foundation/module.h"
#include "imagefile/server/class_factories.h"
#include "imagefile/server/registration.h"

// The version script of the library (exports.map) names these four as well.
#define IMAGEFILE_EXPORT __attribute__((visibility("default")))

IMAGEFILE_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) noexcept {
  return GetClassFactory(clsid, iid, factory);
}

IMAGEFILE_EXPORT HRESULT DllCanUnloadNow() noexcept { return Module().LockCount() == 0 ? S_OK : S_FALSE; }

IMAGEFILE_EXPORT HRESULT DllRegisterServer() noexcept { return WriteRegistration(); }

IMAGEFILE_EXPORT HRESULT DllUnregisterServer() noexcept { return RemoveRegistration(); }
