// Reading the caller's texts and writing texts into records.
#pragma once

#include <string>

#include "XoPolicyApi.h"

namespace xo::frame {

using TextField = char[XO_TEXT_FIELD];

// A name argument; a null pointer is an empty name.
std::string ArgText(const char* text);

// A record field, read up to its terminator but never past its 1024 bytes: a
// field without a terminator gives all 1024 bytes, which the store refuses as
// longer than any text it keeps.
std::string FieldText(const TextField& field);

// Writes the text and its terminator into a record field, cut to fit.
void CopyToField(TextField& field, const std::string& text);

}  // namespace xo::frame
