/// @file
/// The tool as a host of the component: its objects, and sheets that free themselves.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"

class Host {
public:
  /// @throws Failure if the component is missing.
  Host();

  IZSImageFile& Images() const noexcept { return *m_images.Get(); }
  IZSCueSheet& Sheets() const noexcept { return *m_sheets.Get(); }

private:
  ComPtr<IZSImageFile> m_images;
  ComPtr<IZSCueSheet> m_sheets;
};

struct SheetFree {
  IZSCueSheet* sheets;
  void operator()(ZSCUESHEET* sheet) const { sheets->FreeZSCueSheet(sheet, VARIANT_TRUE); }
};
using UniqueSheet = std::unique_ptr<ZSCUESHEET, SheetFree>;

/// Returns a sheet with a number of empty tracks.
UniqueSheet CreateSheet(const Host& host, unsigned tracks);

inline std::span<ZSTRACK> Tracks(const ZSCUESHEET& sheet) { return {sheet.pZSTracks, sheet.nTracks}; }

template <class Record> bool HasText(const Record& record) {
  return record.bstrTitle != nullptr || record.bstrPerformer != nullptr || record.bstrSongwriter != nullptr ||
         record.bstrComposer != nullptr || record.bstrArranger != nullptr || record.bstrMessage != nullptr ||
         record.bstrGenre != nullptr;
}

/// Returns the texts of a sheet, TITLE lines of a CUE sheet included, as bytes of CD-Text packs; empty without texts.
std::string EncodeText(const Host& host, ZSCUESHEET* sheet, bool withSubChannel);
