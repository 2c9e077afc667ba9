#include "olma/data/value_rendering.h"

#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace {

using namespace Olma::Data;
using namespace Olma::Data::Testing;
using testing::HasSubstr;
using testing::Not;

const auto SecretD = []() -> Def { return SecretDefinition::GetInstance(); };

Val Login(const char* password) {
  return Of("login", {{"password", Str(password)}, {"user", Str("ada")}});
}
Def LoginD() {
  return StructD("login", {{"password", SecretD()}, {"user", StrD()}});
}

TEST(RenderValue, MasksWhatTheDefinitionDeclaresSecretAtAnyDepth) {
  auto typedStrings = ListValueString::GetInstance();
  typedStrings->assign({"hunter2", "swordfish"});
  auto typedLongs = ListValueLong::GetInstance();
  typedLongs->assign({1234});
  const auto target = std::static_pointer_cast<const StructDefinition>(LoginD());
  const auto login = StructRefDefinition::GetInstance(target);
  const std::tuple<const char*, Val, Def, std::string> cases[] = {
      {"structure field", Login("hunter2"), LoginD(), "{{ login : { password : <secret>, user : ada, } }} "},
      {"nested structure", Of("outer", {{"auth", Login("hunter2")}}), StructD("outer", {{"auth", LoginD()}}),
       "{{ outer : { auth : {{ login : { password : <secret>, user : ada, } }} , } }} "},
      {"list of structures", ListOf({Login("hunter2"), Login("swordfish")}), ListD(LoginD()),
       "[ {{ login : { password : <secret>, user : ada, } }} , {{ login : { password : <secret>, user : ada, "
       "} }} , ] "},
      {"set optional", Opt(Str("hunter2")), OptD(SecretD()), "Optional< <secret>>"},
      {"unset optional", Unset(), OptD(SecretD()), "Optional< >"},
      {"bare value for an optional", Str("hunter2"), OptD(SecretD()), "<secret>"},
      {"any kind declared secret", Int(1234), SecretD(), "<secret>"},
      {"typed list of strings", typedStrings, ListD(SecretD()), "[ <secret>, <secret>, ] "},
      {"typed list of integers", typedLongs, ListD(OptD(SecretD())), "[ <secret>, ] "},
      {"through a reference", Of("outer", {{"auth", Login("hunter2")}}), StructD("outer", {{"auth", login}}),
       "{{ outer : { auth : {{ login : { password : <secret>, user : ada, } }} , } }} "},
      {"empty pointer", nullptr, SecretD(), "<unset>"},
      {"no definition", Login("hunter2"), nullptr, Login("hunter2")->ToString()},
      {"field the definition lacks", Of("login", {{"token", Str("t0k")}}), LoginD(),
       "{{ login : { token : t0k, } }} "},
      {"other kind than declared", ListOf({Str("x")}), StructD("s", {{"x", SecretD()}}), "[ x, ] "},
  };
  for (const auto& [name, value, definition, text] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(RenderValue(value, definition), text);
  }
}

TEST(RenderValue, LeavesTheTextOfToStringWhereNothingIsSecret) {
  const Val value = Of("s", {{"a", ListOf({Int(1), Opt(Str("x")), nullptr})},
                             {"b", Of<ErrorValue>("e", {})},
                             {"c", DoubleValue::GetInstance(1.5)}});
  const Def definition =
      StructD("s", {{"a", ListD(StrD())}, {"b", ErrorDefinition::GetInstance("e")}, {"c", IntD()}});
  EXPECT_EQ(RenderValue(value, definition), value->ToString());
}

TEST(RenderValue, AMillionLevelsDeepNeedNoDeepCallStack) {
  const Val value = Nested(Str("hunter2"), "ol");
  const std::string text = RenderValue(value, Nested(SecretD(), "ol"));
  EXPECT_THAT(text, Not(HasSubstr("hunter2")));
  EXPECT_THAT(text, HasSubstr("<secret>"));
}

TEST(Validator, MessagesShowSecretsAsThePlaceholder) {
  const Def definition = StructD("login", {{"password", SecretD()}, {"user", StrD()}, {"otp", IntD()}});
  const Val value = Of("login", {{"password", Str("hunter2")}, {"user", Str("ada")}, {"extra", Int(1)}});
  const Val wrongKind = Of("login", {{"password", Int(1234)}, {"user", Str("ada")}, {"otp", Int(1)}});
  const std::tuple<const char*, Val, std::string> cases[] = {
      {"missing field", value, "olma.data.compound.field.missing"},
      {"mismatch of the secret itself", wrongKind, "olma.data.type.mismatch"},
  };
  for (const auto& [name, input, id] : cases) {
    SCOPED_TRACE(name);
    Olma::MessageList messages;
    EXPECT_FALSE(
        (DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(definition, input, messages)));
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.front().id(), id);
    for (const std::string& argument : messages.front().args()) {
      EXPECT_THAT(argument, Not(HasSubstr("hunter2")));
      EXPECT_THAT(argument, Not(HasSubstr("1234")));
    }
  }
  // The extra field is reported with the input masked too.
  Olma::MessageList messages;
  const Val extra =
      Of("login", {{"password", Str("hunter2")}, {"user", Str("ada")}, {"otp", Int(1)}, {"zz", Int(2)}});
  EXPECT_FALSE((DataDefinition::Validate<StrictMatch, ValidatorModePermissive>(definition, extra, messages)));
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages.front().id(), "olma.data.compound.field.extra");
  EXPECT_THAT(messages.front().defaultMessage(), HasSubstr("password : <secret>"));
}

}  // namespace
