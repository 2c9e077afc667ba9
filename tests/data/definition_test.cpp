#include "olma/data/definitions.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/byte_vector.h"
#include "olma/data/data_type.h"

namespace {

using namespace Olma::Data;
using Olma::MessageList;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using FieldMap = DataDefinition::FieldMap;

std::vector<std::string> FieldNames(const std::optional<FieldMap>& fields) {
  std::vector<std::string> names;
  if (fields) {
    for (const auto& field : *fields) names.push_back(field.first);
  }
  return names;
}

TEST(DataType, NamesComeFromTheTableWhileDefinitionsRenderTheirOwnText) {
  struct Case {
    DataType::EnumType kind;
    const char* name;
  };
  const Case cases[] = {
      {DataType::VOID, "VOID"},
      {DataType::INTEGER, "LONG"},
      {DataType::BLOB, "BINARY"},
      {DataType::OPAQUE, "OPAQUE"},
      {DataType::STRUCTURE_REF, "STRUCTURE_REF"},
      {DataType::ANY_ERROR, "ANY_ERROR"},
      {DataType::INTERNALC, "INTERNALC"},
      {DataType::LIST_BOOL, "_UNKNOWN"},
      {DataType::LIST_STRING, "_UNKNOWN"},
      {DataType::LIST_SECRET, "_UNKNOWN"},
      {DataType::UNKNOWN, "_UNKNOWN"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(EnumConverter::Convert<DataType::Strings>(DataType(c.kind)), c.name);
  }
  EXPECT_EQ(EnumConverter::Convert<DataType::Strings>(DataType(static_cast<DataType::EnumType>(20))),
            "_UNKNOWN");

  // The same kinds render differently as definitions.
  EXPECT_EQ(IntegerDefinition::GetInstance()->ToString(), "INTEGER");
  EXPECT_EQ(BlobDefinition::GetInstance()->ToString(), "BLOB");

  DataType parsed = DataType::VOID;
  EXPECT_TRUE(EnumConverter::Convert<DataType::Strings>("LONG", parsed));
  EXPECT_EQ(parsed, DataType::INTEGER);
  EXPECT_FALSE(EnumConverter::Convert<DataType::Strings>("INTEGER", parsed));
  EXPECT_EQ(parsed, DataType::INTEGER);
}

TEST(DataType, UnknownTextReplacesOnlyTheUnknownMarker) {
  const std::string saved = DataType::_unkStr;
  DataType::_unkStr = "custom";
  EXPECT_EQ(to_string(DataType::UNKNOWN), "custom");
  EXPECT_EQ(to_string(DataType::LIST_STRING), "_UNKNOWN");
  DataType::_unkStr = saved;
}

struct RenderCase {
  const char* label;
  DataDefinition::PtrConstType definition;
  DataType::EnumType kind;
  std::string text;
  const char* slot;  // the visitor slot of the class
};

std::vector<RenderCase> RenderCases() {
  auto integer = IntegerDefinition::GetInstance();
  auto strings = ListDefinition::GetInstance(StringDefinition::GetInstance());
  auto yes = [](const std::string&) { return true; };
  auto always = [](const std::string&) { return boost::logic::tribool(true); };
  return {
      {"void", VoidDefinition::GetInstance(), DataType::VOID, "VOID", "Void"},
      {"opaque", OpaqueDefinition::GetInstance(), DataType::OPAQUE, "VOID", "Opaque"},
      {"integer", integer, DataType::INTEGER, "INTEGER", "Integer"},
      {"double", DoubleDefinition::GetInstance(), DataType::DOUBLE, "DOUBLE", "Double"},
      {"boolean", BooleanDefinition::GetInstance(), DataType::BOOLEAN, "BOOLEAN", "Boolean"},
      {"blob", BlobDefinition::GetInstance(), DataType::BLOB, "BLOB", "Blob"},
      {"string", StringDefinition::GetInstance(), DataType::STRING, "STRING", "String"},
      {"secret", SecretDefinition::GetInstance(), DataType::SECRET, "SECRET", "Secret"},
      {"is one of", IsOneOfDefinition::GetInstance(yes), DataType::STRING, "STRING", "IsOneOf"},
      {"union case", UnionCaseDefinition::GetInstance(integer, "tag", always), DataType::OPTIONAL, "OPTIONAL",
       "UnionCase"},
      {"optional", OptionalDefinition::GetInstance(integer), DataType::OPTIONAL, "OPTIONAL<INTEGER>",
       "Optional"},
      {"list", strings, DataType::LIST, "LIST[STRING]", "List"},
      {"nested wrappers", ListDefinition::GetInstance(OptionalDefinition::GetInstance(strings)),
       DataType::LIST, "LIST[OPTIONAL<LIST[STRING]>]", "List"},
      {"unset element", OptionalDefinition::GetInstance(nullptr), DataType::OPTIONAL, "OPTIONAL<<unset>>",
       "Optional"},
      {"structure", StructDefinition::GetInstance("s", {{"b", strings}, {"a", integer}}), DataType::STRUCTURE,
       "{sd{ s : { a : INTEGER, b : LIST[STRING], } }} ", "Struct"},
      {"empty structure", StructDefinition::GetInstance("s", {}), DataType::STRUCTURE, "{sd{ s : { } }} ",
       "Struct"},
      {"unset structure", StructDefinition::GetInstance(), DataType::STRUCTURE, "{sd{ <noname> : { } }} ",
       "Struct"},
      {"unset field", StructDefinition::GetInstance("s", {{"x", nullptr}}), DataType::STRUCTURE,
       "{sd{ s : { x : <unset>, } }} ", "Struct"},
      {"error without fields", ErrorDefinition::GetInstance("e"), DataType::ERROR, "{ed{ e : { } }} ",
       "Error"},
      {"unset error", ErrorDefinition::GetInstance(), DataType::ERROR, "{ed{ <noname> : { } }} ", "Error"},
      {"error with fields", ErrorDefinition::GetInstance("e", {{"code", integer}}), DataType::ERROR,
       "{ed{ e : { code : INTEGER, } }} ", "Error"},
      {"structure in wrappers",
       ListDefinition::GetInstance(OptionalDefinition::GetInstance(
           StructDefinition::GetInstance("p", {{"q", ErrorDefinition::GetInstance("e", {{"m", strings}})},
                                               {"r", DoubleDefinition::GetInstance()}}))),
       DataType::LIST, "LIST[OPTIONAL<{sd{ p : { q : {ed{ e : { m : LIST[STRING], } }} , r : DOUBLE, } }} >]",
       "List"},
      {"reference", StructRefDefinition::GetInstance("s"), DataType::STRUCTURE_REF, "StructRefDefinition",
       "StructRef"},
      {"dynamic structure", DynamicStructureDefinition::GetInstance({{"a", integer}}),
       DataType::DYNAMIC_STRUCTURE, "DynamicStructureDefinition", "DynamicStructure"},
      {"dynamic error", DynamicErrorDefinition::GetInstance(), DataType::ANY_ERROR, "DynamicErrorDefinition",
       "DynamicError"},
  };
}

TEST(DataDefinition, RendersEveryClassExactlyAndReportsItsKind) {
  for (const RenderCase& c : RenderCases()) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(c.definition->type(), c.kind);
    EXPECT_EQ(c.definition->ToString(), c.text);
    EXPECT_EQ(c.definition->GetConstPtr(), c.definition);
  }
}

TEST(DataDefinition, FieldsAreOrderedByteWiseByName) {
  auto structure = StructDefinition::GetInstance();
  for (const char* name : {"b", "aa", "a", "B", "_"})
    structure->SetField(name, BooleanDefinition::GetInstance());
  EXPECT_THAT(FieldNames(structure->fields()), ElementsAre("B", "_", "a", "aa", "b"));
  EXPECT_EQ(structure->ToString(),
            "{sd{ <noname> : { B : BOOLEAN, _ : BOOLEAN, a : BOOLEAN, aa : BOOLEAN, b : BOOLEAN, } }} ");

  // Replacing a field keeps one entry.
  structure->SetField("a", StringDefinition::GetInstance());
  EXPECT_THAT(structure->fields().value(), SizeIs(5));
  EXPECT_EQ(structure->fields()->at("a")->type(), DataType::STRING);
}

TEST(DataDefinition, UnsetNameAndFieldMapStayUnsetUntilBuilt) {
  auto structure = StructDefinition::GetInstance();
  EXPECT_FALSE(structure->name().has_value());
  EXPECT_FALSE(structure->fields().has_value());
  structure->SetName("later");
  structure->SetField("f", IntegerDefinition::GetInstance());
  EXPECT_EQ(structure->ToString(), "{sd{ later : { f : INTEGER, } }} ");

  auto error = ErrorDefinition::GetInstance("e");
  EXPECT_EQ(error->name(), "e");
  EXPECT_FALSE(error->fields().has_value());
  EXPECT_TRUE(StructDefinition::GetInstance("s", {})->fields().has_value());
  EXPECT_FALSE(DynamicStructureDefinition::GetInstance()->fields().has_value());
  EXPECT_THAT(FieldNames(DynamicErrorDefinition::GetInstance({{"x", nullptr}})->fields()), ElementsAre("x"));
}

// field() and HasField behave the same on structures and errors; only the rendering in the
// message differs.
template <class Compound>
void ExpectFieldLookup(const typename Compound::PtrType& withFields,
                       const typename Compound::PtrType& unsetMap, const std::string& rendering) {
  const DataDefinition::PtrConstType a = withFields->fields()->at("a");
  MessageList messages;
  EXPECT_TRUE(withFields->HasField("a"));
  EXPECT_EQ(withFields->field("a", messages), a);
  EXPECT_THAT(messages, IsEmpty());

  EXPECT_FALSE(withFields->HasField("zz"));
  EXPECT_EQ(withFields->field("zz", messages), nullptr);
  ASSERT_THAT(messages, SizeIs(1));
  EXPECT_EQ(messages.back().id(), "olma.data.struct.missing.fields");
  EXPECT_EQ(messages.back().defaultMessage(), "Missing fields: zz, " + rendering);
  EXPECT_THAT(messages.back().args(), ElementsAre("zz", rendering));

  EXPECT_FALSE(unsetMap->HasField("a"));
  EXPECT_EQ(unsetMap->field("a", messages), nullptr);
  ASSERT_THAT(messages, SizeIs(2));
  EXPECT_EQ(messages.back().id(), "olma.data.struct.missing.fields");
  EXPECT_THAT(messages.back().args(), ElementsAre("a", unsetMap->ToString()));
}

TEST(DataDefinition, FieldLookupReportsTheMissingNameAndTheWholeDefinition) {
  {
    SCOPED_TRACE("structure");
    ExpectFieldLookup<StructDefinition>(
        StructDefinition::GetInstance("s", {{"a", IntegerDefinition::GetInstance()}}),
        StructDefinition::GetInstance(), "{sd{ s : { a : INTEGER, } }} ");
  }
  {
    SCOPED_TRACE("error");
    ExpectFieldLookup<ErrorDefinition>(
        ErrorDefinition::GetInstance("e",
                                     {{"a", ListDefinition::GetInstance(BlobDefinition::GetInstance())}}),
        ErrorDefinition::GetInstance("e"), "{ed{ e : { a : LIST[BLOB], } }} ");
  }
}

TEST(DataDefinition, FieldLookupFindsAFieldStoredAsEmptyPointerWithoutMessage) {
  auto structure = StructDefinition::GetInstance("s", {{"x", nullptr}});
  MessageList messages;
  EXPECT_TRUE(structure->HasField("x"));
  EXPECT_EQ(structure->field("x", messages), nullptr);
  EXPECT_THAT(messages, IsEmpty());
}

TEST(IsOneOfDefinition, CheckAsksThePredicateAndCompareIgnoresIt) {
  auto colours =
      IsOneOfDefinition::GetInstance([](const std::string& s) { return s == "red" || s == "blue"; });
  auto nothing = IsOneOfDefinition::GetInstance([](const std::string&) { return false; });
  EXPECT_TRUE(colours->Check("red"));
  EXPECT_FALSE(colours->Check("Red"));
  EXPECT_FALSE(nothing->Check("red"));
  EXPECT_TRUE(IsOneOfDefinition::Compare(colours, nothing));

  auto empty = IsOneOfDefinition::GetInstance(nullptr);
  EXPECT_THROW(empty->Check("red"), std::bad_function_call);
}

TEST(UnionCaseDefinition, CheckGivesThreeAnswersAndCompareLooksOnlyAtTheTagName) {
  auto byKind = UnionCaseDefinition::GetInstance(IntegerDefinition::GetInstance(), "kind",
                                                 [](const std::string& tag) -> boost::logic::tribool {
                                                   if (tag == "number") return true;
                                                   if (tag == "text") return false;
                                                   return boost::logic::indeterminate;
                                                 });
  EXPECT_TRUE(byKind->Check("number"));
  EXPECT_TRUE(!byKind->Check("text"));
  EXPECT_TRUE(boost::logic::indeterminate(byKind->Check("other")));
  EXPECT_EQ(byKind->tagFieldName(), "kind");
  EXPECT_EQ(byKind->element()->type(), DataType::INTEGER);

  auto otherInner = UnionCaseDefinition::GetInstance(
      ListDefinition::GetInstance(StringDefinition::GetInstance()), "kind", nullptr);
  auto otherTag =
      UnionCaseDefinition::GetInstance(IntegerDefinition::GetInstance(), "Kind", byKind->predicate());
  EXPECT_TRUE(UnionCaseDefinition::Compare(byKind, otherInner));
  EXPECT_FALSE(UnionCaseDefinition::Compare(byKind, otherTag));
  EXPECT_FALSE(UnionCaseDefinition::Compare(byKind, nullptr));
  EXPECT_TRUE(UnionCaseDefinition::Compare(nullptr, nullptr));

  EXPECT_THROW(otherInner->Check("number"), std::bad_function_call);
}

// Records which slots were called and with which object.
class RecordingVisitor final : public DefinitionVisitor {
 public:
  std::vector<std::string> slots;
  const void* seen = nullptr;

  void VisitVoid(const std::shared_ptr<const VoidDefinition>& d) override { Record("Void", d.get()); }
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>& d) override { Record("Opaque", d.get()); }
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& d) override {
    Record("DynamicStructure", d.get());
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& d) override {
    Record("DynamicError", d.get());
  }
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>& d) override {
    Record("Integer", d.get());
  }
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>& d) override { Record("Double", d.get()); }
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>& d) override {
    Record("Boolean", d.get());
  }
  void VisitBlob(const std::shared_ptr<const BlobDefinition>& d) override { Record("Blob", d.get()); }
  void VisitString(const std::shared_ptr<const StringDefinition>& d) override { Record("String", d.get()); }
  void VisitSecret(const std::shared_ptr<const SecretDefinition>& d) override { Record("Secret", d.get()); }
  void VisitError(const std::shared_ptr<const ErrorDefinition>& d) override { Record("Error", d.get()); }
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& d) override {
    Record("Optional", d.get());
  }
  void VisitList(const std::shared_ptr<const ListDefinition>& d) override { Record("List", d.get()); }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& d) override { Record("Struct", d.get()); }
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>& d) override {
    Record("StructRef", d.get());
  }
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>& d) override {
    Record("IsOneOf", d.get());
  }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& d) override {
    Record("UnionCase", d.get());
  }

 private:
  void Record(const char* slot, const DataDefinition* definition) {
    slots.push_back(slot);
    seen = definition;
  }
};

TEST(DefinitionVisitor, AcceptVisitorCallsExactlyTheSlotOfTheConcreteClass) {
  for (const RenderCase& c : RenderCases()) {
    SCOPED_TRACE(c.label);
    RecordingVisitor visitor;
    c.definition->AcceptVisitor(visitor);
    EXPECT_THAT(visitor.slots, ElementsAre(c.slot));
    EXPECT_EQ(visitor.seen, c.definition.get());
  }
}

TEST(DataDefinition, CreateMapsNativeTypesToKinds) {
  struct Case {
    const char* label;
    DataDefinition::PtrConstType definition;
    DataType::EnumType kind;
    const char* text;
  };
  const Case cases[] = {
      {"Void", DataDefinition::Create<Void>(), DataType::VOID, "VOID"},
      {"void", DataDefinition::Create<void>(), DataType::VOID, "VOID"},
      {"Opaque", DataDefinition::Create<Opaque>(), DataType::OPAQUE, "VOID"},
      {"long long", DataDefinition::Create<long long>(), DataType::INTEGER, "INTEGER"},
      {"double", DataDefinition::Create<double>(), DataType::DOUBLE, "DOUBLE"},
      {"bool", DataDefinition::Create<bool>(), DataType::BOOLEAN, "BOOLEAN"},
      {"ByteVector", DataDefinition::Create<Olma::ByteVector>(), DataType::BLOB, "BLOB"},
      {"string", DataDefinition::Create<std::string>(), DataType::STRING, "STRING"},
      {"DateTime", DataDefinition::Create<Olma::DateTime>(), DataType::STRING, "STRING"},
      {"SecretString", DataDefinition::Create<Olma::SecretString>(), DataType::SECRET, "SECRET"},
      {"DynamicStructure", DataDefinition::Create<DynamicStructure>(), DataType::DYNAMIC_STRUCTURE,
       "DynamicStructureDefinition"},
      {"DynamicError", DataDefinition::Create<DynamicError>(), DataType::ANY_ERROR, "DynamicErrorDefinition"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    ASSERT_NE(c.definition, nullptr);
    EXPECT_EQ(c.definition->type(), c.kind);
    EXPECT_EQ(c.definition->ToString(), c.text);
  }
  EXPECT_NE(DataDefinition::Create<long long>(), DataDefinition::Create<long long>());
}

TEST(StructRefDefinition, TakesTheTargetsNameAndLetsGoOfIt) {
  DataDefinition::PtrConstType reference;
  {
    auto target = StructDefinition::GetInstance("point", {{"x", DoubleDefinition::GetInstance()}});
    auto ref = StructRefDefinition::GetInstance(target);
    EXPECT_EQ(ref->name(), "point");
    EXPECT_EQ(ref->target(), target);
    reference = ref;
  }
  const auto& ref = static_cast<const StructRefDefinition&>(*reference);
  EXPECT_EQ(ref.target(), nullptr);
  EXPECT_EQ(ref.name(), "point");
  EXPECT_EQ(reference->ToString(), "StructRefDefinition");

  auto byName = StructRefDefinition::GetInstance("elsewhere");
  EXPECT_EQ(byName->name(), "elsewhere");
  EXPECT_EQ(byName->target(), nullptr);
  EXPECT_FALSE(StructRefDefinition::GetInstance(StructDefinition::GetInstance())->name().has_value());
}

TEST(StructRefDefinition, SelfReferencingStructureRendersFinitelyAndIsFreed) {
  std::weak_ptr<const StructDefinition> watch;
  {
    auto node = StructDefinition::GetInstance("node", {{"value", IntegerDefinition::GetInstance()}});
    auto self = StructRefDefinition::GetInstance("pending");
    self->SetTarget(node);
    node->SetField("next", OptionalDefinition::GetInstance(self));
    node->SetField("children", ListDefinition::GetInstance(StructRefDefinition::GetInstance(node)));
    EXPECT_EQ(node->ToString(),
              "{sd{ node : { children : LIST[StructRefDefinition], next : OPTIONAL<StructRefDefinition>, "
              "value : INTEGER, } }} ");
    EXPECT_EQ(self->name(), "node");
    EXPECT_EQ(self->target(), node);
    watch = node;
  }
  // No ownership cycle: the structure went away with its last owner.
  EXPECT_TRUE(watch.expired());
}

// A chain of `depth` nested definitions of one shape, built bottom-up.
struct DeepCase {
  const char* label;
  std::function<DataDefinition::PtrConstType(DataDefinition::PtrConstType)> wrap;
  std::string open;   // what each level writes before its element
  std::string close;  // and after it
  std::size_t depth;
};

class DeepDefinition : public testing::TestWithParam<DeepCase> {};

// Far deeper than any call stack could follow; wrappers go to a million levels, compounds
// (whose nodes cost more to build) to a quarter of that.
constexpr std::size_t kDepth = 1000000;

DataDefinition::PtrConstType BuildChain(const DeepCase& shape, std::size_t depth) {
  DataDefinition::PtrConstType tree = IntegerDefinition::GetInstance();
  for (std::size_t i = 0; i < depth; ++i) tree = shape.wrap(std::move(tree));
  return tree;
}

TEST_P(DeepDefinition, MillionLevelsRenderAndFreeWithoutRecursion) {
  const DeepCase& shape = GetParam();
  DataDefinition::PtrConstType tree = BuildChain(shape, shape.depth);

  const std::string text = tree->ToString();
  ASSERT_EQ(text.size(), shape.depth * (shape.open.size() + shape.close.size()) + 7);
  EXPECT_EQ(text.compare(0, shape.open.size() * 2, shape.open + shape.open), 0);
  EXPECT_EQ(text.compare(shape.open.size() * shape.depth, 7, "INTEGER"), 0);
  EXPECT_EQ(text.compare(text.size() - shape.close.size(), shape.close.size(), shape.close), 0);

  tree.reset();  // must neither overflow the stack nor leak
}

TEST_P(DeepDefinition, FreeingKeepsSubtreesThatOthersStillOwn) {
  const DeepCase& shape = GetParam();
  DataDefinition::PtrConstType kept = BuildChain(shape, 1000);
  const std::string keptText = kept->ToString();
  DataDefinition::PtrConstType outer = kept;
  for (int i = 0; i < 1000; ++i) outer = shape.wrap(std::move(outer));
  outer.reset();
  EXPECT_EQ(kept.use_count(), 1);
  EXPECT_EQ(kept->ToString(), keptText);
}

const DeepCase kDeepCases[] = {
    {"Optional", [](DataDefinition::PtrConstType e) { return OptionalDefinition::GetInstance(std::move(e)); },
     "OPTIONAL<", ">", kDepth},
    {"List", [](DataDefinition::PtrConstType e) { return ListDefinition::GetInstance(std::move(e)); },
     "LIST[", "]", kDepth},
    {"Struct",
     [](DataDefinition::PtrConstType e) {
       return StructDefinition::GetInstance("s", {{"f", std::move(e)}});
     },
     "{sd{ s : { f : ", ", } }} ", kDepth / 4},
    {"Error",
     [](DataDefinition::PtrConstType e) {
       return ErrorDefinition::GetInstance("e", {{"f", std::move(e)}});
     },
     "{ed{ e : { f : ", ", } }} ", kDepth / 4},
};

INSTANTIATE_TEST_SUITE_P(Chains, DeepDefinition, testing::ValuesIn(kDeepCases),
                         [](const testing::TestParamInfo<DeepCase>& shape) { return shape.param.label; });

// Composites that render without their children still own them and must free them
// without recursion as well.
TEST(DataDefinition, OpaqueRenderingCompositesFreeDeepContentsWithoutRecursion) {
  DataDefinition::PtrConstType tree = IntegerDefinition::GetInstance();
  for (std::size_t i = 0; i < kDepth / 4; ++i) {
    switch (i % 3) {
      case 0:
        tree = UnionCaseDefinition::GetInstance(std::move(tree), "tag", nullptr);
        break;
      case 1:
        tree = DynamicStructureDefinition::GetInstance({{"d", std::move(tree)}});
        break;
      default:
        tree = DynamicErrorDefinition::GetInstance({{"d", std::move(tree)}});
        break;
    }
  }
  EXPECT_EQ(tree->ToString(), "OPTIONAL");
  tree.reset();
}

}  // namespace
