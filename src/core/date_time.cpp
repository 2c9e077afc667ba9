#include "olma/core/date_time.h"

#include <cstring>

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace Olma {
namespace {

// Parsing and printing are on the hot path of every date-time argument, so both are done
// by hand over a fixed layout, with closed-form calendar arithmetic on day numbers
// instead of building calendar objects.

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kMicrosPerSecond = 1000000;
constexpr unsigned kFirstYear = 1400;  // the calendar's valid range
constexpr unsigned kLastYear = 9999;

// Days since 1970-01-01 of a date in the proleptic Gregorian calendar (valid for year >= 1).
constexpr std::int64_t DaysFromCivil(unsigned year, unsigned month, unsigned day) {
  // Count from 0000-03-01 so that the leap day ends the year.
  const unsigned y = year - (month <= 2 ? 1 : 0);
  const unsigned era = y / 400;
  const unsigned yearOfEra = y - era * 400;
  const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return static_cast<std::int64_t>(era) * 146097 + dayOfEra - 719468;
}

struct CivilDate {
  unsigned year;
  unsigned month;
  unsigned day;
};

// Inverse of DaysFromCivil, for days at or after 0000-03-01.
constexpr CivilDate CivilFromDays(std::int64_t days) {
  const std::int64_t z = days + 719468;
  const auto era = static_cast<unsigned>(z / 146097);
  const auto dayOfEra = static_cast<unsigned>(z - static_cast<std::int64_t>(era) * 146097);
  const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
  const unsigned day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
  const unsigned month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

constexpr std::int64_t kMinSeconds = DaysFromCivil(kFirstYear, 1, 1) * kSecondsPerDay;
constexpr std::int64_t kMaxSeconds = DaysFromCivil(kLastYear + 1, 1, 1) * kSecondsPerDay - 1;
static_assert(DaysFromCivil(1970, 1, 1) == 0 && DaysFromCivil(2000, 3, 1) == 11017);
static_assert(CivilFromDays(11016).month == 2 && CivilFromDays(11016).day == 29);

constexpr bool IsLeapYear(unsigned year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr unsigned DaysInMonth(unsigned year, unsigned month) {
  constexpr unsigned char kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

constexpr std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return q * b > a ? q - 1 : q;
}

// Reads `count` decimal digits at `p`; the caller guarantees they are in bounds.
inline bool ReadDigits(const char* p, int count, unsigned& value) {
  unsigned result = 0;
  for (int i = 0; i < count; ++i) {
    const unsigned digit = static_cast<unsigned char>(p[i]) - static_cast<unsigned>('0');
    if (digit > 9) return false;
    result = result * 10 + digit;
  }
  value = result;
  return true;
}

inline void WriteDigits(char* p, unsigned value, int count) {
  for (int i = count - 1; i >= 0; --i) {
    p[i] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
}

constexpr std::size_t kTextSize = 24;  // "YYYY-MM-DDTHH:MM:SS.mmmZ"

struct TimeOfDay {
  unsigned hours;
  unsigned minutes;
  unsigned seconds;
};

// Writes the canonical text of the given UTC fields and millisecond digits into `text`.
void RenderFields(const CivilDate& date, const TimeOfDay& time, const char* millis, std::string& text) {
  // Every DateTime already holds a 24-character text, so it is overwritten in place; only
  // a moved-from one needs its buffer back.
  if (text.size() != kTextSize) text.resize(kTextSize);
  char* const buffer = text.data();
  std::memcpy(buffer, "0000-00-00T00:00:00.000Z", kTextSize);
  WriteDigits(buffer, date.year, 4);
  WriteDigits(buffer + 5, date.month, 2);
  WriteDigits(buffer + 8, date.day, 2);
  WriteDigits(buffer + 11, time.hours, 2);
  WriteDigits(buffer + 14, time.minutes, 2);
  WriteDigits(buffer + 17, time.seconds, 2);
  std::memcpy(buffer + 20, millis, 3);
}

// The same for the instant `secondsFloor` (seconds since the epoch rounded down, within the
// valid range).
void Render(std::int64_t secondsFloor, const char* millis, std::string& text) {
  const std::int64_t days = FloorDiv(secondsFloor, kSecondsPerDay);
  const auto secondOfDay = static_cast<unsigned>(secondsFloor - days * kSecondsPerDay);
  RenderFields(CivilFromDays(days), {secondOfDay / 3600, secondOfDay % 3600 / 60, secondOfDay % 60}, millis,
               text);
}

}  // namespace

DateTime::DateTime() : text_("1970-01-01T00:00:00.000Z") {}

bool DateTime::FromExactMicroSeconds(std::int64_t microseconds, DateTime& out) {
  if (microseconds < kMinSeconds * kMicrosPerSecond ||
      microseconds > (kMaxSeconds + 1) * kMicrosPerSecond - 1) {
    return false;
  }
  const std::int64_t secondsFloor = FloorDiv(microseconds, kMicrosPerSecond);
  char millis[3];
  WriteDigits(millis, static_cast<unsigned>(microseconds - secondsFloor * kMicrosPerSecond) / 1000, 3);
  Render(secondsFloor, millis, out.text_);
  out.seconds_ = microseconds / kMicrosPerSecond;
  return true;
}

bool DateTime::FromSeconds(std::int64_t seconds, DateTime& out) {
  if (seconds < kMinSeconds || seconds > kMaxSeconds) return false;
  Render(seconds, "000", out.text_);
  out.seconds_ = seconds;
  return true;
}

bool DateTime::FromMilliSeconds(std::int64_t milliseconds, DateTime& out) {
  // Checked here so that the scaling to microseconds cannot overflow.
  if (milliseconds < kMinSeconds * 1000 || milliseconds > kMaxSeconds * 1000 + 999) return false;
  return FromExactMicroSeconds(milliseconds * 1000, out);
}

bool DateTime::FromMicroSeconds(std::int64_t microseconds, DateTime& out) {
  // 501 microseconds and more round up; 500 does not, and a negative remainder never does.
  return FromMilliSeconds(microseconds / 1000 + (microseconds % 1000 >= 501 ? 1 : 0), out);
}

bool DateTime::FromPosixTime(const boost::posix_time::ptime& time, DateTime& out) {
  if (time.is_special()) return false;
  const boost::posix_time::ptime epoch(boost::gregorian::date(1970, 1, 1));
  // A ptime may have been pushed past the calendar's range by arithmetic; the range check
  // of the microsecond path refuses it.
  return FromExactMicroSeconds((time - epoch).total_microseconds(), out);
}

bool DateTime::FromText(std::string_view text, DateTime& out) {
  // The fixed part "YYYY-MM-DDTHH:MM:SS" plus a one-letter zone is the shortest valid text,
  // so the fixed part can be read without further bounds checks.
  constexpr std::size_t kFixedSize = 19;
  if (text.size() < kFixedSize + 1) return false;
  const char* p = text.data();
  const char* const end = p + text.size();

  unsigned year, month, day, hours, minutes, secs;
  if (!ReadDigits(p, 4, year) || p[4] != '-' || !ReadDigits(p + 5, 2, month) || p[7] != '-' ||
      !ReadDigits(p + 8, 2, day) || (p[10] != 'T' && p[10] != 't') || !ReadDigits(p + 11, 2, hours) ||
      p[13] != ':' || !ReadDigits(p + 14, 2, minutes) || p[16] != ':' || !ReadDigits(p + 17, 2, secs)) {
    return false;
  }
  p += kFixedSize;

  char millis[3] = {'0', '0', '0'};
  if (*p == '.') {
    int kept = 0;
    for (++p; p != end && static_cast<unsigned>(*p - '0') <= 9; ++p) {
      if (kept < 3) millis[kept++] = *p;
    }
    if (p == end) return false;
  }

  std::int64_t zoneSeconds = 0;
  const char zone = *p++;
  if (zone == '+' || zone == '-') {
    unsigned zoneHours, zoneMinutes;
    if (end - p != 5 || !ReadDigits(p, 2, zoneHours) || p[2] != ':' || !ReadDigits(p + 3, 2, zoneMinutes) ||
        zoneHours >= 24 || zoneMinutes >= 60) {
      return false;
    }
    // The offset is applied with its own sign: "+01:00" adds an hour to the written time.
    zoneSeconds = (zone == '+' ? 1 : -1) * static_cast<std::int64_t>(zoneHours * 3600 + zoneMinutes * 60);
  } else if ((zone != 'Z' && zone != 'z') || p != end) {
    return false;
  }

  // Years before the calendar's range are refused here rather than by an exception.
  if (year < kFirstYear || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) ||
      hours >= 24 || minutes >= 60 || secs >= 61) {
    return false;
  }

  // A leap second and the zone offset both carry into the date through the day number.
  const std::int64_t secondsFloor =
      DaysFromCivil(year, month, day) * kSecondsPerDay + hours * 3600 + minutes * 60 + secs + zoneSeconds;
  if (secondsFloor < kMinSeconds || secondsFloor > kMaxSeconds) return false;
  if (zoneSeconds == 0 && secs < 60) {
    // Already UTC and nothing carries: the fields are the canonical ones.
    RenderFields({year, month, day}, {hours, minutes, secs}, millis, out.text_);
  } else {
    Render(secondsFloor, millis, out.text_);
  }
  // Truncation toward zero: before the epoch a fraction moves the instant one second up.
  const bool hasFraction = millis[0] != '0' || millis[1] != '0' || millis[2] != '0';
  out.seconds_ = secondsFloor + (secondsFloor < 0 && hasFraction ? 1 : 0);
  return true;
}

DateTime DateTime::GetUtcDateTime() {
  DateTime now;
  FromPosixTime(boost::posix_time::microsec_clock::universal_time(), now);
  return now;
}

}  // namespace Olma
