#include "platform/class_objects.h"

#include <algorithm>
#include <string_view>

#include "platform/guard.h"
#include "platform/loaded_libraries.h"
#include "platform/process_list.h"
#include "platform/registry.h"
#include "platform/text.h"

namespace {

constinit platform::ProcessList<ProcessClass> g_classes;

bool EqualNames(std::u16string_view left, std::u16string_view right) noexcept {
  return std::ranges::equal(left, right, {}, UpperUnit, UpperUnit);
}

/// Reads the value without a name of a key below HKEY_CLASSES_ROOT; empty if there is none.
HRESULT ReadClassValue(const std::string& path, std::string* text) {
  RegistryKey registry;
  if (ReadRegistry(&registry) != 0) {
    return REGDB_E_READREGDB;
  }
  RegistryKey* key = registry.Find("HKEY_CLASSES_ROOT\\" + path);
  *text = key == nullptr ? std::string() : key->Text("");
  return S_OK;
}

HRESULT FindRegisteredClass(const std::string& progId, CLSID* clsid) {
  std::string identifier;
  const HRESULT result = ReadClassValue(progId + "\\CLSID", &identifier);
  if (FAILED(result)) {
    return result;
  }
  return GUIDFromString(identifier, clsid) ? S_OK : CO_E_CLASSSTRING;
}

HRESULT LoadRegisteredClass(REFCLSID clsid, GetClassObjectFunction* getClassObject) {
  std::string library;
  const HRESULT result = ReadClassValue("CLSID\\" + StringFromGUID(clsid) + "\\InprocServer32", &library);
  if (FAILED(result)) {
    return result;
  }
  return library.empty() ? REGDB_E_CLASSNOTREG : platform::LoadClassLibrary(library, getClassObject);
}

} // namespace

void RegisterProcessClass(ProcessClass* entry) noexcept { g_classes.Add(entry); }
void RevokeProcessClass(ProcessClass* entry) noexcept { g_classes.Remove(entry); }

HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept {
  if (progId == nullptr || clsid == nullptr) {
    return E_INVALIDARG;
  }
  *clsid = CLSID{};
  ProcessClass found{};
  if (g_classes.Find([&](const ProcessClass& entry) { return EqualNames(entry.progId, progId); }, &found)) {
    *clsid = found.clsid;
    return S_OK;
  }
  return Guarded([&] {
    const std::string name = WideCharToMultiByte(progId);
    return name.empty() || name.find('\\') != std::string::npos ? CO_E_CLASSSTRING : FindRegisteredClass(name, clsid);
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
  const platform::LibraryUse use; // Until there is an object, nothing else keeps its library loaded.
  ProcessClass found{};
  HRESULT result = S_OK;
  if (!g_classes.Find([&](const ProcessClass& entry) { return entry.clsid == clsid; }, &found)) {
    result = Guarded([&] { return LoadRegisteredClass(clsid, &found.getClassObject); });
  }
  ComPtr<IClassFactory> factory;
  if (SUCCEEDED(result)) {
    result = found.getClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid());
  }
  return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
}

void CoFreeUnusedLibraries() noexcept { platform::FreeUnusedLibraries(); }
