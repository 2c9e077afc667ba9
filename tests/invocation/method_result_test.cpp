#include "olma/invocation/method_result.h"

#include <stdexcept>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "olma/data/values.h"

namespace {

using namespace Olma::Core;

TEST(MethodResult, RendersAndClassifiesByItsPointersWithErrorFirst) {
  const auto output = Olma::Data::IntegerValue::GetInstance(42);
  const auto error = Olma::Data::ErrorValue::GetInstance("com.acme.errors.denied");
  const std::string failure = "MR [FAIL] Error: " + error->ToString(),
                    terminal = "MR [SUCCESS] Stream Terminal Result";
  const std::tuple<const char*, MethodResult::PtrConstType, std::string, bool, bool> cases[] = {
      {"success", MethodResult::GetInstance(output), "MR [SUCCESS] Output: 42", false, false},
      {"failure", MethodResult::GetErrorInstance(error), failure, true, false},
      {"both", MethodResult::GetInstance(output, error), failure, true, false},
      {"terminal", MethodResult::GetStreamTerminalInstance(), terminal, false, true},
      {"empty output", MethodResult::GetInstance(nullptr), terminal, false, true},
  };
  for (const auto& [name, result, text, isError, isTerminal] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(result->ToString(), text);
    EXPECT_EQ(result->isError(), isError);
    EXPECT_EQ(result->isStreamTerminal(), isTerminal);
  }
}

TEST(MethodResult, RefusesAnEmptyError) {
  EXPECT_THROW(static_cast<void>(MethodResult::GetErrorInstance(nullptr)), std::invalid_argument);
}

}  // namespace
