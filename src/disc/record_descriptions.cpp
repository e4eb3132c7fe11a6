#include "disc/record_descriptions.h"

#include <iterator>

namespace {

constexpr RecordField Text(std::size_t offset) noexcept { return {RecordFieldKind::String, offset, 0}; }

constexpr RecordField kFileFields[] = {Text(offsetof(ZSFILESTRUCT, bstrFileName)),
                                       Text(offsetof(ZSFILESTRUCT, bstrLogicalPath))};

constexpr RecordField kTrackFields[] = {
    {RecordFieldKind::Table, offsetof(ZSTRACK, pdwIndex), offsetof(ZSTRACK, nCountIndex)},
    {RecordFieldKind::Variant, offsetof(ZSTRACK, varFiles), 0},
    Text(offsetof(ZSTRACK, bstrTitle)),
    Text(offsetof(ZSTRACK, bstrComposer)),
    Text(offsetof(ZSTRACK, bstrPerformer)),
    Text(offsetof(ZSTRACK, bstrSongwriter)),
    Text(offsetof(ZSTRACK, bstrArranger)),
    Text(offsetof(ZSTRACK, bstrGenre)),
    Text(offsetof(ZSTRACK, bstrMessage)),
    Text(offsetof(ZSTRACK, bstrISRC))};

constexpr RecordField kCDTextFields[] = {
    Text(offsetof(ZSCDTEXT, bstrMCN)),        Text(offsetof(ZSCDTEXT, bstrTitle)),
    Text(offsetof(ZSCDTEXT, bstrComposer)),   Text(offsetof(ZSCDTEXT, bstrPerformer)),
    Text(offsetof(ZSCDTEXT, bstrSongwriter)), Text(offsetof(ZSCDTEXT, bstrArranger)),
    Text(offsetof(ZSCDTEXT, bstrGenre)),      Text(offsetof(ZSCDTEXT, bstrMessage))};

/// Describes a text of a sheet. Its tracks have no description: only the cue sheet service copies and frees them.
constexpr RecordField SheetText(std::size_t offset) noexcept { return Text(offsetof(ZSCUESHEET, ZSCDTEXT) + offset); }

constexpr RecordField kSheetFields[] = {
    SheetText(offsetof(ZSCDTEXT, bstrMCN)),        SheetText(offsetof(ZSCDTEXT, bstrTitle)),
    SheetText(offsetof(ZSCDTEXT, bstrComposer)),   SheetText(offsetof(ZSCDTEXT, bstrPerformer)),
    SheetText(offsetof(ZSCDTEXT, bstrSongwriter)), SheetText(offsetof(ZSCDTEXT, bstrArranger)),
    SheetText(offsetof(ZSCDTEXT, bstrGenre)),      SheetText(offsetof(ZSCDTEXT, bstrMessage))};

constexpr RecordDescription kRecords[] = {
    {kRecordCueSheet, u"ZSCUESHEET", sizeof(ZSCUESHEET), kSheetFields, std::size(kSheetFields)},
    {kRecordTrack, u"ZSTRACK", sizeof(ZSTRACK), kTrackFields, std::size(kTrackFields)},
    {kRecordCDText, u"ZSCDTEXT", sizeof(ZSCDTEXT), kCDTextFields, std::size(kCDTextFields)},
    {kRecordFile, u"ZSFILESTRUCT", sizeof(ZSFILESTRUCT), kFileFields, std::size(kFileFields)},
    {kRecordXA, u"ZSXA", sizeof(ZSXA), nullptr, 0}};

} // namespace

TypeLibraryDescription* SharedTypeLibrary() noexcept {
  static TypeLibraryDescription library{kSharedTypeLibrary, 1, 0, kRecords, std::size(kRecords), nullptr};
  return &library;
}
