#include "olma/provider/interface_container.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/crc32.h"
#include "olma/data/definitions.h"
#include "provider/fake_method.h"

namespace {

using namespace Olma::Data;
using Olma::Core::InterfaceIdentifier;
using Olma::Provider::AsyncApiInterface;
using Olma::Provider::InterfaceList;

AsyncApiInterface::PtrConstType Api(const std::string& name,
                                    std::vector<Olma::Provider::AsyncApiMethod::PtrConstType> methods) {
  return AsyncApiInterface::GetInstance(InterfaceIdentifier::GetInstance(name),
                                        {methods.begin(), methods.end()});
}

DataDefinition::PtrConstType In(DataDefinition::PtrConstType field) {
  return StructDefinition::GetInstance("in", {{"a", std::move(field)}});
}

AsyncApiInterface::PtrConstType Tasks(DataDefinition::PtrConstType field = IntegerDefinition::GetInstance()) {
  return Api("com.acme.tasks",
             {std::make_shared<OlmaTest::FakeMethod>(
                 "create", In(std::move(field)),
                 Olma::Provider::ErrorDefinitionList{ErrorDefinition::GetInstance("com.acme.errors.full")})});
}

AsyncApiInterface::PtrConstType Alpha() {
  return Api("com.acme.alpha", {std::make_shared<OlmaTest::FakeMethod>("ping")});
}

template <class Mutex>
class InterfaceContainer : public ::testing::Test {
 protected:
  using Container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<Mutex>;
};
using Mutexes = ::testing::Types<std::mutex, Olma::Provider::DummyMutex>;
TYPED_TEST_SUITE(InterfaceContainer, Mutexes);

TYPED_TEST(InterfaceContainer, FindOnEmptyContainerReportsUnknownInterface) {
  const auto container = TestFixture::Container::GetInstance();
  EXPECT_EQ(container->checksum(), "00000000");
  Olma::MessageList messages;
  AsyncApiInterface::PtrConstType found;
  EXPECT_FALSE(container->Find(InterfaceIdentifier::GetInstance("com.acme.x"), found, messages));
  EXPECT_EQ(found, nullptr);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.provider.interface.unknown");
  EXPECT_EQ(messages.front().defaultMessage(), "Unknown interface: com.acme.x");
}

TYPED_TEST(InterfaceContainer, FindMatchesWholeNamesInEveryPublishedSnapshot) {
  const auto container = TestFixture::Container::GetInstance({Alpha()});
  Olma::MessageList messages;
  ASSERT_TRUE(container->Add(Tasks(), messages));
  ASSERT_TRUE(
      container->Add(Api("com.acme.tasks2", {std::make_shared<OlmaTest::FakeMethod>("run")}), messages));
  const struct {
    const char* name;
    bool found;
  } cases[] = {{"com.acme.alpha", true},
               {"com.acme.tasks", true},
               {"com.acme.tasks2", true},
               {"com.acme.task", false},
               {"com.acme.tasks3", false},
               {"com.acme.Tasks", false},
               {"", false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Olma::MessageList lookup;
    AsyncApiInterface::PtrConstType found;
    // A fresh identifier object, as a parsed request brings.
    EXPECT_EQ(container->Find(InterfaceIdentifier::GetInstance(c.name), found, lookup), c.found);
    if (c.found) {
      ASSERT_NE(found, nullptr);
      EXPECT_EQ(found->id()->name(), c.name);
    }
    EXPECT_EQ(lookup.size(), c.found ? 0u : 1u);
  }
  AsyncApiInterface::PtrConstType found;
  Olma::MessageList lookup;
  EXPECT_FALSE(container->Find(nullptr, found, lookup));
  ASSERT_EQ(lookup.size(), 1u);
  EXPECT_EQ(lookup.front().defaultMessage(), "Unknown interface: ");
}

TYPED_TEST(InterfaceContainer, ChecksumWalksInterfacesAndMethodsInNameOrder) {
  // Pieces of the canonical text are separated by a blank; names and texts are not.
  Olma::CRC32 expected;
  for (const char* piece : {"com.acme.alpha", "ping", "com.acme.tasks", "create", "STRUCTURE in < a LONG >",
                            "STRUCTURE in < a LONG >", "ERROR com.acme.errors.full"}) {
    expected.Update(std::string_view(piece));
  }
  const auto container = TestFixture::Container::GetInstance({Tasks(), Alpha()});
  EXPECT_EQ(container->checksum(), expected.Hexdigest());
  EXPECT_EQ(TestFixture::Container::GetInstance({Alpha(), Tasks()})->checksum(), expected.Hexdigest());

  const auto grown = TestFixture::Container::GetInstance();
  Olma::MessageList messages;
  EXPECT_TRUE(grown->Add(Tasks(), messages));
  EXPECT_TRUE(grown->Add(Alpha(), messages));
  EXPECT_EQ(grown->checksum(), expected.Hexdigest());
  EXPECT_TRUE(messages.empty());
}

TYPED_TEST(InterfaceContainer, DuplicateAddFailsWithOneMessageAndKeepsTheFirst) {
  const auto first = Tasks();
  const auto container = TestFixture::Container::GetInstance({first});
  const std::string checksum = container->checksum();
  Olma::MessageList messages;
  EXPECT_FALSE(container->Add(Tasks(StringDefinition::GetInstance()), messages));
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.provider.interface.already.registered");
  EXPECT_EQ(messages.front().defaultMessage(), "Interface already registered: com.acme.tasks");
  EXPECT_EQ(container->checksum(), checksum);
  AsyncApiInterface::PtrConstType found;
  ASSERT_TRUE(container->Find(InterfaceIdentifier::GetInstance("com.acme.tasks"), found, messages));
  EXPECT_EQ(found, first);
  // A list with duplicates keeps the first silently.
  EXPECT_EQ(TestFixture::Container::GetInstance({first, Tasks(StringDefinition::GetInstance())})->checksum(),
            checksum);
}

TYPED_TEST(InterfaceContainer, DifferentMethodDefinitionsGiveDifferentChecksums) {
  const std::string base = TestFixture::Container::GetInstance({Tasks()})->checksum();
  for (const auto& field :
       {DataDefinition::PtrConstType(StringDefinition::GetInstance()),
        DataDefinition::PtrConstType(OptionalDefinition::GetInstance(IntegerDefinition::GetInstance())),
        DataDefinition::PtrConstType(ListDefinition::GetInstance(IntegerDefinition::GetInstance()))}) {
    SCOPED_TRACE(field->ToString());
    EXPECT_NE(TestFixture::Container::GetInstance({Tasks(field)})->checksum(), base);
  }
}

TYPED_TEST(InterfaceContainer, ForEachWalksItsSnapshotWhileTheCallbackAdds) {
  const auto container = TestFixture::Container::GetInstance({Tasks(), Alpha()});
  std::vector<std::string> seen;
  Olma::MessageList messages;
  container->ForEach([&](const AsyncApiInterface::PtrConstType& api) {
    seen.push_back(api->id()->name());
    EXPECT_TRUE(container->Add(Api("com.acme.added" + std::to_string(seen.size()), {}), messages));
  });
  EXPECT_THAT(seen, ::testing::ElementsAre("com.acme.alpha", "com.acme.tasks"));
  seen.clear();
  container->ForEach([&](const AsyncApiInterface::PtrConstType& api) { seen.push_back(api->id()->name()); });
  EXPECT_THAT(
      seen, ::testing::ElementsAre("com.acme.added1", "com.acme.added2", "com.acme.alpha", "com.acme.tasks"));
}

}  // namespace
