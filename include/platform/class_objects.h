/// @file
/// Creation of objects by class. A class is looked up among those that libraries of this process have registered, then
/// in the registry (platform/registry.h). A library that the registry names is loaded when its first class is used.
///
///     HKEY_CLASSES_ROOT\ProgID\CLSID                         Identifier of the class
///     HKEY_CLASSES_ROOT\CLSID\{identifier}\InprocServer32    Absolute path of its library
///
/// The library exports `DllGetClassObject`.
#pragma once

#include "platform/unknown.h"

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1; ///< Objects in this process. No others exist.
inline constexpr DWORD CLSCTX_ALL = 23;          ///< Objects in any process; includes CLSCTX_INPROC_SERVER.

/// Returns the factory of a class, as the entry point `DllGetClassObject` of a library does.
using GetClassObjectFunction = HRESULT (*)(REFCLSID clsid, REFIID iid, void** factory);

/// A class that a library of this process registers.
struct ProcessClass {
  CLSID clsid;                           ///< The class.
  const OLECHAR* progId;                 ///< Its name. A name with a version suffix needs an entry of its own.
  GetClassObjectFunction getClassObject; ///< Returns its factory.
  ProcessClass* next;                    ///< Used by the platform layer; null before registration.
};

/// Registers a class in this process. The entry must exist until it is revoked.
void RegisterProcessClass(ProcessClass* entry) noexcept;
/// Revokes a class. Does nothing for a class that is not registered.
void RevokeProcessClass(ProcessClass* entry) noexcept;

extern "C" {

/// Finds the class of a ProgID, without regard to case.
/// @return CO_E_CLASSSTRING, with `*clsid` cleared, if no class has that name; REGDB_E_READREGDB if the registry cannot
/// be read; E_INVALIDARG for null; E_OUTOFMEMORY.
HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept;

/// Creates an object of a class. `context` must include CLSCTX_INPROC_SERVER.
/// @return REGDB_E_CLASSNOTREG for an unknown class; E_POINTER if `object` is null; REGDB_E_READREGDB if the registry
/// cannot be read; CO_E_DLLNOTFOUND if the library of the class does not load; CO_E_ERRORINDLL if it does not export
/// `DllGetClassObject`; E_OUTOFMEMORY; otherwise the result of the factory.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept;

/// Unloads each library that CoCreateInstance has loaded and whose `DllCanUnloadNow` returns 0. Other threads may
/// create objects meanwhile. No thread may be inside the call that releases the last object or factory of a library.
void CoFreeUnusedLibraries() noexcept;
}
