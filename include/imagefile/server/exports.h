/// @file
/// The entry points of the library. It exports nothing else.
#pragma once

#include "platform/unknown.h"

extern "C" {

/// Queries the factory of a class for an interface. Factories exist as long as the library.
/// @return E_POINTER for a null `factory`; CLASS_E_CLASSNOTAVAILABLE for an unknown class; E_NOINTERFACE.
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) noexcept;

/// Returns 0 if the library may be unloaded: no object exists, no host has a factory, and none has locked the library.
/// Otherwise 1.
HRESULT DllCanUnloadNow() noexcept;

/// Writes the library's classes and type libraries, with the path of the library, into the registry of the current user
/// (platform/registry.h), where other programs find them. The steps are the type library of the records, the two
/// classes, and the component's own type library. A failure of the first step is ignored.
/// @return The code of the first step that fails. The steps before it keep their entries.
HRESULT DllRegisterServer() noexcept;

/// Removes what DllRegisterServer wrote. Missing entries are no failure.
/// @return As DllRegisterServer.
HRESULT DllUnregisterServer() noexcept;
}
