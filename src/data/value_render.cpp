// Rendering of value trees into one output string, on an explicit work stack.
//
// Leaves (scalars, typed lists, empty pointers) are written in place. A composite writes
// its opening text and then its children; before descending into a child that is itself a
// composite it leaves a resume frame (the container and the position after the child) on
// the stack, so that any depth costs one frame per level and no call-stack frames.
//
// The same walk renders a value through its definition (value_rendering.h): each frame
// then also carries the definition of the container, and parts declared SECRET are
// masked. Without a definition the walk is ToString.
//
// Speed: the text goes through raw pointers into blocks that are never reallocated (no
// temporary strings, numbers written by std::to_chars in place), and kinds are told apart
// by one type() test per node.
#include "data/value_tree.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "data/ignoring_definition_visitor.h"
#include "olma/core/format.h"
#include "olma/data/definitions.h"
#include "olma/data/localizable_message.h"
#include "olma/data/value_rendering.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace Detail {
namespace {

constexpr std::string_view kUnset = "<unset>";
constexpr std::string_view kSecret = "<secret>";
constexpr std::string_view kSeparator = ", ";

// The output of a rendering: written through raw pointers into a small local block, then
// into heap blocks of a fixed size, and copied once into the caller's string at the end.
// Nothing is ever reallocated or zero-filled on the way, so a large rendering costs its
// text once plus one copy, and the caller's string is allocated once, at its exact size.
// (Growing the string as the text comes would copy as much again and leave it up to twice
// too large.)
class TextBuffer {
 public:
  explicit TextBuffer(std::string& out) noexcept
      : out_(out), begin_(local_), pos_(local_), end_(local_ + kLocalSize) {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  // Appends everything written to the caller's string.
  void Finish() {
    Seal();
    std::size_t total = out_.size();
    for (const std::string_view& piece : pieces_) total += piece.size();
    out_.reserve(total);
    for (const std::string_view& piece : pieces_) out_.append(piece);
  }

  // At least `size` writable bytes from the returned position; Advance says how many were
  // used.
  char* Room(std::size_t size) {
    if (static_cast<std::size_t>(end_ - pos_) < size) NextBlock(size);
    return pos_;
  }
  void Advance(char* to) noexcept { pos_ = to; }

  void Put(std::string_view text) {
    if (text.empty()) return;
    char* at = Room(text.size());
    std::memcpy(at, text.data(), text.size());
    pos_ = at + text.size();
  }
  void Put(char c) {
    *Room(1) = c;
    ++pos_;
  }

 private:
  static constexpr std::size_t kLocalSize = 512;
  static constexpr std::size_t kBlockSize = 64 * 1024;

  void Seal() {
    if (pos_ != begin_) pieces_.emplace_back(begin_, static_cast<std::size_t>(pos_ - begin_));
  }
  [[gnu::noinline]] void NextBlock(std::size_t size) {
    Seal();
    const std::size_t capacity = std::max(size, kBlockSize);
    blocks_.emplace_back(new char[capacity]);
    begin_ = pos_ = blocks_.back().get();
    end_ = begin_ + capacity;
  }

  std::string& out_;
  char local_[kLocalSize];
  char* begin_;
  char* pos_;
  char* end_;
  std::vector<std::string_view> pieces_;
  std::vector<std::unique_ptr<char[]>> blocks_;
};

void PutInteger(long long value, TextBuffer& out) {
  constexpr std::size_t kDigits = std::numeric_limits<long long>::digits10 + 2;  // and a sign
  char* at = out.Room(kDigits);
  out.Advance(std::to_chars(at, at + kDigits, value).ptr);
}

void PutDouble(double value, TextBuffer& out) {
  // "%lf" of a finite double is its exactly rounded fixed form with six decimals, which
  // std::to_chars writes in place. Infinities and NaN take the formatter's way, as printf
  // spells them.
  if (std::isfinite(value)) {
    constexpr std::size_t kLongest = std::numeric_limits<double>::max_exponent10 + 32;
    char* at = out.Room(kLongest);
    out.Advance(std::to_chars(at, at + kLongest, value, std::chars_format::fixed, 6).ptr);
    return;
  }
  std::string text;
  Olma::Detail::FormatDouble(text, std::string_view(), &value);
  out.Put(text);
}

void PutBoolean(bool value, TextBuffer& out) {
  out.Put(value ? '1' : '0');
}

// Each byte as printf "%#x" does it ("0x1f", "0xa", and "0" without prefix), then a blank.
void PutBlob(const ByteVector& value, TextBuffer& out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  char* at = out.Room(5 * value.size());
  for (const std::uint8_t byte : value) {
    if (byte == 0) {
      *at++ = '0';
    } else {
      *at++ = '0';
      *at++ = 'x';
      if (byte >= 0x10) *at++ = kDigits[byte >> 4];
      *at++ = kDigits[byte & 0x0f];
    }
    *at++ = ' ';
  }
  out.Advance(at);
}

bool IsComposite(DataType kind) {
  switch (kind) {
    case DataType::OPTIONAL:
    case DataType::LIST:
    case DataType::STRUCTURE:
    case DataType::ERROR:
      return true;
    default:
      return false;
  }
}

template <class List, class PutElement>
void PutTypedList(const List& list, bool secret, TextBuffer& out, PutElement put) {
  out.Put("[ ");
  for (const auto& element : list) {
    if (secret) {
      out.Put(kSecret);
    } else {
      put(element, out);
    }
    out.Put(kSeparator);
  }
  out.Put("] ");
}

// Writes a value of kind `kind` that has no value children: a scalar or a typed list.
// `secret` masks the elements of a typed list.
void PutLeaf(const DataValue& value, DataType kind, bool secret, TextBuffer& out) {
  switch (kind) {
    case DataType::VOID:
      out.Put("NULL");
      break;
    case DataType::INTEGER:
      PutInteger(static_cast<const IntegerValue&>(value).value(), out);
      break;
    case DataType::DOUBLE:
      PutDouble(static_cast<const DoubleValue&>(value).value(), out);
      break;
    case DataType::BOOLEAN:
      PutBoolean(static_cast<const BooleanValue&>(value).value(), out);
      break;
    case DataType::BLOB:
      PutBlob(static_cast<const BlobValue&>(value).value(), out);
      break;
    case DataType::STRING:
      out.Put(static_cast<const StringValue&>(value).value());
      break;
    case DataType::SECRET:
      out.Put(kSecret);
      break;
    case DataType::LIST_BOOL:
      PutTypedList(static_cast<const ListValueBool&>(value), secret, out, PutBoolean);
      break;
    case DataType::LIST_LONG:
      PutTypedList(static_cast<const ListValueLong&>(value), secret, out, PutInteger);
      break;
    case DataType::LIST_DOUBLE:
      PutTypedList(static_cast<const ListValueDouble&>(value), secret, out, PutDouble);
      break;
    case DataType::LIST_BLOB:
      PutTypedList(static_cast<const ListValueBlob&>(value), secret, out, PutBlob);
      break;
    case DataType::LIST_STRING:
      PutTypedList(static_cast<const ListValueString&>(value), secret, out,
                   [](const std::string& element, TextBuffer& text) { text.Put(element); });
      break;
    case DataType::LIST_SECRET:
      PutTypedList(static_cast<const ListValueSecret&>(value), true, out,
                   [](const SecretString&, TextBuffer&) {});
      break;
    default:
      break;
  }
}

// The element of an OPTIONAL definition, which is an OptionalDefinition or a
// UnionCaseDefinition: only the visitor tells them apart.
class OptionalElement final : public IgnoringDefinitionVisitor {
 public:
  void VisitOptional(const std::shared_ptr<const OptionalDefinition>& definition) override {
    element = definition->element().get();
  }
  void VisitUnionCase(const std::shared_ptr<const UnionCaseDefinition>& definition) override {
    element = definition->element().get();
  }
  const DataDefinition* element = nullptr;
};

const DataDefinition* ElementOf(const DataDefinition& definition) {
  if (definition.type() == DataType::LIST)
    return static_cast<const ListDefinition&>(definition).element().get();
  OptionalElement shape;
  definition.AcceptVisitor(shape);
  return shape.element;
}

// The known field `name` of a structure-like definition; null when there is none.
const DataDefinition* FieldOf(const DataDefinition* definition, const std::string& name) {
  if (definition == nullptr) return nullptr;
  const std::optional<DataDefinition::FieldMap>* fields = nullptr;
  switch (definition->type()) {
    case DataType::STRUCTURE:
      fields = &static_cast<const StructDefinition*>(definition)->fields();
      break;
    case DataType::ERROR:
      fields = &static_cast<const ErrorDefinition*>(definition)->fields();
      break;
    case DataType::DYNAMIC_STRUCTURE:
      fields = &static_cast<const DynamicStructureDefinition*>(definition)->fields();
      break;
    case DataType::ANY_ERROR:
      fields = &static_cast<const DynamicErrorDefinition*>(definition)->fields();
      break;
    default:
      return nullptr;
  }
  if (!*fields) return nullptr;
  const auto found = (*fields)->find(name);
  return found == (*fields)->end() ? nullptr : found->second.get();
}

// Every step returns the composite to descend into next (a null value when the step is
// done); whatever must follow that child waits on the stack.
class Renderer {
 public:
  explicit Renderer(std::string& out) : out_(out) {}

  void Run(const DataValue* root, const DataDefinition* definition) {
    Next next = Enter(root, definition);
    for (;;) {
      while (next.value != nullptr) next = Enter(next.value, next.definition);
      if (stack_.empty()) break;
      const Frame frame = stack_.back();
      stack_.pop_back();
      next = Resume(frame);
    }
    out_.Finish();
  }

 private:
  using ListIt = ListValue::const_iterator;
  using FieldIt = CompoundValue::FieldMap::const_iterator;

  // A value still to be entered (never null: empty pointers are written where they are
  // met), with the definition it is declared with (or null). A null value: nothing to do.
  struct Next {
    const DataValue* value;
    const DataDefinition* definition;
  };

  enum class Op : std::uint8_t {
    kText,            // append the text
    kValue,           // render the value `node` (may be empty)
    kOptionalClose,   // close an optional
    kListResume,      // a list element was rendered: separator, then the rest of the list
    kFieldsResume,    // a field value was rendered: separator, then the remaining fields
    kMessagesResume,  // the messages of an error after the position
  };

  // `definition` is the definition of the elements for a list, of the compound for its
  // fields, and of the value for kValue.
  struct Frame {
    Op op;
    const DataValue* node;
    const DataDefinition* definition;
    ListIt element;
    FieldIt field;
    std::string_view text;
  };

  void Push(Op op, const DataValue* node, const DataDefinition* definition = nullptr, ListIt element = {},
            FieldIt field = {}) {
    stack_.push_back(Frame{op, node, definition, element, field, {}});
  }
  void PushText(std::string_view text) { stack_.push_back(Frame{Op::kText, nullptr, nullptr, {}, {}, text}); }

  Next Resume(const Frame& frame) {
    switch (frame.op) {
      case Op::kText:
        out_.Put(frame.text);
        return {};
      case Op::kValue:
        return Enter(frame.node, frame.definition);
      case Op::kOptionalClose:
        out_.Put('>');
        return {};
      case Op::kListResume:
        out_.Put(kSeparator);
        return ContinueList(static_cast<const ListValue&>(*frame.node), frame.element, frame.definition);
      case Op::kFieldsResume:
        out_.Put(kSeparator);
        return ContinueFields(static_cast<const CompoundValue&>(*frame.node), frame.field, frame.definition);
      case Op::kMessagesResume:
        return ContinueMessages(static_cast<const ListValue&>(*frame.node), frame.element);
    }
    return {};
  }

  // The definition that `value` is checked against under `definition`: references lead to
  // their live target (kept alive until the walk ends), and a value that is not an
  // optional is taken against an optional's element. A chain that never ends (only a
  // broken definition has one) is cut off: the value then renders on its own.
  const DataDefinition* Applying(const DataDefinition* definition, const DataValue* value) {
    for (int step = 0; definition != nullptr && step < kMaxUnwrap; ++step) {
      const DataType kind = definition->type();
      if (kind == DataType::STRUCTURE_REF) {
        targets_.push_back(static_cast<const StructRefDefinition*>(definition)->target());
        definition = targets_.back().get();
      } else if (kind == DataType::OPTIONAL && (value == nullptr || value->type() != DataType::OPTIONAL)) {
        definition = ElementOf(*definition);
      } else {
        return definition;
      }
    }
    return nullptr;
  }

  // Writes `value` up to its first composite child, which it returns.
  Next Enter(const DataValue* value, const DataDefinition* definition) {
    if (value == nullptr) {
      out_.Put(kUnset);
      return {};
    }
    if (definition != nullptr) {
      definition = Applying(definition, value);
      if (definition != nullptr && definition->type() == DataType::SECRET) {
        out_.Put(kSecret);
        return {};
      }
    }
    const DataType kind = value->type();
    switch (kind) {
      case DataType::OPTIONAL:
        return EnterOptional(static_cast<const OptionalValue&>(*value), definition);
      case DataType::LIST: {
        const auto& list = static_cast<const ListValue&>(*value);
        out_.Put("[ ");
        return ContinueList(list, list.begin(), ElementIf(definition, DataType::LIST));
      }
      case DataType::STRUCTURE: {
        const auto& structure = static_cast<const CompoundValue&>(*value);
        out_.Put("{{ ");
        out_.Put(structure.name());
        out_.Put(" : { ");
        return ContinueFields(structure, structure.fields().begin(), definition);
      }
      case DataType::ERROR:
        return EnterError(static_cast<const ErrorValue&>(*value));
      default:
        PutLeaf(*value, kind, SecretElements(definition), out_);
        return {};
    }
  }

  // The element of `definition` when it is of `kind`; null otherwise.
  static const DataDefinition* ElementIf(const DataDefinition* definition, DataType kind) {
    return definition != nullptr && definition->type() == kind ? ElementOf(*definition) : nullptr;
  }

  // Whether `definition` declares a list of secrets (which masks a typed list).
  bool SecretElements(const DataDefinition* definition) {
    const DataDefinition* element = Applying(ElementIf(definition, DataType::LIST), nullptr);
    return element != nullptr && element->type() == DataType::SECRET;
  }

  Next EnterOptional(const OptionalValue& optional, const DataDefinition* definition) {
    out_.Put("Optional< ");
    if (optional.isSet()) {
      const DataValue* content = optional.value().get();
      const DataDefinition* element = ElementIf(definition, DataType::OPTIONAL);
      if (!PutPlainLeaf(content, element)) {
        Push(Op::kOptionalClose, nullptr);
        return Next{content, element};
      }
    }
    out_.Put('>');
    return {};
  }

  // Writes `value` at once if it is a leaf that no definition asks to look at (the common
  // case, with one type() call); false when it must be entered.
  bool PutPlainLeaf(const DataValue* value, const DataDefinition* definition) {
    if (value == nullptr) {
      out_.Put(kUnset);
      return true;
    }
    if (definition != nullptr) return false;
    const DataType kind = value->type();
    if (IsComposite(kind)) return false;
    PutLeaf(*value, kind, false, out_);
    return true;
  }

  // Writes elements from `position` on until one needs descending into.
  Next ContinueList(const ListValue& list, ListIt position, const DataDefinition* element) {
    while (position != list.end()) {
      const DataValue* value = position->get();
      ++position;
      if (!PutPlainLeaf(value, element)) {
        Push(Op::kListResume, &list, element, position);
        return Next{value, element};
      }
      out_.Put(kSeparator);
    }
    out_.Put("] ");
    return {};
  }

  Next ContinueFields(const CompoundValue& compound, FieldIt position, const DataDefinition* definition) {
    while (position != compound.fields().end()) {
      out_.Put(position->first);
      out_.Put(" : ");
      const DataValue* value = position->second.get();
      const DataDefinition* field = FieldOf(definition, position->first);
      ++position;
      if (!PutPlainLeaf(value, field)) {
        Push(Op::kFieldsResume, &compound, definition, {}, position);
        return Next{value, field};
      }
      out_.Put(kSeparator);
    }
    out_.Put("} }} ");
    return {};
  }

  Next EnterError(const ErrorValue& error) {
    out_.Put("Error:\n   ");
    out_.Put(error.name());
    out_.Put('\n');
    // The same lookup as ErrorValue::messages(), without taking a reference.
    const auto found = error.fields().find(std::string_view("messages"));
    const DataValue* messages = found == error.fields().end() ? nullptr : found->second.get();
    if (messages == nullptr || messages->type() != DataType::LIST ||
        static_cast<const ListValue*>(messages)->empty()) {
      out_.Put("No messages!\n");
      return {};
    }
    out_.Put("Messages:\n");
    const auto& list = static_cast<const ListValue&>(*messages);
    return ContinueMessages(list, list.begin());
  }

  // One line per message. A well-formed message (a structure whose "id" and
  // "default_message" are strings) is written at once; anything else is queued piece by
  // piece, since its pieces may be whole trees.
  Next ContinueMessages(const ListValue& list, ListIt position) {
    while (position != list.end()) {
      const DataValue* element = position->get();
      ++position;
      out_.Put("   ");
      if (element != nullptr && element->type() == DataType::STRUCTURE) {
        const auto& message = static_cast<const CompoundValue&>(*element);
        const StringValue* id = StringField(message, LocalizableMessage::kId);
        const StringValue* text = StringField(message, LocalizableMessage::kDefaultMessage);
        if (id != nullptr && text != nullptr) {
          out_.Put(id->value());
          out_.Put('<');
          out_.Put(text->value());
          out_.Put(">\n");
          continue;
        }
        Push(Op::kMessagesResume, &list, nullptr, position);
        PushText(">\n");
        PushFieldText(message, LocalizableMessage::kDefaultMessage);
        PushText("<");
        PushFieldText(message, LocalizableMessage::kId);
        return {};
      }
      out_.Put("Not a message -> ");
      if (!PutPlainLeaf(element, nullptr)) {
        Push(Op::kMessagesResume, &list, nullptr, position);
        PushText("\n");
        return Next{element, nullptr};
      }
      out_.Put('\n');
    }
    return {};
  }

  static const StringValue* StringField(const CompoundValue& message, std::string_view name) {
    const auto found = message.fields().find(name);
    if (found == message.fields().end() || !found->second || found->second->type() != DataType::STRING) {
      return nullptr;
    }
    return static_cast<const StringValue*>(found->second.get());
  }

  // Queues the text of one field of a message (pushed last piece first).
  void PushFieldText(const CompoundValue& message, std::string_view name) {
    const auto found = message.fields().find(name);
    if (found == message.fields().end()) {
      PushText("\n");
      PushText(message.name());
      PushText(" not found for -> ");
      PushText(name);
      return;
    }
    const DataValue* field = found->second.get();
    if (field != nullptr && field->type() == DataType::STRING) {
      PushText(static_cast<const StringValue*>(field)->value());
      return;
    }
    PushText("\n");
    Push(Op::kValue, field);
    PushText(" not valid -> ");
    PushText(name);
  }

  static constexpr int kMaxUnwrap = 1024;

  TextBuffer out_;
  std::vector<Frame> stack_;
  std::vector<DataDefinition::PtrConstType> targets_;
};

}  // namespace

void RenderValue(const DataValue* value, std::string& out, const DataDefinition* definition) {
  Renderer(out).Run(value, definition);
}

void AppendInteger(long long value, std::string& out) {
  TextBuffer buffer(out);
  PutInteger(value, buffer);
  buffer.Finish();
}

void AppendDouble(double value, std::string& out) {
  TextBuffer buffer(out);
  PutDouble(value, buffer);
  buffer.Finish();
}

void AppendBoolean(bool value, std::string& out) {
  out += value ? '1' : '0';
}

void AppendBlob(const ByteVector& value, std::string& out) {
  TextBuffer buffer(out);
  PutBlob(value, buffer);
  buffer.Finish();
}

}  // namespace Detail

std::string RenderValue(const DataValue::PtrConstType& value,
                        const DataDefinition::PtrConstType& definition) {
  std::string out;
  Detail::RenderValue(value.get(), out, definition.get());
  return out;
}

}  // namespace Data
}  // namespace Olma
