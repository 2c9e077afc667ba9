#include "olma/invocation/method_result.h"

#include <string>

#include <gtest/gtest.h>

#include "olma/data/values.h"

namespace {

using Olma::Core::MethodResult;
using Olma::Data::ErrorValue;
using Olma::Data::IntegerValue;

TEST(MethodResult, RendersByPointersWithErrorFirst) {
  const auto output = IntegerValue::GetInstance(42);
  const auto error = ErrorValue::GetInstance("com.acme.errors.denied");
  const std::string failure = "MR [FAIL] Error: " + error->ToString();

  struct Case {
    const char* name;
    MethodResult::PtrConstType result;
    std::string text;
    bool isError;
  };
  const Case cases[] = {
      {"success", MethodResult::GetInstance(output), "MR [SUCCESS] Output: 42", false},
      {"failure", MethodResult::GetErrorInstance(error), failure, true},
      {"both", MethodResult::GetInstance(output, error), failure, true},
      {"terminal", MethodResult::GetStreamTerminalInstance(), "MR [SUCCESS] Stream Terminal Result", false},
      {"empty output", MethodResult::GetInstance(nullptr), "MR [SUCCESS] Stream Terminal Result", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.result->ToString(), c.text);
    EXPECT_EQ(c.result->isError(), c.isError);
  }
}

TEST(MethodResult, ErrorInstanceIsAnErrorEvenAroundAnEmptyPointer) {
  const auto result = MethodResult::GetErrorInstance(nullptr);
  EXPECT_TRUE(result->isError());
  EXPECT_FALSE(result->output());
  EXPECT_TRUE(result->isStreamTerminal());

  const auto error = ErrorValue::GetInstance("e");
  const auto failed = MethodResult::GetErrorInstance(error);
  EXPECT_EQ(failed->error(), error);
  EXPECT_FALSE(failed->output());
  EXPECT_FALSE(failed->isStreamTerminal());
}

}  // namespace
