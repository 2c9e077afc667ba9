#include "olma/core/date_time.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <random>
#include <tuple>

namespace {

using Olma::DateTime;
using Olma::TimeInMicroSeconds;
using Olma::TimeInMilliSeconds;

constexpr std::int64_t kFirstSecond = -17987443200;  // 1400-01-01T00:00:00Z
constexpr std::int64_t kLastSecond = 253402300799;   // 9999-12-31T23:59:59Z

// A DateTime that a refused Create must leave untouched.
DateTime Sentinel() {
  DateTime value;
  EXPECT_TRUE(DateTime::Create(TimeInMilliSeconds(1234567), value));
  return value;
}

TEST(DateTime, DefaultIsTheEpoch) {
  EXPECT_EQ(DateTime().text(), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(DateTime().seconds(), 0);
}

TEST(DateTime, ParsesTextIntoCanonicalUtc) {
  struct Case {
    const char* input;
    const char* text;
    std::int64_t seconds;
  };
  const Case cases[] = {
      // The zone is applied with its own sign: "+" adds to the written time.
      {"2020-02-29T23:30:00.5+01:00", "2020-03-01T00:30:00.500Z", 1583022600},
      {"2020-03-01T00:30:00-01:00", "2020-02-29T23:30:00.000Z", 1583019000},
      {"2020-12-31T23:30:00+00:30", "2021-01-01T00:00:00.000Z", 1609459200},
      {"2020-01-01T00:00:00-00:01", "2019-12-31T23:59:00.000Z", 1577836740},
      {"2020-01-01T00:00:00+23:59", "2020-01-01T23:59:00.000Z", 1577923140},
      {"2021-06-01t12:00:00z", "2021-06-01T12:00:00.000Z", 1622548800},
      {"2000-02-29T00:00:00Z", "2000-02-29T00:00:00.000Z", 951782400},
      {"2020-01-01T23:59:60Z", "2020-01-02T00:00:00.000Z", 1577923200},
      {"2020-01-01T00:00:00.123456Z", "2020-01-01T00:00:00.123Z", 1577836800},
      {"2020-01-01T00:00:00.9999Z", "2020-01-01T00:00:00.999Z", 1577836800},
      {"2020-01-01T00:00:00.12Z", "2020-01-01T00:00:00.120Z", 1577836800},
      {"2020-01-01T00:00:00.Z", "2020-01-01T00:00:00.000Z", 1577836800},
      {"1400-01-01T00:00:00Z", "1400-01-01T00:00:00.000Z", kFirstSecond},
      {"9999-12-31T23:59:59.999Z", "9999-12-31T23:59:59.999Z", kLastSecond},
      // Seconds truncate toward zero, so a fraction before the epoch moves them up.
      {"1969-12-31T23:59:59Z", "1969-12-31T23:59:59.000Z", -1},
      {"1969-12-31T23:59:59.500Z", "1969-12-31T23:59:59.500Z", 0},
      {"1960-06-15T08:00:00.001Z", "1960-06-15T08:00:00.001Z", -301247999},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    DateTime out = Sentinel();
    ASSERT_TRUE(DateTime::Create(std::string(c.input), out));
    EXPECT_EQ(out.text(), c.text);
    EXPECT_EQ(out.seconds(), c.seconds);
  }
}

TEST(DateTime, RefusesTextsOutsideTheGrammarOrRange) {
  const char* const cases[] = {
      "2019-02-29T00:00:00Z",
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
      "2020-01-01T00:00:00+01:00Z",
      "2020-01-01 00:00:00Z",
      "2020/01/01T00:00:00Z",
      "2020-+1-01T00:00:00Z",
      "2020-01-01T00:00:00.1a2Z",
      "20200101T000000Z",
      "",
  };
  for (const char* input : cases) {
    SCOPED_TRACE(input);
    DateTime out = Sentinel();
    EXPECT_FALSE(DateTime::Create(std::string_view(input), out));
    EXPECT_EQ(out, Sentinel());
  }
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

TEST(DateTime, ConvertsNumericSources) {
  auto make = [](auto source) {
    DateTime out;
    bool ok = DateTime::Create(source, out);
    return std::make_pair(ok, out);
  };
  const std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  const std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  const std::tuple<const char*, std::pair<bool, DateTime>, const char*, std::int64_t> cases[] = {
      {"s 0", make(std::int64_t{0}), "1970-01-01T00:00:00.000Z", 0},
      {"s -1", make(-1), "1969-12-31T23:59:59.000Z", -1},
      {"s first", make(kFirstSecond), "1400-01-01T00:00:00.000Z", kFirstSecond},
      {"s last", make(kLastSecond), "9999-12-31T23:59:59.000Z", kLastSecond},
      {"ms -1", make(TimeInMilliSeconds(-1)), "1969-12-31T23:59:59.999Z", 0},
      {"ms -1001", make(TimeInMilliSeconds(-1001)), "1969-12-31T23:59:58.999Z", -1},
      {"ms last", make(TimeInMilliSeconds(kLastSecond * 1000 + 999)), "9999-12-31T23:59:59.999Z",
       kLastSecond},
      {"us 1500", make(TimeInMicroSeconds(1500)), "1970-01-01T00:00:00.001Z", 0},
      {"us 1501", make(TimeInMicroSeconds(1501)), "1970-01-01T00:00:00.002Z", 0},
      {"us -1500", make(TimeInMicroSeconds(-1500)), "1969-12-31T23:59:59.999Z", 0},
      {"us -1999", make(TimeInMicroSeconds(-1999)), "1969-12-31T23:59:59.999Z", 0},
      {"us 999501", make(TimeInMicroSeconds(999501)), "1970-01-01T00:00:01.000Z", 1},
      {"tp -1ns", make(std::chrono::system_clock::time_point(std::chrono::nanoseconds(-1))),
       "1969-12-31T23:59:59.999Z", 0},
      {"tp 1501us", make(std::chrono::system_clock::time_point(std::chrono::microseconds(1501))),
       "1970-01-01T00:00:00.001Z", 0},
      {"ptime",
       make(boost::posix_time::ptime(boost::gregorian::date(2000, 2, 29), boost::posix_time::millisec(7))),
       "2000-02-29T00:00:00.007Z", 951782400},
  };
  for (const auto& [name, result, text, seconds] : cases) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(result.first);
    EXPECT_EQ(result.second.text(), text);
    EXPECT_EQ(result.second.seconds(), seconds);
  }

  namespace pt = boost::posix_time;
  const std::pair<const char*, bool> refused[] = {
      {"s before", make(kFirstSecond - 1).first},
      {"s after", make(kLastSecond + 1).first},
      {"s min", make(kMin).first},
      {"s max", make(kMax).first},
      {"u64 max", make(~std::uint64_t{0}).first},
      {"ms before", make(TimeInMilliSeconds(kFirstSecond * 1000 - 1)).first},
      {"ms after", make(TimeInMilliSeconds(kLastSecond * 1000 + 1000)).first},
      {"ms min", make(TimeInMilliSeconds(kMin)).first},
      {"ms max", make(TimeInMilliSeconds(kMax)).first},
      {"us rounds past", make(TimeInMicroSeconds(kLastSecond * 1000000 + 999501)).first},
      {"us min", make(TimeInMicroSeconds(kMin)).first},
      {"us max", make(TimeInMicroSeconds(kMax)).first},
      {"not a date", make(pt::ptime(pt::not_a_date_time)).first},
      {"+inf", make(pt::ptime(pt::pos_infin)).first},
      {"-inf", make(pt::ptime(pt::neg_infin)).first},
      {"ptime past 9999", make(pt::ptime(boost::gregorian::date(9999, 12, 31), pt::hours(24))).first},
  };
  for (const auto& [name, ok] : refused) EXPECT_FALSE(ok) << name;
  EXPECT_TRUE(make(TimeInMicroSeconds(kLastSecond * 1000000 + 999500)).first);
}

TEST(DateTime, ErrorCodeFormReportsFailureAndKeepsTheDefault) {
  std::error_code ec;
  const std::string good = "2021-06-01T12:00:00Z";
  EXPECT_EQ(DateTime::Create<std::string>(good, ec).seconds(), 1622548800);
  EXPECT_EQ(DateTime::Create(std::string(good), ec).seconds(), 1622548800);
  EXPECT_EQ(DateTime::Create(good.c_str(), ec).seconds(), 1622548800);
  EXPECT_FALSE(ec);

  const DateTime failed = DateTime::Create<std::string>("2021-06-01", ec);
  EXPECT_EQ(failed, DateTime());
  EXPECT_EQ(ec, std::error_code(1, Olma::GetDateTimeCategory()));
  EXPECT_EQ(ec.message(), "Failed to create DateTime.");

  std::error_code nullEc;
  DateTime::Create(static_cast<const char*>(nullptr), nullEc);
  EXPECT_EQ(nullEc.value(), 1);
}

TEST(DateTime, UtcNowFollowsTheSystemClock) {
  const std::int64_t before = std::time(nullptr);
  const DateTime now = DateTime::GetUtcDateTime();
  EXPECT_GE(now.seconds(), before);
  EXPECT_LE(now.seconds(), std::time(nullptr));
  DateTime reparsed;
  ASSERT_TRUE(DateTime::Create(now.text(), reparsed));
  EXPECT_EQ(reparsed, now);
}

std::string FormatTm(const std::tm& tm, int millis) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
  return buffer;
}

// libc's gmtime_r and timegm (64-bit time_t) and Boost's posix time as independent peers.
TEST(DateTime, AgreesWithLibcAndBoostOverTheWholeRange) {
  namespace pt = boost::posix_time;
  const pt::ptime epoch(boost::gregorian::date(1970, 1, 1));
  std::mt19937_64 random(20240601);
  std::uniform_int_distribution<std::int64_t> instant(kFirstSecond, kLastSecond);
  std::uniform_int_distribution<int> millis(0, 999), zone(-(23 * 60 + 59), 23 * 60 + 59);
  DateTime previous;
  std::int64_t previousMs = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::int64_t seconds = instant(random);
    const int ms = i % 4 == 0 ? 0 : millis(random);
    const std::int64_t totalMs = seconds * 1000 + ms;
    SCOPED_TRACE(totalMs);
    std::tm tm{};
    const time_t t = seconds;
    ASSERT_NE(gmtime_r(&t, &tm), nullptr);
    const std::string expected = FormatTm(tm, ms);

    DateTime fromMs, fromText, fromPtime;
    ASSERT_TRUE(DateTime::Create(TimeInMilliSeconds(totalMs), fromMs));
    EXPECT_EQ(fromMs.text(), expected);
    EXPECT_EQ(fromMs.seconds(), totalMs / 1000);
    EXPECT_EQ(previous < fromMs, previousMs < totalMs);
    previous = fromMs;
    previousMs = totalMs;

    ASSERT_TRUE(DateTime::Create(expected, fromText));
    EXPECT_EQ(fromText.text(), expected);
    EXPECT_EQ(fromText.seconds(), timegm(&tm) + (seconds < 0 && ms > 0 ? 1 : 0));

    const pt::ptime boostTime = epoch + pt::milliseconds(totalMs);
    ASSERT_TRUE(DateTime::Create(boostTime, fromPtime));
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
    DateTime fromZoned;
    ASSERT_EQ(DateTime::Create(zoned, fromZoned), shifted >= kFirstSecond && shifted <= kLastSecond) << zoned;
    if (shifted < kFirstSecond || shifted > kLastSecond) continue;
    const time_t shiftedT = shifted;
    ASSERT_NE(gmtime_r(&shiftedT, &tm), nullptr);
    EXPECT_EQ(fromZoned.text(), FormatTm(tm, 0)) << zoned;
    EXPECT_EQ(fromZoned.seconds(), shifted);
  }
}

}  // namespace
