#include "olma/core/timed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

using testing::MatchesRegex;

template <typename Scope>
std::string OutputOf(Scope scope) {
  testing::internal::CaptureStdout();
  scope();
  return testing::internal::GetCapturedStdout();
}

TEST(Timed, PrintsByIterationCount) {
  const std::string number = "[0-9.e+-]+";
  EXPECT_THAT(OutputOf([] { Olma::Timed t("plain"); }), MatchesRegex("plain took: " + number + "\n"));
  EXPECT_EQ(OutputOf([] { Olma::Timed t("one", 1); }), "");
  EXPECT_THAT(OutputOf([] {
                Olma::Timed t("loop", 5);
                std::cout << "-body-\n";
              }),
              MatchesRegex("loop Starting\n-body-\nloop took: " + number + " at: " + number + " iter/s\n"));
}

TEST(Timed, AccumulatorAddsSecondsSilently) {
  double total = 1.0;  // added to, not replaced
  EXPECT_EQ(OutputOf([&] {
              Olma::Timed t("first", &total);
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }),
            "");
  EXPECT_GE(total, 1.002);
  EXPECT_LT(total, 2.0);
}

}  // namespace
