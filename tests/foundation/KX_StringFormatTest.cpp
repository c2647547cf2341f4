// KX_String::format: against snprintf where the two must agree, and the
// places where they must not.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "foundation/KX_DateTime.h"
#include "foundation/KX_String.h"
#include "foundation/KX_StringFormatter.h"
#include "support/LiveBlockGuard.h"

namespace {

class StringFormat : public LiveBlockTest {};

// Every combination of the printf flags that both must read alike, widths
// and precisions, as format prefixes "%<flags><width><precision>".
std::vector<std::string> conversionPrefixes(bool withPrecision) {
  std::vector<std::string> prefixes;
  const char* flags = "-+ 0";
  for (int mask = 0; mask < 16; ++mask) {
    std::string flagText;
    for (int f = 0; f < 4; ++f) {
      if (mask & (1 << f)) flagText += flags[f];
    }
    for (const char* width : {"", "1", "6", "14"}) {
      for (const char* precision : {"", ".0", ".3", ".9"}) {
        if (!withPrecision && precision[0] != 0) continue;
        prefixes.push_back("%" + flagText + width + precision);
      }
    }
  }
  return prefixes;
}

template <class T>
std::string printfText(const std::string& format, T value) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, format.c_str(), value);
  return buffer;
}

template <class T>
std::string formatText(const std::string& format, T value) {
  KX_String text;
  text.format(format.c_str(), value);
  return text.getText();
}

TEST_F(StringFormat, IntegersAgreeWithPrintf) {
  const int values[] = {0, 1, -1, 42, -42, 255, 12345678, INT_MAX, INT_MIN};
  const long long longValues[] = {0, -1, 0x123456789abcdefLL, LLONG_MIN, LLONG_MAX};
  int compared = 0;
  for (bool precision : {false, true}) {
    for (const std::string& prefix : conversionPrefixes(precision)) {
      // With a precision printf ignores the 0 flag for integers; this formatter doesn't.
      if (precision && prefix.find('0') != std::string::npos && prefix.find('-') == std::string::npos) continue;
      for (const char* letter : {"d", "i", "u", "o", "x", "X"}) {
        for (int value : values) {
          EXPECT_EQ(formatText(prefix + letter, value), printfText(prefix + letter, value)) << prefix + letter;
          EXPECT_EQ(formatText(prefix + "h" + letter, value), printfText(prefix + "h" + letter, value))
              << prefix + "h" + letter << " " << value;
          ++compared;
        }
        for (long long value : longValues) {
          EXPECT_EQ(formatText(prefix + "ll" + letter, value), printfText(prefix + "ll" + letter, value))
              << prefix + "ll" + letter;
        }
      }
    }
  }
  EXPECT_GT(compared, 1000);
}

TEST_F(StringFormat, FloatsAgreeWithPrintf) {
  const double values[] = {0.0, -0.0, 1.5, -2.25, 1e-7, 123456.789, -9.87654321e20, DBL_MAX};
  for (bool precision : {false, true}) {
    for (const std::string& prefix : conversionPrefixes(precision)) {
      for (const char* letter : {"f", "F", "e", "E", "g", "G"}) {
        for (double value : values) {
          EXPECT_EQ(formatText(prefix + letter, value), printfText(prefix + letter, value)) << prefix + letter;
        }
        long double wide = 3.25L;
        EXPECT_EQ(formatText(prefix + "L" + letter, wide), printfText(prefix + "L" + letter, wide));
      }
    }
  }
}

TEST_F(StringFormat, TextsCharactersAndPointers) {
  KX_String text;
  text.format("[%s|%5s|%-5s|%1s]", "ab", "ab", "ab", "abc");
  EXPECT_STREQ(text.getText(), "[ab|   ab|ab   |abc]");
  text.format("%c%3c%-3c|", 'x', 'y', 'z');
  EXPECT_STREQ(text.getText(), "x  yz  |");
  int object = 0;
  text.format("%p", static_cast<void*>(&object));
  EXPECT_EQ(std::string(text.getText()), printfText("%p", static_cast<void*>(&object)));
  text.format("%s", static_cast<const char*>(nullptr));
  EXPECT_STREQ(text.getText(), "(null)");
  const std::uint16_t wide[] = {0x141, 'b', 0x263, 0};  // low bytes: A b c
  text.format("%ls|%6ls", wide, wide);
  EXPECT_STREQ(text.getText(), "Abc|   Abc");
  text.format("100%% %d%%", 5);
  EXPECT_STREQ(text.getText(), "100% 5%");
}

TEST_F(StringFormat, WhereItDiffersFromPrintf) {
  KX_String text;
  text.format("%b|%b|%8b|%-8b|%08b", 5u, 0u, 5u, 5u, 5u);
  EXPECT_STREQ(text.getText(), "101|0|     101|101     |00000101");
  text.format("%llb", 0x100000005ULL);  // the low half of a 64-bit argument
  EXPECT_STREQ(text.getText(), "101");
  text.format("%hb|%b", 0x12345u, 0xffffffffu);  // h: the low 16 bits, 0x2345
  EXPECT_STREQ(text.getText(), "10001101000101|11111111111111111111111111111111");
  text.format("%#x|%#o|%#5d", 255, 8, 42);  // # only drops grouping
  EXPECT_STREQ(text.getText(), "ff|10|   42");
  text.format("%05s|%.2s", "ab", "abcdef");  // no zeros, no precision for texts
  EXPECT_STREQ(text.getText(), "   ab|abcdef");
  text.format("%08.3d|%08.3f", 5, 1.5);  // 0 pads after the sign even with a precision
  EXPECT_STREQ(text.getText(), "00000005|0001.500");
  text.format("%ld|%lx", 7, -1);  // l is 32 bits
  EXPECT_STREQ(text.getText(), "7|ffffffff");
}

TEST_F(StringFormat, TheExamplesOfTheConversions) {
  KX_String text;
  text.format("%08x", 255);
  EXPECT_STREQ(text.getText(), "000000ff");
  text.format("%5i|%-5i|%+i", 42, 42, 42);
  EXPECT_STREQ(text.getText(), "   42|42   |+42");
  text.format("%016llx", 0x0123456789abcdefULL);
  EXPECT_STREQ(text.getText(), "0123456789abcdef");
  text.format("% d|% d|%+ d", 7, -7, 7);
  EXPECT_STREQ(text.getText(), " 7|-7|+7");
}

TEST_F(StringFormat, BrokenConversionsAreDropped) {
  KX_String text("old contents");
  text.format("ab%5");
  EXPECT_STREQ(text.getText(), "ab");
  text.format("ab%-0.3l");
  EXPECT_STREQ(text.getText(), "ab");
  text.format("a%qb%d", 3);  // the unknown letter takes no argument
  EXPECT_STREQ(text.getText(), "ab3");
  text.format("%*d", 4);
  EXPECT_STREQ(text.getText(), "d");
  text.format("");
  EXPECT_EQ(text.getLength(), 0);
  text.format(nullptr);
  EXPECT_EQ(text.getLength(), 0);
}

TEST_F(StringFormat, LongOutputsGrowTheString) {
  KX_String text;
  std::string longText(300, 'w');
  text.format("<%s>%.40f", longText.c_str(), 1.0 / 3);
  EXPECT_EQ(std::string(text.getText()), "<" + longText + ">" + printfText("%.40f", 1.0 / 3));
  EXPECT_EQ(text.getLength(), static_cast<int>(std::string(text.getText()).size()));
  text.format("%400d", 1);
  EXPECT_EQ(text.getLength(), 400);
}

TEST_F(StringFormat, DatesAndTimes) {
  KX_DateTime stamp;
  stamp.setDate(3, 7, 2024);
  stamp.setTime(9, 5, 7, 123456);
  KX_String text;
  text.format("%a %t", &stamp, &stamp);
  EXPECT_STREQ(text.getText(), "03.07.2024 09:05:07");
  text.format("%#a %#t", &stamp, &stamp);
  EXPECT_STREQ(text.getText(), "2024/07/03 09:05");
  text.format("[%12a|%-10t]", &stamp, &stamp);
  EXPECT_STREQ(text.getText(), "[  03.07.2024|09:05:07  ]");
}

void formatWith(KX_String& target, const KX_StringFormatSettings& settings, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  KX_formatText(target, settings, format, arguments);
  va_end(arguments);
}

TEST_F(StringFormat, DigitGroupsFromTheRight) {
  KX_StringFormatSettings settings;
  settings.decimalGroupSize = 3;
  settings.hexGroupSize = 4;
  settings.hexGroupSeparator = '_';
  settings.binaryGroupSize = 4;
  settings.binaryGroupSeparator = ' ';
  settings.dateSeparator = '-';
  settings.timeSeparator = 'h';
  KX_String text;
  formatWith(text, settings, "%d|%#d|%d|%d|%u", 1234567, 1234567, -1234, 123, 1000u);
  EXPECT_STREQ(text.getText(), "1.234.567|1234567|-1.234|123|1.000");
  formatWith(text, settings, "%012d|%-+11d|%x|%X|%o", 1234567, 1234567, 0x12345678, 0xabcdef, 01234567);
  EXPECT_STREQ(text.getText(), "0001.234.567|+1.234.567 |1234_5678|AB_CDEF|1234567");
  formatWith(text, settings, "%b|%.2f", 0x2fu, 1234567.5);
  EXPECT_STREQ(text.getText(), "10 1111|1.234.567.50");
  KX_DateTime stamp;
  stamp.setDate(1, 2, 2003);
  stamp.setTime(4, 5, 6, 0);
  formatWith(text, settings, "%a %t|%#a %#t", &stamp, &stamp, &stamp, &stamp);
  EXPECT_STREQ(text.getText(), "01-02-2003 04h05h06|2003/02/01 04:05");
}

}  // namespace
