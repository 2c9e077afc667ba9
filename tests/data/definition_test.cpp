#include "olma/data/definitions.h"

#include <gtest/gtest.h>

TEST(DataDefinition, Smoke) {
  EXPECT_EQ(Olma::Data::IntegerDefinition::GetInstance()->ToString(), "INTEGER");
}
