// Turns fuzz bytes into a bounded value tree and a bounded definition tree, so that the
// walks over values and definitions (validator, comparators, value access) see every kind,
// empty pointers, shared leaves and structures that refer to themselves.
//
// Each node is one kind byte followed by its payload; children follow their parent. The
// trees hold at most kMaxNodes nodes and kMaxDepth levels (the decoder recurses, and the
// bound keeps that harmless), and a text at most kMaxText bytes. Once the bytes run out
// every read yields zero, which decodes to a leaf, so decoding always ends.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace OlmaFuzz {

class TreeDecoder {
 public:
  using Value = Olma::Data::DataValue::PtrConstType;
  using Definition = Olma::Data::DataDefinition::PtrConstType;

  static constexpr int kMaxNodes = 96;
  static constexpr int kMaxDepth = 24;
  static constexpr std::size_t kMaxText = 12;
  static constexpr std::size_t kMaxChildren = 4;

  explicit TreeDecoder(Input& input) : input_(input) {}

  Value DecodeValue() {
    nodes_ = 0;
    return ValueAt(0);
  }

  // Structure references point at structures of this decoder, which keeps them alive.
  Definition DecodeDefinition() {
    nodes_ = 0;
    return DefinitionAt(0);
  }

 private:
  bool Exhausted(int depth) { return ++nodes_ > kMaxNodes || depth >= kMaxDepth; }

  std::size_t Children() { return input_.Byte() % (kMaxChildren + 1); }

  std::string Text() { return std::string(input_.Text(kMaxText)); }

  // Any double but NaN, which by definition equals nothing, not even itself.
  double Real() {
    const double real = input_.Number<double>();
    return real == real ? real : 0.0;
  }

  Value ValueAt(int depth) {
    using namespace Olma::Data;
    const int kind = Exhausted(depth) ? 1 : input_.Byte() % 16;
    switch (kind) {
      case 0:
        return VoidValue::GetInstance();
      case 1:
        return Leaf(IntegerValue::GetInstance(input_.Number<long long>()));
      case 2:
        return Leaf(DoubleValue::GetInstance(Real()));
      case 3:
        return Leaf(BooleanValue::GetInstance(input_.Byte() & 1));
      case 4: {
        const std::string bytes = Text();
        return Leaf(BlobValue::GetInstance(Olma::ByteVector(bytes.begin(), bytes.end())));
      }
      case 5:
        return Leaf(StringValue::GetInstance(Text()));
      case 6:
        return Leaf(SecretValue::GetInstance(Olma::SecretString(Text())));
      case 7:
        return OptionalValue::GetInstance();
      case 8:
        return OptionalValue::GetInstance(ValueAt(depth + 1));
      case 9: {
        auto list = ListValue::GetInstance();
        for (std::size_t n = Children(); n > 0; --n) list->push_back(ValueAt(depth + 1));
        return list;
      }
      case 10:
      case 11: {
        CompoundValue::PtrType compound;
        if (kind == 10) {
          compound = StructValue::GetInstance(Text());
        } else {
          compound = ErrorValue::GetInstance(Text());
        }
        for (std::size_t n = Children(); n > 0; --n) {
          std::string name = Text();
          // An empty field pointer is allowed and must be handled by every walk.
          compound->SetField(name, (input_.Byte() & 7) == 0 ? nullptr : ValueAt(depth + 1));
        }
        return compound;
      }
      case 12:
        return TypedList();
      case 13:
        // A leaf shared with an earlier place of the tree.
        return leaves_.empty() ? Value(VoidValue::GetInstance()) : leaves_[input_.Byte() % leaves_.size()];
      default:
        return Leaf(StringValue::GetInstance(Text()));
    }
  }

  Value Leaf(Value value) {
    leaves_.push_back(value);
    return value;
  }

  Value TypedList() {
    using namespace Olma::Data;
    const std::size_t n = Children();
    switch (input_.Byte() % 6) {
      case 0: {
        auto list = ListValueBool::GetInstance();
        for (std::size_t i = 0; i < n; ++i) list->push_back(input_.Byte() & 1);
        return list;
      }
      case 1: {
        auto list = ListValueLong::GetInstance();
        for (std::size_t i = 0; i < n; ++i) list->push_back(input_.Number<long long>());
        return list;
      }
      case 2: {
        auto list = ListValueDouble::GetInstance();
        for (std::size_t i = 0; i < n; ++i) list->push_back(Real());
        return list;
      }
      case 3: {
        auto list = ListValueBlob::GetInstance();
        for (std::size_t i = 0; i < n; ++i) {
          const std::string bytes = Text();
          list->push_back(Olma::ByteVector(bytes.begin(), bytes.end()));
        }
        return list;
      }
      case 4: {
        auto list = ListValueString::GetInstance();
        for (std::size_t i = 0; i < n; ++i) list->push_back(Text());
        return list;
      }
      default: {
        auto list = ListValueSecret::GetInstance();
        for (std::size_t i = 0; i < n; ++i) list->push_back(Olma::SecretString(Text()));
        return list;
      }
    }
  }

  Olma::Data::DataDefinition::FieldMap Fields(int depth) {
    Olma::Data::DataDefinition::FieldMap fields;
    for (std::size_t n = Children(); n > 0; --n) {
      std::string name = Text();
      fields[name] = (input_.Byte() & 7) == 0 ? nullptr : DefinitionAt(depth + 1);
    }
    return fields;
  }

  Definition DefinitionAt(int depth) {
    using namespace Olma::Data;
    const int kind = Exhausted(depth) ? 1 : input_.Byte() % 20;
    switch (kind) {
      case 0:
        return VoidDefinition::GetInstance();
      case 1:
        return IntegerDefinition::GetInstance();
      case 2:
        return DoubleDefinition::GetInstance();
      case 3:
        return BooleanDefinition::GetInstance();
      case 4:
        return BlobDefinition::GetInstance();
      case 5:
        return StringDefinition::GetInstance();
      case 6:
        return SecretDefinition::GetInstance();
      case 7:
        return OpaqueDefinition::GetInstance();
      case 8:
        return OptionalDefinition::GetInstance(DefinitionAt(depth + 1));
      case 9:
        return ListDefinition::GetInstance(DefinitionAt(depth + 1));
      case 10: {
        std::string name = Text();
        auto structure = StructDefinition::GetInstance(std::move(name), Fields(depth));
        structures_.push_back(structure);
        // A structure that refers to itself through an optional field, as a linked list does.
        if (input_.Byte() & 1)
          structure->SetField(Text(),
                              OptionalDefinition::GetInstance(StructRefDefinition::GetInstance(structure)));
        return structure;
      }
      case 11: {
        std::string name = Text();
        return ErrorDefinition::GetInstance(std::move(name), Fields(depth));
      }
      case 12:
        if (!structures_.empty())
          return StructRefDefinition::GetInstance(structures_[input_.Byte() % structures_.size()]);
        return StructRefDefinition::GetInstance(Text());  // a reference whose target is unknown
      case 13:
        return (input_.Byte() & 1) ? DynamicStructureDefinition::GetInstance(Fields(depth))
                                   : DynamicStructureDefinition::GetInstance();
      case 14:
        return (input_.Byte() & 1) ? DynamicErrorDefinition::GetInstance(Fields(depth))
                                   : DynamicErrorDefinition::GetInstance();
      case 15: {
        const std::string allowed = Text();
        return IsOneOfDefinition::GetInstance(
            [allowed](const std::string& value) { return value == allowed; });
      }
      case 16: {
        // A case selected by the first byte of the tag: "y" present, "n" absent, else either.
        std::string tag = Text();
        return UnionCaseDefinition::GetInstance(DefinitionAt(depth + 1), std::move(tag),
                                                [](const std::string& value) -> boost::logic::tribool {
                                                  if (value.empty()) return boost::logic::indeterminate;
                                                  if (value[0] == 'y') return true;
                                                  if (value[0] == 'n') return false;
                                                  return boost::logic::indeterminate;
                                                });
      }
      case 17:
        return StructDefinition::GetInstance();
      default:
        return StringDefinition::GetInstance();
    }
  }

  Input& input_;
  int nodes_ = 0;
  std::vector<Value> leaves_;
  std::vector<Olma::Data::StructDefinition::PtrType> structures_;
};

}  // namespace OlmaFuzz
