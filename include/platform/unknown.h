/// @file
/// Objects with counted references, the class factory and the byte stream.
///
/// An interface is an abstract class without a virtual destructor: its virtual operations stand in the order of
/// the binary contract, and an object goes away only by `Release`. No operation lets an exception out.
#pragma once

#include "platform/base_types.h"
#include "platform/guid.h"
#include "platform/result_codes.h"

/// Of IUnknown.
inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Of IClassFactory.
inline constexpr IID IID_IClassFactory{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// No object here has it.
inline constexpr IID IID_IMarshal{0x00000003, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Of IStream.
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
/// Of ISequentialStream; the stream of a track does not answer to it.
inline constexpr IID IID_ISequentialStream{0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0, 0xAA, 0, 0x44, 0x77, 0x3D}};

/// What every object has.
struct IUnknown {
  /// Sets `*object` to the interface asked for, with one reference that the caller owns.
  /// @return 0; E_NOINTERFACE with `*object` null; E_POINTER when `object` is null.
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  /// Takes one more reference. @return The new count, for diagnosis only.
  virtual ULONG AddRef() = 0;
  /// Gives one reference back; at 0 the object goes away. @return The new count, for diagnosis only.
  virtual ULONG Release() = 0;

protected:
  ~IUnknown() = default;
};

/// Makes the objects of one class.
struct IClassFactory : IUnknown {
  /// Makes an object. `outer` is null, or the object that aggregates the new one; then only IUnknown may be
  /// asked for, else CLASS_E_NOAGGREGATION is the answer.
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  /// Keeps the library in memory while not 0, or lets it go again.
  virtual HRESULT LockServer(std::int32_t lock) = 0;

protected:
  ~IClassFactory() = default;
};

/// Bytes in their order.
struct ISequentialStream : IUnknown {
  /// Delivers at most `count` bytes. `*delivered`, where given, receives their number.
  /// @return 0 when all came, 1 when fewer came or the end is reached, an error otherwise.
  virtual HRESULT Read(void* buffer, ULONG count, ULONG* delivered) = 0;
  /// Takes at most `count` bytes; `*taken`, where given, receives their number.
  virtual HRESULT Write(const void* buffer, ULONG count, ULONG* taken) = 0;

protected:
  ~ISequentialStream() = default;
};

struct STATSTG;

/// A stream that may also be moved in, cut and copied. The stream of a track (IZSCueSheet::ExtractTrackToStream)
/// offers Read alone; everything else answers E_NOTIMPL and leaves its arguments as they came.
struct IStream : ISequentialStream {
  /// Moves the position. @param distance Bytes. @param origin 0 from the start, 1 from here, 2 from the end.
  /// @param position Receives the new position; may be null.
  virtual HRESULT Seek(std::int64_t distance, DWORD origin, UHYPER* position) = 0;
  /// Cuts or grows to `size` bytes.
  virtual HRESULT SetSize(UHYPER size) = 0;
  /// Copies `count` bytes from here to another stream; tells how many were read and written.
  virtual HRESULT CopyTo(IStream* target, UHYPER count, UHYPER* read, UHYPER* written) = 0;
  /// Makes what was written last.
  virtual HRESULT Commit(DWORD flags) = 0;
  /// Drops what was written since Commit.
  virtual HRESULT Revert() = 0;
  /// Keeps others out of `count` bytes.
  virtual HRESULT LockRegion(UHYPER offset, UHYPER count, DWORD type) = 0;
  /// Lets them in again.
  virtual HRESULT UnlockRegion(UHYPER offset, UHYPER count, DWORD type) = 0;
  /// Tells size and name.
  virtual HRESULT Stat(STATSTG* status, DWORD flags) = 0;
  /// A second position in the same bytes.
  virtual HRESULT Clone(IStream** copy) = 0;

protected:
  ~IStream() = default;
};

/// Owns one reference to an object.
template <class I> class ComPtr {
public:
  ComPtr() = default;
  /// Takes over a reference that the caller owns.
  explicit ComPtr(I* owned) noexcept : m_object(owned) {}
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  /// Takes over the reference of another pointer, which becomes null.
  ComPtr(ComPtr&& other) noexcept : m_object(other.Detach()) {}
  /// The same; what was held is released.
  ComPtr& operator=(ComPtr&& other) noexcept {
    Reset(other.Detach());
    return *this;
  }
  ~ComPtr() { Reset(); }

  /// The object, or null. The reference stays here.
  I* Get() const noexcept { return m_object; }
  /// The object, which must be there.
  I* operator->() const noexcept { return m_object; }
  /// Whether an object is held.
  explicit operator bool() const noexcept { return m_object != nullptr; }

  /// Releases what was held and takes over a reference, or null.
  void Reset(I* owned = nullptr) noexcept {
    I* old = m_object;
    m_object = owned;
    if (old != nullptr) {
      old->Release();
    }
  }
  /// Gives the reference to the caller.
  I* Detach() noexcept {
    I* object = m_object;
    m_object = nullptr;
    return object;
  }
  /// Where an operation stores its result; what was held is released first.
  I** Receive() noexcept {
    Reset();
    return &m_object;
  }
  /// The same for operations that deliver any interface.
  void** ReceiveVoid() noexcept { return reinterpret_cast<void**>(Receive()); }

private:
  I* m_object = nullptr;
};
