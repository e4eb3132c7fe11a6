/// @file
/// Objects by class: the classes that the libraries of this process offer.
#pragma once

#include "platform/unknown.h"

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;
inline constexpr DWORD CLSCTX_ALL = 23;

/// Gives a class's factory, in the manner of a library's own entry point `DllGetClassObject`.
using GetClassObjectFunction = HRESULT (*)(REFCLSID clsid, REFIID iid, void** factory);

/// One class that a library of this process offers.
struct ProcessClass {
  CLSID clsid;
  const OLECHAR* progId; ///< Without version suffix.
  GetClassObjectFunction getClassObject;
  ProcessClass* next; ///< Used by the platform layer; null before registration.
};

/// Makes a class known to this process until it is revoked. The entry must live that long.
void RegisterProcessClass(ProcessClass* entry) noexcept;
void RevokeProcessClass(ProcessClass* entry) noexcept;

extern "C" {

/// The class of a ProgID, compared without regard to case.
/// @return CO_E_CLASSSTRING when no class has that name, with `*clsid` cleared; E_INVALIDARG for null.
HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept;

/// Makes an object of a class. `context` must have CLSCTX_INPROC_SERVER set.
/// @return REGDB_E_CLASSNOTREG for an unknown class, E_POINTER for a null `object`, or the factory's answer.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept;
}
