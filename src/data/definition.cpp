#include "olma/data/definition.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "olma/data/definitions.h"

namespace Olma {
namespace Data {

namespace {

constexpr std::string_view kUnset = "<unset>";
constexpr std::string_view kNoName = "<noname>";

// Renders a definition tree into one string without recursion. A node writes what comes
// before its children at once and queues its children and the text that follows them, in
// reverse, on the work list. Closers queued back to back with the same text (the ">" of a
// chain of optionals) share one counted entry, so a chain a million levels deep keeps the
// list at a couple of entries.
class Renderer final : public DefinitionVisitor {
 public:
  explicit Renderer(std::string& out) : out_(out) {}

  void Render(const DataDefinition& root) {
    root.AcceptVisitor(*this);
    while (!pending_.empty()) {
      const Piece piece = pending_.back();
      pending_.pop_back();
      if (piece.definition != nullptr) {
        piece.definition->AcceptVisitor(*this);
      } else {
        for (std::size_t n = 0; n < piece.repeat; ++n) out_.append(piece.text);
      }
    }
  }

  void VisitVoid(const std::shared_ptr<const VoidDefinition>&) override { out_.append("VOID"); }
  // Opaque deliberately shares the text of void.
  void VisitOpaque(const std::shared_ptr<const OpaqueDefinition>&) override { out_.append("VOID"); }
  void VisitDynamicStructure(const std::shared_ptr<const DynamicStructureDefinition>&) override {
    out_.append("DynamicStructureDefinition");
  }
  void VisitDynamicError(const std::shared_ptr<const DynamicErrorDefinition>&) override {
    out_.append("DynamicErrorDefinition");
  }
  void VisitInteger(const std::shared_ptr<const IntegerDefinition>&) override { out_.append("INTEGER"); }
  void VisitDouble(const std::shared_ptr<const DoubleDefinition>&) override { out_.append("DOUBLE"); }
  void VisitBoolean(const std::shared_ptr<const BooleanDefinition>&) override { out_.append("BOOLEAN"); }
  void VisitBlob(const std::shared_ptr<const BlobDefinition>&) override { out_.append("BLOB"); }
  void VisitString(const std::shared_ptr<const StringDefinition>&) override { out_.append("STRING"); }
  void VisitSecret(const std::shared_ptr<const SecretDefinition>&) override { out_.append("SECRET"); }
  void VisitError(const std::shared_ptr<const ErrorDefinition>& definition) override {
    Compound("{ed{ ", definition->name(), definition->fields());
  }
  // "{1}<{2}>" with "OPTIONAL" and the element, written piecewise.
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) override {
    out_.append("OPTIONAL<");
    PushText(">");
    PushChild(definition->element());
  }
  // "{1}[{2}]" with "LIST" and the element.
  void VisitList(const std::shared_ptr<const ListDefinition>& definition) override {
    out_.append("LIST[");
    PushText("]");
    PushChild(definition->element());
  }
  void VisitStruct(const std::shared_ptr<const StructDefinition>& definition) override {
    Compound("{sd{ ", definition->name(), definition->fields());
  }
  // Never follows the target: that is what keeps recursive structures finite.
  void VisitStructRef(const std::shared_ptr<const StructRefDefinition>&) override {
    out_.append("StructRefDefinition");
  }
  void VisitIsOneOf(const std::shared_ptr<const IsOneOfDefinition>&) override { out_.append("STRING"); }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>&) override { out_.append("OPTIONAL"); }

 private:
  // Either a definition to render or a text to write `repeat` times. Texts point into the
  // tree or at literals, both of which outlive the rendering.
  struct Piece {
    std::string_view text;
    const DataDefinition* definition;
    std::size_t repeat;
  };

  void PushText(std::string_view text) {
    if (!pending_.empty()) {
      Piece& top = pending_.back();
      if (top.definition == nullptr && top.text.data() == text.data() && top.text.size() == text.size()) {
        ++top.repeat;
        return;
      }
    }
    pending_.push_back(Piece{text, nullptr, 1});
  }

  void PushChild(const DataDefinition::PtrConstType& child) {
    if (child) {
      pending_.push_back(Piece{std::string_view(), child.get(), 1});
    } else {
      PushText(kUnset);
    }
  }

  void Compound(std::string_view open, const std::optional<std::string>& name,
                const std::optional<DataDefinition::FieldMap>& fields) {
    out_.append(open);
    out_.append(name ? std::string_view(*name) : kNoName);
    out_.append(" : { ");
    PushText("} }} ");
    if (!fields) return;
    for (auto field = fields->rbegin(); field != fields->rend(); ++field) {
      PushText(", ");
      PushChild(field->second);
      PushText(" : ");
      PushText(field->first);
    }
  }

  std::string& out_;
  std::vector<Piece> pending_;
};

}  // namespace

DataDefinition::~DataDefinition() = default;

std::string DataDefinition::ToString() const {
  std::string out;
  Renderer(out).Render(*this);
  return out;
}

template <>
DataDefinition::PtrType DataDefinition::Create<Void>() {
  return VoidDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<void>() {
  return VoidDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<Opaque>() {
  return OpaqueDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<long long>() {
  return IntegerDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<double>() {
  return DoubleDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<bool>() {
  return BooleanDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<ByteVector>() {
  return BlobDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<std::string>() {
  return StringDefinition::GetInstance();
}
// A date-time travels as its text.
template <>
DataDefinition::PtrType DataDefinition::Create<DateTime>() {
  return StringDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<SecretString>() {
  return SecretDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<DynamicStructure>() {
  return DynamicStructureDefinition::GetInstance();
}
template <>
DataDefinition::PtrType DataDefinition::Create<DynamicError>() {
  return DynamicErrorDefinition::GetInstance();
}

}  // namespace Data
}  // namespace Olma
