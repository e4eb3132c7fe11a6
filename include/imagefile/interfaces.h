/// @file
/// The objects of the library, as C++ programs create them. Header-only.
#pragma once

#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/error.h"
#include "imagefile/image_file_interface.h"
#include "platform/class_objects.h"

namespace imagefile {

/// An object of each class. Several threads may use several objects.
class Interfaces {
public:
  /// Creates the objects. @throws Error if the library is neither linked nor registered.
  Interfaces() {
    Create(CLSID_ZSImageFile, IID_IZSImageFile, &m_images);
    Create(CLSID_ZSCueSheet, IID_IZSCueSheet, &m_sheets);
  }

  IZSImageFile& Images() const noexcept { return *m_images.Get(); } ///< Reads, copies and describes images.
  IZSCueSheet& Sheets() const noexcept { return *m_sheets.Get(); }  ///< Handles sessions, CD-Text and sectors.

private:
  template <class I> static void Create(REFCLSID clsid, REFIID iid, ComPtr<I>* object) {
    detail::Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid()), "");
  }

  ComPtr<IZSImageFile> m_images;
  ComPtr<IZSCueSheet> m_sheets;
};

} // namespace imagefile
