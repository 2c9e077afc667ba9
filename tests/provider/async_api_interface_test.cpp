#include "olma/provider/async_api_interface.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "provider/fake_method.h"

namespace {

using Olma::Core::InterfaceIdentifier;
using Olma::Provider::AsyncApiInterface;
using Olma::Provider::AsyncApiMethod;
using OlmaTest::FakeMethod;
using ::testing::ElementsAre;

std::vector<std::string> MethodNames(const Olma::Core::InterfaceDefinition& definition) {
  std::vector<std::string> names;
  for (const auto& identifier : definition.methods()) {
    EXPECT_EQ(identifier->interfaceIdentifier()->name(), definition.identifier()->name());
    names.push_back(identifier->name());
  }
  return names;
}

TEST(AsyncApiInterface, SameNamedMethodsKeepTheFirstSilently) {
  const auto first = FakeMethod::Make("get");
  const auto second = FakeMethod::Make("get");
  const auto put = FakeMethod::Make("put");
  const auto api = AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance("com.acme.tasks"),
                                                  {first, put, second});

  AsyncApiMethod::PtrConstType found;
  Olma::MessageList messages;
  ASSERT_TRUE(api->method("get", found, messages));
  EXPECT_EQ(found, first);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(api->methods().size(), 2u);
  EXPECT_THAT(MethodNames(*api->definition()), ElementsAre("get", "put"));
  EXPECT_EQ(api->definition()->identifier(), api->id());
}

TEST(AsyncApiInterface, UnknownMethodAppendsOneMessageWithInterfaceAndRequestedName) {
  const auto get = FakeMethod::Make("get");
  const auto api = AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance("com.acme.tasks"), {get});

  // Lookup is exact: case and surrounding text matter.
  for (const std::string requested : {"Get", "ge", "get ", "", "com.acme.tasks.get"}) {
    SCOPED_TRACE("requested: '" + requested + "'");
    const auto previous = FakeMethod::Make("previous");
    AsyncApiMethod::PtrConstType found = previous;
    Olma::MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request")};
    EXPECT_FALSE(api->method(requested, found, messages));
    EXPECT_EQ(found, previous);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages.front().id(), "olma.invalid.request");
    const Olma::BaseMessage& missing = messages.back();
    EXPECT_EQ(missing.id(), "olma.async.api.interface.missing.method");
    EXPECT_EQ(missing.defaultMessage(), "Interface missing method: com.acme.tasks[" + requested + "]");
    EXPECT_THAT(OlmaTest::ArgsOf(missing), ElementsAre("com.acme.tasks", requested));
  }
}

TEST(AsyncApiInterface, EmptyMethodPointersAreSkippedAndAnEmptyIdentifierIsRefused) {
  const auto get = FakeMethod::Make("get");
  const auto api =
      AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance("x"), {nullptr, get, nullptr});
  EXPECT_EQ(api->methods().size(), 1u);
  EXPECT_EQ(api->definition()->methods().size(), 1u);

  const auto empty = AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance(""), {});
  EXPECT_TRUE(empty->methods().empty());
  EXPECT_TRUE(empty->definition()->methods().empty());

  EXPECT_THROW(AsyncApiInterface::GetInstance(nullptr, {get}), std::invalid_argument);
}

}  // namespace
