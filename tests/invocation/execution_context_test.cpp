#include "olma/invocation/execution_context.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "olma/data/scalar_values.h"

namespace {

using Olma::Core::ApplicationContextEntry;
using Olma::Core::ExecutionContext;
using Olma::Core::SecurityContextEntry;
using Olma::Core::SecurityContextWrappedEntry;

TEST(WrapT, EffectiveIsTheOverrideWhenSetElseTheValue) {
  ApplicationContextEntry entry = "client";
  EXPECT_EQ(entry.effective(), "client");
  EXPECT_FALSE(entry.override);

  entry.override = "header";
  EXPECT_EQ(entry.effective(), "header");
  // Plain assignment writes the value slot only; the override keeps winning.
  entry = "client-2";
  EXPECT_EQ(entry.value, "client-2");
  EXPECT_EQ(entry.effective(), "header");

  entry.override.reset();
  EXPECT_EQ(entry.effective(), "client-2");

  const ApplicationContextEntry tagged(ApplicationContextEntry::Override(), "header");
  EXPECT_EQ(tagged.value, "");
  EXPECT_EQ(tagged.override, std::optional<std::string>("header"));
  EXPECT_NE(tagged, ApplicationContextEntry("header"));
}

TEST(SecurityContextEntry, StringMakesAPlainValueAndDefaultMakesAnEmptyGroup) {
  SecurityContextWrappedEntry entry;
  EXPECT_FALSE(entry.value.isValue);
  entry = "bob";
  EXPECT_TRUE(entry.effective().isValue);
  EXPECT_EQ(entry.effective().value, "bob");
  EXPECT_TRUE(entry.effective().entries.empty());

  SecurityContextEntry signature;
  signature.entries["alg"] = std::string("RS256");
  signature.entries["key"].override = SecurityContextEntry("k2");
  EXPECT_FALSE(signature.isValue);
  EXPECT_EQ(signature.entries["key"].effective().value, "k2");

  SecurityContextEntry copy = signature;
  EXPECT_EQ(copy, signature);
  copy.entries["alg"] = "HS256";
  EXPECT_NE(copy, signature);
}

TEST(ExecutionContext, CopyIsIndependentButSharesDataValues) {
  const auto original = ExecutionContext::GetInstance();
  EXPECT_TRUE(original->applicationContext().empty());
  EXPECT_TRUE(original->securityContext().empty());
  EXPECT_TRUE(original->applicationData().empty());

  original->applicationContext()["opId"] = "A";
  original->securityContext()["schemeId"] = "scheme";
  const auto host = Olma::Data::StringValue::GetInstance("example.org");
  original->applicationData()["host"] = host;

  const auto copy = ExecutionContext::GetInstance(*original);
  copy->applicationContext()["opId"].override = "B";
  copy->applicationContext()["extra"] = "x";
  copy->securityContext()["schemeId"] = "other";
  copy->applicationData().erase("host");

  EXPECT_EQ(original->applicationContext().size(), 1u);
  EXPECT_EQ(original->applicationContext().at("opId").effective(), "A");
  EXPECT_EQ(original->securityContext().at("schemeId").effective().value, "scheme");
  ASSERT_EQ(original->applicationData().count("host"), 1u);
  EXPECT_EQ(original->applicationData().at("host"), host);

  ExecutionContext plainCopy = *original;
  EXPECT_EQ(plainCopy.applicationData().at("host").get(), host.get());
}

}  // namespace
