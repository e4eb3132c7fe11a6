/// @file
/// A sheet that is not in a record yet.
#pragma once

#include "cuesheet/cue_sheet_interface.h"

/// Owns one sheet and frees it through the service that made it.
class CZSSheetHolder {
public:
  /// Takes a new sheet. Empty when the service gives none.
  explicit CZSSheetHolder(IZSCueSheet* service) noexcept : m_service(service) { m_service->AllocCueSheet(&m_sheet); }
  CZSSheetHolder(const CZSSheetHolder&) = delete;
  CZSSheetHolder& operator=(const CZSSheetHolder&) = delete;
  ~CZSSheetHolder() {
    if (m_sheet != nullptr) {
      m_service->FreeZSCueSheet(m_sheet, VARIANT_TRUE);
    }
  }

  ZSCUESHEET* Get() const noexcept { return m_sheet; }
  ZSCUESHEET* operator->() const noexcept { return m_sheet; }
  explicit operator bool() const noexcept { return m_sheet != nullptr; }

  /// Hands the sheet to the record as its next session. False when the record is full; the holder keeps it then.
  bool AttachTo(zsimagefileinfo* info) noexcept {
    if (info->nSessions >= kMaxSessions) {
      return false;
    }
    info->pZSCueSheet[info->nSessions++] = m_sheet;
    m_sheet = nullptr;
    return true;
  }

private:
  IZSCueSheet* m_service;
  ZSCUESHEET* m_sheet = nullptr;
};
