#include "olma/invocation/result_callback.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/scalar_values.h"

namespace {

using Olma::Core::AsyncApiResultCb;
using Olma::Core::MethodResult;
using Olma::Core::Progress;

TEST(AsyncApiResultCb, DeliversProgressThenOneFinalResult) {
  std::vector<long long> seen;
  MethodResult::PtrConstType delivered;
  AsyncApiResultCb callback([&](const MethodResult::PtrConstType& result, const Progress& progress,
                                const AsyncApiResultCb::Continuation&) {
    if (result) {
      delivered = result;
    } else {
      seen.push_back(progress.current);
    }
  });

  callback(nullptr, Progress{0, 10, 3});
  callback(nullptr, Progress{0, 10, 7});
  EXPECT_TRUE(callback);
  const auto result = MethodResult::GetInstance(Olma::Data::IntegerValue::GetInstance(1));
  callback(result);
  EXPECT_THAT(seen, testing::ElementsAre(3, 7));
  EXPECT_EQ(delivered, result);
  EXPECT_FALSE(callback);

  EXPECT_THROW(callback(result), std::bad_function_call);
  EXPECT_THROW(callback(nullptr, Progress{0, 10, 9}), std::bad_function_call);
  EXPECT_THAT(seen, testing::ElementsAre(3, 7));
}

TEST(AsyncApiResultCb, ReleasesCapturedStateAfterTheFinalResultOnly) {
  auto state = std::make_shared<int>(0);
  AsyncApiResultCb callback([state](const MethodResult::PtrConstType&, const Progress&,
                                    const AsyncApiResultCb::Continuation&) { ++*state; });
  EXPECT_EQ(state.use_count(), 2);
  callback(nullptr, Progress{1, 2, 1});
  EXPECT_EQ(state.use_count(), 2);
  callback(MethodResult::GetStreamTerminalInstance());
  EXPECT_EQ(state.use_count(), 1);
  EXPECT_EQ(*state, 2);
}

TEST(AsyncApiResultCb, ReleasesTheFunctionEvenWhenItThrows) {
  auto state = std::make_shared<int>(0);
  AsyncApiResultCb callback(
      [state](const MethodResult::PtrConstType&, const Progress&, const AsyncApiResultCb::Continuation&) {
        throw std::runtime_error("handler failed");
      });
  EXPECT_THROW(callback(MethodResult::GetStreamTerminalInstance()), std::runtime_error);
  EXPECT_EQ(state.use_count(), 1);
  EXPECT_FALSE(callback);
}

TEST(AsyncApiResultCb, EmptyCallbackRaisesBadFunctionCall) {
  AsyncApiResultCb callback;
  EXPECT_FALSE(callback);
  EXPECT_THROW(callback(nullptr), std::bad_function_call);
  EXPECT_THROW(callback(MethodResult::GetStreamTerminalInstance()), std::bad_function_call);
}

}  // namespace
