#include "olma/core/date_time.h"

#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <random>

#include <boost/date_time/posix_time/posix_time.hpp>

namespace {

using Olma::DateTime;
using Olma::TimeInMicroSeconds;
using Olma::TimeInMilliSeconds;
namespace pt = boost::posix_time;

constexpr std::int64_t kFirst = -17987443200;  // 1400-01-01T00:00:00Z
constexpr std::int64_t kLast = 253402300799;   // 9999-12-31T23:59:59Z

// Creates over a DateTime that already holds another value, which a refusal must leave
// untouched; a null `text` means that `source` must be refused.
template <typename T>
void ExpectCreate(const char* what, const T& source, const char* text, std::int64_t seconds = 0) {
  SCOPED_TRACE(what);
  DateTime out;
  ASSERT_TRUE(DateTime::Create(TimeInMilliSeconds(1234567), out));
  EXPECT_EQ(DateTime::Create(source, out), text != nullptr);
  EXPECT_EQ(out.text(), text != nullptr ? text : "1970-01-01T00:20:34.567Z");
  EXPECT_EQ(out.seconds(), text != nullptr ? seconds : 1234);
}

TEST(DateTime, ParsesTextIntoCanonicalUtc) {
  const struct {
    const char* input;
    const char* text;
    std::int64_t seconds;
  } kAccepted[] = {// The zone is applied with its own sign: "+" adds to the written time.
                   {"2020-02-29T23:30:00.5+01:00", "2020-03-01T00:30:00.500Z", 1583022600},
                   {"2020-03-01T00:30:00-01:00", "2020-02-29T23:30:00.000Z", 1583019000},
                   {"2021-06-01t12:00:00z", "2021-06-01T12:00:00.000Z", 1622548800},
                   {"2000-02-29T00:00:00Z", "2000-02-29T00:00:00.000Z", 951782400},
                   {"2020-01-01T23:59:60Z", "2020-01-02T00:00:00.000Z", 1577923200},
                   {"2020-01-01T00:00:00.123956Z", "2020-01-01T00:00:00.123Z", 1577836800},
                   {"2020-01-01T00:00:00.12Z", "2020-01-01T00:00:00.120Z", 1577836800},
                   {"2020-01-01T00:00:00.Z", "2020-01-01T00:00:00.000Z", 1577836800},
                   {"1400-01-01T00:00:00Z", "1400-01-01T00:00:00.000Z", kFirst},
                   {"9999-12-31T23:59:59.999Z", "9999-12-31T23:59:59.999Z", kLast},
                   // Seconds truncate toward zero, so a fraction before the epoch moves them up.
                   {"1969-12-31T23:59:59Z", "1969-12-31T23:59:59.000Z", -1},
                   {"1969-12-31T23:59:59.500Z", "1969-12-31T23:59:59.500Z", 0}};
  for (const auto& c : kAccepted) ExpectCreate(c.input, std::string(c.input), c.text, c.seconds);

  const char* const kRefused[] = {"2019-02-29T00:00:00Z",
                                  "1900-02-29T00:00:00Z",
                                  "2020-04-31T00:00:00Z",
                                  "2020-13-01T00:00:00Z",
                                  "2020-00-01T00:00:00Z",
                                  "2020-01-00T00:00:00Z",
                                  "0000-01-01T00:00:00Z",
                                  "0001-01-01T00:00:00Z",
                                  "1399-12-31T23:59:59Z",
                                  "1400-01-01T00:30:00-01:00",
                                  "9999-12-31T23:30:00+01:00",
                                  "9999-12-31T23:59:60Z",
                                  "2020-01-01T24:00:00Z",
                                  "2020-01-01T00:60:00Z",
                                  "2020-01-01T00:00:61Z",
                                  "2020-01-01T00:00:00+24:00",
                                  "2020-01-01T00:00:00+00:60",
                                  "2020-01-01T00:00:00+0100",
                                  "2020-01-01T00:00:00",
                                  "2020-01-01",
                                  "2020-01-01T00:00:00.123",
                                  "2020-01-01T00:00:00Z ",
                                  " 2020-01-01T00:00:00Z",
                                  "2020-01-01T00:00:00Z+01:00",
                                  "2020-01-01 00:00:00Z",
                                  "2020-+1-01T00:00:00Z",
                                  "2020-01-01T00:00:00.1a2Z",
                                  "20200101T000000Z",
                                  ""};
  for (const char* text : kRefused) ExpectCreate(text, std::string_view(text), nullptr);
}

TEST(DateTime, RefusesTruncatedAndCorruptedTextsWithinBounds) {
  const std::string valid = "2020-02-29T23:30:00.5678+01:30";
  DateTime out;
  for (std::size_t size = 0; size <= valid.size(); ++size) {
    // Exact-size heap copies let AddressSanitizer catch any read past the end.
    std::unique_ptr<char[]> copy(new char[size]);
    std::copy_n(valid.data(), size, copy.get());
    EXPECT_EQ(DateTime::Create(std::string_view(copy.get(), size), out), size == valid.size()) << size;
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
  using Ms = TimeInMilliSeconds;
  using Us = TimeInMicroSeconds;
  using Tp = std::chrono::system_clock::time_point;
  const pt::ptime leapDay(boost::gregorian::date(2000, 2, 29), pt::millisec(7));
  ExpectCreate("s -1", -1, "1969-12-31T23:59:59.000Z", -1);
  ExpectCreate("s first", kFirst, "1400-01-01T00:00:00.000Z", kFirst);
  ExpectCreate("s last", kLast, "9999-12-31T23:59:59.000Z", kLast);
  ExpectCreate("ms -1001", Ms(-1001), "1969-12-31T23:59:58.999Z", -1);
  ExpectCreate("ms last", Ms(kLast * 1000 + 999), "9999-12-31T23:59:59.999Z", kLast);
  ExpectCreate("us 1500", Us(1500), "1970-01-01T00:00:00.001Z", 0);
  ExpectCreate("us 1501", Us(1501), "1970-01-01T00:00:00.002Z", 0);
  ExpectCreate("us -1999", Us(-1999), "1969-12-31T23:59:59.999Z", 0);
  ExpectCreate("us 999501", Us(999501), "1970-01-01T00:00:01.000Z", 1);
  ExpectCreate("us last", Us(kLast * 1000000 + 999500), "9999-12-31T23:59:59.999Z", kLast);
  ExpectCreate("tp -1ns", Tp(std::chrono::nanoseconds(-1)), "1969-12-31T23:59:59.999Z", 0);
  ExpectCreate("tp 1501us", Tp(std::chrono::microseconds(1501)), "1970-01-01T00:00:00.001Z", 0);
  ExpectCreate("ptime", leapDay, "2000-02-29T00:00:00.007Z", 951782400);

  const std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  const std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (std::int64_t s : {kFirst - 1, kLast + 1, kMin, kMax}) ExpectCreate("s", s, nullptr);
  for (std::int64_t ms : {kFirst * 1000 - 1, kLast * 1000 + 1000, kMin, kMax})
    ExpectCreate("ms", Ms(ms), nullptr);
  for (std::int64_t us : {kLast * 1000000 + 999501, kMin, kMax}) ExpectCreate("us", Us(us), nullptr);
  for (const pt::ptime& t : {pt::ptime(pt::not_a_date_time), pt::ptime(pt::pos_infin),
                             pt::ptime(pt::neg_infin), leapDay + pt::hours(24 * 3000000)}) {
    ExpectCreate("ptime", t, nullptr);
  }
  ExpectCreate("u64", ~std::uint64_t{0}, nullptr);
}

TEST(DateTime, ErrorCodeFormReportsFailureAndKeepsTheDefault) {
  EXPECT_EQ(DateTime().text(), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(DateTime().seconds(), 0);
  std::error_code ec;
  const std::string good = "2021-06-01T12:00:00Z";
  EXPECT_EQ(DateTime::Create<std::string>(good, ec).seconds(), 1622548800);
  EXPECT_EQ(DateTime::Create(good.c_str(), ec).seconds(), 1622548800);
  EXPECT_FALSE(ec);
  EXPECT_EQ(DateTime::Create<std::string>("2021-06-01", ec), DateTime());
  EXPECT_EQ(ec, std::error_code(1, Olma::GetDateTimeCategory()));
  std::error_code nullEc;
  EXPECT_EQ(DateTime::Create(static_cast<const char*>(nullptr), nullEc), DateTime());
  EXPECT_EQ(nullEc.value(), 1);
}

TEST(DateTime, UtcNowFollowsTheSystemClock) {
  const std::int64_t before = std::time(nullptr);
  const DateTime now = DateTime::GetUtcDateTime();
  EXPECT_GE(now.seconds(), before);
  EXPECT_LE(now.seconds(), std::time(nullptr));
}

std::string FormatTm(const std::tm& tm, int millis) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
  return buffer;
}

// libc's gmtime_r and timegm (64-bit time_t) and Boost's posix time as independent peers.
TEST(DateTime, AgreesWithLibcAndBoostOverTheWholeRange) {
  const pt::ptime epoch(boost::gregorian::date(1970, 1, 1));
  std::mt19937_64 random(20240601);
  std::uniform_int_distribution<std::int64_t> instant(kFirst, kLast);
  std::uniform_int_distribution<int> millis(0, 999), zone(-(23 * 60 + 59), 23 * 60 + 59);
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t seconds = instant(random);
    const int ms = i % 4 == 0 ? 0 : millis(random);
    const std::int64_t totalMs = seconds * 1000 + ms;
    SCOPED_TRACE(totalMs);
    std::tm tm{};
    const time_t t = seconds;
    ASSERT_NE(gmtime_r(&t, &tm), nullptr);
    const std::string expected = FormatTm(tm, ms);

    DateTime fromMs, fromText, fromPtime, fromZoned;
    ASSERT_TRUE(DateTime::Create(TimeInMilliSeconds(totalMs), fromMs));
    EXPECT_EQ(fromMs.text(), expected);
    EXPECT_EQ(fromMs.seconds(), totalMs / 1000);

    ASSERT_TRUE(DateTime::Create(expected, fromText));
    EXPECT_EQ(fromText.text(), expected);
    EXPECT_EQ(fromText.seconds(), timegm(&tm) + (seconds < 0 && ms > 0 ? 1 : 0));

    ASSERT_TRUE(DateTime::Create(epoch + pt::milliseconds(totalMs), fromPtime));
    EXPECT_EQ(fromPtime.text(), expected);
    std::string boostText = expected.substr(0, 23);
    boostText[10] = ' ';
    EXPECT_EQ((pt::time_from_string(boostText) - epoch).total_microseconds() / 1000000, fromText.seconds());

    // The written time shifted by the zone with the zone's own sign.
    const int offset = zone(random);
    char zoned[64];
    std::snprintf(zoned, sizeof zoned, "%.19s%c%02d:%02d", expected.c_str(), offset < 0 ? '-' : '+',
                  std::abs(offset) / 60, std::abs(offset) % 60);
    const std::int64_t shifted = seconds + offset * 60;
    ASSERT_EQ(DateTime::Create(zoned, fromZoned), shifted >= kFirst && shifted <= kLast) << zoned;
    if (shifted < kFirst || shifted > kLast) continue;
    const time_t shiftedT = shifted;
    ASSERT_NE(gmtime_r(&shiftedT, &tm), nullptr);
    EXPECT_EQ(fromZoned.text(), FormatTm(tm, 0)) << zoned;
    EXPECT_EQ(fromZoned.seconds(), shifted);
  }
}

}  // namespace
