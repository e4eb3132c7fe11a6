/// @file
/// Sheets outside images, and what they have in common with those of images.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "imagefile/interfaces.h"

using imagefile::Interfaces;

struct SheetFree {
  IZSCueSheet* sheets;
  void operator()(ZSCUESHEET* sheet) const { sheets->FreeZSCueSheet(sheet, VARIANT_TRUE); }
};
using UniqueSheet = std::unique_ptr<ZSCUESHEET, SheetFree>;

/// Returns a sheet with a number of empty tracks.
UniqueSheet CreateSheet(const Interfaces& host, unsigned tracks);

inline std::span<ZSTRACK> Tracks(const ZSCUESHEET& sheet) { return {sheet.pZSTracks, sheet.nTracks}; }

template <class Record> bool HasText(const Record& record) {
  return record.bstrTitle != nullptr || record.bstrPerformer != nullptr || record.bstrSongwriter != nullptr ||
         record.bstrComposer != nullptr || record.bstrArranger != nullptr || record.bstrMessage != nullptr ||
         record.bstrGenre != nullptr;
}

/// Returns the texts of a sheet, TITLE lines of a CUE sheet included, as bytes of CD-Text packs; empty without texts.
std::string EncodeText(const Interfaces& host, ZSCUESHEET* sheet, bool withSubChannel);
