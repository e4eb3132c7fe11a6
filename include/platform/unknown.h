/// @file
/// Objects with counted references, the class factory and the byte stream.
///
/// An interface is an abstract class whose virtual operations are in the order of the binary contract. It has no
/// virtual destructor: objects are destroyed by `Release` only. No operation throws.
#pragma once

#include <utility>

#include "platform/base_types.h"
#include "platform/guid.h"
#include "platform/result_codes.h"

/// Identifies IUnknown.
inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Identifies IClassFactory.
inline constexpr IID IID_IClassFactory{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Identifies IMarshal, which no object implements.
inline constexpr IID IID_IMarshal{0x00000003, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Identifies IStream.
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Identifies ISequentialStream. QueryInterface of a stream does not return it: query IStream.
inline constexpr IID IID_ISequentialStream{0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0, 0xAA, 0, 0x44, 0x77, 0x3D}};

/// The interface of every object.
struct IUnknown {
  /// Returns an interface of the object, with a reference that the caller owns.
  /// @return 0; E_NOINTERFACE, with `*object` null; E_POINTER if `object` is null.
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  /// Adds a reference. @return The new count, for diagnosis only.
  virtual ULONG AddRef() = 0;
  /// Removes a reference; the last one destroys the object. @return The new count, for diagnosis only.
  virtual ULONG Release() = 0;

protected:
  ~IUnknown() = default;
};

/// Creates objects of one class.
struct IClassFactory : IUnknown {
  /// Creates an object. `outer` is null, or the object that aggregates the new one. An aggregated object must be
  /// requested by IID_IUnknown.
  /// @return CLASS_E_NOAGGREGATION for an aggregated object with any other `iid`; E_OUTOFMEMORY; otherwise as
  /// QueryInterface.
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  /// Locks the library, so that it stays loaded, or unlocks it if `lock` is 0. Each lock needs one unlock.
  virtual HRESULT LockServer(std::int32_t lock) = 0;

protected:
  ~IClassFactory() = default;
};

/// A sequence of bytes.
struct ISequentialStream : IUnknown {
  /// Reads at most `count` bytes. `*delivered` receives their number, unless `delivered` is null.
  /// @return S_OK if all bytes were read, S_FALSE if fewer were read, otherwise an error.
  virtual HRESULT Read(void* buffer, ULONG count, ULONG* delivered) = 0;
  /// Writes at most `count` bytes. `*written` receives their number, unless `written` is null.
  virtual HRESULT Write(const void* buffer, ULONG count, ULONG* written) = 0;

protected:
  ~ISequentialStream() = default;
};

struct STATSTG;

/// A stream with a position. The stream of a track (IZSCueSheet::ExtractTrackToStream) implements Read only: all other
/// operations return E_NOTIMPL and leave their arguments unchanged.
struct IStream : ISequentialStream {
  /// Moves the position. @param distance Bytes. @param origin 0: from the start, 1: from the position, 2: from the end.
  /// @param position Receives the new position; may be null.
  virtual HRESULT Seek(std::int64_t distance, DWORD origin, UHYPER* position) = 0;
  /// Changes the size to `size` bytes.
  virtual HRESULT SetSize(UHYPER size) = 0;
  /// Copies `count` bytes from the position to another stream and returns the numbers of bytes read and written.
  virtual HRESULT CopyTo(IStream* target, UHYPER count, UHYPER* read, UHYPER* written) = 0;
  /// Commits what was written.
  virtual HRESULT Commit(DWORD flags) = 0;
  /// Discards what was written since Commit.
  virtual HRESULT Revert() = 0;
  /// Locks `count` bytes.
  virtual HRESULT LockRegion(UHYPER offset, UHYPER count, DWORD type) = 0;
  /// Unlocks `count` bytes.
  virtual HRESULT UnlockRegion(UHYPER offset, UHYPER count, DWORD type) = 0;
  /// Returns size and name.
  virtual HRESULT Stat(STATSTG* status, DWORD flags) = 0;
  /// Returns a stream of the same bytes with a position of its own.
  virtual HRESULT Clone(IStream** copy) = 0;

protected:
  ~IStream() = default;
};

/// Owns one reference to an object.
template <class I> class ComPtr {
public:
  ComPtr() = default;
  /// Transfers a reference from the caller to this pointer.
  explicit ComPtr(I* owned) noexcept : m_object(owned) {}
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  /// Transfers the reference of another pointer, which becomes null.
  ComPtr(ComPtr&& other) noexcept : m_object(other.Detach()) {}
  /// Does the same, and releases the object that was owned before.
  ComPtr& operator=(ComPtr&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  ~ComPtr() { Reset(); }

  /// Returns the object, or null. The reference remains owned by this pointer.
  I* Get() const noexcept { return m_object; }
  /// Accesses the object, which must not be null.
  I* operator->() const noexcept { return m_object; }
  /// Whether the pointer owns a reference.
  explicit operator bool() const noexcept { return m_object != nullptr; }

  /// Releases the object and owns another reference, or null.
  void Reset(I* owned = nullptr) noexcept {
    if (I* old = std::exchange(m_object, owned); old != nullptr) {
      old->Release();
    }
  }
  /// Returns the reference, which the caller then owns.
  I* Detach() noexcept { return std::exchange(m_object, nullptr); }
  /// Releases the object and returns the address where an operation stores a reference.
  I** Receive() noexcept {
    Reset();
    return &m_object;
  }
  /// Does the same, for operations that return any interface.
  void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

private:
  I* m_object = nullptr;
};
