#include "olma/invocation/async_activation.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "olma/data/scalar_values.h"

namespace {

using Olma::Core::ApplicationContextEntry;
using Olma::Core::AsyncActivation;
using Olma::Core::ExecutionContext;
using Olma::Core::MethodIdentifier;
using Olma::Core::SecurityContextEntry;
using Olma::Core::SecurityContextWrappedEntry;

// A parent whose "opId" carries value A and override B, with a credential and data.
AsyncActivation::PtrType MakeParent() {
  auto parent = AsyncActivation::GetInstance(ExecutionContext::GetInstance());
  auto& context = *parent->executionContext();
  context.applicationContext()["opId"] = "A";
  context.applicationContext()["opId"].override = "B";
  context.applicationContext()["api_release"] = "1.0";
  context.securityContext()["schemeId"] = "user_pass";
  context.securityContext()["userName"] = "alice";
  context.securityContext()["userName"].override = SecurityContextEntry("bob");
  context.applicationData()["host"] = Olma::Data::StringValue::GetInstance("h");
  return parent;
}

TEST(AsyncActivation, GetInstanceNeverHoldsAnEmptyContext) {
  const auto context = ExecutionContext::GetInstance();
  EXPECT_EQ(AsyncActivation::GetInstance(context)->executionContext(), context);
  ASSERT_TRUE(AsyncActivation::GetInstance(nullptr)->executionContext());
}

TEST(AsyncActivation, CreateFromCollapsesEntriesAndPreserveSignedKeepsBothSlots) {
  const auto parent = MakeParent();
  const ExecutionContext before = *parent->executionContext();

  const auto plain = AsyncActivation::CreateFrom(*parent);
  const auto& plainOpId = plain->executionContext()->applicationContext().at("opId");
  EXPECT_EQ(plainOpId.value, "B");
  EXPECT_FALSE(plainOpId.override);
  EXPECT_EQ(plain->executionContext()->applicationContext().at("api_release"),
            ApplicationContextEntry("1.0"));

  const auto signed_ = AsyncActivation::CreateFromPreserveSigned(*parent);
  const auto& signedOpId = signed_->executionContext()->applicationContext().at("opId");
  EXPECT_EQ(signedOpId.value, "A");
  EXPECT_EQ(signedOpId.override, std::optional<std::string>("B"));

  for (const auto& child : {plain, signed_}) {
    EXPECT_NE(child->executionContext(), parent->executionContext());
    EXPECT_TRUE(child->executionContext()->securityContext().empty());
    EXPECT_TRUE(child->executionContext()->applicationData().empty());
  }
  EXPECT_EQ(parent->executionContext()->applicationContext(), before.applicationContext());
  EXPECT_EQ(parent->executionContext()->securityContext(), before.securityContext());
}

TEST(AsyncActivation, UseSecCtxInsertsOnlyMissingKeys) {
  const auto parent = MakeParent();
  for (const bool preserve : {false, true}) {
    SCOPED_TRACE(preserve ? "preserve" : "collapse");
    const auto child = AsyncActivation::CreateFrom(*parent);
    auto& target = child->executionContext()->securityContext();
    target["schemeId"] = "session";
    preserve ? child->UseSecCtxPreserveSigned(*parent) : child->UseSecCtx(*parent);

    EXPECT_EQ(target.at("schemeId"), SecurityContextWrappedEntry("session"));
    const SecurityContextWrappedEntry& user = target.at("userName");
    EXPECT_EQ(user.effective().value, "bob");
    EXPECT_EQ(user.value.value, preserve ? "alice" : "bob");
    EXPECT_EQ(static_cast<bool>(user.override), preserve);
  }
}

TEST(AsyncActivation, UseSecCtxKeepsNestedEntriesOfTheEffectiveValue) {
  const auto parent = AsyncActivation::GetInstance(nullptr);
  SecurityContextEntry signature;
  signature.entries["alg"] = "RS256";
  parent->executionContext()->securityContext()["signature"].override = signature;

  const auto child = AsyncActivation::GetInstance(nullptr);
  child->UseSecCtx(*parent);
  EXPECT_EQ(child->executionContext()->securityContext().at("signature"),
            SecurityContextWrappedEntry(signature));
  // An activation copying into itself changes nothing.
  child->UseSecCtx(*child);
  EXPECT_EQ(child->executionContext()->securityContext().size(), 1u);
}

TEST(AsyncActivation, DupSharesTheContextAndCopiesTheMembers) {
  // The localizer and observer types live in layers above; the pointers here are only
  // stored and compared, never followed.
  const auto anchor = std::make_shared<int>(0);
  const auto otherAnchor = std::make_shared<int>(1);
  const AsyncActivation::RequestLocalizerPtr localizer(
      anchor, reinterpret_cast<const Olma::L10n::RequestLocalizer*>(anchor.get()));
  const AsyncActivation::RequestLocalizerPtr errorLocalizer(
      otherAnchor, reinterpret_cast<const Olma::L10n::RequestLocalizer*>(otherAnchor.get()));
  const AsyncActivation::CallObserverPtr observer(anchor, reinterpret_cast<Api::CallObserver*>(anchor.get()));
  const auto method = MethodIdentifier::GetInstance("a.b");
  const auto auth = Olma::Data::StringValue::GetInstance("claims");

  const auto activation = MakeParent();
  EXPECT_FALSE(activation->GetErrorRequestLocalizer());
  activation->requestLocalizer(localizer);
  EXPECT_EQ(activation->GetErrorRequestLocalizer(), localizer);
  activation->errorRequestLocalizer(errorLocalizer);
  activation->authData(auth);
  activation->callObserver(observer, method);

  const auto copy = activation->Dup();
  EXPECT_NE(copy, activation);
  EXPECT_EQ(copy->executionContext(), activation->executionContext());
  EXPECT_EQ(copy->requestLocalizer(), localizer);
  EXPECT_EQ(copy->GetErrorRequestLocalizer(), errorLocalizer);
  EXPECT_EQ(copy->authData(), auth);
  EXPECT_EQ(copy->callObserver(), observer);
  EXPECT_EQ(copy->observedMethod(), method);

  // The derived activation of an outgoing call starts without them.
  const auto outgoing = AsyncActivation::CreateFrom(*activation);
  EXPECT_FALSE(outgoing->requestLocalizer());
  EXPECT_FALSE(outgoing->authData());
  EXPECT_FALSE(outgoing->callObserver());
}

}  // namespace
