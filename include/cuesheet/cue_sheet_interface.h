/// @file
/// IZSCueSheet: CUE text in and out, CD-Text, the life of session records, and the data of one track.
#pragma once

#include "disc/records.h"
#include "disc/result_codes.h"

/// The class.
inline constexpr CLSID CLSID_ZSCueSheet{0xCD37B6EB, 0xD22C, 0x4F42, {0x8C, 0x01, 0x89, 0xB0, 0x78, 0x73, 0x94, 0x30}};
/// Its interface.
inline constexpr IID IID_IZSCueSheet{0x315DBEA3, 0xA2E9, 0x40C5, {0x89, 0x30, 0x1C, 0x84, 0x2A, 0x2C, 0x88, 0x35}};
/// The class by name.
inline constexpr OLECHAR kProgIdCueSheet[] = u"ZSImageFile.ZSCueSheet";

/// Messages of ExtractTrackToStream's callback, in ZSSTREAMPROGRESS::nMessage.
inline constexpr UINT ZSSTREAM_BEGIN = 65;        ///< First Read. `pBuffer`, `nSize`: what the reader gave.
inline constexpr UINT ZSSTREAM_BEFOREREAD = 4160; ///< Before each read of the file: the buffer, the bytes to read.
inline constexpr UINT ZSSTREAM_AFTERREAD = 8256;  ///< After a good read: the buffer, the bytes read.
inline constexpr UINT ZSSTREAM_END = 66;          ///< Nothing is left, or a read failed: what the reader gave.

#pragma pack(push, 1)
/// What the callback sees of a stream. It may write to the record: the stream reads `pBuffer`, `nSize` and
/// `fCancel` back.
struct ZSSTREAMPROGRESS {
  UINT nMessage;       ///< One of the messages above.
  const char* pszName; ///< The stream's name, narrow text.
  UHYPER qwTotal;      ///< Length of the stream in bytes.
  UHYPER qwDone;       ///< Bytes delivered so far.
  void* pBuffer;       ///< The buffer of this step.
  UINT nSize;          ///< Bytes of this step.
  VARIANT vtUser;      ///< Copy of the caller's value; the stream owns it.
  UINT fCancel;        ///< Any value but 0 stops the stream at its next check.
};
#pragma pack(pop)
static_assert(sizeof(ZSSTREAMPROGRESS) == 52 + 2 * (sizeof(void*) - 4));

/// The callback. `CallBackPtr` is the function's own address, cast: `reinterpret_cast<LONG*>(&OnProgress)`. `kind` is
/// always 4; `userParam` and `user` are the caller's number and value. It runs inside Read, on the reader's thread; its
/// result is ignored.
using ZSStreamCallback = LONG (*)(UINT kind, ZSSTREAMPROGRESS* progress, ULONG userParam, VARIANT user);

/// Works on the record of one session. Operations answer 0 on success; a null pointer for a required argument gives
/// E_INVALIDARG, and a want of memory E_OUTOFMEMORY, unless said otherwise. Paths and texts are wide here and narrow
/// inside (platform/text.h). Objects keep no state between calls; two calls must not work on one record at the same
/// time.
struct IZSCueSheet : IUnknown {
  /// Writes a CUE sheet of this very path. It names a data file and, with CD-Text, a .CDT companion after
  /// itself; neither is made. @return E_FAIL when the file cannot be created; failed writes go unnoticed.
  virtual HRESULT CreateCueFile(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Fills an empty sheet from a CUE text file with its data file, or from a plain sector file as one track.
  /// After any result the sheet may be given to FreeZSCueSheet.
  /// @return ZSE_FILENOTFOUND, ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES.
  virtual HRESULT AnalyzeCueSheet(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Reads the .CDT file beside a path, or the path itself if it is one, into the text of a sheet that has its
  /// tracks. @return 1 when there is no such file.
  virtual HRESULT AnalyzeCDText(BSTR path, ZSCUESHEET* sheet) = 0;

  /// Reads CD-Text packs from memory, which this changes, into the text of a sheet. Texts that the sheet had and that
  /// the packs replace are freed: a host must not keep their strings.
  /// @return 0; E_INVALIDARG for null data, also with a size of 0.
  virtual HRESULT AnalyzeCDTextFromData(BYTE* data, UINT size, ZSCUESHEET* sheet) = 0;

  /// The data file that a CUE sheet names, or the path itself when none is named. The caller frees `*file`.
  virtual HRESULT GetBinaryFile(BSTR path, BSTR* file) = 0;

  /// Gives each track a list of one file piece that names the image; lists from before are not freed.
  /// @return 1 when the path is null or empty or the sheet is null.
  virtual HRESULT PrepareTracks(BSTR imageFile, ZSCUESHEET* sheet) = 0;

  /// Opens the data of one track as a stream that can only be read forward. It begins `dwSeekBegin64` + `dwLBA` x
  /// `BlockSize` bytes into the file, `nSubCount` later when only a part of each sector is taken, and is (`dwEndLBA` -
  /// `dwLBA`) x `nBlockSizeData` bytes long, or as long as the file lasts.
  /// @param imageFile The sector file. @param label Only told to the callback.
  /// @param info The image, for where its sectors and their user data begin. @param track The track: from `dwLBA` up
  /// to, not including, `dwEndLBA`; the pregap stays out. @param nBlockSizeData Bytes to take from each sector, from
  /// its user data on; 0 for all of it, at most 2448 and the block size. @param CallBackPtr A
  /// ZSStreamCallback, cast, or null. @param dwUserParam The callback's number. @param vtUser The callback's value,
  /// which is copied. Of a value that VariantCopy refuses, and without memory for the copy, the callback gets VT_ERROR
  /// with the result code. @param stream Receives the stream with one reference. It offers Read alone, to one reader at
  /// a time, and keeps the file open.
  /// @return 1 when the file does not open or the numbers fit no file; E_OUTOFMEMORY. `*stream` is null on every
  /// failure. Read of the stream answers 0 when the buffer is full, 1 for fewer bytes and at the end, E_INVALIDARG
  /// without a buffer, E_FAIL once the callback has cancelled, and HRESULT_FROM_WIN32 of what a failed read met.
  virtual HRESULT ExtractTrackToStream(BSTR imageFile, BSTR label, zsimagefileinfo* info, ZSTRACK* track,
                                       UINT nBlockSizeData, LONG* CallBackPtr, ULONG dwUserParam, VARIANT vtUser,
                                       IStream** stream) = 0;

  /// Copies all that a stream delivers to a file, which is replaced. @return 0 also when a read or a write fails or the
  /// file cannot be made: compare its size with ZSSTREAMPROGRESS::qwTotal.
  virtual HRESULT ExtractStreamToFile(IStream* stream, BSTR file) = 0;

  /// Appends the tracks of one SAFEARRAY of ZSTRACK to another and empties the first. Numbers go on from the
  /// last track; positions of tracks and pieces move by its length plus 1.
  /// The arrays are made by SafeArrayCreateEx with the description of kRecordTrack (disc/record_ids.h).
  /// @return E_INVALIDARG also for arrays of other elements, a fixed-size or empty destination; DISP_E_ARRAYISLOCKED
  /// while an access to either array runs; E_OUTOFMEMORY. On failure nothing has changed.
  virtual HRESULT MergeTracks(VARIANT* source, VARIANT* destination) = 0;

  /// A new empty sheet. @return E_OUTOFMEMORY.
  virtual HRESULT AllocCueSheet(ZSCUESHEET** sheet) = 0;

  /// Packs the text of a sheet as CD-Text, one block of single-byte text. Longer texts are cut to 254 bytes. From the
  /// first text that does not fit into the 256 packs of a block on, texts are left out, with result 0.
  /// @param sheet The texts; audio tracks alone have a say. @param fWithSubChannel VARIANT_TRUE spreads the packs over
  /// 96-byte groups of R-W symbols.
  /// @param data Receives a block that the caller frees with CoTaskMemFree. @param length Its bytes.
  /// @return 1 when the sheet has no CD-Text; E_OUTOFMEMORY.
  virtual HRESULT EncodeCDText(ZSCUESHEET* sheet, VARIANT_BOOL fWithSubChannel, BYTE** data, LONG* length) = 0;

  /// A new sheet that owns a deep copy of everything. @return E_OUTOFMEMORY.
  virtual HRESULT Clone(ZSCUESHEET* source, ZSCUESHEET** copy) = 0;

  /// Copies the texts, presence and language into an empty ZSCDTEXT; the catalogue number stays out.
  virtual HRESULT CloneCDText(::ZSCDTEXT* source, ::ZSCDTEXT* destination) = 0;

  /// Replaces all texts of a sheet and its tracks by those of another; tracks that either lacks stay out of it.
  virtual HRESULT CopyCDText(ZSCUESHEET* source, ZSCUESHEET* destination) = 0;

  /// Frees what the tracks own and, with VARIANT_TRUE alone, the tracks, the texts and the sheet itself. After any
  /// other value the tracks' pointers are stale: neither read nor free them again.
  virtual HRESULT FreeZSCueSheet(ZSCUESHEET* sheet, VARIANT_BOOL fDestroyCueSheet) = 0;

  /// Frees the seven texts; the catalogue number stays.
  virtual HRESULT FreeZSCDText(::ZSCDTEXT* text) = 0;

  /// Not offered: E_NOTIMPL.
  virtual HRESULT Dummy(ZSTRACK* track, ZSFILESTRUCT* piece) = 0;

protected:
  ~IZSCueSheet() = default;
};
