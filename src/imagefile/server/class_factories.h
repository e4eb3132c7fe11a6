/// @file
/// The classes that the library offers, and their factories.
#pragma once

#include "platform/unknown.h"

/// The interface asked for on the factory of a class. A factory is made at the first request and lives as long as
/// the library. @return E_POINTER for a null `factory`, CLASS_E_CLASSNOTAVAILABLE for an unknown class.
HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept;
