/// @file
/// The factories of the classes that the library offers.
#pragma once

#include "platform/unknown.h"

/// Finds the factory of a class. Implements DllGetClassObject (imagefile/server/exports.h).
HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept;
