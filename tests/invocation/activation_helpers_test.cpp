#include "olma/invocation/activation_helpers.h"

#include <gtest/gtest.h>

#include "olma/data/values.h"

namespace {

using namespace Olma::Core;
using namespace Olma::Data;

TEST(ActivationHelpers, OpIdReadsTheEffectiveValueAndWritesTheWinningSlot) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  auto& entries = activation->executionContext()->applicationContext();
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(activation), "");
  ActivationHelpers::SetActivationOpId(activation, "first");
  EXPECT_EQ(entries.at("opId"), ApplicationContextEntry("first"));
  entries.at("opId").override = "from-header";
  ActivationHelpers::SetActivationOpId(activation, "second");
  EXPECT_EQ(entries.at("opId").value, "first");
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(activation), "second");
  // An empty activation reads as an empty context and takes no writes.
  ActivationHelpers::SetActivationOpId(nullptr, "ignored");
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(nullptr), "");
}

TEST(ActivationHelpers, ApiReleaseAndUsernameReadTheEffectiveEntries) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  auto& context = *activation->executionContext();
  EXPECT_EQ(ActivationHelpers::GetApiRelease(activation), std::nullopt);
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::nullopt);
  context.applicationContext()["api_release"] = "";
  context.applicationContext()["username"] = "";
  EXPECT_EQ(ActivationHelpers::GetApiRelease(activation), std::optional<std::string_view>(""));
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::nullopt);  // an empty name is none
  auto& release = context.applicationContext()["api_release"].override = "2.1";
  EXPECT_EQ(ActivationHelpers::GetApiRelease(activation)->data(), release->data());  // a view, no copy
  context.applicationContext()["username"].override = "from-context";
  // An attached name counts only when it is a non-empty string value.
  for (const DataValue::PtrConstType& attached : std::initializer_list<DataValue::PtrConstType>{
           nullptr, IntegerValue::GetInstance(7), StringValue::GetInstance("")}) {
    context.applicationData()["username"] = attached;
    EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::optional<std::string>("from-context"));
  }
  context.applicationData()["username"] = StringValue::GetInstance("from-transport");
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::optional<std::string>("from-transport"));
}

TEST(ActivationHelpers, PeerBindingInfoRoundTripsAndIgnoresMalformedEntries) {
  const auto context = ExecutionContext::GetInstance();
  ActivationHelpers::SetPeerTcpBindingInfo(*context, PeerBindingInfo("2001:db8::1", 4294967295u));
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(AsyncActivation::GetInstance(context)),
            std::optional(PeerBindingInfo("2001:db8::1", 4294967295u)));
  auto& stored = context->applicationData().at("tcp_peer_binding_info");
  ASSERT_EQ(stored->type(), DataType::STRUCTURE);
  EXPECT_EQ(static_cast<const StructValue&>(*stored).name(), "tcp_peer_binding_info");

  const std::string ip = "tcp_peer_binding_info_ip", port = "tcp_peer_binding_info_port";
  const auto store = [&](const std::string& field, DataValue::PtrConstType value) {
    auto info = StructValue::GetInstance("tcp_peer_binding_info");
    info->SetField(ip, StringValue::GetInstance("192.0.2.7"));
    info->SetField(port, IntegerValue::GetInstance(80));
    info->SetField(field, std::move(value));
    stored = info;
    return ActivationHelpers::GetPeerTcpBindingInfo(*context);
  };
  EXPECT_EQ(store("other", nullptr), std::optional(PeerBindingInfo("192.0.2.7", 80)));
  EXPECT_EQ(store(port, nullptr), std::nullopt);
  EXPECT_EQ(store(ip, IntegerValue::GetInstance(1)), std::nullopt);
  EXPECT_EQ(store(port, StringValue::GetInstance("80")), std::nullopt);
  EXPECT_EQ(store(port, IntegerValue::GetInstance(-1)), std::nullopt);
  EXPECT_EQ(store(port, IntegerValue::GetInstance(4294967296LL)), std::nullopt);
  for (const DataValue::PtrConstType& other :
       std::initializer_list<DataValue::PtrConstType>{nullptr, StringValue::GetInstance("192.0.2.7:80")}) {
    stored = other;  // empty, or not a structure
    EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(*context), std::nullopt);
  }
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(nullptr), std::nullopt);
}

TEST(RequestIdHelper, ReadsAndWritesBothMapKinds) {
  std::map<std::string, std::string> strings{{"Request_Id", "wrong-case"}};
  std::map<std::string, DataValue::PtrConstType> values{{"request_id", IntegerValue::GetInstance(5)}};
  std::string id = "unchanged";
  EXPECT_FALSE(Olma::RequestIdHelper::Get(strings, id));
  EXPECT_FALSE(Olma::RequestIdHelper::Get(values, id));  // not a string value
  values["request_id"] = nullptr;
  EXPECT_FALSE(Olma::RequestIdHelper::Get(values, id));
  EXPECT_EQ(id, "unchanged");
  Olma::RequestIdHelper::Set(strings, "r-1");
  EXPECT_EQ(strings.at("request_id"), "r-1");
  EXPECT_TRUE(Olma::RequestIdHelper::Get(strings, id));
  EXPECT_EQ(id, "r-1");
  Olma::RequestIdHelper::Set(values, "r-2");
  EXPECT_TRUE(Olma::RequestIdHelper::Get(values, id));
  EXPECT_EQ(id, "r-2");
}

}  // namespace
