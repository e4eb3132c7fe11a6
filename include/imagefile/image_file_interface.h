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

/// Reads, writes, copies and empties the record of an image. Operations answer 0 on success; a null pointer for a
/// required argument gives E_INVALIDARG. Objects keep no image state between calls: records outlive them, and any
/// object can empty any record. CreateTOCFile, Clone and FreeImageFileInfo get their IZSCueSheet by its ProgID, as any
/// program does, and answer CO_E_CLASSSTRING, REGDB_E_CLASSNOTREG or REGDB_E_READREGDB where it is not registered.
struct IZSImageFile : IUnknown {
  /// Stores its arguments, which no operation reads. @return 0 always.
  virtual HRESULT SetCallBack(LONG* CallBackPtr, LONG Param, VARIANT vtParam2) = 0;

  /// Reads an image. The format is chosen by the last four characters of the path, in any case: .ISO, .CUE,
  /// .NRG, .CCD, .MDS, .ZSI; .BWT and .B5T are known and refused.
  /// @param path Of the description; in the file's own spelling or in any case.
  /// @param info Storage of the caller, cleared first; it must not be null, and what it held is not freed. On
  /// every failure it comes back all zero. An NRG image of old chunks alone gives 0 and a record without sessions.
  /// @return ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_FILENOTFOUND, ZSE_FAILED, ZSE_OUTOFRESOURCES,
  /// ZSE_TOCVERSION, E_OUTOFMEMORY.
  virtual HRESULT GetImageFileInfo(BSTR path, zsimagefileinfo* info) = 0;

  /// Writes the description that `ZSImageFormat` of the record asks for: a CUE sheet of the first session, or a
  /// native TOC file with raw CD-Text packs. Writes that fail are not reported.
  /// @param path Of the new file. @param info The record. A TOC file makes `bstrImageBinaryFile` name its data file,
  /// and packs set ZSIMAGEMASK_CDTEXT in `lMask`. @param pToc Not read. @param nTracks Not read.
  /// @param pCDText A run of packs of 18 bytes, or null. Only a TOC file takes them. @param nLength Its bytes.
  /// @return 1 for a CUE record without sessions; ZSE_FAILED for other formats, and for a TOC file of a record whose
  /// sessions are not there; E_INVALIDARG for an empty path; E_FAIL if a CUE sheet cannot be created (a TOC file that
  /// cannot be created returns 0); E_OUTOFMEMORY.
  virtual HRESULT CreateTOCFile(BSTR path, zsimagefileinfo* info, zsmmcreadtoc0* pToc, UINT nTracks,
                                zsmmccdtext* pCDText, UINT nLength) = 0;

  /// Does nothing. @return 0 always.
  virtual HRESULT Open(BSTR path, zsimagefileinfo* info) = 0;

  /// A deep copy of a record into other storage. On failure that is all zero. @return ZSE_OUTOFRESOURCES,
  /// E_OUTOFMEMORY; E_INVALIDARG, with nothing touched, when both are one or the record counts more than 99 sessions.
  virtual HRESULT Clone(zsimagefileinfo* source, zsimagefileinfo* copy) = 0;

  /// Frees all that a record points to and makes it all zero. An empty record is fine.
  /// @return E_OUTOFMEMORY, with the record unchanged.
  virtual HRESULT FreeImageFileInfo(zsimagefileinfo* info) = 0;

  /// Computes `dwDiscID` and `dwDiscID2` of a record.
  virtual HRESULT CalculateDiscID(zsimagefileinfo* info) = 0;

  /// The byte position in the sector file of what holds a sector. In a one-session image it is where the sector's track
  /// begins, pregap included. In others it is the sector's own, where the sectors of each session count from 0 and the
  /// disc has 11,400 sectors behind the first session and 6,900 behind others (150 less where a pregap follows); for a
  /// sector that is found in no session, the start of the last one. A sector in no track of a single session gives the
  /// end of the last. Every session needs at least one track.
  /// @param info The record. @param dwLBA The sector. @param pSeek64 Receives bytes from the start of the sector file.
  /// @param pLength64 Null, or receives a length in bytes of the track of the first session that holds the sector. In a
  /// one-session image it is (`dwEndLBA` - `dwLBA` - `Pregap`) x `BlockSize`: less than the track's data by its pregap.
  /// In others it is (`dwEndLBA` - `dwLBA`) x `BlockSize`. Not written if there is no such track. @return E_INVALIDARG
  /// for null, or a record that counts more than 99 sessions.
  virtual HRESULT GetPositionFromLBA(zsimagefileinfo* info, ULONG dwLBA, UHYPER* pSeek64, UHYPER* pLength64) = 0;

protected:
  ~IZSImageFile() = default;
};
