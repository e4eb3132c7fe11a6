/// @file
/// Libraries that are loaded for the classes they offer.
#pragma once

#include <string>

#include "platform/class_objects.h"

namespace platform {

/// While it lives, FreeUnusedLibraries lets no library go.
class LibraryUse {
public:
  LibraryUse() noexcept;
  LibraryUse(const LibraryUse&) = delete;
  LibraryUse& operator=(const LibraryUse&) = delete;
  ~LibraryUse();
};

/// Loads a library, or finds it loaded, and gives its entry point `DllGetClassObject`. Called under a LibraryUse.
/// @param path Absolute: a name that is searched for could be another's library.
/// @return CO_E_DLLNOTFOUND, CO_E_ERRORINDLL. Throws std::bad_alloc.
HRESULT LoadClassLibrary(const std::string& path, GetClassObjectFunction* entry);

/// Lets go each library whose `DllCanUnloadNow` answers 0, unless an object is being made at this moment. Libraries
/// without that entry point stay.
void FreeUnusedLibraries() noexcept;

} // namespace platform
