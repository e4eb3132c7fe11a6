/// @file
/// IZSCueSheet: reads and writes CUE sheets and CD-Text, creates, copies and frees session records, and extracts
/// tracks.
#pragma once

#include "disc/records.h"
#include "disc/result_codes.h"

/// The class.
inline constexpr CLSID CLSID_ZSCueSheet{0xCD37B6EB, 0xD22C, 0x4F42, {0x8C, 0x01, 0x89, 0xB0, 0x78, 0x73, 0x94, 0x30}};
/// Its interface.
inline constexpr IID IID_IZSCueSheet{0x315DBEA3, 0xA2E9, 0x40C5, {0x89, 0x30, 0x1C, 0x84, 0x2A, 0x2C, 0x88, 0x35}};
/// The class by name.
inline constexpr OLECHAR kProgIdCueSheet[] = u"ZSImageFile.ZSCueSheet";

/// @name Messages of the callback
/// Values of ZSSTREAMPROGRESS::nMessage, each with the values of `pBuffer` and `nSize`.
/// @{
inline constexpr UINT ZSSTREAM_BEGIN = 65;        ///< Before the first read: the arguments of Read.
inline constexpr UINT ZSSTREAM_BEFOREREAD = 4160; ///< Before each read of the file: buffer, bytes to read.
inline constexpr UINT ZSSTREAM_AFTERREAD = 8256;  ///< After a read that succeeded: buffer, bytes read.
inline constexpr UINT ZSSTREAM_END = 66;          ///< At the end, or after a failed read: the arguments of Read.
/// @}

#pragma pack(push, 1)
/// Progress of a stream. The callback may change `pBuffer`, `nSize` and `fCancel`: the stream uses the changed values.
struct ZSSTREAMPROGRESS {
  UINT nMessage;       ///< One of the messages above.
  const char* pszName; ///< The stream's name, narrow text.
  UHYPER qwTotal;      ///< Length of the stream in bytes.
  UHYPER qwDone;       ///< Bytes delivered so far.
  void* pBuffer;       ///< The buffer of this step.
  UINT nSize;          ///< Bytes of this step.
  VARIANT vtUser;      ///< Copy of the caller's value; the stream owns it.
  UINT fCancel;        ///< If not 0 after a read of the file, Read fails with E_FAIL.
};
#pragma pack(pop)
static_assert(sizeof(ZSSTREAMPROGRESS) == 52 + 2 * (sizeof(void*) - 4));

/// The callback of a stream. It runs inside Read, on the reader's thread, and its result is ignored. Pass the
/// function's own address as `CallBackPtr`: `reinterpret_cast<LONG*>(&OnProgress)`. `kind` is always 4.
using ZSStreamCallback = LONG (*)(UINT kind, ZSSTREAMPROGRESS* progress, ULONG userParam, VARIANT user);

/// Operations on the record of one session. They return 0 on success and, unless stated otherwise, E_INVALIDARG for a
/// null pointer and E_OUTOFMEMORY. Paths and texts are converted to narrow text (platform/text.h). Objects keep no
/// state between calls. Calls on one record must not overlap.
struct IZSCueSheet : IUnknown {
  /// Writes a CUE sheet to a file, which is replaced. The sheet names a data file and, if there is CD-Text, a .CDT
  /// file. Both have the name of the sheet, and neither is written. @return E_FAIL if the file cannot be created.
  /// Failed writes are not reported.
  virtual HRESULT CreateCueFile(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Fills an empty sheet from CUE text and its data file, or from a plain sector file as one track. Free the sheet
  /// with FreeZSCueSheet, also on failure.
  /// @return ZSE_FILENOTFOUND, ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES.
  virtual HRESULT AnalyzeCueSheet(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Decodes the .CDT file that has the name and folder of `path`, whose own extension does not matter, into the texts
  /// of a sheet that has its tracks.
  /// @return 1 if there is no such file.
  virtual HRESULT AnalyzeCDText(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Decodes CD-Text packs into the texts of a sheet that has its tracks. Changes the packs. Texts that they replace
  /// are freed: a host must not keep their strings. @return 0; E_INVALIDARG for null data, also with a size of 0.
  virtual HRESULT AnalyzeCDTextFromData(BYTE* data, UINT size, ZSCUESHEET* sheet) = 0;

  /// Returns the path of the data file that a CUE sheet names, or the path itself if it names none. The caller frees
  /// `*file`.
  virtual HRESULT GetBinaryFile(BSTR path, BSTR* file) = 0;

  /// Stores in each track a list of one file piece that names the image. Earlier lists are not freed.
  /// @return 1 for a null or empty path or a null sheet.
  virtual HRESULT PrepareTracks(BSTR imageFile, ZSCUESHEET* sheet) = 0;

  /// Opens the data of a track as a stream that is read forward. The stream starts `dwSeekBegin64` + `dwLBA` x
  /// `BlockSize` bytes into the file, `nSubCount` bytes later if only a part of each sector is read, and has
  /// (`dwEndLBA` - `dwLBA`) x `nBlockSizeData` bytes, or as many as the file has.
  /// @param imageFile The sector file. @param label For the callback alone. @param info The image, for `dwSeekBegin64`
  /// and `nSubCount`. @param track The track, whose pregap is left out. @param nBlockSizeData Bytes to read of each
  /// sector, from its user data on, at most `BlockSize` and 2448; 0 for whole sectors. @param CallBackPtr A
  /// ZSStreamCallback, or null. @param dwUserParam For the callback. @param vtUser For the callback, which gets a copy.
  /// If VariantCopy fails, it gets VT_ERROR with the result code instead. @param stream Receives the stream with one
  /// reference. It offers Read alone, to one reader at a time, and keeps the file open. Null on failure.
  /// @return 1 if the file does not open or the numbers describe no part of a file; E_OUTOFMEMORY. Read of the stream
  /// returns 0 for a full buffer, 1 for fewer bytes and at the end, E_INVALIDARG without a buffer, E_FAIL once the
  /// callback has cancelled, and HRESULT_FROM_WIN32 of the error if a read fails.
  virtual HRESULT ExtractTrackToStream(BSTR imageFile, BSTR label, zsimagefileinfo* info, ZSTRACK* track,
                                       UINT nBlockSizeData, LONG* CallBackPtr, ULONG dwUserParam, VARIANT vtUser,
                                       IStream** stream) = 0;

  /// Copies all bytes of a stream to a file, which is replaced. @return 0 also if a read or a write fails, or the file
  /// cannot be created: compare its size with ZSSTREAMPROGRESS::qwTotal.
  virtual HRESULT ExtractStreamToFile(IStream* stream, BSTR file) = 0;

  /// Appends the tracks of one SAFEARRAY of ZSTRACK to another and empties the first. Track numbers continue. Positions
  /// of the appended tracks and of their pieces grow by the length of the destination's last track plus 1. The arrays
  /// are made by SafeArrayCreateEx with the description of kRecordTrack (disc/record_ids.h).
  /// @return E_INVALIDARG for arrays of other elements and for a fixed-size or empty destination; DISP_E_ARRAYISLOCKED
  /// during an access to either array; E_OUTOFMEMORY. On failure nothing has changed.
  virtual HRESULT MergeTracks(VARIANT* source, VARIANT* destination) = 0;

  /// Returns a new empty sheet.
  virtual HRESULT AllocCueSheet(ZSCUESHEET** sheet) = 0;

  /// Encodes the texts of a sheet as CD-Text packs, one block of single-byte text. Texts of data tracks are left out.
  /// Texts are cut to 254 bytes; if the 256 packs of a block are too few, those from the first that does not fit are
  /// left out, with result 0.
  /// @param sheet The texts. @param fWithSubChannel VARIANT_TRUE spreads the packs over 96-byte groups of R-W symbols.
  /// @param data Receives a block that the caller frees with CoTaskMemFree. @param length Receives its bytes.
  /// @return 1 if the sheet has no CD-Text.
  virtual HRESULT EncodeCDText(ZSCUESHEET* sheet, VARIANT_BOOL fWithSubChannel, BYTE** data, LONG* length) = 0;

  /// Returns a new sheet that owns a deep copy of everything.
  virtual HRESULT Clone(ZSCUESHEET* source, ZSCUESHEET** copy) = 0;

  /// Copies texts, presence and language into an empty ZSCDTEXT. The catalogue number is left out.
  virtual HRESULT CloneCDText(::ZSCDTEXT* source, ::ZSCDTEXT* destination) = 0;

  /// Replaces the texts of a sheet, and the texts and ISRCs of its tracks, by those of another. The catalogue number,
  /// and tracks that only one of the sheets has, are left out.
  virtual HRESULT CopyCDText(ZSCUESHEET* source, ZSCUESHEET* destination) = 0;

  /// Frees what the tracks own and, with VARIANT_TRUE only, the tracks, the texts and the sheet. After any other value
  /// the pointers of the tracks are stale: neither read nor free them.
  virtual HRESULT FreeZSCueSheet(ZSCUESHEET* sheet, VARIANT_BOOL fDestroyCueSheet) = 0;

  /// Frees the seven texts, but not the catalogue number.
  virtual HRESULT FreeZSCDText(::ZSCDTEXT* text) = 0;

  /// Not implemented. @return E_NOTIMPL.
  virtual HRESULT Dummy(ZSTRACK* track, ZSFILESTRUCT* piece) = 0;

protected:
  ~IZSCueSheet() = default;
};
