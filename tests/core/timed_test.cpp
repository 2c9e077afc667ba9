#include "olma/core/timed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

using ::testing::MatchesRegex;

std::string OutputOf(void (*scope)()) {
  testing::internal::CaptureStdout();
  scope();
  return testing::internal::GetCapturedStdout();
}

constexpr const char* kNumber = "[0-9.e+-]+";

TEST(Timed, PrintsPerIterationCount) {
  EXPECT_THAT(OutputOf([] { Olma::Timed t("plain"); }),
              MatchesRegex(std::string("plain took: ") + kNumber + "\n"));
  EXPECT_THAT(OutputOf([] { Olma::Timed t("none", 0); }),
              MatchesRegex(std::string("none took: ") + kNumber + "\n"));
  EXPECT_THAT(OutputOf([] { Olma::Timed t("neg", -4); }),
              MatchesRegex(std::string("neg took: ") + kNumber + "\n"));
  EXPECT_EQ(OutputOf([] { Olma::Timed t("one", 1); }), "");

  const std::string loop = OutputOf([] {
    Olma::Timed t("loop", 5);
    std::cout << "-body-\n";
  });
  EXPECT_THAT(loop, MatchesRegex(std::string("loop Starting\n-body-\nloop took: ") + kNumber +
                                 " at: " + kNumber + " iter/s\n"));
}

TEST(Timed, AccumulatorAddsSilently) {
  double total = 1.0;
  testing::internal::CaptureStdout();
  {
    Olma::Timed t("first", &total);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  const double afterFirst = total;
  { Olma::Timed t("second", &total); }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_GE(afterFirst, 1.002);
  EXPECT_LT(afterFirst, 2.0);
  EXPECT_GE(total, afterFirst);
}

}  // namespace
