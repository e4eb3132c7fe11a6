/// @file
/// Sheets that are not part of an image.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "imagefile/interfaces.h"

using Host = imagefile::Interfaces;

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
