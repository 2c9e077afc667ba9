// Rendering of value trees into one output string, on an explicit work stack.
//
// Leaves (scalars, typed lists, empty pointers) are written in place. A composite writes
// its opening text and then its children; before descending into a child that is itself a
// composite it leaves a resume frame (the container and the position after the child) on
// the stack, so that any depth costs one frame per level and no call-stack frames.
#include "data/value_tree.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "olma/core/format.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace Detail {

void AppendInteger(long long value, std::string& out) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  out.append(buffer, result.ptr);
}

void AppendDouble(double value, std::string& out) {
  Olma::Detail::FormatDouble(out, std::string_view(), &value);
}

void AppendBoolean(bool value, std::string& out) {
  out += value ? '1' : '0';
}

// Each byte as printf "%#x" does it ("0x1f", "0xa", and "0" without prefix), then a blank.
void AppendBlob(const ByteVector& value, std::string& out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (const std::uint8_t byte : value) {
    if (byte == 0) {
      out += "0 ";
      continue;
    }
    out += "0x";
    if (byte >= 0x10) out += kDigits[byte >> 4];
    out += kDigits[byte & 0x0f];
    out += ' ';
  }
}

namespace {

constexpr std::string_view kUnset = "<unset>";
constexpr std::string_view kSecret = "<secret>";
constexpr std::string_view kSeparator = ", ";

bool IsComposite(const DataValue* value) {
  if (value == nullptr) return false;
  switch (value->type()) {
    case DataType::OPTIONAL:
    case DataType::LIST:
    case DataType::STRUCTURE:
    case DataType::ERROR:
      return true;
    default:
      return false;
  }
}

template <class List, class AppendElement>
void AppendTypedList(const List& list, std::string& out, AppendElement append) {
  out += "[ ";
  for (const auto& element : list) {
    append(element, out);
    out += kSeparator;
  }
  out += "] ";
}

// Writes a value that has no value children: a scalar, a typed list or an empty pointer.
void AppendLeaf(const DataValue* value, std::string& out) {
  if (value == nullptr) {
    out += kUnset;
    return;
  }
  switch (value->type()) {
    case DataType::VOID:
      out += "NULL";
      break;
    case DataType::INTEGER:
      AppendInteger(static_cast<const IntegerValue*>(value)->value(), out);
      break;
    case DataType::DOUBLE:
      AppendDouble(static_cast<const DoubleValue*>(value)->value(), out);
      break;
    case DataType::BOOLEAN:
      AppendBoolean(static_cast<const BooleanValue*>(value)->value(), out);
      break;
    case DataType::BLOB:
      AppendBlob(static_cast<const BlobValue*>(value)->value(), out);
      break;
    case DataType::STRING:
      out += static_cast<const StringValue*>(value)->value();
      break;
    case DataType::SECRET:
      out += kSecret;
      break;
    case DataType::LIST_BOOL:
      AppendTypedList(*static_cast<const ListValueBool*>(value), out, AppendBoolean);
      break;
    case DataType::LIST_LONG:
      AppendTypedList(*static_cast<const ListValueLong*>(value), out, AppendInteger);
      break;
    case DataType::LIST_DOUBLE:
      AppendTypedList(*static_cast<const ListValueDouble*>(value), out, AppendDouble);
      break;
    case DataType::LIST_BLOB:
      AppendTypedList(*static_cast<const ListValueBlob*>(value), out, AppendBlob);
      break;
    case DataType::LIST_STRING:
      AppendTypedList(*static_cast<const ListValueString*>(value), out,
                      [](const std::string& element, std::string& text) { text += element; });
      break;
    case DataType::LIST_SECRET:
      AppendTypedList(*static_cast<const ListValueSecret*>(value), out,
                      [](const SecretString&, std::string& text) { text += kSecret; });
      break;
    default:
      break;
  }
}

// Every step returns the composite to descend into next (or null when the step is done);
// whatever must follow that child waits on the stack.
class Renderer {
 public:
  explicit Renderer(std::string& out) : out_(out) {}

  void Run(const DataValue* root) {
    const DataValue* next = Enter(root);
    for (;;) {
      while (next != nullptr) next = Enter(next);
      if (stack_.empty()) return;
      const Frame frame = stack_.back();
      stack_.pop_back();
      next = Resume(frame);
    }
  }

 private:
  using ListIt = ListValue::const_iterator;
  using FieldIt = CompoundValue::FieldMap::const_iterator;

  enum class Op : std::uint8_t {
    kText,            // append the text
    kValue,           // render the value `node` (may be empty)
    kOptionalClose,   // close an optional
    kListResume,      // a list element was rendered: separator, then the rest of the list
    kFieldsResume,    // a field value was rendered: separator, then the remaining fields
    kMessagesResume,  // the messages of an error after the position
  };

  struct Frame {
    Op op;
    const DataValue* node;
    std::variant<std::string_view, ListIt, FieldIt> position;
  };

  void Push(Op op, const DataValue* node, std::variant<std::string_view, ListIt, FieldIt> position = {}) {
    stack_.push_back(Frame{op, node, position});
  }
  void PushText(std::string_view text) { Push(Op::kText, nullptr, text); }
  void PushValue(const DataValue* value) { Push(Op::kValue, value); }

  const DataValue* Resume(const Frame& frame) {
    switch (frame.op) {
      case Op::kText:
        out_ += std::get<std::string_view>(frame.position);
        return nullptr;
      case Op::kValue:
        return Enter(frame.node);
      case Op::kOptionalClose:
        out_ += '>';
        return nullptr;
      case Op::kListResume:
        out_ += kSeparator;
        return ContinueList(static_cast<const ListValue&>(*frame.node), std::get<ListIt>(frame.position));
      case Op::kFieldsResume:
        out_ += kSeparator;
        return ContinueFields(static_cast<const CompoundValue&>(*frame.node),
                              std::get<FieldIt>(frame.position));
      case Op::kMessagesResume:
        return ContinueMessages(static_cast<const ListValue&>(*frame.node), std::get<ListIt>(frame.position));
    }
    return nullptr;
  }

  // Writes `value` up to its first composite child, which it returns.
  const DataValue* Enter(const DataValue* value) {
    if (!IsComposite(value)) {
      AppendLeaf(value, out_);
      return nullptr;
    }
    switch (value->type()) {
      case DataType::OPTIONAL:
        return EnterOptional(static_cast<const OptionalValue&>(*value));
      case DataType::LIST: {
        const auto& list = static_cast<const ListValue&>(*value);
        out_ += "[ ";
        return ContinueList(list, list.begin());
      }
      case DataType::STRUCTURE: {
        const auto& structure = static_cast<const CompoundValue&>(*value);
        out_ += "{{ ";
        out_ += structure.name();
        out_ += " : { ";
        return ContinueFields(structure, structure.fields().begin());
      }
      case DataType::ERROR:
        return EnterError(static_cast<const ErrorValue&>(*value));
      default:
        return nullptr;
    }
  }

  const DataValue* EnterOptional(const OptionalValue& optional) {
    out_ += "Optional< ";
    if (optional.isSet()) {
      const DataValue* content = optional.value().get();
      if (IsComposite(content)) {
        Push(Op::kOptionalClose, nullptr);
        return content;
      }
      AppendLeaf(content, out_);
    }
    out_ += '>';
    return nullptr;
  }

  // Writes elements from `position` on until one needs descending into.
  const DataValue* ContinueList(const ListValue& list, ListIt position) {
    while (position != list.end()) {
      const DataValue* element = position->get();
      ++position;
      if (IsComposite(element)) {
        Push(Op::kListResume, &list, position);
        return element;
      }
      AppendLeaf(element, out_);
      out_ += kSeparator;
    }
    out_ += "] ";
    return nullptr;
  }

  const DataValue* ContinueFields(const CompoundValue& compound, FieldIt position) {
    while (position != compound.fields().end()) {
      out_ += position->first;
      out_ += " : ";
      const DataValue* field = position->second.get();
      ++position;
      if (IsComposite(field)) {
        Push(Op::kFieldsResume, &compound, position);
        return field;
      }
      AppendLeaf(field, out_);
      out_ += kSeparator;
    }
    out_ += "} }} ";
    return nullptr;
  }

  const DataValue* EnterError(const ErrorValue& error) {
    out_ += "Error:\n   ";
    out_ += error.name();
    out_ += '\n';
    // The same lookup as ErrorValue::messages(), without taking a reference.
    const auto found = error.fields().find(std::string_view("messages"));
    const DataValue* messages = found == error.fields().end() ? nullptr : found->second.get();
    if (messages == nullptr || messages->type() != DataType::LIST ||
        static_cast<const ListValue*>(messages)->empty()) {
      out_ += "No messages!\n";
      return nullptr;
    }
    out_ += "Messages:\n";
    const auto& list = static_cast<const ListValue&>(*messages);
    return ContinueMessages(list, list.begin());
  }

  // One line per message. A well-formed message (a structure whose "id" and
  // "default_message" are strings) is written at once; anything else is queued piece by
  // piece, since its pieces may be whole trees.
  const DataValue* ContinueMessages(const ListValue& list, ListIt position) {
    while (position != list.end()) {
      const DataValue* element = position->get();
      ++position;
      out_ += "   ";
      if (element != nullptr && element->type() == DataType::STRUCTURE) {
        const auto& message = static_cast<const CompoundValue&>(*element);
        const StringValue* id = StringField(message, "id");
        const StringValue* text = StringField(message, "default_message");
        if (id != nullptr && text != nullptr) {
          out_ += id->value();
          out_ += '<';
          out_ += text->value();
          out_ += ">\n";
          continue;
        }
        Push(Op::kMessagesResume, &list, position);
        PushText(">\n");
        PushFieldText(message, "default_message");
        PushText("<");
        PushFieldText(message, "id");
        return nullptr;
      }
      out_ += "Not a message -> ";
      if (IsComposite(element)) {
        Push(Op::kMessagesResume, &list, position);
        PushText("\n");
        return element;
      }
      AppendLeaf(element, out_);
      out_ += '\n';
    }
    return nullptr;
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
    PushValue(field);
    PushText(" not valid -> ");
    PushText(name);
  }

  std::string& out_;
  std::vector<Frame> stack_;
};

}  // namespace

void RenderValue(const DataValue* value, std::string& out) {
  Renderer(out).Run(value);
}

}  // namespace Detail
}  // namespace Data
}  // namespace Olma
