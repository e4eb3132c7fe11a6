#include "imagefile/server/registration.h"

#include <dlfcn.h>

#include <filesystem>
#include <vector>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "platform/guard.h"
#include "platform/last_error.h"
#include "platform/registry.h"

namespace {

constexpr const char* kPlatform = sizeof(void*) == 8 ? "posix64" : "posix32";

/// One value of a key.
struct Entry {
  std::string key;   ///< Path below HKEY_CLASSES_ROOT.
  std::string value; ///< Name of the value; empty for the value without a name.
  std::string text;  ///< If empty, the key is created without a value.
};

/// Entries that are written or removed in one change of the registry.
struct Table {
  std::string ownKey;         ///< Key of this library alone. Replaced, and removed, with all keys below it.
  std::vector<Entry> entries; ///< A key precedes the keys below it. Keys outside of `ownKey` may be shared.
};

Table ClassTable(const std::string& name, REFCLSID clsid, const std::string& description, const std::string& module) {
  const std::string id = StringFromGUID(clsid);
  const std::string key = "CLSID\\" + id;
  const std::string versioned = name + ".1";
  return {key,
          {{versioned, "", description},
           {versioned + "\\CLSID", "", id},
           {name, "", description},
           {name + "\\CLSID", "", id},
           {name + "\\CurVer", "", versioned},
           {key, "", description},
           {key + "\\ProgID", "", versioned},
           {key + "\\VersionIndependentProgID", "", name},
           {key + "\\Programmable", "", ""},
           {key + "\\InprocServer32", "", module},
           {key + "\\InprocServer32", "ThreadingModel", "Apartment"},
           {key + "\\TypeLib", "", StringFromGUID(kComponentTypeLibrary)}}};
}

/// @param number Number of the type library in the file of this library.
Table TypeLibraryTable(const std::string& name, REFGUID library, const std::string& number,
                       const std::filesystem::path& module) {
  const std::string key = "TypeLib\\" + StringFromGUID(library);
  const std::string version = key + "\\1.0";
  return {version,
          {{key, "", ""},
           {version, "", name},
           {version + "\\0\\" + kPlatform, "", module.string() + '\\' + number},
           {version + "\\FLAGS", "", "0"},
           {version + "\\HELPDIR", "", module.parent_path().string()}}};
}

/// Removes a key with all keys below it.
void RemoveKey(const std::string& path, RegistryKey* root) {
  const std::size_t separator = path.rfind('\\');
  RegistryKey* parent = separator == std::string::npos ? root : root->Find(path.substr(0, separator));
  if (parent != nullptr) {
    parent->Remove(path.substr(separator + 1)); // The whole path if there is no separator: npos + 1 is 0.
  }
}

void WriteTable(const Table& table, RegistryKey* root) {
  RemoveKey(table.ownKey, root);
  for (const Entry& entry : table.entries) {
    RegistryKey* key = root->Create(entry.key);
    if (!entry.text.empty()) {
      key->SetText(entry.value, entry.text);
    }
  }
}

/// Removes the keys of a table, except keys with keys of other programs below them.
void RemoveTable(const Table& table, RegistryKey* root) {
  RemoveKey(table.ownKey, root);
  for (auto entry = table.entries.rbegin(); entry != table.entries.rend(); ++entry) {
    const RegistryKey* key = root->Find(entry->key);
    if (key != nullptr && key->keys.empty()) {
      RemoveKey(entry->key, root);
    }
  }
}

using TableChange = void (*)(const Table& table, RegistryKey* root);

HRESULT ChangeTable(const Table& table, TableChange change) noexcept {
  return Guarded([&] {
    const DWORD error = ChangeRegistry([&](RegistryKey* registry) -> DWORD {
      change(table, registry->Create("HKEY_CLASSES_ROOT"));
      return ERROR_SUCCESS;
    });
    return HRESULT_FROM_WIN32(static_cast<std::int32_t>(error));
  });
}

/// Finds the absolute path of this library. Links in an absolute path are not resolved, because their targets may
/// change.
HRESULT LocateModule(std::filesystem::path* module) {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&WriteRegistration), &info) == 0 || info.dli_fname == nullptr) {
    return E_UNEXPECTED;
  }
  *module = info.dli_fname;
  if (module->is_absolute()) {
    return S_OK;
  }
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::canonical("." / module->parent_path(), error);
  if (error) {
    return HRESULT_FROM_WIN32(static_cast<std::int32_t>(platform::SystemError(error.value())));
  }
  *module = folder / module->filename();
  return S_OK;
}

HRESULT ChangeTables(TableChange change) noexcept {
  return Guarded([&] {
    std::filesystem::path module;
    HRESULT result = LocateModule(&module);
    if (FAILED(result)) {
      return result;
    }
    ChangeTable(TypeLibraryTable("zs.tlb", kSharedTypeLibrary, "2", module), change);
    const Table tables[] = {
        ClassTable("ZSImageFile.ZSImageFile", CLSID_ZSImageFile, "Zentora Scribe ImageFile Class", module),
        ClassTable("ZSImageFile.ZSCueSheet", CLSID_ZSCueSheet, "Zentora Scribe CueSheet Class", module),
        TypeLibraryTable("Zentora ImageFile", kComponentTypeLibrary, "1", module)};
    for (const Table& table : tables) {
      result = ChangeTable(table, change);
      if (FAILED(result)) {
        return result;
      }
    }
    return S_OK;
  });
}

} // namespace

HRESULT WriteRegistration() noexcept { return ChangeTables(WriteTable); }

HRESULT RemoveRegistration() noexcept { return ChangeTables(RemoveTable); }
