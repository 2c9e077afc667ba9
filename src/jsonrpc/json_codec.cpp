#include "olma/jsonrpc/json_codec.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <memory>
#include <typeinfo>
#include <vector>

#include <boost/json/value.hpp>

#include "olma/core/base64.h"
#include "olma/core/secret_string.h"
#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace JsonRpc {
namespace {

namespace json = boost::json;
using Data::DataDefinition;
using Data::DataType;
using Data::DataValue;

// Structure references are followed to their target; the targets are held for the whole
// call so that the raw pointers the walks keep stay valid.
class DefinitionResolver {
 public:
  const DataDefinition* Resolve(const DataDefinition* definition) {
    if (!definition || definition->type() != DataType::STRUCTURE_REF) return definition;
    auto target = static_cast<const Data::StructRefDefinition&>(*definition).target();
    const DataDefinition* resolved = target.get();
    if (target) held_.push_back(std::move(target));
    return resolved;
  }

 private:
  std::vector<std::shared_ptr<const Data::StructDefinition>> held_;
};

// The content definition of an optional or a union case (both report OPTIONAL).
const DataDefinition* OptionalElement(const DataDefinition& definition) {
  if (typeid(definition) == typeid(Data::UnionCaseDefinition)) {
    return static_cast<const Data::UnionCaseDefinition&>(definition).element().get();
  }
  return static_cast<const Data::OptionalDefinition&>(definition).element().get();
}

// The element definition when `definition` declares that kind of container, else none.
const DataDefinition* ElementOf(const DataDefinition* definition, DataType kind) {
  if (!definition || definition->type() != kind) return nullptr;
  if (kind == DataType::OPTIONAL) return OptionalElement(*definition);
  return static_cast<const Data::ListDefinition&>(*definition).element().get();
}

// The declared fields of a structure, error, dynamic structure or dynamic error.
const DataDefinition::FieldMap* FieldsOf(const DataDefinition* definition) {
  if (!definition) return nullptr;
  const std::optional<DataDefinition::FieldMap>* fields = nullptr;
  switch (definition->type()) {
    case DataType::STRUCTURE:
      fields = &static_cast<const Data::StructDefinition&>(*definition).fields();
      break;
    case DataType::ERROR:
      fields = &static_cast<const Data::ErrorDefinition&>(*definition).fields();
      break;
    case DataType::DYNAMIC_STRUCTURE:
      fields = &static_cast<const Data::DynamicStructureDefinition&>(*definition).fields();
      break;
    case DataType::ANY_ERROR:
      fields = &static_cast<const Data::DynamicErrorDefinition&>(*definition).fields();
      break;
    default:
      return nullptr;
  }
  return *fields ? &**fields : nullptr;
}

const DataDefinition* FieldDefinition(const DataDefinition::FieldMap* fields, std::string_view name) {
  if (!fields) return nullptr;
  const auto found = fields->find(std::string(name));
  return found == fields->end() ? nullptr : found->second.get();
}

std::string_view View(const json::string& text) {
  return std::string_view(text.data(), text.size());
}

bool FitsInteger(const json::value& json) {
  return json.is_int64() || (json.is_uint64() && json.get_uint64() <= static_cast<std::uint64_t>(LLONG_MAX));
}

long long IntegerOf(const json::value& json) {
  return json.is_int64() ? json.get_int64() : static_cast<long long>(json.get_uint64());
}

// Builds a value tree from JSON with an explicit work stack: a container is created empty,
// stored in its parent at once, and filled when its task comes off the stack.
class Decoder {
 public:
  explicit Decoder(MessageList& messages) : messages_(messages) {}

  DataValue::PtrConstType Run(const json::value& json, const DataDefinition* definition) {
    DataValue::PtrConstType root = Make(json, definition);
    while (!tasks_.empty()) {
      const Task task = tasks_.back();
      tasks_.pop_back();
      Fill(task);
    }
    return root;
  }

 private:
  struct Task {
    const json::value* json;
    const DataDefinition* definition;  // the container's own definition, resolved
    DataValue* target;
  };

  DataValue::PtrConstType Make(const json::value& json, const DataDefinition* declared) {
    const DataDefinition* definition = resolver_.Resolve(declared);
    switch (definition ? static_cast<DataType::EnumType>(definition->type()) : DataType::OPAQUE) {
      case DataType::VOID:
        if (json.is_null()) return Data::VoidValue::GetInstance();
        break;
      case DataType::INTEGER:
        if (FitsInteger(json)) return Data::IntegerValue::GetInstance(IntegerOf(json));
        break;
      case DataType::DOUBLE:
        if (json.is_number()) return Data::DoubleValue::GetInstance(json.to_number<double>());
        break;
      case DataType::BOOLEAN:
        if (json.is_bool()) return Data::BooleanValue::GetInstance(json.get_bool());
        break;
      case DataType::STRING:
        if (json.is_string()) return Data::StringValue::GetInstance(std::string(View(json.get_string())));
        break;
      case DataType::SECRET:
        if (json.is_string()) return Data::SecretValue::GetInstance(SecretString(View(json.get_string())));
        break;
      case DataType::BLOB:
        if (json.is_string()) return Data::BlobValue::GetInstance(DecodeBlob(json.get_string()));
        break;
      case DataType::OPTIONAL: {
        if (json.is_null()) return Data::OptionalValue::GetInstance();
        auto optional = Data::OptionalValue::GetInstance();
        tasks_.push_back({&json, definition, optional.get()});
        return optional;
      }
      case DataType::LIST:
        if (json.is_array()) return MakeList(json, *definition);
        break;
      case DataType::STRUCTURE:
      case DataType::DYNAMIC_STRUCTURE:
        if (json.is_object()) return MakeCompound(json, definition, false);
        break;
      case DataType::ERROR:
      case DataType::ANY_ERROR:
        if (json.is_object()) return MakeCompound(json, definition, true);
        break;
      default:
        break;
    }
    return MakeAsIs(json);
  }

  // What the JSON holds, with nothing declared about it.
  DataValue::PtrConstType MakeAsIs(const json::value& json) {
    switch (json.kind()) {
      case json::kind::null:
        return Data::OptionalValue::GetInstance();
      case json::kind::bool_:
        return Data::BooleanValue::GetInstance(json.get_bool());
      case json::kind::int64:
      case json::kind::uint64:
        if (FitsInteger(json)) return Data::IntegerValue::GetInstance(IntegerOf(json));
        return Data::DoubleValue::GetInstance(json.to_number<double>());
      case json::kind::double_:
        return Data::DoubleValue::GetInstance(json.get_double());
      case json::kind::string:
        return Data::StringValue::GetInstance(std::string(View(json.get_string())));
      case json::kind::array: {
        auto list = Data::ListValue::GetInstance();
        tasks_.push_back({&json, nullptr, list.get()});
        return list;
      }
      case json::kind::object:
        break;
    }
    return MakeCompound(json, nullptr, false);
  }

  DataValue::PtrConstType MakeCompound(const json::value& json, const DataDefinition* definition,
                                       bool error) {
    const json::object& object = json.get_object();
    std::string name;
    if (definition && (definition->type() == DataType::STRUCTURE || definition->type() == DataType::ERROR)) {
      const auto& declared = definition->type() == DataType::STRUCTURE
                                 ? static_cast<const Data::StructDefinition&>(*definition).name()
                                 : static_cast<const Data::ErrorDefinition&>(*definition).name();
      if (declared) name = *declared;
    } else if (const json::value* named = object.if_contains(JsonCodec::kNameKey);
               named && named->is_string()) {
      name = std::string(View(named->get_string()));
    }
    Data::CompoundValue::PtrType compound;
    if (error) {
      compound = Data::ErrorValue::GetInstance(std::move(name));
    } else {
      compound = Data::StructValue::GetInstance(std::move(name));
    }
    if (!object.empty()) tasks_.push_back({&json, definition, compound.get()});
    return compound;
  }

  DataValue::PtrConstType MakeList(const json::value& json, const DataDefinition& definition) {
    const json::array& array = json.get_array();
    const DataDefinition* element = resolver_.Resolve(ElementOf(&definition, DataType::LIST));
    if (element) {
      const std::type_info& type = typeid(*element);
      if (type == typeid(Data::IntegerDefinition) && AllOf(array, FitsInteger)) {
        return Packed<Data::ListValueLong>(array, [](const json::value& j) { return IntegerOf(j); });
      }
      if (type == typeid(Data::DoubleDefinition) && AllOf(array, IsNumber)) {
        return Packed<Data::ListValueDouble>(array,
                                             [](const json::value& j) { return j.to_number<double>(); });
      }
      if (type == typeid(Data::BooleanDefinition) && AllOf(array, IsBool)) {
        return Packed<Data::ListValueBool>(array, [](const json::value& j) { return j.get_bool(); });
      }
      if (type == typeid(Data::StringDefinition) && AllOf(array, IsString)) {
        return Packed<Data::ListValueString>(
            array, [](const json::value& j) { return std::string(View(j.get_string())); });
      }
      if (type == typeid(Data::SecretDefinition) && AllOf(array, IsString)) {
        return Packed<Data::ListValueSecret>(
            array, [](const json::value& j) { return SecretString(View(j.get_string())); });
      }
      if (type == typeid(Data::BlobDefinition) && AllOf(array, IsString)) {
        return Packed<Data::ListValueBlob>(
            array, [this](const json::value& j) { return DecodeBlob(j.get_string()); });
      }
    }
    auto list = Data::ListValue::GetInstance();
    if (!array.empty()) tasks_.push_back({&json, &definition, list.get()});
    return list;
  }

  static bool IsNumber(const json::value& json) { return json.is_number(); }
  static bool IsBool(const json::value& json) { return json.is_bool(); }
  static bool IsString(const json::value& json) { return json.is_string(); }

  template <class Predicate>
  static bool AllOf(const json::array& array, Predicate predicate) {
    for (const json::value& element : array) {
      if (!predicate(element)) return false;
    }
    return true;
  }

  template <class List, class Convert>
  static DataValue::PtrConstType Packed(const json::array& array, Convert convert) {
    auto list = List::GetInstance();
    for (const json::value& element : array) list->push_back(convert(element));
    return list;
  }

  ByteVector DecodeBlob(const json::string& text) {
    std::string error;
    ByteVector bytes = Base64::Decode(View(text), error);
    if (!error.empty()) messages_.push_back(Message<CoreTag>("olma.data.bad.cast3", "String", "Blob", error));
    return bytes;
  }

  void Fill(const Task& task) {
    switch (task.target->type()) {
      case DataType::OPTIONAL:
        static_cast<Data::OptionalValue&>(*task.target)
            .value(Make(*task.json, ElementOf(task.definition, DataType::OPTIONAL)));
        return;
      case DataType::LIST: {
        auto& list = static_cast<Data::ListValue&>(*task.target);
        const DataDefinition* element = ElementOf(task.definition, DataType::LIST);
        for (const json::value& item : task.json->get_array()) list.push_back(Make(item, element));
        return;
      }
      default: {
        auto& compound = static_cast<Data::CompoundValue&>(*task.target);
        const DataDefinition::FieldMap* fields = FieldsOf(task.definition);
        for (const auto& [key, item] : task.json->get_object()) {
          if (key == JsonCodec::kNameKey) continue;
          compound.SetField(View(key), Make(item, FieldDefinition(fields, View(key))));
        }
        return;
      }
    }
  }

  MessageList& messages_;
  DefinitionResolver resolver_;
  std::vector<Task> tasks_;
};

void AppendInteger(long long value, std::string& out) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

void AppendDouble(double value, std::string& out) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

void AppendBlob(const ByteVector& bytes, std::string& out) {
  out += '"';
  out += Base64::Encode(bytes);
  out += '"';
}

// Writes a value tree as JSON with an explicit work stack. A task is a value to write (with
// its declared definition), a field name to write as a key, or fixed punctuation.
class Encoder {
 public:
  explicit Encoder(std::string& out) : out_(out) {}

  void Run(const DataValue* value, const DataDefinition* definition) {
    tasks_.push_back({Task::kValue, value, definition, {}});
    while (!tasks_.empty()) {
      const Task task = tasks_.back();
      tasks_.pop_back();
      switch (task.kind) {
        case Task::kText:
          out_.append(task.text);
          break;
        case Task::kKey:
          JsonCodec::AppendString(task.text, out_);
          out_ += ':';
          break;
        case Task::kValue:
          Write(task.value, resolver_.Resolve(task.definition));
          break;
      }
    }
  }

 private:
  struct Task {
    enum Kind { kValue, kKey, kText } kind;
    const DataValue* value;
    const DataDefinition* definition;
    std::string_view text;
  };

  void Write(const DataValue* value, const DataDefinition* definition) {
    if (!value) {
      out_ += "null";
      return;
    }
    const bool masked = definition && definition->type() == DataType::SECRET;
    switch (value->type()) {
      case DataType::INTEGER:
        return AppendInteger(static_cast<const Data::IntegerValue&>(*value).value(), out_);
      case DataType::DOUBLE:
        return AppendDouble(static_cast<const Data::DoubleValue&>(*value).value(), out_);
      case DataType::BOOLEAN:
        out_ += static_cast<const Data::BooleanValue&>(*value).value() ? "true" : "false";
        return;
      case DataType::BLOB:
        return AppendBlob(static_cast<const Data::BlobValue&>(*value).value(), out_);
      case DataType::STRING:
        return JsonCodec::AppendString(
            masked ? JsonCodec::kSecretMask
                   : std::string_view(static_cast<const Data::StringValue&>(*value).value()),
            out_);
      case DataType::SECRET:
        return JsonCodec::AppendString(JsonCodec::kSecretMask, out_);
      case DataType::OPTIONAL: {
        const auto& optional = static_cast<const Data::OptionalValue&>(*value);
        if (!optional.isSet()) {
          out_ += "null";
          return;
        }
        tasks_.push_back(
            {Task::kValue, optional.value().get(), ElementOf(definition, DataType::OPTIONAL), {}});
        return;
      }
      case DataType::LIST:
        return WriteList(static_cast<const Data::ListValue&>(*value), ElementOf(definition, DataType::LIST));
      case DataType::LIST_BOOL:
        return WriteArray(static_cast<const Data::ListValueBool&>(*value),
                          [this](bool item) { out_ += item ? "true" : "false"; });
      case DataType::LIST_LONG:
        return WriteArray(static_cast<const Data::ListValueLong&>(*value),
                          [this](long long item) { AppendInteger(item, out_); });
      case DataType::LIST_DOUBLE:
        return WriteArray(static_cast<const Data::ListValueDouble&>(*value),
                          [this](double item) { AppendDouble(item, out_); });
      case DataType::LIST_BLOB:
        return WriteArray(static_cast<const Data::ListValueBlob&>(*value),
                          [this](const ByteVector& item) { AppendBlob(item, out_); });
      case DataType::LIST_STRING: {
        const DataDefinition* element = ElementOf(definition, DataType::LIST);
        const bool maskItems = element && element->type() == DataType::SECRET;
        return WriteArray(
            static_cast<const Data::ListValueString&>(*value), [this, maskItems](const std::string& item) {
              JsonCodec::AppendString(maskItems ? JsonCodec::kSecretMask : std::string_view(item), out_);
            });
      }
      case DataType::LIST_SECRET:
        return WriteArray(static_cast<const Data::ListValueSecret&>(*value), [this](const SecretString&) {
          JsonCodec::AppendString(JsonCodec::kSecretMask, out_);
        });
      case DataType::STRUCTURE:
      case DataType::ERROR:
        return WriteCompound(static_cast<const Data::CompoundValue&>(*value), definition,
                             value->type() == DataType::ERROR);
      default:  // VOID, and kinds values never report
        out_ += "null";
        return;
    }
  }

  template <class List, class WriteItem>
  void WriteArray(const List& list, WriteItem writeItem) {
    out_ += '[';
    bool first = true;
    for (const auto& item : list) {
      if (!first) out_ += ',';
      first = false;
      writeItem(item);
    }
    out_ += ']';
  }

  void WriteList(const Data::ListValue& list, const DataDefinition* element) {
    out_ += '[';
    tasks_.push_back({Task::kText, nullptr, nullptr, "]"});
    for (auto item = list.rbegin(); item != list.rend(); ++item) {
      tasks_.push_back({Task::kValue, item->get(), element, {}});
      if (std::next(item) != list.rend()) tasks_.push_back({Task::kText, nullptr, nullptr, ","});
    }
  }

  void WriteCompound(const Data::CompoundValue& compound, const DataDefinition* definition, bool error) {
    out_ += '{';
    const bool nameFixed = definition && definition->type() == DataType::STRUCTURE && !error;
    const bool writeName = error || (!nameFixed && !compound.name().empty());
    if (writeName) {
      JsonCodec::AppendString(JsonCodec::kNameKey, out_);
      out_ += ':';
      JsonCodec::AppendString(compound.name(), out_);
      if (!compound.fields().empty()) out_ += ',';
    }
    tasks_.push_back({Task::kText, nullptr, nullptr, "}"});
    const DataDefinition::FieldMap* fields = FieldsOf(definition);
    const auto& values = compound.fields();
    for (auto field = values.rbegin(); field != values.rend(); ++field) {
      tasks_.push_back({Task::kValue, field->second.get(), FieldDefinition(fields, field->first), {}});
      tasks_.push_back({Task::kKey, nullptr, nullptr, field->first});
      if (std::next(field) != values.rend()) tasks_.push_back({Task::kText, nullptr, nullptr, ","});
    }
  }

  std::string& out_;
  DefinitionResolver resolver_;
  std::vector<Task> tasks_;
};

}  // namespace

DataValue::PtrConstType JsonCodec::FromJson(const json::value& json,
                                            const DataDefinition::PtrConstType& definition,
                                            MessageList& messages) {
  return Decoder(messages).Run(json, definition.get());
}

void JsonCodec::ToJson(const DataValue::PtrConstType& value, const DataDefinition::PtrConstType& definition,
                       std::string& out) {
  Encoder(out).Run(value.get(), definition.get());
}

void JsonCodec::AppendString(std::string_view text, std::string& out) {
  static constexpr char kHex[] = "0123456789abcdef";
  out.reserve(out.size() + text.size() + 2);
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (byte < 0x20) {
          out += "\\u00";
          out += kHex[byte >> 4];
          out += kHex[byte & 0xf];
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

}  // namespace JsonRpc
}  // namespace Olma
