#include "imagefile/server/registration.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <memory>

#include "disc/record_descriptions.h"
#include "imagefile/server/class_factories.h"
#include "imagefile/server/scripts.h"
#include "platform/guard.h"
#include "platform/system_calls.h"

namespace {

constexpr const char* kPlatform = sizeof(void*) == 8 ? "posix64" : "posix32";

struct FreeText {
  void operator()(char* text) const noexcept { ::free(text); }
};

/// The absolute form of a folder. Links in a path that is absolute already stay: they may outlive what they lead to.
HRESULT MakeAbsolute(std::string* folder) {
  if (!folder->empty() && folder->front() == '/') {
    return S_OK;
  }
  const std::unique_ptr<char, FreeText> absolute(::realpath(("./" + *folder).c_str(), nullptr));
  if (!absolute) {
    platform::KeepSystemError();
    return HRESULT_FROM_WIN32(static_cast<std::int32_t>(GetLastError()));
  }
  *folder = absolute.get();
  return S_OK;
}

/// Where this library lies, as it was loaded.
HRESULT LocateModule(ScriptNames* names) {
  Dl_info module{};
  if (::dladdr(reinterpret_cast<void*>(&RunRegistration), &module) == 0 || module.dli_fname == nullptr) {
    return E_UNEXPECTED;
  }
  const std::string path = module.dli_fname;
  const std::size_t slash = path.rfind('/');
  const bool bare = slash == std::string::npos;
  std::string folder = bare ? std::string() : path.substr(0, slash + 1);
  const HRESULT result = MakeAbsolute(&folder);
  if (FAILED(result)) {
    return result;
  }
  if (folder.size() > 1 && folder.back() == '/') {
    folder.pop_back();
  }
  (*names)["MODULE"] = (folder == "/" ? folder : folder + '/') + (bare ? path : path.substr(slash + 1));
  (*names)["FOLDER"] = folder;
  return S_OK;
}

/// One type library: `resource` is its number among those of this library.
HRESULT RunTypeLibrary(ScriptNames names, REFGUID library, const char* name, const char* resource, RegistrarMode mode) {
  names["LIBRARY"] = StringFromGUID(library);
  names["NAME"] = name;
  names["RESOURCE"] = resource;
  names["PLATFORM"] = kPlatform;
  return RunRegistrationScript(kTypeLibraryScript, names, mode);
}

} // namespace

HRESULT RunRegistration(RegistrarMode mode) noexcept {
  return Guarded([&] {
    ScriptNames names;
    const HRESULT located = LocateModule(&names);
    if (FAILED(located)) {
      return located;
    }
    RunTypeLibrary(names, kSharedTypeLibrary, "zs.tlb", "2", mode);
    for (const std::string_view script : {kImageFileScript, kCueSheetScript}) {
      const HRESULT result = RunRegistrationScript(script, names, mode);
      if (FAILED(result)) {
        return result;
      }
    }
    return RunTypeLibrary(names, kComponentTypeLibrary, "Zentora ImageFile", "1", mode);
  });
}
