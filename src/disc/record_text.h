/// @file
/// The seven texts that discs and tracks both have, as numbered fields.
#pragma once

#include <array>

#include "disc/records.h"

enum class TextField { Title, Performer, Composer, Songwriter, Arranger, Genre, Message };

inline constexpr std::array kTextFields = {TextField::Title,      TextField::Performer, TextField::Composer,
                                           TextField::Songwriter, TextField::Arranger,  TextField::Genre,
                                           TextField::Message};

/// Returns the string of a field, which the record owns. `Record` is ZSCDTEXT or ZSTRACK.
template <class Record> BSTR TextOf(const Record& record, TextField field) noexcept;

/// Stores a string, which the record then owns. The old string is not freed.
template <class Record> void SetText(Record* record, TextField field, BSTR text) noexcept;

/// Frees the string of a field and stores another, which the record then owns.
template <class Record> void ReplaceText(Record* record, TextField field, BSTR text) noexcept;
