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

/// Counts the references of an object that has IUnknown and one other interface.
template <class Interface, const IID& kIid> class Counted : public Interface {
public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) {
      return E_POINTER;
    }
    *object = nullptr;
    if (iid != IID_IUnknown && iid != kIid) {
      return E_NOINTERFACE;
    }
    *object = static_cast<Interface*>(this);
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

private:
  std::atomic<ULONG> m_references{1};
};

/// Reads a field as bytes, because a field of a packed record may have any address.
template <class T> T Load(const void* record, std::size_t offset) noexcept {
  T value{};
  std::memcpy(&value, static_cast<const BYTE*>(record) + offset, sizeof(T));
  return value;
}

template <class T> void Store(void* record, std::size_t offset, T value) noexcept {
  std::memcpy(static_cast<BYTE*>(record) + offset, &value, sizeof(T));
}

/// Frees what a field owns and leaves its bytes as they are.
void FreeField(const RecordField& field, const void* record) noexcept {
  if (field.kind == RecordFieldKind::String) {
    SysFreeString(Load<BSTR>(record, field.offset));
  } else if (field.kind == RecordFieldKind::Table) {
    CoTaskMemFree(Load<ULONG*>(record, field.offset));
  } else {
    auto value = Load<VARIANT>(record, field.offset);
    VariantClear(&value);
  }
}

/// Makes a field empty and frees nothing.
void ResetField(const RecordField& field, void* record) noexcept {
  if (field.kind == RecordFieldKind::String) {
    Store<BSTR>(record, field.offset, nullptr);
  } else if (field.kind == RecordFieldKind::Table) {
    Store<ULONG*>(record, field.offset, nullptr);
    Store<BYTE>(record, field.countOffset, 0);
  } else {
    Store(record, field.offset, VARIANT{});
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
  const BYTE count = Load<BYTE>(source, field.countOffset);
  auto* copy = AllocateCleared<ULONG>(count);
  if (copy == nullptr) {
    return E_OUTOFMEMORY;
  }
  std::memcpy(copy, table, count * sizeof(ULONG));
  Store(target, field.offset, copy);
  Store(target, field.countOffset, count);
  return S_OK;
}

/// Copies what a field owns to the empty field of another record.
HRESULT CopyField(const RecordField& field, const void* source, void* target) noexcept {
  return field.kind == RecordFieldKind::String  ? CopyString(field, source, target)
         : field.kind == RecordFieldKind::Table ? CopyTable(field, source, target)
                                                : CopyVariant(field, source, target);
}

/// Operations on the records of one description. It has a copy of the description, because arrays refer to it and may
/// outlive the library that describes their records.
class RecordInfo final : public Counted<IRecordInfo, IID_IRecordInfo> {
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
      FreeField(field, record);
      ResetField(field, record);
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
      ResetField(field, target);
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

private:
  const GUID m_guid;
  const std::u16string m_name;
  const std::size_t m_size;
  const std::vector<RecordField> m_fields;
};

class TypeInfo final : public Counted<ITypeInfo, IID_ITypeInfo> {
public:
  explicit TypeInfo(const RecordDescription& description) noexcept : m_description(description) {}
  const RecordDescription* Description() override { return &m_description; }

private:
  const RecordDescription& m_description;
};

class TypeLib final : public Counted<ITypeLib, IID_ITypeLib> {
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

private:
  const TypeLibraryDescription m_description;
};

constinit platform::ProcessList<TypeLibraryDescription> g_libraries;

} // namespace

void RegisterTypeLibrary(TypeLibraryDescription* library) noexcept { g_libraries.Add(library); }
void RevokeTypeLibrary(TypeLibraryDescription* library) noexcept { g_libraries.Remove(library); }

HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, DWORD /*language*/, ITypeLib** library) noexcept {
  if (library == nullptr) {
    return E_INVALIDARG;
  }
  *library = nullptr;
  TypeLibraryDescription found{};
  const bool known = g_libraries.Find(
      [&](const TypeLibraryDescription& entry) {
        return entry.guid == guid && entry.major == major && entry.minor >= minor;
      },
      &found);
  if (!known) {
    return TYPE_E_LIBNOTREGISTERED;
  }
  *library = new (std::nothrow) TypeLib(found);
  return *library == nullptr ? E_OUTOFMEMORY : S_OK;
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
