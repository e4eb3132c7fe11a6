/// @file
/// IZSImageFile: from the path of a disc image to the record of its disc, and back to a description.
#pragma once

#include "disc/records.h"
#include "disc/result_codes.h"

/// The class.
inline constexpr CLSID CLSID_ZSImageFile{0xAE7CB71D, 0x5121, 0x409C, {0xAE, 0xA7, 0x4A, 0x9E, 0xAC, 0xB3, 0xC3, 0x54}};
/// Its interface.
inline constexpr IID IID_IZSImageFile{0xAECC35E5, 0x5E47, 0x4670, {0x9F, 0x6A, 0xC4, 0x8B, 0xC2, 0x3B, 0x25, 0xAB}};
/// The class by name.
inline constexpr OLECHAR kProgIdImageFile[] = u"ZSImageFile.ZSImageFile";

/// Reads, writes, copies and empties the record of an image. Operations return 0 on success and E_INVALIDARG for a null
/// pointer. Objects keep no image state between calls: records outlive them, and any object can empty any record.
/// CreateTOCFile, Clone and FreeImageFileInfo create their IZSCueSheet by its ProgID, as any program does, and return
/// CO_E_CLASSSTRING, REGDB_E_CLASSNOTREG or REGDB_E_READREGDB if it is not registered.
struct IZSImageFile : IUnknown {
  /// Stores its arguments, which no operation reads. @return 0.
  virtual HRESULT SetCallBack(LONG* CallBackPtr, LONG Param, VARIANT vtParam2) = 0;

  /// Reads an image. The last four characters of the path, in any case, select the format: .ISO, .CUE, .NRG, .CCD,
  /// .MDS, .ZSI; .BWT and .B5T are known and refused.
  /// @param path Path of the description, looked up in any case (platform/file_lookup.h).
  /// @param info The caller's storage, which must not be null. It is cleared first and not freed; on failure it is all
  /// zero. For an NRG image that has only chunks of older versions, the result is 0 and the record has no sessions.
  /// @return ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_FILENOTFOUND, ZSE_FAILED, ZSE_OUTOFRESOURCES, ZSE_TOCVERSION,
  /// E_OUTOFMEMORY.
  virtual HRESULT GetImageFileInfo(BSTR path, zsimagefileinfo* info) = 0;

  /// Writes a description in the format that `ZSImageFormat` of the record says: a CUE sheet of the first session, or a
  /// native TOC file with raw CD-Text packs. Writes that fail are not reported.
  /// @param path Of the new file. @param info The record. A TOC file changes `bstrImageBinaryFile` to the path of its
  /// data file, and packs set ZSIMAGEMASK_CDTEXT in `lMask`. @param pToc Not read. @param nTracks Not read.
  /// @param pCDText A run of packs of 18 bytes for a TOC file, or null. @param nLength Its bytes.
  /// @return 1 for a CUE record without sessions; ZSE_FAILED for other formats and for a TOC file of a record without
  /// its sessions; E_INVALIDARG for an empty path; E_FAIL if a CUE sheet cannot be created (0 for a TOC file);
  /// E_OUTOFMEMORY.
  virtual HRESULT CreateTOCFile(BSTR path, zsimagefileinfo* info, zsmmcreadtoc0* pToc, UINT nTracks,
                                zsmmccdtext* pCDText, UINT nLength) = 0;

  /// Does nothing. @return 0.
  virtual HRESULT Open(BSTR path, zsimagefileinfo* info) = 0;

  /// Copies a record deeply into other storage, which is all zero on failure. @return ZSE_OUTOFRESOURCES,
  /// E_OUTOFMEMORY; E_INVALIDARG, with nothing changed, if both are the same or the record counts more than 99
  /// sessions.
  virtual HRESULT Clone(zsimagefileinfo* source, zsimagefileinfo* copy) = 0;

  /// Frees all that a record points to and makes it all zero. The record may be empty.
  /// @return E_OUTOFMEMORY, with the record unchanged.
  virtual HRESULT FreeImageFileInfo(zsimagefileinfo* info) = 0;

  /// Computes `dwDiscID` and `dwDiscID2` of a record.
  virtual HRESULT CalculateDiscID(zsimagefileinfo* info) = 0;

  /// Computes a byte position in the sector file for a sector. See docs/limits.md.
  ///
  /// - One session: the start of the sector's track, pregap included. For a sector in no track, the end of the last
  ///   track.
  /// - Several sessions: the position of the sector itself. This holds if the sectors of each session count from 0 and
  ///   the gaps on the disc are 11,400 sectors after the first session and 6,900 after each later one, or 150 less
  ///   before a session that begins with a pregap. For a sector in no session, the start of the last session.
  ///
  /// @param info The record, with at least one track in each session. @param dwLBA The sector. @param pSeek64 Receives
  /// the position in bytes. @param pLength64 Null, or receives a length in bytes, computed from the track of the first
  /// session that has the sector: (`dwEndLBA` - `dwLBA`) x `BlockSize` with several sessions, `Pregap` x `BlockSize`
  /// less with one. Unchanged if there is no such track. @return E_INVALIDARG for null, or if the record counts more
  /// than 99 sessions.
  virtual HRESULT GetPositionFromLBA(zsimagefileinfo* info, ULONG dwLBA, UHYPER* pSeek64, UHYPER* pLength64) = 0;

protected:
  ~IZSImageFile() = default;
};
