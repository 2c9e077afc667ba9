#include "olma/invocation/execution_context.h"

#include <gtest/gtest.h>

namespace {

using namespace Olma::Core;

TEST(WrapT, PlainWritesLeaveTheOverrideWinningAndEqualitySeesBothSlots) {
  ApplicationContextEntry entry = "client";
  entry.override = "header";
  entry = "client-2";
  EXPECT_EQ(entry.value, "client-2");
  EXPECT_EQ(entry.effective(), "header");
  EXPECT_NE(ApplicationContextEntry(ApplicationContextEntry::Override(), "x"), ApplicationContextEntry("x"));
}

}  // namespace
