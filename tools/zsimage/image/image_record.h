/// @file
/// The record of an image that the component has read.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "image/host.h"
#include "image/track_extent.h"

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

  /// Returns the session with a number from 1. @throws Failure if the image has no such session.
  ZSCUESHEET& Session(unsigned number) const;
  /// Returns the first `count` sessions, or all.
  std::vector<ZSCUESHEET*> Sessions(unsigned count = kMaxSessions) const;

  /// Visits the tracks of a session. @throws Failure as Session does.
  void VisitTracks(unsigned session, const TrackVisitor& visit) const;
  /// Returns the extents of its tracks.
  std::vector<TrackExtent> Extents(unsigned session) const;

  /// The path of the data file, narrow text: in the spelling of the disk or, if there is no such file, of the record.
  /// Changes of the record after the first call have no effect.
  const std::string& DataFile() const;
  /// Bytes of the data file; none if it is missing.
  std::optional<UHYPER> DataSize() const;
  /// Returns whether the record names the description itself as the data file, because the real one is missing.
  bool IsItsOwnDataFile() const;

  /// @throws Failure that names the data file if it is missing.
  void RequireDataFile() const;
  /// @throws Failure if `output` is a file of the image: its description, its data file or a companion.
  void RefuseOwnFiles(const std::string& output) const;

private:
  IZSImageFile& m_images;
  std::string m_path;
  zsimagefileinfo m_info;
  mutable std::string m_dataFile; ///< Empty until DataFile is called.
};

/// Returns the path of the data file that a sheet names: empty for an empty name, and the sheet itself if no line names
/// one.
std::string DataFileOfSheet(const Host& host, const std::string& path);

/// Reads a sheet or an ISO image whose data file ends inside a sector, which the component refuses or reads as an image
/// without sectors. The last track may end after the data file. @return the component's result.
HRESULT ReadPartialImage(const Host& host, const std::string& path, zsimagefileinfo* info);
