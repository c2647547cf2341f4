// A time stamp: a calendar date and a time of day down to microseconds.
#pragma once

#include <cstdint>

#include "foundation/KX_Base.h"

class KX_DateTime : public KX_Base {
 public:
  KX_DateTime() = default;
  ~KX_DateTime() override = default;

  KX_Base* newInstance() const override { return new KX_DateTime(); }
  void copyFrom(const KX_Base* source) override { *this = *static_cast<const KX_DateTime*>(source); }
  // Year first, down to microseconds; the first field that differs decides.
  bool isLess(const KX_Base* other) const override {
    const KX_DateTime& o = *static_cast<const KX_DateTime*>(other);
    const int mine[] = {year, month, day, hour, minute, second, microseconds};
    const int theirs[] = {o.year, o.month, o.day, o.hour, o.minute, o.second, o.microseconds};
    for (int i = 0; i < 7; ++i) {
      if (mine[i] != theirs[i]) return mine[i] < theirs[i];
    }
    return false;
  }
  bool isEqual(const KX_Base* other) const override {
    const KX_DateTime& o = *static_cast<const KX_DateTime*>(other);
    return day == o.day && month == o.month && year == o.year && hour == o.hour && minute == o.minute &&
           second == o.second && microseconds == o.microseconds;
  }

  void setDate(std::int16_t newDay, std::int16_t newMonth, std::int16_t newYear) {
    day = newDay;
    month = newMonth;
    year = newYear;
  }
  void setTime(std::int16_t newHour, std::int16_t newMinute, std::int16_t newSecond, int newMicroseconds) {
    hour = newHour;
    minute = newMinute;
    second = newSecond;
    microseconds = newMicroseconds;
  }

  std::int16_t day = 0;
  std::int16_t month = 0;
  std::int16_t year = 0;
  std::int16_t hour = 0;
  std::int16_t minute = 0;
  std::int16_t second = 0;
  int microseconds = 0;
};
