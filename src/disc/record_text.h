/// @file
/// The seven texts that a disc and each of its tracks have in common, by name of the field.
#pragma once

#include <array>

#include "disc/records.h"

enum class TextField { Title, Performer, Composer, Songwriter, Arranger, Genre, Message };

inline constexpr std::array kTextFields = {TextField::Title,      TextField::Performer, TextField::Composer,
                                           TextField::Songwriter, TextField::Arranger,  TextField::Genre,
                                           TextField::Message};

/// The string of a field, which the record goes on owning. `Record` is ZSCDTEXT or ZSTRACK.
template <class Record> BSTR TextOf(const Record& record, TextField field) noexcept;

/// Stores a string that the record then owns. What the field held is not freed.
template <class Record> void StoreText(Record* record, TextField field, BSTR text) noexcept;

/// Frees the string of a field and stores another, which the record then owns.
template <class Record> void ReplaceText(Record* record, TextField field, BSTR text) noexcept;
