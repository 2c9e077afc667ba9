#include "olma/core/message.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Olma::CoreTag;
using Olma::Message;

TEST(Message, FillsTheTemplateAndRendersEachArgumentAlone) {
  const struct {
    Olma::BaseMessage message;
    std::string text;
    std::vector<std::string> args;
  } cases[] = {
      {Message<CoreTag>("olma.data.bad.cast2", "a", "b"), "Bad cast: a -> b", {"a", "b"}},
      {Message<CoreTag>("olma.data.bad.cast3", true, 2.5, std::string("x")),
       "Bad cast: 1 -> 2.500000 : x",
       {"1", "2.500000", "x"}},
      {Message<CoreTag>("olma.data.union.invalid.case.state.isnotset", std::string_view("s"), "kind", "A",
                        42LL),
       "In the structure 's', the field 'kind' is set to 'A'. Therefore, the field '42' must be set, but it "
       "is not.",
       {"s", "kind", "A", "42"}},
      {Message<CoreTag>("olma.request.exceeds.max.size", 5), "Request exceeds max size", {"5"}},
      {Message<CoreTag>("olma.no.such.id"), "Unknown message.", {}},
      {Olma::MakeMessage("olma.custom", "{2}/{1}", 1, "two"), "two/1", {"1", "two"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.message.defaultMessage(), c.text);
    EXPECT_THAT(c.message.args(), testing::ElementsAreArray(c.args));
  }
  EXPECT_EQ(cases[4].message.id(), "olma.no.such.id");
  EXPECT_EQ(cases[5].message.id(), "olma.custom");
}

TEST(Message, CatalogueKeepsIdentifiersAsClientsKeyThem) {
  const std::pair<const char*, const char*> cases[] = {
      {"olma.data.unset.non.optional.field", "Unset required field: {1}"},
      {"olma.data.structure.getfield.unknown", "GetField unknown field: {1}"},
      {"olma.data.error.getfield.unknown", "GetField unknown field: {1}"},
      {"olma.trasport.io.failed", "IO failure: {1}"},
      {"olma.provider.method.signal.not.connected", "Method signal not connected."},
      {"olma.core.extractor.arg", "Error: {1}"},
      {"olma.transport.io.failed", "Unknown message."},
      {"olma.data.bad.cast", "Unknown message."},  // a prefix of an identifier is not a match
      {"", "Unknown message."},
  };
  for (const auto& [id, text] : cases) EXPECT_STREQ(Message<CoreTag>::DefaultMessageForId(id), text) << id;
}

}  // namespace
