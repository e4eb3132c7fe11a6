/// @file
/// Record descriptions: what a record of a type owns, so that arrays of records can be copied deeply and destroyed
/// completely; and type libraries, which find descriptions by identifier.
#pragma once

#include "platform/unknown.h"

/// What a field owns. Fields that own nothing are copied as bytes and have no description.
enum class RecordFieldKind {
  String,  ///< A BSTR.
  Variant, ///< A VARIANT.
  Table,   ///< A pointer to 32-bit numbers in task memory; a BYTE of the record counts them.
};

/// A field that owns something.
struct RecordField {
  RecordFieldKind kind;    ///< What it owns.
  std::size_t offset;      ///< Offset of the field in the record, in bytes.
  std::size_t countOffset; ///< Table only: offset of the BYTE that counts its elements.
};

/// A record type. Descriptions are constants of a library and valid while it is loaded.
struct RecordDescription {
  GUID guid;                 ///< Identifier of the type.
  const OLECHAR* name;       ///< Its name, zero-terminated.
  std::size_t size;          ///< Bytes of one record.
  const RecordField* fields; ///< The fields that own something.
  std::size_t fieldCount;    ///< Number of elements of `fields`.
};

/// A set of record types.
struct TypeLibraryDescription {
  GUID guid;                        ///< Identifier of the library.
  WORD major;                       ///< Major version.
  WORD minor;                       ///< Minor version.
  const RecordDescription* records; ///< The types.
  std::size_t recordCount;          ///< Number of elements of `records`.
  TypeLibraryDescription* next;     ///< Used by the platform layer; null before registration.
};

/// Identifies IRecordInfo.
inline constexpr IID IID_IRecordInfo{0x0000002F, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// Operations on records of one type.
struct IRecordInfo : IUnknown {
  /// Initialises new memory as an empty record.
  virtual HRESULT RecordInit(void* record) = 0;
  /// Frees what the record owns and clears the fields that owned it.
  virtual HRESULT RecordClear(void* record) = 0;
  /// Clears `target`, then makes it a deep copy of `source`. On failure `target` is the empty record.
  virtual HRESULT RecordCopy(const void* source, void* target) = 0;
  /// Returns the identifier of the type.
  virtual HRESULT GetGuid(GUID* guid) = 0;
  /// Returns the name of the type, which the caller frees.
  virtual HRESULT GetName(BSTR* name) = 0;
  /// Returns the number of bytes of one record.
  virtual HRESULT GetSize(ULONG* size) = 0;

protected:
  ~IRecordInfo() = default;
};

/// Identifies ITypeInfo.
inline constexpr IID IID_ITypeInfo{0x00020401, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Identifies ITypeLib.
inline constexpr IID IID_ITypeLib{0x00020402, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// One type of a library.
struct ITypeInfo : IUnknown {
  /// Returns the description, which the library owns.
  virtual const RecordDescription* Description() = 0;

protected:
  ~ITypeInfo() = default;
};

/// A type library.
struct ITypeLib : IUnknown {
  /// Finds a type. @return TYPE_E_ELEMENTNOTFOUND if the library has no such record.
  virtual HRESULT GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** type) = 0;

protected:
  ~ITypeLib() = default;
};

/// Registers a library in this process. The description must exist until it is revoked and no longer used.
void RegisterTypeLibrary(TypeLibraryDescription* library) noexcept;
/// Revokes a library. Does nothing for a library that is not registered.
void RevokeTypeLibrary(TypeLibraryDescription* library) noexcept;

extern "C" {

/// Finds a registered library by identifier and version. `language` is ignored.
/// @return TYPE_E_LIBNOTREGISTERED if there is none, E_OUTOFMEMORY, E_INVALIDARG if `library` is null.
HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, DWORD language, ITypeLib** library) noexcept;

/// Returns the operations on the records of a type. They remain valid after the type and its library are released.
/// @return E_OUTOFMEMORY, E_INVALIDARG for a null argument.
HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* type, IRecordInfo** record) noexcept;
}
