#include "olma/core/date_time.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <vector>

#include <boost/date_time/posix_time/posix_time_types.hpp>

namespace {

using Olma::DateTime;
using Ms = Olma::TimeInMilliSeconds;
using Us = Olma::TimeInMicroSeconds;
namespace pt = boost::posix_time;

constexpr std::int64_t kFirst = -17987443200;  // 1400-01-01T00:00:00Z
constexpr std::int64_t kLast = 253402300799;   // 9999-12-31T23:59:59Z

// Creates over a DateTime that already holds another value, which a refusal must leave
// untouched; a null `text` means that `source` must be refused.
template <typename T>
void ExpectCreate(const T& source, const char* text, std::int64_t seconds = 0) {
  SCOPED_TRACE(testing::PrintToString(source));
  DateTime out;
  ASSERT_TRUE(DateTime::Create(Ms(1234567), out));
  EXPECT_EQ(DateTime::Create(source, out), text != nullptr);
  EXPECT_EQ(out.text(), text != nullptr ? text : "1970-01-01T00:20:34.567Z");
  EXPECT_EQ(out.seconds(), text != nullptr ? seconds : 1234);
}

TEST(DateTime, ParsesTextIntoCanonicalUtc) {
  // The zone is applied with its own sign: "+" adds to the written time.
  ExpectCreate("2020-02-29T23:30:00.5+01:00", "2020-03-01T00:30:00.500Z", 1583022600);
  ExpectCreate("2021-06-01t12:00:00z", "2021-06-01T12:00:00.000Z", 1622548800);
  ExpectCreate("2020-01-01T23:59:60Z", "2020-01-02T00:00:00.000Z", 1577923200);
  ExpectCreate("2020-01-01T00:00:00.123956Z", "2020-01-01T00:00:00.123Z", 1577836800);
  ExpectCreate("2020-01-01T00:00:00.12Z", "2020-01-01T00:00:00.120Z", 1577836800);
  ExpectCreate("2020-01-01T00:00:00.Z", "2020-01-01T00:00:00.000Z", 1577836800);
  ExpectCreate("1400-01-01T00:00:00Z", "1400-01-01T00:00:00.000Z", kFirst);
  ExpectCreate("9999-12-31T23:59:59.999Z", "9999-12-31T23:59:59.999Z", kLast);
  // Seconds truncate toward zero, so a fraction before the epoch moves them up.
  ExpectCreate("1969-12-31T23:59:59.500Z", "1969-12-31T23:59:59.500Z", 0);

  // Impossible fields, years written before the calendar (even when the zone brings the instant
  // into it), zones that leave the range, text after the zone.
  for (const char* text :
       {"2019-02-29T00:00:00Z",      "1900-02-29T00:00:00Z",      "2020-04-31T00:00:00Z",
        "2020-13-01T00:00:00Z",      "2020-00-01T00:00:00Z",      "2020-01-00T00:00:00Z",
        "2020-01-01T24:00:00Z",      "2020-01-01T00:60:00Z",      "2020-01-01T00:00:61Z",
        "0000-01-01T00:00:00Z",      "0001-01-01T00:00:00Z",      "1399-12-31T23:59:59Z",
        "1399-12-31T23:30:00+01:00", "1400-01-01T00:30:00-01:00", "9999-12-31T23:30:00+01:00",
        "9999-12-31T23:59:60Z",      "2020-01-01T00:00:00+24:00", "2020-01-01T00:00:00+00:60",
        "2020-01-01T00:00:00Z ",     "2020-01-01T00:00:00Z+01:00"})
    ExpectCreate(text, nullptr);
}

TEST(DateTime, RefusesTruncatedAndCorruptedTextsWithinBounds) {
  const std::string valid = "2020-02-29T23:30:00.5678+01:30";
  DateTime out;
  for (std::size_t size = 0; size <= valid.size(); ++size) {
    // Exact-size heap copies let AddressSanitizer catch any read past the end.
    const std::vector<char> copy(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(DateTime::Create(std::string_view(copy.data(), size), out), size == valid.size()) << size;
  }
  std::string corrupt = valid;
  for (std::size_t at = 0; at < valid.size(); ++at) {
    for (char bad : {'x', '/', ' ', '\0', '\xff'}) {
      corrupt[at] = bad;
      EXPECT_FALSE(DateTime::Create(corrupt, out)) << "at " << at << ": " << static_cast<int>(bad);
    }
    corrupt[at] = valid[at];
  }
}

TEST(DateTime, ConvertsNumericSourcesWithinTheCalendarRange) {
  using Tp = std::chrono::system_clock::time_point;
  ExpectCreate(kFirst, "1400-01-01T00:00:00.000Z", kFirst);
  ExpectCreate(kLast, "9999-12-31T23:59:59.000Z", kLast);
  ExpectCreate(Ms(-1001), "1969-12-31T23:59:58.999Z", -1);
  ExpectCreate(Ms(kLast * 1000 + 999), "9999-12-31T23:59:59.999Z", kLast);
  // Microseconds: 501 and more round up, 500 does not, a negative remainder never does.
  ExpectCreate(Us(1500), "1970-01-01T00:00:00.001Z", 0);
  ExpectCreate(Us(1501), "1970-01-01T00:00:00.002Z", 0);
  ExpectCreate(Us(-1999), "1969-12-31T23:59:59.999Z", 0);
  ExpectCreate(Us(999501), "1970-01-01T00:00:01.000Z", 1);
  ExpectCreate(Us(kLast * 1000000 + 999500), "9999-12-31T23:59:59.999Z", kLast);
  ExpectCreate(Tp(std::chrono::nanoseconds(-1)), "1969-12-31T23:59:59.999Z", 0);
  ExpectCreate(Tp(std::chrono::microseconds(1501)), "1970-01-01T00:00:00.001Z", 0);

  const std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  const std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (std::int64_t s : {kFirst - 1, kLast + 1, kMin, kMax}) ExpectCreate(s, nullptr);
  for (std::int64_t ms : {kFirst * 1000 - 1, kLast * 1000 + 1000, kMin, kMax}) ExpectCreate(Ms(ms), nullptr);
  for (std::int64_t us : {kLast * 1000000 + 999501, kMin, kMax}) ExpectCreate(Us(us), nullptr);
  for (const pt::ptime& t :
       {pt::ptime(pt::not_a_date_time), pt::ptime(pt::pos_infin), pt::ptime(pt::neg_infin),
        pt::ptime(boost::gregorian::date(9999, 12, 31)) + pt::hours(24)})
    ExpectCreate(t, nullptr);
  ExpectCreate(~std::uint64_t{0}, nullptr);
}

TEST(DateTime, EqualityAndOrderSeeSecondsBelowTheMillisecond) {
  using Tp = std::chrono::system_clock::time_point;
  const pt::ptime epoch(boost::gregorian::date(1970, 1, 1));
  DateTime fine, fromPtime, reparsed, whole;
  ASSERT_TRUE(DateTime::Create(Tp(std::chrono::microseconds(-999500)), fine));
  ASSERT_TRUE(DateTime::Create(epoch - pt::microseconds(999500), fromPtime));
  ASSERT_TRUE(DateTime::Create(fine.text(), reparsed));
  ASSERT_TRUE(DateTime::Create(Ms(-1000), whole));
  // The text keeps its formula; the seconds keep the exact instant's truncation.
  EXPECT_EQ(fine.text(), "1969-12-31T23:59:59.000Z");
  EXPECT_EQ(fine.seconds(), 0);
  EXPECT_EQ(reparsed.seconds(), -1);
  EXPECT_EQ(fine, fromPtime);
  EXPECT_NE(fine, reparsed);
  EXPECT_EQ(reparsed, whole);
  // Chronological: -1 s comes before -999,500 us, which comes before -999 ms.
  DateTime later;
  ASSERT_TRUE(DateTime::Create(Ms(-999), later));
  EXPECT_TRUE(whole < fine && fine < later && !(fine < whole) && !(fine < fromPtime));
}

TEST(DateTime, ErrorCodeFormReportsFailureAndReturnsTheDefault) {
  EXPECT_EQ(DateTime().text(), "1970-01-01T00:00:00.000Z");
  std::error_code ec;
  const std::string good = "2021-06-01T12:00:00Z";
  EXPECT_EQ(DateTime::Create<std::string>(good, ec).seconds(), 1622548800);
  EXPECT_EQ(DateTime::Create(good.c_str(), ec).seconds(), 1622548800);
  EXPECT_FALSE(ec);
  EXPECT_EQ(DateTime::Create(static_cast<const char*>(nullptr), ec), DateTime());
  EXPECT_EQ(ec, std::error_code(1, Olma::GetDateTimeCategory()));
}

TEST(DateTime, UtcNowFollowsTheSystemClock) {
  const std::int64_t before = std::time(nullptr), now = DateTime::GetUtcDateTime().seconds();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::time(nullptr));
}

std::string FormatTm(const std::tm& tm, int millis) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
  return buffer;
}

// libc's gmtime_r and timegm (64-bit time_t) as the independent peer, through the millisecond,
// text, ptime and zoned-text forms.
TEST(DateTime, AgreesWithGmtimeAndTimegmOverTheWholeRange) {
  const pt::ptime epoch(boost::gregorian::date(1970, 1, 1));
  std::mt19937_64 random(20240601);
  std::uniform_int_distribution<std::int64_t> instant(kFirst + 86400, kLast - 86400);
  std::uniform_int_distribution<int> millis(0, 999), zone(-(23 * 60 + 59), 23 * 60 + 59);
  for (int i = 0; i < 20000; ++i) {
    const time_t seconds = instant(random);
    const int ms = i % 4 == 0 ? 0 : millis(random), offset = zone(random);
    const std::int64_t totalMs = seconds * 1000 + ms;
    SCOPED_TRACE(totalMs);
    std::tm tm{}, writtenTm{};
    ASSERT_NE(gmtime_r(&seconds, &tm), nullptr);
    const std::string expected = FormatTm(tm, ms);
    // The instant written in a zone: the written time shifted by the zone with its own sign.
    const time_t written = seconds - offset * 60;
    ASSERT_NE(gmtime_r(&written, &writtenTm), nullptr);
    char zoned[64];
    std::snprintf(zoned, sizeof zoned, "%.23s%c%02d:%02d", FormatTm(writtenTm, ms).c_str(),
                  offset < 0 ? '-' : '+', std::abs(offset) / 60, std::abs(offset) % 60);

    DateTime forms[4];
    ASSERT_TRUE(DateTime::Create(Ms(totalMs), forms[0]));
    ASSERT_TRUE(DateTime::Create(expected, forms[1]));
    ASSERT_TRUE(DateTime::Create(epoch + pt::milliseconds(totalMs), forms[2]));
    ASSERT_TRUE(DateTime::Create(zoned, forms[3])) << zoned;
    for (const DateTime& form : forms) {
      EXPECT_EQ(form.text(), expected);
      EXPECT_EQ(form.seconds(), timegm(&tm) + (seconds < 0 && ms > 0 ? 1 : 0));  // toward zero
    }
  }
}

}  // namespace
