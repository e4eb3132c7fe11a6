/// @file
/// Images of any number of tracks and sessions in every format, in a folder that is removed at the end.
#pragma once

#include <filesystem>
#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"

/// A temporary folder. The destructor removes it.
class ScratchFolder {
public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  std::string Path(const std::string& name) const { return (m_folder / name).string(); }

private:
  std::filesystem::path m_folder;
};

void WriteFile(const std::string& path, std::string_view content);

/// Returns a sheet for `tracks` tracks of 20 sectors, with titles, performers and codes.
std::string CueText(const std::string& dataFile, int tracks);

/// Makes an image in the format of an extension ("iso", "cue", "nrg", "ccd", "mds", "zsi") and returns its path. Each
/// session begins with a data track; its other tracks are audio.
std::string MakeDisc(const ScratchFolder& folder, const std::string& extension, int sessions, int tracksOfSession);

/// Creates an object of the component.
template <class I> ComPtr<I> Create(const OLECHAR* progId, REFIID iid);
extern template ComPtr<IZSImageFile> Create(const OLECHAR* progId, REFIID iid);
extern template ComPtr<IZSCueSheet> Create(const OLECHAR* progId, REFIID iid);
inline ComPtr<IZSImageFile> ImageFiles() { return Create<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile); }
inline ComPtr<IZSCueSheet> CueSheets() { return Create<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet); }

UniqueBstr Wide(const std::string& text);

/// The record of an image, read at construction. Throws std::runtime_error if it cannot be read.
class Disc {
public:
  explicit Disc(const std::string& path);
  Disc(const Disc&) = delete;
  Disc& operator=(const Disc&) = delete;
  ~Disc() { m_images->FreeImageFileInfo(&m_info); }

  zsimagefileinfo* Info() noexcept { return &m_info; }
  IZSImageFile* Images() const noexcept { return m_images.Get(); }

private:
  ComPtr<IZSImageFile> m_images = ImageFiles();
  zsimagefileinfo m_info{};
};
