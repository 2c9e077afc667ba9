#include "olma/invocation/async_activation.h"

#include <gtest/gtest.h>

#include "olma/data/scalar_values.h"

namespace {

using namespace Olma::Core;

// A parent whose "opId" and "userName" carry a value and an override, with a nested
// credential and application data.
AsyncActivation::PtrType MakeParent() {
  auto parent = AsyncActivation::GetInstance(nullptr);
  auto& context = *parent->executionContext();
  context.applicationContext()["opId"] = "A";
  context.applicationContext()["opId"].override = "B";
  context.securityContext()["schemeId"] = "user_pass";
  context.securityContext()["userName"] = "alice";
  context.securityContext()["userName"].override = "bob";
  context.securityContext()["signature"].override = SecurityContextEntry();
  context.securityContext()["signature"].override->entries["alg"] = "RS256";
  context.applicationData()["host"] = Olma::Data::StringValue::GetInstance("h");
  return parent;
}

TEST(AsyncActivation, CreateFromCollapsesEntriesAndPreserveSignedKeepsBothSlots) {
  const auto parent = MakeParent();
  const auto before = parent->executionContext()->applicationContext();
  const auto plain = AsyncActivation::CreateFrom(*parent);
  const auto preserved = AsyncActivation::CreateFromPreserveSigned(*parent);
  EXPECT_EQ(plain->executionContext()->applicationContext().at("opId"), ApplicationContextEntry("B"));
  EXPECT_EQ(preserved->executionContext()->applicationContext(), before);
  EXPECT_EQ(parent->executionContext()->applicationContext(), before);
  for (const auto& child : {plain, preserved}) {
    EXPECT_TRUE(child->executionContext()->securityContext().empty());
    EXPECT_TRUE(child->executionContext()->applicationData().empty());
  }
}

TEST(AsyncActivation, UseSecCtxInsertsOnlyMissingKeys) {
  const auto parent = MakeParent();
  const auto& source = parent->executionContext()->securityContext();
  EXPECT_TRUE(source.at("userName").value.isValue);                       // a string is a plain entry
  EXPECT_NE(source.at("signature").effective(), SecurityContextEntry());  // nested entries count
  for (const bool preserve : {false, true}) {
    const auto child = AsyncActivation::GetInstance(nullptr);
    auto& target = child->executionContext()->securityContext();
    target["schemeId"] = "session";
    preserve ? child->UseSecCtxPreserveSigned(*parent) : child->UseSecCtx(*parent);
    EXPECT_EQ(target.at("schemeId"), SecurityContextWrappedEntry("session"));
    for (const char* key : {"userName", "signature"}) {
      EXPECT_EQ(target.at(key),
                preserve ? source.at(key) : SecurityContextWrappedEntry(source.at(key).effective()))
          << key << (preserve ? " preserved" : " collapsed");
    }
  }
}

TEST(AsyncActivation, DupSharesTheContextAndKeepsWhatCreateFromDrops) {
  // The localizer type lives in a layer above; these pointers are only stored and compared.
  int anchors[2];
  const auto localizer = [&anchors](int i) {
    return AsyncActivation::RequestLocalizerPtr(
        std::shared_ptr<void>(), reinterpret_cast<const Olma::L10n::RequestLocalizer*>(&anchors[i]));
  };
  const auto activation = AsyncActivation::GetInstance(ExecutionContext::GetInstance());
  activation->requestLocalizer(localizer(0));
  EXPECT_EQ(activation->GetErrorRequestLocalizer(), localizer(0));  // the fallback
  activation->errorRequestLocalizer(localizer(1));
  activation->authData(Olma::Data::StringValue::GetInstance("claims"));
  const auto copy = activation->Dup();
  EXPECT_EQ(copy->executionContext(), activation->executionContext());
  EXPECT_EQ(copy->GetErrorRequestLocalizer(), localizer(1));
  EXPECT_EQ(copy->authData(), activation->authData());
  const auto outgoing = AsyncActivation::CreateFrom(*activation);
  EXPECT_FALSE(outgoing->GetErrorRequestLocalizer() || outgoing->authData());
}

}  // namespace
