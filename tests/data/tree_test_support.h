// Helpers for the value and definition tests: visitors that record each slot they are called
// through (its name and the object) and can walk a whole tree from their own work list, a
// concurrent reader of shared trees, and the texts of deep trees.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "olma/data/definitions.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace Testing {

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
  const int threads = static_cast<int>(held.size());
  std::vector<std::string> texts;
  std::vector<Recorder> walks(held.size());
  for (int t = 0; t < threads; ++t) {
    texts.push_back(held[t]->ToString());
    walks[t].Walk(held[t]);
  }
  std::atomic<int> ready{0}, mismatches{0};
  std::vector<std::thread> running;
  for (int t = 0; t < threads; ++t) {
    running.emplace_back([&, t] {
      ready.fetch_add(1);
      while (ready.load() < threads) std::this_thread::yield();
      Recorder walk;
      walk.Walk(held[t]);
      if (held[t]->ToString() != texts[t] || walk.calls != walks[t].calls) ++mismatches;
      held[t].reset();
    });
  }
  for (std::thread& thread : running) thread.join();
  return mismatches.load();
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
