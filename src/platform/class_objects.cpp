#include "platform/class_objects.h"

#include <string_view>

#include "platform/guard.h"
#include "platform/loaded_libraries.h"
#include "platform/process_list.h"
#include "platform/registry.h"
#include "platform/text.h"

namespace {

/// The classes of the process.
platform::ProcessList<ProcessClass>& Classes() noexcept {
  static platform::ProcessList<ProcessClass> list;
  return list;
}

bool EqualNames(std::u16string_view left, std::u16string_view right) noexcept {
  if (left.size() != right.size()) {
    return false;
  }
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (UpperUnit(left[i]) != UpperUnit(right[i])) {
      return false;
    }
  }
  return true;
}

GetClassObjectFunction FindClass(REFCLSID clsid) noexcept {
  GetClassObjectFunction found = nullptr;
  Classes().With([&](const ProcessClass& entry) { return entry.clsid == clsid; },
                 [&](const ProcessClass& entry) { found = entry.getClassObject; });
  return found;
}

bool FindProgId(std::u16string_view progId, CLSID* clsid) noexcept {
  return Classes().With([&](const ProcessClass& entry) { return EqualNames(entry.progId, progId); },
                        [&](const ProcessClass& entry) { *clsid = entry.clsid; });
}

/// The text without a name of a key below HKEY_CLASSES_ROOT; empty when there is none.
HRESULT RegisteredText(const std::string& path, std::string* text) {
  RegistryKey registry;
  if (ReadRegistry(&registry) != 0) {
    return REGDB_E_READREGDB;
  }
  const RegistryKey* key = registry.Find("HKEY_CLASSES_ROOT\\" + path);
  *text = key == nullptr ? std::string() : key->Text("");
  return S_OK;
}

HRESULT RegisteredClass(const std::string& progId, CLSID* clsid) {
  std::string identifier;
  const HRESULT result = RegisteredText(progId + "\\CLSID", &identifier);
  if (FAILED(result)) {
    return result;
  }
  return GUIDFromString(identifier, clsid) ? S_OK : CO_E_CLASSSTRING;
}

HRESULT LoadRegisteredClass(REFCLSID clsid, GetClassObjectFunction* getClassObject) {
  std::string library;
  const HRESULT result = RegisteredText("CLSID\\" + StringFromGUID(clsid) + "\\InprocServer32", &library);
  if (FAILED(result)) {
    return result;
  }
  return library.empty() ? REGDB_E_CLASSNOTREG : platform::LoadClassLibrary(library, getClassObject);
}

} // namespace

void RegisterProcessClass(ProcessClass* entry) noexcept { Classes().Add(entry); }
void RevokeProcessClass(ProcessClass* entry) noexcept { Classes().Remove(entry); }

HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept {
  if (progId == nullptr || clsid == nullptr) {
    return E_INVALIDARG;
  }
  *clsid = CLSID{};
  if (FindProgId(progId, clsid)) {
    return S_OK;
  }
  return Guarded([&] {
    const std::string name = WideCharToMultiByte(progId);
    return name.empty() || name.find('\\') != std::string::npos ? CO_E_CLASSSTRING : RegisteredClass(name, clsid);
  });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept {
  if (object == nullptr) {
    return E_POINTER;
  }
  *object = nullptr;
  if ((context & CLSCTX_INPROC_SERVER) == 0) {
    return REGDB_E_CLASSNOTREG;
  }
  const platform::LibraryUse use; // Its factory may not go before there is an object.
  GetClassObjectFunction getClassObject = FindClass(clsid);
  if (getClassObject == nullptr) {
    const HRESULT result = Guarded([&] { return LoadRegisteredClass(clsid, &getClassObject); });
    if (FAILED(result)) {
      return result;
    }
  }
  ComPtr<IClassFactory> factory;
  const HRESULT result = getClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid());
  return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
}

void CoFreeUnusedLibraries() noexcept { platform::FreeUnusedLibraries(); }
