#include "platform/record_info.h"

#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/bstr.h"
#include "platform/process_list.h"
#include "platform/task_memory.h"
#include "platform/variant.h"

namespace {

/// References and the two interfaces of an object that offers `I` alone.
template <class I> class Counted : public I {
public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    *object = nullptr;
    if (iid != IID_IUnknown && iid != OwnIid()) {
      return E_NOINTERFACE;
    }
    *object = static_cast<I*>(this);
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++m_references; }
  ULONG Release() override {
    const ULONG left = --m_references;
    if (left == 0) {
      delete this;
    }
    return left;
  }

protected:
  virtual ~Counted() = default;
  virtual REFIID OwnIid() const noexcept = 0;

private:
  std::atomic<ULONG> m_references{1};
};

/// A field of a packed record may stand at any address, so it is moved as bytes.
template <class T> T Load(const void* record, std::size_t offset) noexcept {
  T value{};
  std::memcpy(&value, static_cast<const BYTE*>(record) + offset, sizeof(T));
  return value;
}

template <class T> void Store(void* record, std::size_t offset, T value) noexcept {
  std::memcpy(static_cast<BYTE*>(record) + offset, &value, sizeof(T));
}

void ClearField(const RecordField& field, void* record) noexcept {
  switch (field.kind) {
  case RecordFieldKind::String:
    SysFreeString(Load<BSTR>(record, field.offset));
    Store<BSTR>(record, field.offset, nullptr);
    break;
  case RecordFieldKind::Variant: {
    auto value = Load<VARIANT>(record, field.offset);
    VariantClear(&value);
    Store(record, field.offset, VARIANT{});
    break;
  }
  case RecordFieldKind::Table:
    CoTaskMemFree(Load<ULONG*>(record, field.offset));
    Store<ULONG*>(record, field.offset, nullptr);
    Store<BYTE>(record, field.countOffset, 0);
    break;
  }
}

HRESULT CopyString(const RecordField& field, const void* source, void* target) noexcept {
  auto* text = Load<BSTR>(source, field.offset);
  if (text == nullptr) {
    return S_OK;
  }
  BSTR copy = SysAllocStringLen(text, SysStringLen(text));
  Store(target, field.offset, copy);
  return copy == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT CopyVariant(const RecordField& field, const void* source, void* target) noexcept {
  const auto value = Load<VARIANT>(source, field.offset);
  VARIANT copy{};
  const HRESULT result = VariantCopy(&copy, &value);
  Store(target, field.offset, copy);
  return result;
}

HRESULT CopyTable(const RecordField& field, const void* source, void* target) noexcept {
  const auto* table = Load<const ULONG*>(source, field.offset);
  if (table == nullptr) {
    return S_OK;
  }
  const std::size_t count = Load<BYTE>(source, field.countOffset);
  auto* copy = AllocateCleared<ULONG>(count);
  if (copy == nullptr) {
    return E_OUTOFMEMORY;
  }
  std::memcpy(copy, table, count * sizeof(ULONG));
  Store(target, field.offset, copy);
  Store(target, field.countOffset, static_cast<BYTE>(count));
  return S_OK;
}

HRESULT CopyField(const RecordField& field, const void* source, void* target) noexcept {
  switch (field.kind) {
  case RecordFieldKind::String:
    return CopyString(field, source, target);
  case RecordFieldKind::Variant:
    return CopyVariant(field, source, target);
  case RecordFieldKind::Table:
    return CopyTable(field, source, target);
  }
  return E_UNEXPECTED;
}

/// Takes the owning fields of a byte-wise copy away from their owner.
void ForgetField(const RecordField& field, void* record) noexcept {
  switch (field.kind) {
  case RecordFieldKind::String:
    Store<BSTR>(record, field.offset, nullptr);
    break;
  case RecordFieldKind::Variant:
    Store(record, field.offset, VARIANT{});
    break;
  case RecordFieldKind::Table:
    Store<ULONG*>(record, field.offset, nullptr);
    Store<BYTE>(record, field.countOffset, 0);
    break;
  }
}

/// Arrays in records hold this, and records outlive the library that filled them. So it has a copy of all that it
/// needs of the description.
class RecordInfo final : public Counted<IRecordInfo> {
public:
  /// Throws std::bad_alloc.
  explicit RecordInfo(const RecordDescription& description)
      : m_guid(description.guid), m_name(description.name), m_size(description.size),
        m_fields(description.fields, description.fields + description.fieldCount) {}

  HRESULT RecordInit(void* record) override {
    if (record == nullptr) {
      return E_INVALIDARG;
    }
    std::memset(record, 0, m_size);
    return S_OK;
  }

  HRESULT RecordClear(void* record) override {
    if (record == nullptr) {
      return E_INVALIDARG;
    }
    for (const RecordField& field : m_fields) {
      ClearField(field, record);
    }
    return S_OK;
  }

  HRESULT RecordCopy(const void* source, void* target) override {
    if (source == nullptr || target == nullptr) {
      return E_INVALIDARG;
    }
    if (source == target) {
      return S_OK;
    }
    RecordClear(target);
    std::memcpy(target, source, m_size);
    for (const RecordField& field : m_fields) {
      ForgetField(field, target);
    }
    for (const RecordField& field : m_fields) {
      const HRESULT result = CopyField(field, source, target);
      if (FAILED(result)) {
        RecordClear(target);
        RecordInit(target);
        return result;
      }
    }
    return S_OK;
  }

  HRESULT GetGuid(GUID* guid) override {
    if (guid == nullptr) {
      return E_INVALIDARG;
    }
    *guid = m_guid;
    return S_OK;
  }

  HRESULT GetName(BSTR* name) override {
    if (name == nullptr) {
      return E_INVALIDARG;
    }
    *name = SysAllocString(m_name.c_str());
    return *name == nullptr ? E_OUTOFMEMORY : S_OK;
  }

  HRESULT GetSize(ULONG* size) override {
    if (size == nullptr) {
      return E_INVALIDARG;
    }
    *size = static_cast<ULONG>(m_size);
    return S_OK;
  }

protected:
  REFIID OwnIid() const noexcept override { return IID_IRecordInfo; }

private:
  const GUID m_guid;
  const std::u16string m_name;
  const std::size_t m_size;
  const std::vector<RecordField> m_fields;
};

class TypeInfo final : public Counted<ITypeInfo> {
public:
  explicit TypeInfo(const RecordDescription& description) noexcept : m_description(description) {}
  const RecordDescription* Description() override { return &m_description; }

protected:
  REFIID OwnIid() const noexcept override { return IID_ITypeInfo; }

private:
  const RecordDescription& m_description;
};

class TypeLib final : public Counted<ITypeLib> {
public:
  explicit TypeLib(const TypeLibraryDescription& description) noexcept : m_description(description) {}

  HRESULT GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** type) override {
    if (type == nullptr) {
      return E_INVALIDARG;
    }
    *type = nullptr;
    for (std::size_t i = 0; i < m_description.recordCount; ++i) {
      if (m_description.records[i].guid == guid) {
        *type = new (std::nothrow) TypeInfo(m_description.records[i]);
        return *type == nullptr ? E_OUTOFMEMORY : S_OK;
      }
    }
    return TYPE_E_ELEMENTNOTFOUND;
  }

protected:
  REFIID OwnIid() const noexcept override { return IID_ITypeLib; }

private:
  const TypeLibraryDescription& m_description;
};

/// The libraries of the process.
platform::ProcessList<TypeLibraryDescription>& Libraries() noexcept {
  static platform::ProcessList<TypeLibraryDescription> list;
  return list;
}

} // namespace

void RegisterTypeLibrary(TypeLibraryDescription* library) noexcept { Libraries().Add(library); }
void RevokeTypeLibrary(TypeLibraryDescription* library) noexcept { Libraries().Remove(library); }

HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, DWORD /*language*/, ITypeLib** library) noexcept {
  if (library == nullptr) {
    return E_INVALIDARG;
  }
  *library = nullptr;
  const bool known = Libraries().With(
      [&](const TypeLibraryDescription& entry) {
        return entry.guid == guid && entry.major == major && entry.minor >= minor;
      },
      [&](const TypeLibraryDescription& entry) { *library = new (std::nothrow) TypeLib(entry); });
  return *library != nullptr ? S_OK : known ? E_OUTOFMEMORY : TYPE_E_LIBNOTREGISTERED;
}

HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* type, IRecordInfo** record) noexcept {
  if (type == nullptr || record == nullptr) {
    return E_INVALIDARG;
  }
  *record = nullptr;
  try {
    *record = new RecordInfo(*type->Description());
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
