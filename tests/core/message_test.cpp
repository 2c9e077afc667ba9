#include "olma/core/message.h"

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Olma::CoreTag;
using Olma::Message;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Message, CatalogueTemplatesAreFilledAndArgumentsRendered) {
  const Message<CoreTag> cast("olma.data.bad.cast2", "a", "b");
  EXPECT_EQ(cast.id(), "olma.data.bad.cast2");
  EXPECT_EQ(cast.defaultMessage(), "Bad cast: a -> b");
  EXPECT_THAT(cast.args(), ElementsAre("a", "b"));

  const Message<CoreTag> level("olma.compress.invalid.level", 10);
  EXPECT_EQ(level.defaultMessage(), "Invalid compression level 10, must be between 0 and 9.");
  EXPECT_THAT(level.args(), ElementsAre("10"));

  const std::string name = "s";
  const Message<CoreTag> union_case("olma.data.union.invalid.case.state.isnotset", name,
                                    std::string_view("kind"), "A", 42LL);
  EXPECT_EQ(union_case.defaultMessage(),
            "In the structure 's', the field 'kind' is set to 'A'. Therefore, the field '42' must be set, "
            "but it is "
            "not.");
  EXPECT_THAT(union_case.args(), ElementsAre("s", "kind", "A", "42"));
}

TEST(Message, TemplateWithoutFieldsStillKeepsArguments) {
  const Message<CoreTag> message("olma.request.exceeds.max.size", 5);
  EXPECT_EQ(message.defaultMessage(), "Request exceeds max size");
  EXPECT_THAT(message.args(), ElementsAre("5"));
}

TEST(Message, UnknownIdentifierGetsUnknownText) {
  const Message<CoreTag> message("olma.no.such.id");
  EXPECT_EQ(message.id(), "olma.no.such.id");
  EXPECT_EQ(message.defaultMessage(), "Unknown message.");
  EXPECT_THAT(message.args(), IsEmpty());
  EXPECT_STREQ(Message<CoreTag>::DefaultMessageForId(""), "Unknown message.");
}

TEST(Message, CatalogueKeepsIdentifiersAsClientsKeyThem) {
  struct Case {
    const char* id;
    const char* text;
  } const cases[] = {
      {"olma.data.unset.non.optional.field", "Unset required field: {1}"},
      {"olma.data.structure.getfield.unknown", "GetField unknown field: {1}"},
      {"olma.data.error.getfield.unknown", "GetField unknown field: {1}"},
      {"olma.trasport.io.failed", "IO failure: {1}"},
      {"olma.provider.method.signal.not.connected", "Method signal not connected."},
      {"olma.core.extractor.arg", "Error: {1}"},
      {"olma.transport.io.failed", "Unknown message."},
      {"olma.data.bad.cast", "Unknown message."},  // a prefix of an identifier is not a match
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    EXPECT_STREQ(Message<CoreTag>::DefaultMessageForId(c.id), c.text);
  }
}

TEST(MakeMessage, UsesTheGivenTemplate) {
  const Olma::BaseMessage message = Olma::MakeMessage("olma.custom", "{2}/{1}", 1, std::string("two"));
  EXPECT_EQ(message.id(), "olma.custom");
  EXPECT_EQ(message.defaultMessage(), "two/1");
  EXPECT_THAT(message.args(), ElementsAre("1", "two"));
}

TEST(AppendArg, RendersEachArgumentAlone) {
  std::list<std::string> args;
  Olma::AppendArg append{args};
  append(true);
  append(2.5);
  append("x");
  EXPECT_THAT(args, ElementsAre("1", "2.500000", "x"));
}

}  // namespace
