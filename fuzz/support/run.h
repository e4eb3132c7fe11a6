/// @file
/// The run of one input: files in memory, the services of the component, and checks at the end.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "support/memory_files.h"

namespace fuzz {

/// Environment of one input. The platform layer uses files in memory. The destructor requires that no task memory, open
/// file or object is left, and that the heap never held more than 64 MiB plus twice the input.
class Run {
public:
  explicit Run(std::size_t inputSize);
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run();

  MemoryFiles& Files() noexcept { return m_files; }
  IZSImageFile& Images() noexcept { return *m_images.Get(); }
  IZSCueSheet& Sheets() noexcept { return *m_sheets.Get(); }

private:
  MemoryFiles& m_files;
  std::size_t m_inputSize;
  long m_blocks;
  LONG m_objects;
  ComPtr<IZSImageFile> m_images;
  ComPtr<IZSCueSheet> m_sheets;
};

/// A record that is freed at the end of its scope.
class Record {
public:
  explicit Record(Run* run) noexcept : m_run(run) {}
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  ~Record() { m_run->Images().FreeImageFileInfo(&m_info); }

  /// Reads a file of the folder and checks the record.
  HRESULT Read(std::string_view name);

  zsimagefileinfo& operator*() noexcept { return m_info; }
  zsimagefileinfo* operator->() noexcept { return &m_info; }

private:
  Run* m_run;
  zsimagefileinfo m_info{};
};

/// A sheet that is freed at the end of its scope.
class Sheet {
public:
  explicit Sheet(Run* run) noexcept : m_run(run) {}
  Sheet(Run* run, UINT tracks);
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;
  ~Sheet();

  ZSCUESHEET* Get() const noexcept { return m_sheet; }
  ZSCUESHEET& operator*() const noexcept { return *m_sheet; }
  ZSCUESHEET* operator->() const noexcept { return m_sheet; }
  ZSCUESHEET** Receive() noexcept { return &m_sheet; }

private:
  Run* m_run;
  ZSCUESHEET* m_sheet = nullptr;
};

UniqueBstr Wide(std::string_view narrow);
/// Returns the path of a file in the folder.
std::string PathOf(std::string_view name);

/// Encodes the CD-Text of a sheet as packs or as sub-channel symbols. Empty if the sheet has no CD-Text.
std::optional<std::string> EncodePacks(Run* run, ZSCUESHEET* sheet, bool asSubChannel);

/// Reads an image and checks every use of its record: copies, identifiers, positions, packs, and written files. Returns
/// the result of reading.
HRESULT CheckImage(Run* run, std::string_view name);

/// Returns a file of sectors: zeros, and volume descriptors of a bridge disc at the offsets that they have with sectors
/// of several sizes.
std::shared_ptr<MemoryFile> SectorFile();

} // namespace fuzz
