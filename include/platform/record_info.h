/// @file
/// Record descriptions: what the elements of a SAFEARRAY of records own, so that arrays of them can be copied
/// deeply and destroyed whole; and the type libraries that hand descriptions out by identifier.
#pragma once

#include "platform/unknown.h"

/// What a described field owns. Fields that own nothing are copied as bytes and need no description.
enum class RecordFieldKind {
  String,  ///< A BSTR.
  Variant, ///< A VARIANT.
  Table,   ///< A pointer to 32-bit numbers in task memory; their count stands in a BYTE of the record.
};

/// One field that owns something.
struct RecordField {
  RecordFieldKind kind;    ///< What it owns.
  std::size_t offset;      ///< Of the field, in bytes from the start of the record.
  std::size_t countOffset; ///< Table only: of the BYTE that counts its elements.
};

/// A record type. Descriptions are constants that live as long as the library that has them.
struct RecordDescription {
  GUID guid;                 ///< Identifier of the type.
  const OLECHAR* name;       ///< Its name, zero-terminated.
  std::size_t size;          ///< Bytes of one record.
  const RecordField* fields; ///< The fields that own something.
  std::size_t fieldCount;    ///< Number of elements of `fields`.
};

/// A set of record types that is found by its own identifier.
struct TypeLibraryDescription {
  GUID guid;                        ///< Identifier of the library.
  WORD major;                       ///< Version.
  WORD minor;                       ///< Version.
  const RecordDescription* records; ///< The types.
  std::size_t recordCount;          ///< Number of elements of `records`.
  TypeLibraryDescription* next;     ///< Used by the platform layer; null before registration.
};

/// Of IRecordInfo.
inline constexpr IID IID_IRecordInfo{0x0000002F, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// Operations on records of one type, given as plain memory.
struct IRecordInfo : IUnknown {
  /// Clears new memory to the empty record.
  virtual HRESULT RecordInit(void* record) = 0;
  /// Frees what the record owns and leaves the owning fields empty.
  virtual HRESULT RecordClear(void* record) = 0;
  /// Clears `target`, then makes it a deep copy of `source`. On failure `target` is the empty record.
  virtual HRESULT RecordCopy(const void* source, void* target) = 0;
  /// The identifier of the type.
  virtual HRESULT GetGuid(GUID* guid) = 0;
  /// A new string that the caller frees.
  virtual HRESULT GetName(BSTR* name) = 0;
  /// Bytes of one record.
  virtual HRESULT GetSize(ULONG* size) = 0;

protected:
  ~IRecordInfo() = default;
};

/// Of ITypeInfo.
inline constexpr IID IID_ITypeInfo{0x00020401, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Of ITypeLib.
inline constexpr IID IID_ITypeLib{0x00020402, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// One type of a library.
struct ITypeInfo : IUnknown {
  /// The description, which the library owns.
  virtual const RecordDescription* Description() = 0;

protected:
  ~ITypeInfo() = default;
};

/// A type library.
struct ITypeLib : IUnknown {
  /// @return TYPE_E_ELEMENTNOTFOUND when the library has no such record.
  virtual HRESULT GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** type) = 0;

protected:
  ~ITypeLib() = default;
};

/// Makes a library known to this process until it is revoked. The description must outlive every use of it.
void RegisterTypeLibrary(TypeLibraryDescription* library) noexcept;
/// Takes a library back. Without effect for one that is not registered.
void RevokeTypeLibrary(TypeLibraryDescription* library) noexcept;

extern "C" {

/// Finds a library by identifier and version. The language is accepted and plays no part.
/// @return TYPE_E_LIBNOTREGISTERED when there is none, E_OUTOFMEMORY, E_INVALIDARG for a null `library`.
HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, DWORD language, ITypeLib** library) noexcept;

/// The operations on the records of a type, which may outlive it and its library. @return E_OUTOFMEMORY, E_INVALIDARG
/// for a null argument.
HRESULT GetRecordInfoFromTypeInfo(ITypeInfo* type, IRecordInfo** record) noexcept;
}
