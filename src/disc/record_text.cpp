#include "disc/record_text.h"

#include <cstring>

#include "platform/bstr.h"

namespace {

/// Where the field stands. Fields of packed records are moved as bytes, since they may lie at any address.
template <class Record> constexpr std::size_t OffsetOf(TextField field) noexcept {
  switch (field) {
  case TextField::Title:
    return offsetof(Record, bstrTitle);
  case TextField::Performer:
    return offsetof(Record, bstrPerformer);
  case TextField::Composer:
    return offsetof(Record, bstrComposer);
  case TextField::Songwriter:
    return offsetof(Record, bstrSongwriter);
  case TextField::Arranger:
    return offsetof(Record, bstrArranger);
  case TextField::Genre:
    return offsetof(Record, bstrGenre);
  case TextField::Message:
    break;
  }
  return offsetof(Record, bstrMessage);
}

} // namespace

template <class Record> BSTR TextOf(const Record& record, TextField field) noexcept {
  BSTR text = nullptr;
  std::memcpy(&text, reinterpret_cast<const BYTE*>(&record) + OffsetOf<Record>(field), sizeof(text));
  return text;
}

template <class Record> void StoreText(Record* record, TextField field, BSTR text) noexcept {
  std::memcpy(reinterpret_cast<BYTE*>(record) + OffsetOf<Record>(field), &text, sizeof(text));
}

template <class Record> void ReplaceText(Record* record, TextField field, BSTR text) noexcept {
  SysFreeString(TextOf(*record, field));
  StoreText(record, field, text);
}

template BSTR TextOf(const ZSCDTEXT&, TextField) noexcept;
template BSTR TextOf(const ZSTRACK&, TextField) noexcept;
template void StoreText(ZSCDTEXT*, TextField, BSTR) noexcept;
template void StoreText(ZSTRACK*, TextField, BSTR) noexcept;
template void ReplaceText(ZSCDTEXT*, TextField, BSTR) noexcept;
template void ReplaceText(ZSTRACK*, TextField, BSTR) noexcept;
