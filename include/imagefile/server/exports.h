/// @file
/// The entry points of the library, and all that it exports.
#pragma once

#include "platform/unknown.h"

extern "C" {

/// The interface asked for on the factory of a class. A factory is made at the first request and lives as long as the
/// library. @return E_POINTER for a null `factory`; CLASS_E_CLASSNOTAVAILABLE, E_NOINTERFACE.
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** factory) noexcept;

/// Whether the library may be unloaded: 0 when no object lives, no host holds a factory and none has locked the
/// library, else 1.
HRESULT DllCanUnloadNow() noexcept;

/// Writes the library's classes and type libraries into the registry of the current user (platform/registry.h), so
/// that other programs find them. The path written is the one that the library was loaded from.
/// @return The code of the first step that fails; what went before it stays.
HRESULT DllRegisterServer() noexcept;

/// Removes what DllRegisterServer wrote. Nothing to remove is no failure.
/// @return The code of the first step that fails; what went before it stays.
HRESULT DllUnregisterServer() noexcept;
}
