/// @file
/// One input at work: files in memory, the component's services, and what must hold when all is over.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "support/memory_files.h"

namespace fuzz {

/// Puts the platform layer on files in memory while it lives. At its end no task memory, no open file and no object
/// may be left, and the heap must never have held more than 64 MiB and twice the input.
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

/// A record that empties itself.
class Record {
public:
  explicit Record(Run* run) noexcept : m_run(run) {}
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  ~Record() { m_run->Images().FreeImageFileInfo(&m_info); }

  /// Reads a file of the folder and checks what came of it.
  HRESULT Read(std::string_view name);

  zsimagefileinfo& operator*() noexcept { return m_info; }
  zsimagefileinfo* operator->() noexcept { return &m_info; }

private:
  Run* m_run;
  zsimagefileinfo m_info{};
};

/// A sheet that frees itself.
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
/// The path of a name in the folder.
std::string PathOf(std::string_view name);

/// The CD-Text packs of a sheet, in either form; none when it has no CD-Text.
std::optional<std::string> Packs(Run* run, ZSCUESHEET* sheet, bool withSubChannel);

/// Reads an image and puts its record to every use: copies, identifiers, positions, packs, and files in the formats
/// that are written.
HRESULT CheckImage(Run* run, std::string_view name);

/// A file of sectors for descriptions that name one: zeros, but for volume descriptors of a bridge disc where sectors
/// of several sizes have theirs.
std::shared_ptr<MemoryFile> SectorFile();

} // namespace fuzz
