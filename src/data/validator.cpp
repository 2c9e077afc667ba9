#include "olma/data/validator.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/logic/tribool.hpp>

#include "data/field_merge.h"
#include "data/value_tree.h"
#include "olma/core/message.h"
#include "olma/data/adapter.h"
#include "olma/data/definition_visitor.h"
#include "olma/data/definitions.h"
#include "olma/data/value_access.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace DataValidatorHelper {
namespace {

// The walk runs on the adaptation engine with plain pointers into the two trees. The
// caller holds both roots for the whole call and shared trees never change, so every node
// and every field name outlives the walk; pointers spare the reference-count traffic that
// shared pointers would cost on every node, which matters most when many threads validate
// against the same definitions at once.
using ValueFieldMap = CompoundValue::FieldMap;

// Where a structure field sits: what the union-case rule needs to find the tag and to
// name things in its messages. Lives on the stack of the walk over that structure's
// fields, so only checks made at once may look at it; queued entries never carry one.
struct FieldPlace {
  const ValueFieldMap* fields;
  std::string_view fieldName;
  // The enclosing structure's definition name, or "_dynS"/"_dynE" under a dynamic
  // structure or error.
  std::string_view structName;
};

// The value being checked: the pointer as its parent holds it (never null itself; what it
// holds may be empty), and where it sits when it is a structure field. Null `place` for
// the top value, list elements and optional contents.
struct DstType {
  const DataValue::PtrConstType* value;
  const FieldPlace* place;
};

// What one call keeps besides the work stack: the caller's list, the failure limit, the
// renderings of definitions already made, and the reference targets it has locked.
class Walk {
 public:
  Walk(MessageList& list, std::size_t maxFailures) noexcept
      : errors(list), baseline_(list.size()), limit_(maxFailures) {}

  MessageList& errors;
  // Set once the limit has ended the walk.
  bool stopped = false;

  // Whether the limit of failures (if any) has been reached.
  bool LimitReached() const noexcept { return limit_ != 0 && errors.size() - baseline_ >= limit_; }
  std::size_t failures() const noexcept { return errors.size() - baseline_; }

  // The rendering of `definition`, made once per call: a definition that fails against
  // many values (every element of a long list) is rendered for the first message only,
  // and the later ones copy the text. Definitions outlive the call, so their addresses
  // are stable keys.
  const std::string& Rendered(const DataDefinition& definition) {
    const auto found = rendered_.find(&definition);
    if (found != rendered_.end()) return found->second;
    std::string text = definition.ToString();
    return rendered_.emplace(&definition, std::move(text)).first->second;
  }

  // Keeps a locked reference target alive until the call ends: the raw pointers queued
  // in the work stack point into it. A recursive type locks the same target over and
  // over, so the last few held are checked before another is added.
  void Hold(std::shared_ptr<const StructDefinition> target) {
    const std::size_t recent = held_.size() < kRecent ? held_.size() : kRecent;
    for (std::size_t i = held_.size(); i > held_.size() - recent; --i) {
      if (held_[i - 1] == target) return;
    }
    held_.push_back(std::move(target));
  }

 private:
  static constexpr std::size_t kRecent = 8;

  const std::size_t baseline_;
  const std::size_t limit_;
  std::unordered_map<const DataDefinition*, std::string> rendered_;
  std::vector<std::shared_ptr<const StructDefinition>> held_;
};

using Source = const DataDefinition*;
using Adapter = DataAdapter<Source, DstType, Walk>;
using Method = Adapter::Method;

constexpr std::string_view kDynamicStructName = "_dynS";
constexpr std::string_view kDynamicErrorName = "_dynE";

template <class Mode>
constexpr bool kPermissive = std::is_same_v<Mode, ValidatorModePermissive>;

template <class Match, class Mode>
void Dispatch(const Source& definition, const DstType& dst, Adapter& adapter, Walk& walk);

// The rendering of a value as messages show it, through the definition it is checked
// against so that whatever that declares SECRET is masked (a permissive walk accepts a
// password sent as a plain string); an empty pointer is "<unset>". Every message that shows a
// value renders it here.
std::string RenderValue(const DataValue* value, const DataDefinition* definition) {
  std::string text;
  Detail::RenderValue(value, text, definition);
  return text;
}

// Appends a message and abandons the queued work: what every failure of the walk does.
template <class... Args>
[[gnu::noinline, gnu::cold]] void Fail(Adapter& adapter, Walk& walk, std::string_view id,
                                       const Args&... args) {
  walk.errors.push_back(Message<CoreTag>(id, args...));
  adapter.Clear();
}

// "olma.data.type.mismatch" between `definition` and `value`. Returns false.
[[gnu::noinline, gnu::cold]] bool Mismatch(const DataDefinition& definition,
                                           const DataValue::PtrConstType& value, Adapter& adapter,
                                           Walk& walk) {
  Fail(adapter, walk, "olma.data.type.mismatch", walk.Rendered(definition),
       RenderValue(value.get(), &definition));
  return false;
}

// The mode's kind comparison of `value` against `expected` (normally definition.type();
// the dynamic compounds expect STRUCTURE or ERROR), reporting a mismatch. An empty value
// never matches.
template <class Mode>
bool CompareTypes(DataType expected, const DataDefinition& definition, const DataValue::PtrConstType& value,
                  Adapter& adapter, Walk& walk) {
  if (value && Mode::CompareTypesInt(expected, value->type())) return true;
  return Mismatch(definition, value, adapter, walk);
}

// A child definition pointer that is empty is a construction error of the tree's builder;
// it is reported as a mismatch rather than followed.
[[gnu::noinline, gnu::cold]] void ReportUnsetDefinition(const DataValue::PtrConstType& value,
                                                        Adapter& adapter, Walk& walk) {
  Fail(adapter, walk, "olma.data.type.mismatch", std::string_view("<unset>"),
       RenderValue(value.get(), nullptr));
}

// Ends the walk at the failure limit: `unchecked` values (list elements, fields, queued
// composites) were not looked at. Says so only when something was left.
[[gnu::noinline, gnu::cold]] void StopAtLimit(std::size_t unchecked, Adapter& adapter, Walk& walk) {
  unchecked += adapter.stack.size();
  adapter.Clear();
  walk.stopped = true;
  if (unchecked != 0) {
    walk.errors.push_back(Message<CoreTag>("olma.data.validation.truncated",
                                           static_cast<unsigned long long>(walk.failures()),
                                           static_cast<unsigned long long>(unchecked)));
  }
}

// The text of a value for enumerations and union tags. A StringValue is read in place;
// anything else goes through the strict string conversion, which reports its own failure.
// Returns null on failure.
const std::string* ValueAsString(const DataValue::PtrConstType& value, std::string& scratch, Walk& walk) {
  if (value && value->type() == DataType::STRING) return &static_cast<const StringValue&>(*value).value();
  if (!DataValue::Value<std::string>(value, scratch, walk.errors)) return nullptr;
  return &scratch;
}

std::string_view NameOf(const std::optional<std::string>& name) noexcept {
  return name ? std::string_view(*name) : std::string_view();
}

std::string_view StructNameOf(const StructDefinition& definition) noexcept {
  return NameOf(definition.name());
}
std::string_view StructNameOf(const ErrorDefinition& definition) noexcept {
  return NameOf(definition.name());
}
std::string_view StructNameOf(const DynamicStructureDefinition&) noexcept {
  return kDynamicStructName;
}
std::string_view StructNameOf(const DynamicErrorDefinition&) noexcept {
  return kDynamicErrorName;
}

// The union-case rule: whether the presence of the case field `value` (set or not as
// `isSet` says) agrees with the tag field of the same structure.
bool CheckUnionCase(const UnionCaseDefinition& definition, const DataValue::PtrConstType& value,
                    const FieldPlace& place, bool isSet, Adapter& adapter, Walk& walk) {
  const std::string& tagName = definition.tagFieldName();
  const auto tag = place.fields->find(tagName);
  if (tag == place.fields->end()) {
    Fail(adapter, walk, "olma.data.compound.field.missing", tagName, walk.Rendered(definition),
         RenderValue(value.get(), &definition));
    return false;
  }
  const DataValue::PtrConstType* content = &tag->second;
  if (*content && (*content)->type() == DataType::OPTIONAL) {
    const auto& optional = static_cast<const OptionalValue&>(**content);
    if (!optional.isSet()) {
      if (!isSet) return true;
      Fail(adapter, walk, "olma.data.union.invalid.case.state.notag", place.structName, tagName,
           place.fieldName);
      return false;
    }
    content = &optional.value();
  }
  std::string scratch;
  const std::string* text = ValueAsString(*content, scratch, walk);
  if (!text) {
    adapter.Clear();
    return false;
  }
  const boost::logic::tribool answer = definition.Check(*text);
  if (boost::logic::indeterminate(answer)) return true;
  if (!answer && isSet) {
    Fail(adapter, walk, "olma.data.union.invalid.case.state.isset", place.structName, tagName, *text,
         place.fieldName);
    return false;
  }
  if (answer && !isSet) {
    Fail(adapter, walk, "olma.data.union.invalid.case.state.isnotset", place.structName, tagName, *text,
         place.fieldName);
    return false;
  }
  return true;
}

// Matches the fields of `definition` against those of `value`. Both maps are ordered by
// name, so one merge from the back finds every field: walking the definition in reverse
// name order pushes the deferred checks so that they run in ascending order. Scalar
// checks happen at once (later names first). A missing required field ends the walk of
// this structure.
template <class Match, class Mode, class Definition>
void ValidateCompoundLoose(const Definition& definition, const CompoundValue& value,
                           std::string_view structName, Adapter& adapter, Walk& walk) {
  const auto& definitionFields = definition.fields();
  if (!definitionFields) return;
  const ValueFieldMap& fields = value.fields();
  std::size_t visited = 0;
  Detail::MergeFieldsDescending(*definitionFields, fields, [&](const auto& declared, const auto* field) {
    if (walk.LimitReached()) {
      StopAtLimit(definitionFields->size() - visited, adapter, walk);
      return false;
    }
    ++visited;
    if (field != nullptr) {
      const FieldPlace place{&fields, field->first, structName};
      Dispatch<Match, Mode>(declared.second.get(), DstType{&field->second, &place}, adapter, walk);
      return true;
    }
    // Absent. OPTIONAL definitions (union cases included) may be left out.
    if (declared.second && declared.second->type() == DataType::OPTIONAL) return true;
    Fail(adapter, walk, "olma.data.compound.field.missing", declared.first, walk.Rendered(definition),
         RenderValue(&value, &definition));
    return false;
  });
}

// Refuses a value with more fields than its definition, naming the first field (in name
// order) that the definition does not have. A value with no more fields than the
// definition passes even if some of them are foreign: the missing-field check has
// already reported the fields it lacks.
template <class Definition>
void ValidateCompoundStrict(const Definition& definition, const CompoundValue& value, Adapter& adapter,
                            Walk& walk) {
  const ValueFieldMap& fields = value.fields();
  const auto& definitionFields = definition.fields();
  const std::size_t declaredCount = definitionFields ? definitionFields->size() : 0;
  if (fields.size() <= declaredCount) return;
  for (const auto& field : fields) {
    if (definitionFields && definitionFields->count(field.first) != 0) continue;
    Fail(adapter, walk, "olma.data.compound.field.extra", field.first, walk.Rendered(definition),
         RenderValue(&value, &definition));
    return;
  }
}

// The deferred step of a composite: walks one level of `Value` under `Definition`. Only
// ever queued after the kinds have been checked, so both narrowings are sound.
template <class Match, class Mode, class Definition, class Value>
void CompositeMethod(const Source& source, const DstType& dst, Adapter& adapter, Walk& walk) {
  if (walk.LimitReached()) {
    StopAtLimit(1, adapter, walk);
    return;
  }
  const auto& definition = static_cast<const Definition&>(*source);
  const auto& value = static_cast<const Value&>(**dst.value);
  if constexpr (std::is_same_v<Value, OptionalValue>) {
    if (value.isSet())
      Dispatch<Match, Mode>(definition.element().get(), DstType{&value.value(), nullptr}, adapter, walk);
  } else if constexpr (std::is_same_v<Value, ListValue>) {
    const DataDefinition* element = definition.element().get();
    for (auto item = value.begin(); item != value.end(); ++item) {
      if (walk.LimitReached()) {
        StopAtLimit(static_cast<std::size_t>(std::distance(item, value.end())), adapter, walk);
        return;
      }
      Dispatch<Match, Mode>(element, DstType{&*item, nullptr}, adapter, walk);
    }
  } else {
    ValidateCompoundLoose<Match, Mode>(definition, value, StructNameOf(definition), adapter, walk);
    if constexpr (std::is_same_v<Match, StrictMatch>) {
      if (!walk.stopped) ValidateCompoundStrict(definition, value, adapter, walk);
    }
  }
}

// Whether a typed list needs no look at its elements: its element kind fits the declared
// element kind. A structure stands for a map given where a list of structures is declared.
bool PackedListFits(DataType valueType, DataType elementType) noexcept {
  switch (valueType) {
    case DataType::LIST_BOOL:
      return elementType == DataType::BOOLEAN;
    case DataType::LIST_LONG:
      return elementType == DataType::INTEGER;
    case DataType::LIST_DOUBLE:
      return elementType == DataType::DOUBLE;
    case DataType::LIST_BLOB:
      return elementType == DataType::BLOB;
    case DataType::LIST_STRING:
      return elementType == DataType::BLOB || elementType == DataType::STRING ||
             elementType == DataType::SECRET;
    case DataType::LIST_SECRET:
      return elementType == DataType::SECRET;
    case DataType::STRUCTURE:
      return elementType == DataType::STRUCTURE;
    default:
      return false;
  }
}

// Whether the whole check of `definition` is the kind comparison (or, for OPAQUE, nothing).
// StringDefinition shares its kind with IsOneOfDefinition, so it is told apart by its exact
// class.
bool IsPlainScalar(const DataDefinition& definition) noexcept {
  switch (definition.type()) {
    case DataType::VOID:
    case DataType::INTEGER:
    case DataType::DOUBLE:
    case DataType::BOOLEAN:
    case DataType::BLOB:
    case DataType::SECRET:
    case DataType::OPAQUE:
      return true;
    case DataType::STRING:
      return typeid(definition) == typeid(StringDefinition);
    default:
      return false;
  }
}

template <class Mode>
void CheckPlainScalar(const DataDefinition& definition, const DataValue::PtrConstType& value,
                      Adapter& adapter, Walk& walk) {
  if (definition.type() != DataType::OPAQUE)
    CompareTypes<Mode>(definition.type(), definition, value, adapter, walk);
}

// Applies one definition to one value: checks what can be checked at once and queues the
// composites. A step may also hand the same value on to another definition (a bare value
// standing for an optional's content, in permissive mode); Run applies those in a loop,
// so chains of optionals cost no call depth.
//
// Most kinds belong to exactly one definition class, so Apply narrows by type() and
// handles them directly. STRING and OPTIONAL are shared with IsOneOfDefinition and
// UnionCaseDefinition: the plain classes are recognised by their exact dynamic type (one
// comparison), and anything else takes the double dispatch through the visitor slots.
// Skipping AcceptVisitor on the common path matters: it takes a reference on the shared
// definition, two atomic operations per node that every validating thread contends for.
template <class Match, class Mode>
class DefinitionToEntriesVisitor final : public DefinitionVisitor {
 public:
  DefinitionToEntriesVisitor(const DstType& dst, Adapter& adapter, Walk& walk) noexcept
      : dst_(dst), adapter_(adapter), walk_(walk) {}

  void Run(const DataDefinition& definition) {
    Apply(definition);
    while (handedOn_) {
      handedOn_ = false;
      if (!next_) {
        ReportUnsetDefinition(value(), adapter_, walk_);
        break;
      }
      Apply(*next_);
    }
    if (pendingUnion_ && walk_.errors.size() == unionBaseline_) {
      CheckUnionCase(*pendingUnion_, *unionDst_.value, *unionDst_.place, true, adapter_, walk_);
    }
  }

  void VisitVoid(const std::shared_ptr<const VoidDefinition>& definition) override { CheckKind(*definition); }
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>&) override {}
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>& definition) override {
    CheckKind(*definition);
  }
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>& definition) override {
    CheckKind(*definition);
  }
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>& definition) override {
    CheckKind(*definition);
  }
  void VisitBlob(const std::shared_ptr<const BlobDefinition>& definition) override { CheckKind(*definition); }
  void VisitString(const std::shared_ptr<const StringDefinition>& definition) override {
    CheckKind(*definition);
  }
  void VisitSecret(const std::shared_ptr<const SecretDefinition>& definition) override {
    CheckKind(*definition);
  }
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitList(const std::shared_ptr<const ListDefinition>& definition) override { Handle(*definition); }
  void VisitError(const std::shared_ptr<const ErrorDefinition>& definition) override { Handle(*definition); }
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>& definition) override {
    Handle(*definition);
  }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& definition) override {
    Handle(*definition);
  }

 private:
  void Apply(const DataDefinition& definition) {
    if (IsPlainScalar(definition)) {
      CheckPlainScalar<Mode>(definition, value(), adapter_, walk_);
      return;
    }
    switch (definition.type()) {
      case DataType::OPTIONAL:
        if (typeid(definition) == typeid(OptionalDefinition)) {
          Handle(static_cast<const OptionalDefinition&>(definition));
          return;
        }
        break;
      case DataType::LIST:
        Handle(static_cast<const ListDefinition&>(definition));
        return;
      case DataType::STRUCTURE:
        Handle(static_cast<const StructDefinition&>(definition));
        return;
      case DataType::ERROR:
        Handle(static_cast<const ErrorDefinition&>(definition));
        return;
      case DataType::STRUCTURE_REF:
        Handle(static_cast<const StructRefDefinition&>(definition));
        return;
      case DataType::DYNAMIC_STRUCTURE:
        Handle(static_cast<const DynamicStructureDefinition&>(definition));
        return;
      case DataType::ANY_ERROR:
        Handle(static_cast<const DynamicErrorDefinition&>(definition));
        return;
      default:
        break;
    }
    definition.AcceptVisitor(*this);
  }

  void CheckKind(const DataDefinition& definition) {
    CompareTypes<Mode>(definition.type(), definition, value(), adapter_, walk_);
  }

  void Handle(const IsOneOfDefinition& definition) {
    std::string scratch;
    const std::string* text = ValueAsString(value(), scratch, walk_);
    if (!text) return;  // the conversion has said why
    if (!definition.Check(*text)) {
      Fail(adapter_, walk_, "olma.data.value.unknown", *text);
    }
  }

  void Handle(const StructRefDefinition& definition) {
    auto target = definition.target();
    if (!target) {
      // The owner let the structure go: nothing is left to check against.
      Mismatch(definition, value(), adapter_, walk_);
      return;
    }
    const StructDefinition& structure = *target;
    walk_.Hold(std::move(target));
    Handle(structure);
  }

  void Handle(const StructDefinition& definition) {
    if (!CompareTypes<Mode>(DataType::STRUCTURE, definition, value(), adapter_, walk_)) return;
    Push(definition, &CompositeMethod<Match, Mode, StructDefinition, StructValue>);
  }

  void Handle(const OptionalDefinition& definition) {
    if (!CompareTypes<Mode>(DataType::OPTIONAL, definition, value(), adapter_, walk_)) return;
    if constexpr (kPermissive<Mode>) {
      if (value()->type() != DataType::OPTIONAL) {
        HandOn(definition.element().get());
        return;
      }
    }
    Push(definition, &CompositeMethod<Match, Mode, OptionalDefinition, OptionalValue>);
  }

  void Handle(const ListDefinition& definition) {
    if constexpr (kPermissive<Mode>) {
      const DataType kind = value() ? value()->type() : DataType(DataType::UNKNOWN);
      if (kind != DataType::LIST) {
        const DataDefinition* element = definition.element().get();
        if (element && PackedListFits(kind, element->type())) return;
        Mismatch(definition, value(), adapter_, walk_);
        return;
      }
    } else {
      if (!CompareTypes<Mode>(DataType::LIST, definition, value(), adapter_, walk_)) return;
    }
    Push(definition, &CompositeMethod<Match, Mode, ListDefinition, ListValue>);
  }

  void Handle(const ErrorDefinition& definition) { PushCompound<Match>(definition, DataType::ERROR); }

  void Handle(const DynamicStructureDefinition& definition) {
    if (!CompareTypes<Mode>(DataType::STRUCTURE, definition, value(), adapter_, walk_)) return;
    if (!definition.fields() || definition.fields()->empty()) return;
    Push(definition, &CompositeMethod<DynamicMatch, Mode, DynamicStructureDefinition, StructValue>);
  }

  void Handle(const DynamicErrorDefinition& definition) {
    if (!definition.fields() || definition.fields()->empty()) {
      CompareTypes<Mode>(DataType::ERROR, definition, value(), adapter_, walk_);
      return;
    }
    PushCompound<DynamicMatch>(definition, DataType::ERROR);
  }

  void Handle(const UnionCaseDefinition& definition) {
    if (!CompareTypes<Mode>(DataType::OPTIONAL, definition, value(), adapter_, walk_)) return;
    if constexpr (kPermissive<Mode>) {
      if (value()->type() != DataType::OPTIONAL) {
        // A bare value is the content of a set case field; the rule runs after the content
        // has been checked, and only if that check found nothing.
        if (dst_.place) {
          pendingUnion_ = &definition;
          unionDst_ = dst_;
          unionBaseline_ = walk_.errors.size();
        }
        HandOn(definition.element().get());
        return;
      }
    }
    Push(definition, &CompositeMethod<Match, Mode, UnionCaseDefinition, OptionalValue>);
    if (dst_.place) {
      CheckUnionCase(definition, value(), *dst_.place, static_cast<const OptionalValue&>(*value()).isSet(),
                     adapter_, walk_);
    }
  }

  const DataValue::PtrConstType& value() const noexcept { return *dst_.value; }

  // Queues `method` for the current value; the entry carries no field place, which only
  // lives as long as the walk over its structure's fields.
  void Push(const DataDefinition& definition, Method method) {
    adapter_.Push(&definition, DstType{dst_.value, nullptr}, method);
  }

  // Errors and dynamic errors: an ErrorValue, or in permissive mode also a StructValue
  // matched against the error's fields.
  template <class FieldMatch, class Definition>
  void PushCompound(const Definition& definition, DataType expected) {
    if (!CompareTypes<Mode>(expected, definition, value(), adapter_, walk_)) return;
    if (value()->type() == DataType::STRUCTURE) {
      Push(definition, &CompositeMethod<FieldMatch, Mode, Definition, StructValue>);
    } else {
      Push(definition, &CompositeMethod<FieldMatch, Mode, Definition, ErrorValue>);
    }
  }

  // Applies `definition` to the current value next, as an optional's content: outside any
  // structure, so no union rule applies to it.
  void HandOn(const DataDefinition* definition) noexcept {
    next_ = definition;
    handedOn_ = true;
    dst_.place = nullptr;
  }

  DstType dst_;
  Adapter& adapter_;
  Walk& walk_;
  const DataDefinition* next_ = nullptr;
  bool handedOn_ = false;
  const UnionCaseDefinition* pendingUnion_ = nullptr;
  DstType unionDst_{};
  std::size_t unionBaseline_ = 0;
};

template <class Match, class Mode>
void Dispatch(const Source& definition, const DstType& dst, Adapter& adapter, Walk& walk) {
  if (!definition) {
    ReportUnsetDefinition(*dst.value, adapter, walk);
    return;
  }
  // The commonest definitions, scalars, need nothing but the kind comparison: no visitor
  // is built for them.
  if (IsPlainScalar(*definition)) {
    CheckPlainScalar<Mode>(*definition, *dst.value, adapter, walk);
    return;
  }
  DefinitionToEntriesVisitor<Match, Mode> visitor(dst, adapter, walk);
  visitor.Run(*definition);
}

}  // namespace
}  // namespace DataValidatorHelper

template <class Match, class Mode>
bool DataValidator::Validate(const DataDefinition::PtrConstType& definition,
                             const DataValue::PtrConstType& value, MessageList& errors) {
  return Validate<Match, Mode>(definition, value, errors, 0);
}

template <class Match, class Mode>
bool DataValidator::Validate(const DataDefinition::PtrConstType& definition,
                             const DataValue::PtrConstType& value, MessageList& errors,
                             std::size_t maxFailures) {
  if (!definition || !value) return !definition && !value;
  const std::size_t before = errors.size();
  DataValidatorHelper::Walk walk(errors, maxFailures);
  DataValidatorHelper::Adapter adapter(&DataValidatorHelper::Dispatch<Match, Mode>);
  adapter.Adapt(definition.get(), DataValidatorHelper::DstType{&value, nullptr}, walk);
  return errors.size() == before;
}

#define OLMA_INSTANTIATE_VALIDATE(Match, Mode)                                                               \
  template OLMA_API bool DataValidator::Validate<Match, Mode>(const DataDefinition::PtrConstType&,           \
                                                              const DataValue::PtrConstType&, MessageList&); \
  template OLMA_API bool DataValidator::Validate<Match, Mode>(                                               \
      const DataDefinition::PtrConstType&, const DataValue::PtrConstType&, MessageList&, std::size_t)

OLMA_INSTANTIATE_VALIDATE(LooseMatch, ValidatorModeStrict);
OLMA_INSTANTIATE_VALIDATE(StrictMatch, ValidatorModeStrict);
OLMA_INSTANTIATE_VALIDATE(LooseMatch, ValidatorModePermissive);
OLMA_INSTANTIATE_VALIDATE(StrictMatch, ValidatorModePermissive);

#undef OLMA_INSTANTIATE_VALIDATE

}  // namespace Data
}  // namespace Olma
