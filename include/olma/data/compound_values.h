// Compound values: structures and errors, named values with named fields.
//
// CompoundValue is the common base of StructValue and ErrorValue: a name and a map from
// field name to value, ordered by name (byte-wise), at most one entry per name. Every walk
// over the fields (rendering, comparison, adaptation) therefore runs in name order, never
// in insertion order. A field may hold an empty pointer, rendered as "<unset>".
//
//   auto s = Olma::Data::StructValue::GetInstance("s");
//   s->SetField("b", Olma::Data::StringValue::GetInstance("x"));
//   s->SetField("a", Olma::Data::IntegerValue::GetInstance(1));
//   s->ToString();   // "{{ s : { a : 1, b : x, } }} "
//
// An ErrorValue is a structure whose name is the error's structure name; by convention its
// field "messages" holds a ListValue of localizable-message structures, each with the
// fields "id" and "default_message" (strings) and "args" (a list of strings).
//
//   Olma::MessageList messages{Olma::Message<Olma::CoreTag>("olma.invalid.request")};
//   auto error = Olma::Data::ErrorValue::Create("com.example.errors.bad_request", messages);
//
// Thread safety: set fields before sharing the value; reading is safe from any number of
// threads.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/list_values.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

class OLMA_API CompoundValue : public DataValue {
 public:
  using PtrType = std::shared_ptr<CompoundValue>;
  using PtrConstType = std::shared_ptr<const CompoundValue>;
  // Ordered by byte-wise comparison of the names; looked up by string_view without a copy.
  using FieldMap = std::map<std::string, DataValue::PtrConstType, std::less<>>;

  // Frees the field values without recursion.
  ~CompoundValue() override;

  const std::string& name() const noexcept { return name_; }
  const FieldMap& fields() const noexcept { return fields_; }

  // Whether a field of that name exists (even if it holds an empty pointer).
  bool HasField(std::string_view name) const;

  // Found: sets `out` to the stored pointer (which may be empty) and returns true. Not
  // found: leaves `out` alone, appends "olma.data.error.getfield.unknown" with the field
  // name to `messages` and returns false (structures and errors alike).
  bool GetField(std::string_view name, DataValue::PtrConstType& out, MessageList& messages) const;

  // Inserts the field, or replaces the stored pointer if the name exists (which keeps the
  // order, since order is by name). An empty pointer may be stored.
  void SetField(std::string_view name, DataValue::PtrConstType value);

  // Removes the field; true if it was there.
  bool DeleteField(std::string_view name);

  // Reports INTERNALC; StructValue and ErrorValue report their own kind. The visitor slots
  // and the rendering are left to them.
  DataType type() const override { return DataType::INTERNALC; }

 protected:
  CompoundValue(PrivConstructor tag, std::string name) noexcept;

 private:
  friend struct ValueTreeAccess;

  std::string name_;
  FieldMap fields_;
};

class OLMA_API StructValue final : public CompoundValue {
 public:
  using PtrType = std::shared_ptr<StructValue>;
  using PtrConstType = std::shared_ptr<const StructValue>;

  // A structure with that name and no fields.
  static PtrType GetInstance(std::string name);

  StructValue(PrivConstructor tag, std::string name) noexcept : CompoundValue(tag, std::move(name)) {}

  DataType type() const override { return DataType::STRUCTURE; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "{{ " name " : { ", then per field in name order: name " : " rendering ", ", then
  // "} }} ".
  std::string ToString() const override;
};

class OLMA_API ErrorValue final : public CompoundValue {
 public:
  using PtrType = std::shared_ptr<ErrorValue>;
  using PtrConstType = std::shared_ptr<const ErrorValue>;

  // The name of the wire structure of one message in the field "messages".
  static constexpr std::string_view kMessageStructName = "com.zorvex.olma.std.localizable_message";

  // An error with that name and no fields at all (not even "messages").
  static PtrType GetInstance(std::string name);
  // An error whose field "messages" is `messages`.
  static PtrType GetInstance(std::string name, ListValue::PtrConstType messages);
  // An error whose field "messages" lists `messages` as localizable-message structures
  // (LocalizableMessage::BuildList, olma/data/localizable_message.h): "id" and
  // "default_message" as strings, "args" as a ListValueString.
  static PtrType Create(std::string name, const MessageList& messages);

  ErrorValue(PrivConstructor tag, std::string name) noexcept : CompoundValue(tag, std::move(name)) {}

  // The field "messages" as a list; empty when the field is absent or does not hold a
  // list.
  ListValue::PtrConstType messages() const;

  DataType type() const override { return DataType::ERROR; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // Several lines, each ending in a newline: "Error:", three blanks and the name, then
  // "No messages!" or "Messages:" and one line per message: three blanks, the id, "<", the
  // default message, ">". An element that is not a structure shows as
  // "Not a message -> " and its rendering; a field that is not a string as the field name,
  // " not valid -> ", its rendering and a newline; a missing field as the field name,
  // " not found for -> ", the structure's name and a newline.
  std::string ToString() const override;
};

}  // namespace Data
}  // namespace Olma
