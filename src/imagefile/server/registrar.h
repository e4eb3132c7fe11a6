/// @file
/// The registrar: carries out registration scripts, in both directions.
///
/// A script names keys of the registry and what stands in them:
///
///     HKCR
///     {
///         NoRemove CLSID
///         {
///             ForceRemove {identifier} = s 'Text of the key'
///             {
///                 InprocServer32 = s '%MODULE%'
///                 {
///                     val ThreadingModel = s 'Apartment'
///                 }
///             }
///         }
///     }
///
/// At the top stand the roots `HKCR` and `HKCU`. Names and texts with blanks are put in single quotes; a quote inside
/// is doubled. `%NAME%` is replaced, in names as in texts, and `%%` is a percent sign. Texts (`s`) are the only type of
/// value.
///
/// Registering makes what is missing and sets the values; a `ForceRemove` key is emptied first. Unregistering removes
/// `ForceRemove` keys with all that stands in them, and other keys and values unless they are marked `NoRemove`; of the
/// other keys, those in which somebody else's keys stand are left.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/base_types.h"

enum class RegistrarMode { Register, Unregister };

/// What stands for each replaceable name.
using ScriptNames = std::map<std::string, std::string, std::less<>>;

/// Carries out a script as one change of the registry: all of it or, when it fails, nothing.
/// @return 0; E_INVALIDARG for a malformed script or an unknown replaceable name; else the system's error, as a result
/// code (platform/registry.h).
HRESULT RunRegistrationScript(std::string_view script, const ScriptNames& names, RegistrarMode mode) noexcept;
