/// @file
/// The base of all objects: counts references, supports aggregation and keeps the library loaded.
#pragma once

#include <atomic>
#include <new>

#include "foundation/module.h"
#include "platform/unknown.h"

/// An object with the single interface `I`, plain or aggregated. CreateObject creates it; releasing its last reference
/// deletes it.
template <class I> class CountedObject : public I {
public:
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  // An aggregated object has the identity and the references of its outer object.
  HRESULT QueryInterface(REFIID iid, void** object) final { return m_outer->QueryInterface(iid, object); }
  ULONG AddRef() final { return m_outer->AddRef(); }
  ULONG Release() final { return m_outer->Release(); }

  /// Completes the construction. If it fails, CreateObject destroys the object.
  virtual HRESULT FinalConstruct() { return S_OK; }

  /// Returns the object's own IUnknown, which does not delegate to the outer object.
  IUnknown* Inner() noexcept { return &m_inner; }

protected:
  CountedObject(IUnknown* outer, REFIID iid) noexcept
      : m_inner(this, iid), m_outer(outer == nullptr ? &m_inner : outer) {
    Module().Lock();
  }
  virtual ~CountedObject() { Module().Unlock(); }

private:
  class InnerUnknown final : public IUnknown {
  public:
    InnerUnknown(CountedObject* owner, REFIID iid) noexcept : m_owner(owner), m_iid(iid) {}

    HRESULT QueryInterface(REFIID iid, void** object) override {
      if (object == nullptr) {
        return E_POINTER;
      }
      *object = nullptr;
      if (iid == IID_IUnknown) {
        *object = this;
        AddRef();
        return S_OK;
      }
      if (iid != m_iid) {
        return E_NOINTERFACE;
      }
      *object = static_cast<I*>(m_owner);
      m_owner->AddRef();
      return S_OK;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
      const ULONG left = --m_references;
      if (left == 0) {
        ++m_references; // The destructor may add and release references.
        delete m_owner;
      }
      return left;
    }

  private:
    CountedObject* m_owner;
    const IID m_iid;
    std::atomic<ULONG> m_references{1};
  };

  InnerUnknown m_inner;
  IUnknown* m_outer;
};

/// Creates an object of class `T`, whose constructor has the outer object as its parameter, and queries its interface.
/// @return CLASS_E_NOAGGREGATION if `iid` is not IUnknown although there is an outer object; E_POINTER for a null
/// `object`; E_OUTOFMEMORY; the code of FinalConstruct or of the query.
template <class T> HRESULT CreateObject(IUnknown* outer, REFIID iid, void** object) noexcept {
  if (object == nullptr) {
    return E_POINTER;
  }
  *object = nullptr;
  if (outer != nullptr && iid != IID_IUnknown) {
    return CLASS_E_NOAGGREGATION;
  }
  T* created = new (std::nothrow) T(outer);
  if (created == nullptr) {
    return E_OUTOFMEMORY;
  }
  const ComPtr<IUnknown> first(created->Inner()); // Keeps the object alive until the query adds a reference.
  const HRESULT result = created->FinalConstruct();
  return FAILED(result) ? result : first->QueryInterface(iid, object);
}
