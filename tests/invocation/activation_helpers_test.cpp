#include "olma/invocation/activation_helpers.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "olma/data/values.h"

namespace {

using Olma::RequestIdHelper;
using Olma::Core::ActivationHelpers;
using Olma::Core::AsyncActivation;
using Olma::Core::ExecutionContext;
using Olma::Core::PeerBindingInfo;
using namespace Olma::Data;

TEST(ActivationHelpers, OpIdReadsTheEffectiveValueAndIsEmptyWhenAbsent) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  EXPECT_EQ(ActivationHelpers::OpIdKey(), "opId");
  EXPECT_EQ(&ActivationHelpers::OpIdKey(), &ActivationHelpers::OpIdKey());
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(activation), "");

  auto& entry = activation->executionContext()->applicationContext()["opId"];
  entry = "A";
  entry.override = "B";
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(activation), "B");
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(nullptr), "");
}

TEST(ActivationHelpers, SetOpIdCreatesTheEntryOrWritesTheWinningSlot) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  auto& entries = activation->executionContext()->applicationContext();
  ActivationHelpers::SetActivationOpId(activation, "first");
  EXPECT_EQ(entries.at("opId").value, "first");
  EXPECT_FALSE(entries.at("opId").override);

  entries.at("opId").override = "from-header";
  ActivationHelpers::SetActivationOpId(activation, "second");
  EXPECT_EQ(ActivationHelpers::GetActivationOpId(activation), "second");
  EXPECT_EQ(entries.at("opId").value, "first");

  ActivationHelpers::SetActivationOpId(static_cast<AsyncActivation*>(nullptr), "ignored");
}

TEST(ActivationHelpers, ApiReleaseIsAViewOfTheEffectiveValue) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  EXPECT_EQ(ActivationHelpers::GetApiRelease(activation), std::nullopt);
  auto& entry = activation->executionContext()->applicationContext()["api_release"];
  entry = "";
  EXPECT_EQ(ActivationHelpers::GetApiRelease(activation), std::optional<std::string_view>(""));
  entry.override = "2.1";
  const auto release = ActivationHelpers::GetApiRelease(activation);
  ASSERT_TRUE(release);
  EXPECT_EQ(*release, "2.1");
  EXPECT_EQ(release->data(), entry.override->data());
}

TEST(ActivationHelpers, UsernamePrefersAttachedStringValueOverApplicationContext) {
  const auto activation = AsyncActivation::GetInstance(nullptr);
  auto& context = *activation->executionContext();
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::nullopt);

  context.applicationContext()["username"] = "";
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::nullopt);
  context.applicationContext()["username"].override = "from-context";
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::optional<std::string>("from-context"));

  context.applicationData()["username"] = IntegerValue::GetInstance(7);
  EXPECT_EQ(ActivationHelpers::ExtractUsername(activation), std::optional<std::string>("from-context"));
  context.applicationData()["username"] = StringValue::GetInstance("from-transport");
  const AsyncActivation::PtrConstType readOnly = activation;
  EXPECT_EQ(ActivationHelpers::ExtractUsername(readOnly), std::optional<std::string>("from-transport"));
}

TEST(ActivationHelpers, PeerBindingInfoRoundTripsAtPortBoundaries) {
  const std::uint32_t ports[] = {0, 1, 443, 65535, 4294967295u};
  const auto context = ExecutionContext::GetInstance();
  for (const std::uint32_t port : ports) {
    SCOPED_TRACE(port);
    const PeerBindingInfo peer("2001:db8::1", port);
    ActivationHelpers::SetPeerTcpBindingInfo(*context, peer);
    EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(*context), std::optional<PeerBindingInfo>(peer));
    EXPECT_EQ(context->applicationData().size(), 1u);
  }
  const auto& stored = context->applicationData().at("tcp_peer_binding_info");
  ASSERT_EQ(stored->type(), DataType::STRUCTURE);
  EXPECT_EQ(static_cast<const StructValue&>(*stored).name(), "tcp_peer_binding_info");

  const auto activation = AsyncActivation::GetInstance(context);
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(activation),
            std::optional<PeerBindingInfo>(PeerBindingInfo("2001:db8::1", 4294967295u)));
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(static_cast<const AsyncActivation*>(nullptr)),
            std::nullopt);
}

TEST(ActivationHelpers, PeerBindingInfoIsEmptyForMissingOrMalformedEntries) {
  const auto makeInfo = [](DataValue::PtrConstType ip, DataValue::PtrConstType port) {
    auto info = StructValue::GetInstance("tcp_peer_binding_info");
    if (ip) info->SetField("tcp_peer_binding_info_ip", ip);
    if (port) info->SetField("tcp_peer_binding_info_port", port);
    return info;
  };
  const auto ip = StringValue::GetInstance("192.0.2.7");
  const auto port = IntegerValue::GetInstance(80);
  struct Case {
    const char* name;
    DataValue::PtrConstType stored;
  };
  const Case cases[] = {
      {"empty pointer", nullptr},
      {"not a structure", StringValue::GetInstance("192.0.2.7:80")},
      {"no ip", makeInfo(nullptr, port)},
      {"no port", makeInfo(ip, nullptr)},
      {"ip not a string", makeInfo(IntegerValue::GetInstance(1), port)},
      {"port not an integer", makeInfo(ip, StringValue::GetInstance("80"))},
      {"negative port", makeInfo(ip, IntegerValue::GetInstance(-1))},
      {"port too large", makeInfo(ip, IntegerValue::GetInstance(4294967296LL))},
  };
  const auto context = ExecutionContext::GetInstance();
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(*context), std::nullopt);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    context->applicationData()["tcp_peer_binding_info"] = c.stored;
    EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(*context), std::nullopt);
  }
  context->applicationData()["tcp_peer_binding_info"] = makeInfo(ip, port);
  EXPECT_EQ(ActivationHelpers::GetPeerTcpBindingInfo(*context),
            std::optional<PeerBindingInfo>(PeerBindingInfo("192.0.2.7", 80)));
}

TEST(RequestIdHelper, ReadsAndWritesBothMapKinds) {
  EXPECT_EQ(RequestIdHelper::REQUEST_ID_STRING, "request_id");

  std::map<std::string, std::string> strings{{"Request_Id", "wrong-case"}};
  std::string id = "unchanged";
  EXPECT_FALSE(RequestIdHelper::Get(strings, id));
  EXPECT_EQ(id, "unchanged");
  RequestIdHelper::Set(strings, "r-1");
  RequestIdHelper::Set(strings, "r-2");
  EXPECT_TRUE(RequestIdHelper::Get(strings, id));
  EXPECT_EQ(id, "r-2");
  EXPECT_EQ(strings.at("request_id"), "r-2");

  std::map<std::string, DataValue::PtrConstType> values;
  id = "unchanged";
  EXPECT_FALSE(RequestIdHelper::Get(values, id));
  values["request_id"] = IntegerValue::GetInstance(5);
  EXPECT_FALSE(RequestIdHelper::Get(values, id));
  values["request_id"] = nullptr;
  EXPECT_FALSE(RequestIdHelper::Get(values, id));
  EXPECT_EQ(id, "unchanged");
  RequestIdHelper::Set(values, "r-3");
  EXPECT_TRUE(RequestIdHelper::Get(values, id));
  EXPECT_EQ(id, "r-3");
  ASSERT_EQ(values.at("request_id")->type(), DataType::STRING);
}

}  // namespace
