#include "foundation/KX_StringFormatter.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/KX_DateTime.h"

namespace {

enum class Size { normal, bits16, bits32, bits64, longDouble };

struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool zero = false;
  bool plain = false;  // `#`: ignore the settings record
  int width = 0;
  int precision = -1;  // -1: none given
  Size size = Size::normal;
};

// Appends through resize, piece by piece.
void append(KX_String& target, const char* text, int length) {
  if (length <= 0) return;
  const int start = target.getLength();
  target.resize(start + length);
  std::memcpy(target.getBuffer() + start, text, static_cast<std::size_t>(length));
}

void appendRepeated(KX_String& target, char c, int n) {
  if (n <= 0) return;
  const int start = target.getLength();
  target.resize(start + n);
  std::memset(target.getBuffer() + start, c, static_cast<std::size_t>(n));
}

// Writes printf output into `scratch` (as many characters as it takes) and
// returns its length.
int printInto(KX_CharArray& scratch, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  scratch.resize(length > 0 ? length : 0);
  // The array keeps a zero element behind the text: room for the terminator.
  if (length > 0) std::vsnprintf(scratch.getBuffer(), static_cast<std::size_t>(length) + 1, format, again);
  va_end(again);
  return length > 0 ? length : 0;
}

// Inserts `separator` between groups of `groupSize` digits, counted from the
// right end of the leading run of digits of `body`.
void groupDigits(KX_CharArray& body, int groupSize, char separator, bool hexDigits) {
  if (groupSize <= 0) return;
  int digits = 0;
  const char* text = body.getBuffer();
  while (digits < body.getCount() && ((text[digits] >= '0' && text[digits] <= '9') ||
                                      (hexDigits && ((text[digits] >= 'a' && text[digits] <= 'f') ||
                                                     (text[digits] >= 'A' && text[digits] <= 'F'))))) {
    ++digits;
  }
  for (int position = digits - groupSize; position > 0; position -= groupSize) body.insert(position, separator);
}

// Fills the field: the sign, then padding and the body as the flags ask.
// A forced plus sign is dropped unless `+` was given, or made a blank.
void emitNumber(KX_String& target, const Conversion& conversion, char sign, const char* body, int bodyLength) {
  if (sign == '+' && !conversion.plus) sign = conversion.blank ? ' ' : 0;
  const int padding = conversion.width - bodyLength - (sign != 0 ? 1 : 0);
  if (conversion.left) {
    if (sign != 0) append(target, &sign, 1);
    append(target, body, bodyLength);
    appendRepeated(target, ' ', padding);
  } else if (conversion.zero) {
    if (sign != 0) append(target, &sign, 1);
    appendRepeated(target, '0', padding);
    append(target, body, bodyLength);
  } else {
    appendRepeated(target, ' ', padding);
    if (sign != 0) append(target, &sign, 1);
    append(target, body, bodyLength);
  }
}

// Text fields take the width with blanks; `0` has no effect on them.
void emitText(KX_String& target, const Conversion& conversion, const char* text, int length) {
  const int padding = conversion.width - length;
  if (!conversion.left) appendRepeated(target, ' ', padding);
  append(target, text, length);
  if (conversion.left) appendRepeated(target, ' ', padding);
}

// Splits printf output into its sign and body, groups the body's digits and
// fills the field.
void emitPrinted(KX_String& target, const Conversion& conversion, KX_CharArray& printed, int groupSize, char separator,
                 bool hexDigits) {
  char sign = 0;
  if (printed.getCount() > 0 && (printed.at(0) == '+' || printed.at(0) == '-')) {
    sign = printed.at(0);
    printed.remove(0);
  }
  if (!conversion.plain) groupDigits(printed, groupSize, separator, hexDigits);
  emitNumber(target, conversion, sign, printed.getBuffer(), printed.getCount());
}

long long readSigned(va_list& arguments, Size size) {
  switch (size) {
    case Size::bits16:
      return static_cast<short>(va_arg(arguments, int));
    case Size::bits64:
      return va_arg(arguments, long long);
    default:
      // `l` is 32 bits, as int.
      return va_arg(arguments, int);
  }
}

unsigned long long readUnsigned(va_list& arguments, Size size) {
  switch (size) {
    case Size::bits16:
      return static_cast<unsigned short>(va_arg(arguments, unsigned int));
    case Size::bits64:
      return va_arg(arguments, unsigned long long);
    default:
      return va_arg(arguments, unsigned int);
  }
}

// The format of printf for a number: forced plus sign, the precision if given.
void buildNumberFormat(char* format, const Conversion& conversion, const char* size, char letter) {
  if (conversion.precision >= 0) {
    std::snprintf(format, 32, "%%+.%d%s%c", conversion.precision, size, letter);
  } else {
    std::snprintf(format, 32, "%%+%s%c", size, letter);
  }
}

void convertDateTime(KX_String& target, const Conversion& conversion, const KX_StringFormatSettings& settings,
                     const KX_DateTime* stamp, char letter) {
  char text[64];
  int length;
  if (stamp == nullptr) {
    length = std::snprintf(text, sizeof text, "(null)");
  } else if (letter == 'a') {
    length = conversion.plain
                 ? std::snprintf(text, sizeof text, "%04d/%02d/%02d", stamp->year, stamp->month, stamp->day)
                 : std::snprintf(text, sizeof text, "%02d%c%02d%c%04d", stamp->day, settings.dateSeparator,
                                 stamp->month, settings.dateSeparator, stamp->year);
  } else {
    length = conversion.plain
                 ? std::snprintf(text, sizeof text, "%02d:%02d", stamp->hour, stamp->minute)
                 : std::snprintf(text, sizeof text, "%02d%c%02d%c%02d", stamp->hour, settings.timeSeparator,
                                 stamp->minute, settings.timeSeparator, stamp->second);
  }
  emitText(target, conversion, text, length);
}

// Runs one conversion whose letter is at `*letter`; returns false for an
// unknown letter (the conversion is then dropped).
bool convert(KX_String& target, const Conversion& conversion, const KX_StringFormatSettings& settings, char letter,
             va_list& arguments) {
  KX_CharArray printed;
  char format[32];
  switch (letter) {
    case 'd':
    case 'i': {
      buildNumberFormat(format, conversion, "ll", 'd');
      printInto(printed, format, readSigned(arguments, conversion.size));
      emitPrinted(target, conversion, printed, settings.decimalGroupSize, settings.decimalGroupSeparator, false);
      return true;
    }
    case 'u':
    case 'o':
    case 'x':
    case 'X': {
      buildNumberFormat(format, conversion, "ll", letter);
      printInto(printed, format, readUnsigned(arguments, conversion.size));
      if (letter == 'u') {
        emitPrinted(target, conversion, printed, settings.decimalGroupSize, settings.decimalGroupSeparator, false);
      } else if (letter == 'o') {
        emitPrinted(target, conversion, printed, 0, 0, false);
      } else {
        emitPrinted(target, conversion, printed, settings.hexGroupSize, settings.hexGroupSeparator, true);
      }
      return true;
    }
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G': {
      if (conversion.size == Size::longDouble) {
        buildNumberFormat(format, conversion, "L", letter);
        printInto(printed, format, va_arg(arguments, long double));
      } else {
        buildNumberFormat(format, conversion, "", letter);
        printInto(printed, format, va_arg(arguments, double));
      }
      // The integer part is grouped as a decimal number.
      emitPrinted(target, conversion, printed, settings.decimalGroupSize, settings.decimalGroupSeparator, false);
      return true;
    }
    case 'p': {
      printInto(printed, "%p", va_arg(arguments, void*));
      emitNumber(target, conversion, 0, printed.getBuffer(), printed.getCount());
      return true;
    }
    case 'b': {
      // A 64-bit argument is taken by its low half. The precision isn't used.
      const unsigned int value = static_cast<unsigned int>(readUnsigned(arguments, conversion.size));
      char digits[33];
      int length = 0;
      for (int bit = 31; bit >= 0; --bit) {
        if (length > 0 || (value >> bit) != 0 || bit == 0)
          digits[length++] = static_cast<char>('0' + ((value >> bit) & 1u));
      }
      printed.resize(length);
      std::memcpy(printed.getBuffer(), digits, static_cast<std::size_t>(length));
      emitPrinted(target, conversion, printed, settings.binaryGroupSize, settings.binaryGroupSeparator, false);
      return true;
    }
    case 'c': {
      const char c = static_cast<char>(va_arg(arguments, int));
      emitText(target, conversion, &c, 1);
      return true;
    }
    case 's': {
      // The precision isn't applied to texts.
      if (conversion.size == Size::bits32) {
        const std::uint16_t* wide = va_arg(arguments, const std::uint16_t*);
        if (wide == nullptr) {
          emitText(target, conversion, "(null)", 6);
          return true;
        }
        int length = 0;
        while (wide[length] != 0) ++length;
        printed.resize(length);
        for (int i = 0; i < length; ++i) printed.getBuffer()[i] = static_cast<char>(wide[i] & 0xff);
        emitText(target, conversion, printed.getBuffer(), length);
      } else {
        const char* text = va_arg(arguments, const char*);
        if (text == nullptr) text = "(null)";
        emitText(target, conversion, text, static_cast<int>(std::strlen(text)));
      }
      return true;
    }
    case 'a':
    case 't':
      convertDateTime(target, conversion, settings, va_arg(arguments, const KX_DateTime*), letter);
      return true;
    default:
      return false;
  }
}

}  // namespace

void KX_formatText(KX_String& target, const KX_StringFormatSettings& settings, const char* format, va_list arguments) {
  target.clear();
  if (format == nullptr) return;
  va_list rest;
  va_copy(rest, arguments);
  const char* p = format;
  while (*p != 0) {
    const char* literal = p;
    while (*p != 0 && *p != '%') ++p;
    append(target, literal, static_cast<int>(p - literal));
    if (*p == 0) break;
    ++p;
    if (*p == '%') {
      append(target, "%", 1);
      ++p;
      continue;
    }
    Conversion conversion;
    for (;; ++p) {
      if (*p == '-') {
        conversion.left = true;
      } else if (*p == '+') {
        conversion.plus = true;
      } else if (*p == ' ') {
        conversion.blank = true;
      } else if (*p == '0') {
        conversion.zero = true;
      } else if (*p == '#') {
        conversion.plain = true;
      } else {
        break;
      }
    }
    while (*p >= '0' && *p <= '9') conversion.width = conversion.width * 10 + (*p++ - '0');
    if (*p == '.') {
      ++p;
      conversion.precision = 0;
      while (*p >= '0' && *p <= '9') conversion.precision = conversion.precision * 10 + (*p++ - '0');
    }
    for (;; ++p) {
      if (*p == 'h') {
        conversion.size = Size::bits16;
      } else if (*p == 'l') {
        conversion.size = conversion.size == Size::bits32 ? Size::bits64 : Size::bits32;
      } else if (*p == 'L') {
        conversion.size = Size::longDouble;
      } else {
        break;
      }
    }
    // A format that ends inside a conversion drops the rest.
    if (*p == 0) break;
    convert(target, conversion, settings, *p, rest);
    ++p;
  }
  va_end(rest);
}

namespace {

// The runtime parsers of a 32-bit long: results beyond its range saturate.
int toInt32(long long value) {
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

}  // namespace

int KX_parseInt(const char* text, bool removeGroupSeparators, const KX_StringFormatSettings& settings) {
  if (text == nullptr) return 0;
  while (*text == ' ' || *text == '\t' || *text == '\v') ++text;
  if (*text == 0) return 0;
  const bool longEnough = std::strlen(text) >= 3;
  const bool hex = longEnough && text[0] == '0' && text[1] == 'x';
  const bool binary = longEnough && text[0] == '0' && text[1] == 'b';
  const int groupSize = hex ? settings.hexGroupSize : binary ? settings.binaryGroupSize : settings.decimalGroupSize;

  KX_CharArray ungrouped;
  if (removeGroupSeparators && groupSize != 0) {
    for (const char* c = text; *c != 0; ++c) {
      if (*c != settings.parseGroupSeparator) ungrouped.append(*c);
    }
    text = ungrouped.getBuffer();
  }
  if (hex) return toInt32(std::strtoll(text, nullptr, 0));
  if (binary) return toInt32(std::strtoll(text + 2, nullptr, 2));
  return toInt32(std::strtoll(text, nullptr, 10));
}
