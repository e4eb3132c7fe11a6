/// @file
/// The tool as a host of the component: its objects, and records that free themselves.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cuesheet/cue_sheet_interface.h"
#include "image/track_place.h"
#include "imagefile/image_file_interface.h"
#include "output/terminal_text.h"
#include "platform/task_memory.h"

/// The two objects of the component.
class Host {
public:
  /// @throws Failure when the component is not there.
  Host();

  IZSImageFile& Images() const noexcept { return *m_images.Get(); }
  IZSCueSheet& Sheets() const noexcept { return *m_sheets.Get(); }

private:
  ComPtr<IZSImageFile> m_images;
  ComPtr<IZSCueSheet> m_sheets;
};

/// One image that was read.
class ImageRecord {
public:
  /// @param path Narrow text. @param partial Whether the data file may end inside a sector.
  /// @throws Failure that says why the image cannot be read.
  ImageRecord(const Host& host, const std::string& path, bool partial = false);
  ImageRecord(const ImageRecord&) = delete;
  ImageRecord& operator=(const ImageRecord&) = delete;
  ~ImageRecord() { m_images.FreeImageFileInfo(&m_info); }

  zsimagefileinfo& Info() noexcept { return m_info; }
  const zsimagefileinfo& Info() const noexcept { return m_info; }
  const std::string& Path() const noexcept { return m_path; }

  /// The sector file as it is spelt on disk, or as the record names it when it is not there. Narrow text. The first
  /// answer stays when the record changes.
  const std::string& DataFile() const;

  /// Bytes of the sector file; none when there is no such file.
  std::optional<UHYPER> DataSize() const;

  /// Visits the tracks of a session. @throws Failure as Session does.
  void VisitTracks(unsigned session, const PlaceVisitor& visit) const {
    Session(session);
    VisitPlaces(m_info, session - 1, DataSize(), visit);
  }
  /// Their places in the sector file.
  std::vector<TrackPlace> Places(unsigned session) const;

  /// Whether a description that keeps its sectors elsewhere has itself as sector file, as those have whose other file
  /// is not there.
  bool IsItsOwnDataFile() const;

  /// @throws Failure that names the file looked for when there is no sector file.
  void RequireDataFile() const;

  /// @throws Failure when `output` is the description, its sector file or one of the companions that are read with it.
  void RefuseOwnFiles(const std::string& output) const;

  /// The session with a number from 1. @throws Failure when the image lacks it.
  ZSCUESHEET& Session(unsigned number) const;

private:
  IZSImageFile& m_images;
  std::string m_path;
  zsimagefileinfo m_info;
  mutable std::string m_dataFile; ///< Empty until it is asked for.
};

/// Frees a sheet.
struct SheetFree {
  IZSCueSheet* sheets;
  void operator()(ZSCUESHEET* sheet) const { sheets->FreeZSCueSheet(sheet, VARIANT_TRUE); }
};
using UniqueSheet = std::unique_ptr<ZSCUESHEET, SheetFree>;

/// A sheet with a number of empty tracks.
UniqueSheet MakeSheet(const Host& host, unsigned tracks);

/// Whether a track or a disc has a text.
template <class Record> bool HasText(const Record& record) {
  return record.bstrTitle != nullptr || record.bstrPerformer != nullptr || record.bstrSongwriter != nullptr ||
         record.bstrComposer != nullptr || record.bstrArranger != nullptr || record.bstrMessage != nullptr ||
         record.bstrGenre != nullptr;
}

/// Packs the text of a sheet. Text of any source counts, such as the TITLE lines of a CUE sheet. Empty for a sheet
/// without text.
std::vector<BYTE> EncodeText(const Host& host, ZSCUESHEET* sheet, bool withSubChannel);
