// The printf-like formatter and the number parser behind KX_String::format
// and KX_String::toInt, with the settings record as a parameter.
//
// A conversion is: %, flags (- left-justify, + always a sign, blank a blank
// in place of a plus sign, 0 pad with zeros after the sign, # ignore the
// settings record), a width in digits, a precision (. and digits), a size
// (h 16 bits, l 32 bits or wide text, ll 64 bits, L long double) and a letter:
//   d i       signed decimal            u o x X   unsigned, octal, hex
//   f F e E g G  double                 p         pointer as printf gives it
//   b         binary digits of an unsigned int (64 bits: the low half)
//   c         one char                  s         text (ls: 16-bit characters)
//   a t       date and time of a KX_DateTime passed by pointer
// %% gives a percent sign. An unknown letter drops its conversion; a text
// that ends inside a conversion drops the rest.
#pragma once

#include <cstdarg>

#include "foundation/KX_String.h"
#include "foundation/KX_StringFormatSettings.h"

// Replaces the contents of `target` by the formatted text.
void KX_formatText(KX_String& target, const KX_StringFormatSettings& settings, const char* format, va_list arguments);

// The number in `text`; see KX_String::toInt.
int KX_parseInt(const char* text, bool removeGroupSeparators, const KX_StringFormatSettings& settings);
