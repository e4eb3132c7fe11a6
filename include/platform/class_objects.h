/// @file
/// Objects by class: first the classes that the libraries of this process offer, then those of the registry, whose
/// libraries are loaded when they are needed.
///
/// Below `HKEY_CLASSES_ROOT` of the registry (platform/registry.h), `ProgID\CLSID` has a class's identifier, and
/// `CLSID\{identifier}\InprocServer32` the absolute path of its library, which exports `DllGetClassObject`.
#pragma once

#include "platform/unknown.h"

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1; ///< Objects in this process, the only ones that are offered.
inline constexpr DWORD CLSCTX_ALL = 23;          ///< Wherever they live; CLSCTX_INPROC_SERVER is among its bits.

/// Gives a class's factory, in the manner of a library's own entry point `DllGetClassObject`.
using GetClassObjectFunction = HRESULT (*)(REFCLSID clsid, REFIID iid, void** factory);

/// One class that a library of this process offers.
struct ProcessClass {
  CLSID clsid;                           ///< The class.
  const OLECHAR* progId;                 ///< Its name. One with a version suffix takes an entry of its own.
  GetClassObjectFunction getClassObject; ///< Gives its factory.
  ProcessClass* next;                    ///< Used by the platform layer; null before registration.
};

/// Makes a class known to this process until it is revoked. The entry must live that long.
void RegisterProcessClass(ProcessClass* entry) noexcept;
/// Takes a class back. Without effect for one that is not registered.
void RevokeProcessClass(ProcessClass* entry) noexcept;

extern "C" {

/// The class of a ProgID, compared without regard to case.
/// @return CO_E_CLASSSTRING when no class has that name, with `*clsid` cleared; REGDB_E_READREGDB when the registry
/// cannot be read; E_INVALIDARG for null; E_OUTOFMEMORY.
HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept;

/// Makes an object of a class. `context` must have CLSCTX_INPROC_SERVER set.
/// @return REGDB_E_CLASSNOTREG for an unknown class, E_POINTER for a null `object`; REGDB_E_READREGDB when the
/// registry cannot be read, CO_E_DLLNOTFOUND when the class's library does not load, CO_E_ERRORINDLL when it exports
/// no `DllGetClassObject`; E_OUTOFMEMORY; or what the factory returns.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept;

/// Unloads the libraries that CoCreateInstance loaded and whose `DllCanUnloadNow` answers 0. Other threads may make
/// objects meanwhile. None may still be inside the call that released the last object or factory of a library.
void CoFreeUnusedLibraries() noexcept;
}
