#include "olma/data/values.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/core/message.h"
#include "olma/core/secret_string.h"
#include "olma/data/definitions.h"
#include "olma/data/value_rendering.h"

namespace {

using namespace Olma::Data;
using Ptr = DataValue::PtrConstType;

// A structure holding every kind of value; one optional hangs under each of its items.
StructValue::PtrType BuildTree() {
  auto names = ListValueString::GetInstance();
  names->assign({"a", "b"});
  const Ptr shared = OptionalValue::GetInstance(names);
  auto items = ListValue::GetInstance();
  for (int i = 0; i < 20; ++i) {
    auto item = StructValue::GetInstance("item");
    item->SetField("id", IntegerValue::GetInstance(i));
    item->SetField("ratio", DoubleValue::GetInstance(i / 4.0));
    item->SetField("flag", BooleanValue::GetInstance(i % 2 == 0));
    item->SetField("bytes", BlobValue::GetInstance(Olma::ByteVector{static_cast<std::uint8_t>(i), 0}));
    item->SetField("token", SecretValue::GetInstance(Olma::SecretString("pw")));
    item->SetField("none", VoidValue::GetInstance());
    item->SetField("names", i % 3 == 0 ? OptionalValue::GetInstance() : shared);
    items->push_back(std::move(item));
  }
  auto root = StructValue::GetInstance("root");
  root->SetField("items", std::move(items));
  root->SetField("error",
                 ErrorValue::Create("failure", {Olma::Message<Olma::CoreTag>("olma.invalid.request")}));
  root->SetField("flags", ListValueBool::GetInstance());
  root->SetField("longs", ListValueLong::GetInstance());
  root->SetField("doubles", ListValueDouble::GetInstance());
  root->SetField("blobs", ListValueBlob::GetInstance());
  root->SetField("secrets", ListValueSecret::GetInstance());
  return root;
}

// Half the threads hold the whole tree, half only its items; each renders and walks what it
// holds and then drops it. Whoever drops last frees the shared parts, and that must be ordered
// after the reads of the threads that dropped theirs before; the rounds vary who is last.
TEST(ValueConcurrency, ThreadsReadAndReleaseOneSharedTree) {
  for (int round = 0; round < 100; ++round) {
    Ptr tree = BuildTree();
    Ptr items = static_cast<const StructValue&>(*tree).fields().at("items");
    const std::weak_ptr<const DataValue> watch = items;
    std::vector<Ptr> held{tree, items, tree, items};
    tree.reset();
    items.reset();
    EXPECT_EQ(
        Olma::Data::Testing::ReadAndReleaseTogether<Olma::Data::Testing::ValueRecorder>(std::move(held)), 0);
    EXPECT_TRUE(watch.expired());
  }
}

// Rendering through a definition locks reference targets as it goes; threads rendering the
// same trees at once all get the one text.
TEST(ValueConcurrency, ThreadsRenderOneTreeThroughOneDefinition) {
  using namespace Olma::Data::Testing;
  const auto login = StructDefinition::GetInstance(
      "login", {{"password", SecretDefinition::GetInstance()}, {"user", StringDefinition::GetInstance()}});
  const Def definition = ListD(OptD(StructRefDefinition::GetInstance(login)));
  auto logins = ListValue::GetInstance();
  for (int i = 0; i < 50; ++i)
    logins->push_back(Of("login", {{"password", Str("hunter2")}, {"user", Str("ada")}}));
  const Ptr tree = logins;
  const std::string expected = RenderValue(tree, definition);
  ASSERT_EQ(expected.find("hunter2"), std::string::npos);
  EXPECT_EQ(RunTogether(4, 50, [&](int) { return RenderValue(tree, definition) != expected; }), 0);
}

}  // namespace
