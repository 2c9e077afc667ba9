// Olma::DateTime: the library's one date-time value, an instant in UTC that travels on
// the wire as a canonical ISO 8601 text with millisecond precision.
//
//   Olma::DateTime when;
//   if (Olma::DateTime::Create(std::string_view("2021-06-01T12:00:00.250+02:00"), when)) {
//     when.text();     // "2021-06-01T14:00:00.250Z"
//     when.seconds();  // 1622556000
//   }
//   std::error_code ec;
//   auto now = Olma::DateTime::Create(Olma::TimeInMilliSeconds(1622556000250), ec);
//
// A DateTime holds two things: text(), always the 24 characters
// "YYYY-MM-DDTHH:MM:SS.mmmZ" with the milliseconds floored, and seconds(), the whole
// seconds since 1970-01-01T00:00:00Z of the source's exact instant, truncated toward zero
// (so 1969-12-31T23:59:59.500Z has seconds 0). The two agree for every source of
// millisecond precision. A finer source (chrono, ptime) before the epoch whose fraction is
// below one millisecond is the exception: -999,500 us shows "1969-12-31T23:59:59.000Z" yet
// has seconds 0, while that text parses to seconds -1. Comparison therefore looks at both:
// two DateTimes are equal when text and seconds are, and order by text, then seconds
// (which is chronological). Instants from 1400-01-01T00:00:00.000Z to
// 9999-12-31T23:59:59.999Z can be represented; every source outside that range is refused.
//
// Accepted text: "YYYY-MM-DDTHH:MM:SS", then optionally "." and any number of digits (the
// first three are kept, the rest are dropped without rounding; "." with no digit keeps
// ".000"), then a zone: "Z", or "+HH:MM" / "-HH:MM". "T" and "Z" may be lower case. The
// zone is applied with its own sign: "+01:00" ADDS an hour to the written time and
// "-01:00" subtracts one. Stored values depend on this reading, so it must not be
// "corrected" to the usual ISO 8601 one. Seconds may be 60 (a leap second), which carries
// into the next minute. Nothing may follow the zone.
//
// DateTime is a plain value type: copy it freely and read it from any number of threads;
// filling one object from two threads at once needs outside synchronisation. Nothing here
// throws apart from std::bad_alloc when the text cannot be allocated.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

#include <boost/date_time/posix_time/ptime.hpp>

#include "olma/core/error_categories.h"
#include "olma/core/export.h"

namespace Olma {

// A count of milliseconds since the Unix epoch; picks the millisecond DateTime::Create.
class TimeInMilliSeconds {
 public:
  constexpr explicit TimeInMilliSeconds(std::int64_t count) noexcept : value_(count) {}
  constexpr std::int64_t value() const noexcept { return value_; }

 private:
  std::int64_t value_;
};

// A count of microseconds since the Unix epoch; picks the microsecond DateTime::Create.
class TimeInMicroSeconds {
 public:
  constexpr explicit TimeInMicroSeconds(std::int64_t count) noexcept : value_(count) {}
  constexpr std::int64_t value() const noexcept { return value_; }

 private:
  std::int64_t value_;
};

class OLMA_API DateTime {
 public:
  // 1970-01-01T00:00:00.000Z, seconds 0.
  DateTime();

  // The canonical 24-character UTC text "YYYY-MM-DDTHH:MM:SS.mmmZ".
  const std::string& text() const noexcept { return text_; }
  // Whole seconds since 1970-01-01T00:00:00Z, truncated toward zero.
  std::int64_t seconds() const noexcept { return seconds_; }

  // Fills `out` from `source` and returns true, or returns false and leaves `out`
  // unchanged. No message or error is produced on failure. Sources:
  //  - text: std::string, std::string_view, const char* (null refused) or a literal, in the
  //    grammar above. Years 1 to 1399 are refused (false) like every other year the
  //    calendar cannot represent, never reported by an exception.
  //  - an integer: seconds since the epoch (a Unix time).
  //  - TimeInMilliSeconds: exact, also for negative counts.
  //  - TimeInMicroSeconds: reduced to milliseconds first; a remainder of 501 to 999
  //    microseconds rounds up, 500 and below are dropped, and a negative remainder never
  //    rounds (-1500 us is -1 ms).
  //  - std::chrono::system_clock::time_point: floored to the microsecond.
  //  - boost::posix_time::ptime: special values (not a date-time, infinities) are refused.
  // Reusing `out` reuses its text buffer, so a refilled DateTime does not allocate.
  template <typename T>
  static bool Create(const T& source, DateTime& out) {
    using S = std::remove_cv_t<std::remove_reference_t<T>>;
    if constexpr (std::is_same_v<S, TimeInMilliSeconds>) {
      return FromMilliSeconds(source.value(), out);
    } else if constexpr (std::is_same_v<S, TimeInMicroSeconds>) {
      return FromMicroSeconds(source.value(), out);
    } else if constexpr (std::is_same_v<S, std::chrono::system_clock::time_point>) {
      return FromExactMicroSeconds(
          std::chrono::floor<std::chrono::microseconds>(source.time_since_epoch()).count(), out);
    } else if constexpr (std::is_same_v<S, boost::posix_time::ptime>) {
      return FromPosixTime(source, out);
    } else if constexpr (std::is_array_v<S> && std::is_same_v<std::remove_extent_t<S>, char>) {
      // A character array need not be terminated: never read past its end.
      constexpr std::size_t kSize = std::extent_v<S>;
      const char* nul = std::char_traits<char>::find(source, kSize, '\0');
      return FromText(std::string_view(source, nul != nullptr ? nul - source : kSize), out);
    } else if constexpr (std::is_convertible_v<const S&, const char*>) {
      return source != nullptr && FromText(std::string_view(source), out);
    } else if constexpr (std::is_convertible_v<const S&, std::string_view>) {
      return FromText(std::string_view(source), out);
    } else if constexpr (std::is_integral_v<S> && !std::is_same_v<S, bool> && !std::is_same_v<S, char> &&
                         !std::is_same_v<S, wchar_t> && !std::is_same_v<S, char16_t> &&
                         !std::is_same_v<S, char32_t>) {
      // Any integer counts seconds; an unsigned one beyond the signed range is refused.
      if constexpr (std::is_unsigned_v<S> && sizeof(S) >= sizeof(std::int64_t)) {
        if (source > static_cast<S>(std::numeric_limits<std::int64_t>::max())) return false;
      }
      return FromSeconds(static_cast<std::int64_t>(source), out);
    } else {
      static_assert(sizeof(S) == 0, "DateTime::Create: unsupported source type");
      return false;
    }
  }

  // Returns the DateTime built from `source`. On failure returns the default DateTime and
  // sets `ec` to (1, GetDateTimeCategory()); on success `ec` is left as it was, as
  // everywhere in the library.
  template <typename T>
  static DateTime Create(T&& source, std::error_code& ec) {
    return CreateOrReport<std::remove_cv_t<std::remove_reference_t<T>>>(source, ec);
  }
  // The same; lets Create<std::string>(lvalue, ec) compile.
  template <typename T>
  static DateTime Create(const T& source, std::error_code& ec) {
    return CreateOrReport<std::remove_cv_t<std::remove_reference_t<T>>>(source, ec);
  }

  // The current UTC time from the microsecond clock.
  static DateTime GetUtcDateTime();

  // Equal when both the text and the seconds are; ordered by text, then by seconds.
  friend bool operator==(const DateTime& a, const DateTime& b) {
    return a.seconds_ == b.seconds_ && a.text_ == b.text_;
  }
  friend bool operator!=(const DateTime& a, const DateTime& b) { return !(a == b); }
  friend bool operator<(const DateTime& a, const DateTime& b) {
    const int order = a.text_.compare(b.text_);
    return order < 0 || (order == 0 && a.seconds_ < b.seconds_);
  }

 private:
  static bool FromText(std::string_view text, DateTime& out);
  static bool FromSeconds(std::int64_t seconds, DateTime& out);
  static bool FromMilliSeconds(std::int64_t milliseconds, DateTime& out);
  static bool FromMicroSeconds(std::int64_t microseconds, DateTime& out);
  // Keeps the microseconds as they are (no reduction to milliseconds with its rounding).
  static bool FromExactMicroSeconds(std::int64_t microseconds, DateTime& out);
  static bool FromPosixTime(const boost::posix_time::ptime& time, DateTime& out);

  template <typename S>
  static DateTime CreateOrReport(const S& source, std::error_code& ec) {
    DateTime result;
    if (!Create<S>(source, result)) ec = DateTimeError::CreateFailed;
    return result;
  }

  std::string text_;
  std::int64_t seconds_ = 0;
};

}  // namespace Olma
