#include "olma/invocation/result_callback.h"

#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/introspection.h"
#include "olma/data/native_to_definition.h"
#include "olma/data/native_to_value.h"
#include "olma/data/value_to_native.h"

namespace {

using namespace Olma::Core;

TEST(AsyncApiResultCb, KeepsTheFunctionForProgressAndReleasesItWithTheFinalResult) {
  const auto result = MethodResult::GetStreamTerminalInstance();
  const auto seen = std::make_shared<std::vector<long long>>();
  AsyncApiResultCb callback([seen, &result](const MethodResult::PtrConstType& delivered,
                                            const Progress& progress,
                                            const AsyncApiResultCb::Continuation& next) {
    seen->push_back(delivered == result ? 100 : next ? -progress.current : progress.current);
  });
  callback(nullptr, Progress{0, 10, 3});
  callback(nullptr, Progress{0, 10, 7}, [](const AsyncApiResultCb::PtrType&) {});
  callback(result);
  EXPECT_THAT(*seen, testing::ElementsAre(3, -7, 100));
  EXPECT_EQ(seen.use_count(), 1);  // what the function captured is freed
  EXPECT_FALSE(callback);
  EXPECT_THROW(callback(result), std::bad_function_call);
}

TEST(AsyncApiResultCb, ReleasesTheFunctionEvenWhenItThrows) {
  const auto state = std::make_shared<int>(0);
  AsyncApiResultCb callback(
      [state](const MethodResult::PtrConstType&, const Progress&, const AsyncApiResultCb::Continuation&) {
        throw std::runtime_error("failed");
      });
  EXPECT_THROW(callback(MethodResult::GetStreamTerminalInstance()), std::runtime_error);
  EXPECT_EQ(state.use_count(), 1);
  EXPECT_FALSE(callback);
  EXPECT_THROW(AsyncApiResultCb()(nullptr), std::bad_function_call);  // a default-constructed one
}

TEST(Progress, ValuesCarryCurrentWhileTheDeclaredDefinitionKeepsCorrent) {
  using namespace Olma::Data;
  Olma::MessageList messages;
  DataValue::PtrConstType value;
  ASSERT_TRUE(NativeToValueAdapter::Adapt(Progress{1, 10, 4}, value, messages));
  EXPECT_EQ(value->ToString(), "{{ Progress : { current : 4, max : 10, min : 1, } }} ");
  Progress back;
  ASSERT_TRUE(ValueToNativeAdapter::Adapt(value, back, messages));
  EXPECT_EQ(back, (Progress{1, 10, 4}));
  std::string text;
  RawDefinitionAdapter::Adapt(NativeToDefinitionAdapter::Adapt<Progress>(), ' ', text, messages);
  EXPECT_EQ(text, "STRUCTURE Progress < corrent LONG max LONG min LONG >");
}

}  // namespace
