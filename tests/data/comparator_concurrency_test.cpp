// Many threads comparing, converting and looking up in the same shared trees at once. Run
// under ThreadSanitizer: the walks must only read the trees.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/comparator.h"
#include "olma/data/definitions.h"
#include "olma/data/value_access.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;

// A list of records; `tags` hangs under every record of every document, so documents
// built with it share nodes as well as hold equal ones.
Val Document(const Val& tags, double last_price) {
  ListValue::PtrType records = ListValue::GetInstance();
  for (int i = 0; i < 50; ++i) {
    records->push_back(Of("record", {{"price", DataValue::Create(i == 49 ? last_price : 2.5)},
                                     {"tags", tags},
                                     {"owner", Of("owner", {{"first", Str("Ada")}})},
                                     {"note", Unset()}}));
  }
  return Of("document", {{"records", records}});
}

TEST(ComparatorConcurrency, ThreadsShareTreesWhileComparingConvertingAndLookingUp) {
  const Val tags = ListOf<ListValueString>({"a", "b", "c"});
  const Val a = Document(tags, 7), b = Document(tags, 7), different = Document(tags, 8);
  const Def node = Node(IntD()), other_node = Node(IntD());
  const auto round = [&](int) {
    Olma::MessageList messages;
    int wrong = !ValueComparator<CompModeStrict>::Compare(a, b, messages);
    wrong += !ValueComparator<CompModeLoose>::Compare(b, a, messages);
    wrong += ValueComparator<CompModeStrict>::Compare(a, different, messages);
    wrong += !DataDefinition::Compare(node, other_node, messages);
    wrong +=
        Flatten(messages) != Texts{"olma.data.comparator.values.not.equal", "DOUBLE", "7.000000", "8.000000"};
    const auto records =
        std::static_pointer_cast<const ListValue>(DataValueHelpers::GetValueByPath("records", a));
    std::string first;
    return wrong +
           !DataValue::Value<std::string>(DataValueHelpers::GetValueByPath(".owner.first", records->back()),
                                          first, messages) +
           (first != "Ada");
  };
  EXPECT_EQ(RunTogether(8, 40, round), 0);
}

}  // namespace
