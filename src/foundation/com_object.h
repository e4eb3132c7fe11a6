/// @file
/// The common part of all objects: counted references, aggregation, and the module's lock count.
#pragma once

#include <atomic>
#include <new>

#include "foundation/module.h"
#include "platform/unknown.h"

/// An object of the one interface `I`, plain or as a part of an outer object. It keeps the module locked while
/// it lives and goes away with its last reference. Created by CreateObject only.
template <class I> class CountedObject : public I {
public:
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  // The identity is the outer object's, where there is one.
  HRESULT QueryInterface(REFIID iid, void** object) final { return m_outer->QueryInterface(iid, object); }
  ULONG AddRef() final { return m_outer->AddRef(); }
  ULONG Release() final { return m_outer->Release(); }

  /// Called once after construction; a failure ends the creation. A reference taken and given back meanwhile
  /// does not destroy the object.
  virtual HRESULT FinalConstruct() { return S_OK; }

  /// The object's own references, whatever its outer object does.
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
      // Calls are never carried to another thread, so there is no marshaler behind IMarshal.
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
        ++m_references; // What the destructor lends out must not destroy the object again.
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

/// Makes an object of class `T`, whose constructor takes the outer object, and asks it for an interface.
/// @return CLASS_E_NOAGGREGATION when an outer object asks for other than IUnknown; E_POINTER for a null
/// `object`; E_OUTOFMEMORY; what FinalConstruct or the query answer.
template <class T> HRESULT CreateObject(IUnknown* outer, REFIID iid, void** object) noexcept {
  if (object == nullptr) {
    return E_POINTER;
  }
  *object = nullptr;
  if (outer != nullptr && iid != IID_IUnknown) {
    return CLASS_E_NOAGGREGATION;
  }
  T* made = new (std::nothrow) T(outer);
  if (made == nullptr) {
    return E_OUTOFMEMORY;
  }
  const ComPtr<IUnknown> creation(made->Inner()); // Holds the object until another reference does.
  const HRESULT result = made->FinalConstruct();
  return FAILED(result) ? result : creation->QueryInterface(iid, object);
}
