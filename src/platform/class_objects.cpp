#include "platform/class_objects.h"

#include <mutex>
#include <string_view>

#include "platform/text.h"

namespace {

/// The classes of the process, the newest first.
struct ClassList {
  std::mutex lock;
  ProcessClass* first = nullptr;
};

ClassList& Classes() noexcept {
  static ClassList list;
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
  ClassList& list = Classes();
  const std::lock_guard guard(list.lock);
  for (const ProcessClass* entry = list.first; entry != nullptr; entry = entry->next) {
    if (entry->clsid == clsid) {
      return entry->getClassObject;
    }
  }
  return nullptr;
}

} // namespace

void RegisterProcessClass(ProcessClass* entry) noexcept {
  ClassList& list = Classes();
  const std::lock_guard guard(list.lock);
  entry->next = list.first;
  list.first = entry;
}

void RevokeProcessClass(ProcessClass* entry) noexcept {
  ClassList& list = Classes();
  const std::lock_guard guard(list.lock);
  for (ProcessClass** link = &list.first; *link != nullptr; link = &(*link)->next) {
    if (*link == entry) {
      *link = entry->next;
      return;
    }
  }
}

HRESULT CLSIDFromProgID(const OLECHAR* progId, CLSID* clsid) noexcept {
  if (progId == nullptr || clsid == nullptr) {
    return E_INVALIDARG;
  }
  *clsid = CLSID{};
  ClassList& list = Classes();
  const std::lock_guard guard(list.lock);
  for (const ProcessClass* entry = list.first; entry != nullptr; entry = entry->next) {
    if (EqualNames(entry->progId, progId)) {
      *clsid = entry->clsid;
      return S_OK;
    }
  }
  return CO_E_CLASSSTRING;
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept {
  if (object == nullptr) {
    return E_POINTER;
  }
  *object = nullptr;
  const GetClassObjectFunction getClassObject =
      (context & CLSCTX_INPROC_SERVER) != 0 ? FindClass(clsid) : nullptr;
  if (getClassObject == nullptr) {
    return REGDB_E_CLASSNOTREG;
  }
  ComPtr<IClassFactory> factory;
  const HRESULT result = getClassObject(clsid, IID_IClassFactory, factory.ReceiveVoid());
  return FAILED(result) ? result : factory->CreateInstance(outer, iid, object);
}
