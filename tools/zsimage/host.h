/// @file
/// The tool as a host of the component: its objects, and records that free themselves.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/task_memory.h"
#include "terminal_text.h"

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
  /// @param path Narrow text. @throws Failure that says why the image cannot be read.
  ImageRecord(const Host& host, const std::string& path);
  ImageRecord(const ImageRecord&) = delete;
  ImageRecord& operator=(const ImageRecord&) = delete;
  ~ImageRecord() { m_images.FreeImageFileInfo(&m_info); }

  zsimagefileinfo& Info() noexcept { return m_info; }
  const zsimagefileinfo& Info() const noexcept { return m_info; }
  const std::string& Path() const noexcept { return m_path; }

  /// The sector file as it is spelt on disk, or as the record names it when it is not there. Narrow text. The first
  /// answer stays when the record changes.
  const std::string& DataFile() const;

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

/// A sheet with a given number of empty tracks.
class SheetRecord {
public:
  SheetRecord(const Host& host, unsigned tracks);
  SheetRecord(const SheetRecord&) = delete;
  SheetRecord& operator=(const SheetRecord&) = delete;
  ~SheetRecord() { m_sheets.FreeZSCueSheet(m_sheet, VARIANT_TRUE); }

  ZSCUESHEET& Sheet() const noexcept { return *m_sheet; }

private:
  IZSCueSheet& m_sheets;
  ZSCUESHEET* m_sheet = nullptr;
};

/// CD-Text packs that the component made.
class EncodedText {
public:
  /// Packs the text of a sheet. Text that came from elsewhere, such as the TITLE lines of a CUE sheet, counts as
  /// well as decoded CD-Text; without any text the answer is S_FALSE and nothing is held.
  EncodedText(const Host& host, ZSCUESHEET& sheet, bool withSubChannel);

  HRESULT Result() const noexcept { return m_result; }
  BYTE* Data() const noexcept { return m_data.get(); }
  std::size_t Size() const noexcept { return m_size; }

private:
  HRESULT m_result;
  TaskMemory<BYTE> m_data;
  std::size_t m_size = 0;
};

/// Marks a sheet that has any text as one with CD-Text, so that the text goes into what is written from it.
/// @return whether it has any.
bool MarkText(ZSCUESHEET* sheet);
