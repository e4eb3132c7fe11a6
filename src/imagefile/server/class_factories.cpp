#include "imagefile/server/class_factories.h"

#include <atomic>
#include <type_traits>

#include "cuesheet/cue_sheet.h"
#include "foundation/module.h"
#include "imagefile/image_file.h"

namespace {

using CreateFunction = HRESULT (*)(IUnknown* outer, REFIID iid, void** object);

/// The factory of one class. It exists as long as the library, and each reference keeps the library loaded.
class ClassFactory final : public IClassFactory {
public:
  constexpr explicit ClassFactory(CreateFunction create) noexcept : m_create(create) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) {
      return E_NOINTERFACE;
    }
    *object = this;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override {
    Module().Lock();
    return ++m_references;
  }
  ULONG Release() override {
    const ULONG left = --m_references;
    Module().Unlock();
    return left;
  }
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override { return m_create(outer, iid, object); }
  HRESULT LockServer(std::int32_t lock) override {
    if (lock != 0) {
      Module().Lock();
    } else {
      Module().Unlock();
    }
    return S_OK;
  }

private:
  CreateFunction m_create;
  std::atomic<ULONG> m_references{1}; ///< The library owns the first.
};
// A global object of a host may release a factory after the globals of this library are destroyed.
static_assert(std::is_trivially_destructible_v<ClassFactory>);

constinit ClassFactory g_imageFileFactory(CreateImageFileService);
constinit ClassFactory g_cueSheetFactory(CreateCueSheetService);

} // namespace

HRESULT GetClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept {
  if (factory == nullptr) {
    return E_POINTER;
  }
  *factory = nullptr;
  if (clsid == CLSID_ZSImageFile) {
    return g_imageFileFactory.QueryInterface(iid, factory);
  }
  return clsid == CLSID_ZSCueSheet ? g_cueSheetFactory.QueryInterface(iid, factory) : CLASS_E_CLASSNOTAVAILABLE;
}
