/// @file
/// Owner of a sheet that is not part of a record yet.
#pragma once

#include <memory>

#include "cuesheet/cue_sheet_interface.h"
#include "cuesheet/sheet_records.h"

/// Frees a sheet with all that it owns.
struct SheetDeleter {
  void operator()(ZSCUESHEET* sheet) const noexcept { FreeSheet(sheet); }
};
using UniqueSheet = std::unique_ptr<ZSCUESHEET, SheetDeleter>;

/// Returns an empty sheet, or null if out of memory.
inline UniqueSheet NewSheet(IZSCueSheet* service) noexcept {
  ZSCUESHEET* sheet = nullptr;
  service->AllocCueSheet(&sheet);
  return UniqueSheet(sheet);
}

/// Appends a sheet to a record as its next session. @return false, with the sheet unchanged, if the record is full.
inline bool AppendSession(UniqueSheet* sheet, zsimagefileinfo* info) noexcept {
  if (info->nSessions >= kMaxSessions) {
    return false;
  }
  info->pZSCueSheet[info->nSessions++] = sheet->release();
  return true;
}
