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
using OlmaTest::FakeMethod;
using ::testing::ElementsAre;

Olma::Provider::AsyncApiMethod::PtrConstType Fake(const std::string& name) {
  return std::make_shared<const FakeMethod>(name);
}

TEST(AsyncApiInterface, KeepsTheFirstOfSameNamedMethodsAndSkipsEmptyOnes) {
  const auto first = Fake("get"), put = Fake("put");
  const auto api = AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance("com.acme.tasks"),
                                                  {nullptr, first, put, Fake("get")});
  Olma::Provider::AsyncApiMethod::PtrConstType found;
  Olma::MessageList messages;
  ASSERT_TRUE(api->method("get", found, messages));
  EXPECT_EQ(found, first);
  EXPECT_TRUE(messages.empty());
  EXPECT_EQ(api->methods().size(), 2u);
  std::vector<std::string> names;
  for (const auto& identifier : api->definition()->methods()) names.push_back(identifier->ToString());
  EXPECT_THAT(names, ElementsAre("com.acme.tasks.get", "com.acme.tasks.put"));
  EXPECT_THROW(AsyncApiInterface::GetInstance(nullptr, {first}), std::invalid_argument);
}

TEST(AsyncApiInterface, UnknownMethodAppendsOneMessageWithInterfaceAndRequestedName) {
  const auto api =
      AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance("com.acme.tasks"), {Fake("get")});
  // Lookup is exact: case and surrounding text matter.
  for (const std::string requested : {"Get", "ge", "get ", "", "com.acme.tasks.get"}) {
    SCOPED_TRACE("requested: '" + requested + "'");
    const auto previous = Fake("previous");
    Olma::Provider::AsyncApiMethod::PtrConstType found = previous;
    Olma::MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request")};
    EXPECT_FALSE(api->method(requested, found, messages));
    EXPECT_EQ(found, previous);
    ASSERT_EQ(messages.size(), 2u);
    const Olma::BaseMessage& missing = messages.back();
    EXPECT_EQ(missing.id(), "olma.async.api.interface.missing.method");
    EXPECT_EQ(missing.defaultMessage(), "Interface missing method: com.acme.tasks[" + requested + "]");
    EXPECT_THAT(missing.args(), ElementsAre("com.acme.tasks", requested));
  }
}

}  // namespace
