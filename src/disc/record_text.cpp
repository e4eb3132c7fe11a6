#include "disc/record_text.h"

#include <cstring>

#include "platform/bstr.h"

namespace {

/// Returns the offset of a field. Fields of packed records are copied as bytes, because they may be at any address.
template <class Record> std::size_t OffsetOf(TextField field) noexcept {
  static constexpr std::size_t kOffsets[] = {offsetof(Record, bstrTitle),    offsetof(Record, bstrPerformer),
                                             offsetof(Record, bstrComposer), offsetof(Record, bstrSongwriter),
                                             offsetof(Record, bstrArranger), offsetof(Record, bstrGenre),
                                             offsetof(Record, bstrMessage)}; // In the order of TextField.
  return kOffsets[static_cast<std::size_t>(field)];
}

} // namespace

template <class Record> BSTR TextOf(const Record& record, TextField field) noexcept {
  BSTR text = nullptr;
  std::memcpy(&text, reinterpret_cast<const BYTE*>(&record) + OffsetOf<Record>(field), sizeof(text));
  return text;
}

template <class Record> void SetText(Record* record, TextField field, BSTR text) noexcept {
  std::memcpy(reinterpret_cast<BYTE*>(record) + OffsetOf<Record>(field), &text, sizeof(text));
}

template <class Record> void ReplaceText(Record* record, TextField field, BSTR text) noexcept {
  SysFreeString(TextOf(*record, field));
  SetText(record, field, text);
}

template BSTR TextOf(const ZSCDTEXT&, TextField) noexcept;
template BSTR TextOf(const ZSTRACK&, TextField) noexcept;
template void SetText(ZSCDTEXT*, TextField, BSTR) noexcept;
template void SetText(ZSTRACK*, TextField, BSTR) noexcept;
template void ReplaceText(ZSCDTEXT*, TextField, BSTR) noexcept;
template void ReplaceText(ZSTRACK*, TextField, BSTR) noexcept;
