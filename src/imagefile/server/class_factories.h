/// @file
/// The factories of the classes that the library offers.
#pragma once

#include "platform/unknown.h"

/// Finds the factory of a class. See DllGetClassObject (imagefile/server/exports.h), which is the same.
HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept;
