// The digit grouping and the date and time conventions of the string
// formatter and of KX_String::toInt.
#pragma once

#include "foundation/KX_Base.h"

class KX_StringFormatSettings : public KX_Base {
 public:
  // The library's conventions: no digit grouping, dates as day.month.year,
  // times as hour:minute:second. Takes no memory block, so that it can run
  // as a static initialiser before the memory manager starts.
  KX_StringFormatSettings() = default;
  ~KX_StringFormatSettings() override = default;

  int decimalGroupSize = 0;  // 0: no grouping
  char parseGroupSeparator = '\'';
  char decimalGroupSeparator = '.';
  int hexGroupSize = 0;
  char hexGroupSeparator = '.';
  int binaryGroupSize = 0;
  char binaryGroupSeparator = '.';
  char dateSeparator = '.';
  char timeSeparator = ':';
};

// The one record in use. Set up by static initialisation and never changed.
extern const KX_StringFormatSettings stringFormatSettings;
