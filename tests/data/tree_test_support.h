// Helpers for the data-model tests: short builders of values and definitions (deep chains
// included), readers of messages, visitors that record each slot they are called through (its
// name and the object) and can walk a whole tree from their own work list, threads started
// together over shared trees, and the texts of deep trees.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "olma/core/message.h"
#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace Testing {

using Val = DataValue::PtrConstType;
using Def = DataDefinition::PtrConstType;
using Texts = std::vector<std::string>;

inline const auto Int = [](long long value) -> Val { return IntegerValue::GetInstance(value); };
inline const auto Str = [](std::string text) -> Val { return StringValue::GetInstance(std::move(text)); };
inline const auto Opt = [](Val content) -> Val { return OptionalValue::GetInstance(std::move(content)); };
inline const auto Unset = []() -> Val { return OptionalValue::GetInstance(); };
// A structure, or another compound, with these fields set in this order.
template <class Compound = StructValue>
Val Of(std::string name, std::initializer_list<std::pair<const char*, Val>> fields) {
  auto compound = Compound::GetInstance(std::move(name));
  for (const auto& [field, value] : fields) compound->SetField(field, value);
  return compound;
}
template <class List = ListValue>
Val ListOf(std::initializer_list<typename List::value_type> elements) {
  auto list = List::GetInstance();
  list->assign(elements.begin(), elements.end());
  return list;
}

inline const auto IntD = []() -> Def { return IntegerDefinition::GetInstance(); };
inline const auto StrD = []() -> Def { return StringDefinition::GetInstance(); };
inline const auto OptD = [](Def e) -> Def { return OptionalDefinition::GetInstance(std::move(e)); };
inline const auto ListD = [](Def element) -> Def { return ListDefinition::GetInstance(std::move(element)); };
inline const auto StructD = [](std::string name, DataDefinition::FieldMap fields) -> Def {
  return StructDefinition::GetInstance(std::move(name), std::move(fields));
};

// A structure "node" with the field "value" and "next", an optional reference to itself.
inline StructDefinition::PtrType Node(Def value) {
  auto node = StructDefinition::GetInstance("node", {{"value", std::move(value)}});
  node->SetField("next", OptD(StructRefDefinition::GetInstance(node)));
  return node;
}

// `leaf` nested `levels` deep, the levels cycling through `kinds` from the leaf up: 'o' an
// optional, 'l' a list, 's' (values only) a structure "s" holding it in its field "f".
inline Val Nested(Val leaf, std::string_view kinds, int levels = 1000000) {
  for (int i = 0; i < levels; ++i) {
    const char kind = kinds[static_cast<std::size_t>(i) % kinds.size()];
    leaf = kind == 'o'   ? Opt(std::move(leaf))
           : kind == 'l' ? ListOf({std::move(leaf)})
                         : Of("s", {{"f", std::move(leaf)}});
  }
  return leaf;
}
inline Def Nested(Def leaf, std::string_view kinds, int levels = 1000000) {
  for (int i = 0; i < levels; ++i) {
    const char kind = kinds[static_cast<std::size_t>(i) % kinds.size()];
    leaf = kind == 'o' ? OptD(std::move(leaf)) : ListD(std::move(leaf));
  }
  return leaf;
}

// Each message as its id followed by its arguments.
inline Texts Flatten(const MessageList& messages) {
  Texts flat;
  for (const BaseMessage& message : messages) {
    flat.push_back(message.id());
    flat.insert(flat.end(), message.args().begin(), message.args().end());
  }
  return flat;
}
// A message with exactly this id, text and these arguments.
inline testing::Matcher<const BaseMessage&> Msg(const std::string& id, const std::string& text,
                                                const std::vector<std::string>& args) {
  return testing::AllOf(testing::Property("id", &BaseMessage::id, id),
                        testing::Property("defaultMessage", &BaseMessage::defaultMessage, text),
                        testing::Property("args", &BaseMessage::args, testing::ElementsAreArray(args)));
}

// Starts `threads` threads together; thread t calls body(t) `rounds` times. Returns the sum of
// what the calls returned: each call's count of wrong results.
template <class Body>
int RunTogether(int threads, int rounds, Body body) {
  std::atomic<int> ready{0}, wrong{0};
  std::vector<std::thread> running;
  for (int t = 0; t < threads; ++t) {
    running.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < threads) std::this_thread::yield();
      for (int round = 0; round < rounds; ++round) wrong += static_cast<int>(body(t));
    });
  }
  for (std::thread& thread : running) thread.join();
  return wrong.load();
}

using SlotCall = std::pair<std::string, const void*>;

// Records const visits as the slot name, mutable ones as the name followed by "/mutable".
class ValueRecorder final : public ValueVisitor, public MutableValueVisitor {
 public:
  std::vector<SlotCall> calls;

  // Visits `root` and its whole sub-tree, parents before children.
  void Walk(DataValue::PtrConstType root) {
    pending_.push_back(std::move(root));
    while (!pending_.empty()) {
      const DataValue::PtrConstType next = std::move(pending_.back());
      pending_.pop_back();
      if (next) next->AcceptVisitor(static_cast<ValueVisitor&>(*this));
    }
  }

#define OLMA_TEST_SLOT(Slot, Class, Descend)           \
  void Slot(std::shared_ptr<const Class> v) override { \
    calls.emplace_back(#Slot, v.get());                \
    Descend                                            \
  }                                                    \
  void Slot(std::shared_ptr<Class> v) override {       \
    calls.emplace_back(#Slot "/mutable", v.get());     \
  }
  OLMA_TEST_SLOT(VisitVoid, VoidValue, )
  OLMA_TEST_SLOT(VisitInteger, IntegerValue, )
  OLMA_TEST_SLOT(VisitDouble, DoubleValue, )
  OLMA_TEST_SLOT(VisitBoolean, BooleanValue, )
  OLMA_TEST_SLOT(VisitBlob, BlobValue, )
  OLMA_TEST_SLOT(VisitString, StringValue, )
  OLMA_TEST_SLOT(VisitSecret, SecretValue, )
  OLMA_TEST_SLOT(VisitListBool, ListValueBool, )
  OLMA_TEST_SLOT(VisitListLong, ListValueLong, )
  OLMA_TEST_SLOT(VisitListDouble, ListValueDouble, )
  OLMA_TEST_SLOT(VisitListBlob, ListValueBlob, )
  OLMA_TEST_SLOT(VisitListString, ListValueString, )
  OLMA_TEST_SLOT(VisitListSecret, ListValueSecret, )
  OLMA_TEST_SLOT(VisitOptional, OptionalValue, pending_.push_back(v->value());)
  OLMA_TEST_SLOT(VisitList, ListValue, pending_.insert(pending_.end(), v->begin(), v->end());)
  OLMA_TEST_SLOT(VisitStruct, StructValue, Fields(*v);)
  OLMA_TEST_SLOT(VisitError, ErrorValue, Fields(*v);)
#undef OLMA_TEST_SLOT

 private:
  void Fields(const CompoundValue& value) {
    for (const auto& field : value.fields()) pending_.push_back(field.second);
  }

  std::vector<DataValue::PtrConstType> pending_;
};

// Records each visit as the slot name without "Visit"; Walk never follows references.
class DefinitionRecorder final : public DefinitionVisitor {
 public:
  std::vector<SlotCall> calls;

  void Walk(DataDefinition::PtrConstType root) {
    pending_.push_back(std::move(root));
    while (!pending_.empty()) {
      const DataDefinition::PtrConstType next = std::move(pending_.back());
      pending_.pop_back();
      if (next) next->AcceptVisitor(*this);
    }
  }

#define OLMA_TEST_SLOT(Name, Descend)                                           \
  void Visit##Name(const std::shared_ptr<const Name##Definition>& d) override { \
    calls.emplace_back(#Name, d.get());                                         \
    Descend                                                                     \
  }
  OLMA_TEST_SLOT(Void, )
  OLMA_TEST_SLOT(Opaque, )
  OLMA_TEST_SLOT(Integer, )
  OLMA_TEST_SLOT(Double, )
  OLMA_TEST_SLOT(Boolean, )
  OLMA_TEST_SLOT(Blob, )
  OLMA_TEST_SLOT(String, )
  OLMA_TEST_SLOT(Secret, )
  OLMA_TEST_SLOT(StructRef, )
  OLMA_TEST_SLOT(IsOneOf, )
  OLMA_TEST_SLOT(Optional, pending_.push_back(d->element());)
  OLMA_TEST_SLOT(List, pending_.push_back(d->element());)
  OLMA_TEST_SLOT(UnionCase, pending_.push_back(d->element());)
  OLMA_TEST_SLOT(Struct, Fields(d->fields());)
  OLMA_TEST_SLOT(Error, Fields(d->fields());)
  OLMA_TEST_SLOT(DynamicStructure, Fields(d->fields());)
  OLMA_TEST_SLOT(DynamicError, Fields(d->fields());)
#undef OLMA_TEST_SLOT

 private:
  void Fields(const std::optional<DataDefinition::FieldMap>& fields) {
    if (fields)
      for (const auto& field : *fields) pending_.push_back(field.second);
  }

  std::vector<DataDefinition::PtrConstType> pending_;
};

// Gives held[t] to thread t, started together with the others, which renders and walks it and
// then drops it, racing the others to release what they share. Returns how many threads saw
// another text or walk than the calling thread saw before.
template <class Recorder, class Ptr>
int ReadAndReleaseTogether(std::vector<Ptr> held) {
  std::vector<std::string> texts;
  std::vector<Recorder> walks(held.size());
  for (std::size_t t = 0; t < held.size(); ++t) {
    texts.push_back(held[t]->ToString());
    walks[t].Walk(held[t]);
  }
  return RunTogether(static_cast<int>(held.size()), 1, [&](int t) {
    Recorder walk;
    walk.Walk(held[t]);
    const bool wrong = held[t]->ToString() != texts[t] || walk.calls != walks[t].calls;
    held[t].reset();
    return wrong;
  });
}

inline std::string Repeat(std::string_view piece, std::size_t times) {
  std::string out;
  out.reserve(piece.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += piece;
  return out;
}

// Compares texts of deep trees without handing megabytes to gtest's line diff.
inline testing::AssertionResult SameText(const std::string& actual, const std::string& expected) {
  if (actual == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "texts of " << actual.size() << " and " << expected.size() << " bytes differ from byte "
         << (std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first -
             actual.begin());
}

}  // namespace Testing
}  // namespace Data
}  // namespace Olma
