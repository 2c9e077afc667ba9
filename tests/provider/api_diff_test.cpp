#include "olma/provider/api_diff.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "provider/fake_method.h"

namespace {

using namespace Olma::Data;
using Olma::Provider::ApiSnapshot;
using ::testing::ElementsAre;

DataDefinition::PtrConstType Task(
    std::vector<std::pair<std::string, DataDefinition::PtrConstType>> extra = {}) {
  StructDefinition::FieldMap fields{{"id", IntegerDefinition::GetInstance()}};
  for (auto& field : extra) fields.insert(std::move(field));
  return StructDefinition::GetInstance("task", fields);
}

ApiSnapshot::Method Method(DataDefinition::PtrConstType input, DataDefinition::PtrConstType output = Task(),
                           std::vector<std::string> errors = {}) {
  ApiSnapshot::Method method{std::move(input), std::move(output), {}};
  for (const std::string& error : errors) method.errors.emplace(error, ErrorDefinition::GetInstance(error));
  return method;
}

std::vector<std::string> Changes(const ApiSnapshot& before, const ApiSnapshot& after) {
  std::vector<std::string> texts;
  for (const auto& change : Olma::Provider::CompareApis(before, after).changes)
    texts.push_back(change.ToString());
  return texts;
}

TEST(CompareApis, ClassifiesAddedRemovedAndChangedElements) {
  ApiSnapshot before;
  before.interfaces["com.acme.gone"]["run"] = Method(Task());
  auto& tasks = before.interfaces["com.acme.tasks"];
  tasks["create"] = Method(Task(), Task(), {"com.acme.full", "com.acme.late"});
  tasks["delete"] = Method(Task());
  tasks["get"] = Method(Task(), Task({{"title", StringDefinition::GetInstance()}}));

  ApiSnapshot after;
  after.interfaces["com.acme.new"]["run"] = Method(Task());
  auto& next = after.interfaces["com.acme.tasks"];
  next["create"] = Method(Task({{"owner", StringDefinition::GetInstance()},
                                {"note", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}}),
                          Task(), {"com.acme.full", "com.acme.quota"});
  next["get"] =
      Method(Task({{"hint", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}}), Task());
  next["list"] = Method(Task());

  EXPECT_THAT(Changes(before, after),
              ElementsAre("breaking: removed com.acme.gone",  //
                          "compatible: added com.acme.new",
                          "breaking: changed com.acme.tasks.create.input: Required input field added: owner",
                          "compatible: removed com.acme.tasks.create.errors.com.acme.late",
                          "breaking: added com.acme.tasks.create.errors.com.acme.quota",
                          "breaking: removed com.acme.tasks.delete",
                          ::testing::StartsWith("compatible: changed com.acme.tasks.get.input"),
                          "breaking: changed com.acme.tasks.get.output: Output field removed: title",
                          "compatible: added com.acme.tasks.list"));
  EXPECT_TRUE(Olma::Provider::CompareApis(before, after).breaking());
  EXPECT_TRUE(Olma::Provider::CompareApis(before, before).empty());
}

TEST(CompareApis, ContainersCompareByWhatTheyHoldAndChecksumsFollow) {
  using Container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>;
  const auto api = [](DataDefinition::PtrConstType definition) {
    return Olma::Provider::AsyncApiInterface::GetInstance(
        Olma::Core::InterfaceIdentifier::GetInstance("com.acme.tasks"),
        {std::make_shared<OlmaTest::FakeMethod>("create", std::move(definition))});
  };
  const auto published = Container::GetInstance({api(Task())});
  const auto same = Container::GetInstance({api(Task())});
  const auto widened = Container::GetInstance(
      {api(Task({{"note", OptionalDefinition::GetInstance(StringDefinition::GetInstance())}}))});

  EXPECT_TRUE(Olma::Provider::CompareApis(*published, *same).empty());
  EXPECT_EQ(published->checksum(), same->checksum());

  const auto diff = Olma::Provider::CompareApis(*published, *widened);
  EXPECT_NE(published->checksum(), widened->checksum());
  EXPECT_FALSE(diff.breaking());
  ASSERT_EQ(diff.changes.size(), 2u);  // the input gained an optional field, the output a field
  EXPECT_EQ(diff.changes[0].path, "com.acme.tasks.create.input");
  EXPECT_EQ(diff.changes[1].path, "com.acme.tasks.create.output");
  EXPECT_FALSE(Olma::Provider::CompareApis(*widened, *published).changes.empty());
}

}  // namespace
