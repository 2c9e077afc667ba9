// A structure reached only through references, released on one thread while another
// locks a reference to it or validates through it. Run under ThreadSanitizer: a lock that
// succeeds must see the structure whole (never with its fields already taken), and a
// validation that locked it must keep it alive until it is done.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "data/tree_test_support.h"
#include "olma/data/definitions.h"
#include "olma/data/validator.h"
#include "olma/data/values.h"

namespace {

using namespace Olma;
using namespace Olma::Data;
using namespace Olma::Data::Testing;

constexpr int kRounds = 300;
constexpr std::size_t kFields = 40;

// A structure of kFields required INTEGER fields, held only by a list definition, and a
// reference to it. The list is the structure's last owner.
struct Owned {
  Def owner;
  StructRefDefinition::PtrConstType reference;
};

Owned MakeOwned() {
  DataDefinition::FieldMap fields;
  for (std::size_t i = 0; i < kFields; ++i) fields.emplace("f" + std::to_string(100 + i), IntD());
  auto target = StructDefinition::GetInstance("target", std::move(fields));
  Owned owned{ListD(target), StructRefDefinition::GetInstance(target)};
  return owned;
}

// Runs `reader` on one thread until the reference's target is gone, while the main thread
// drops the owner; returns what the reader counted as wrong.
template <class Reader>
int RaceReleaseAgainst(Reader reader) {
  int wrong = 0;
  for (int round = 0; round < kRounds; ++round) {
    Owned owned = MakeOwned();
    std::atomic<bool> started{false};
    std::thread thread([&] {
      started.store(true);
      do {
        wrong += reader(*owned.reference) ? 0 : 1;
      } while (owned.reference->target());
    });
    while (!started.load()) std::this_thread::yield();
    owned.owner.reset();
    thread.join();
  }
  return wrong;
}

TEST(ReferenceRelease, LockedTargetIsNeverSeenHalfFreed) {
  EXPECT_EQ(RaceReleaseAgainst([](const StructRefDefinition& reference) {
              const auto target = reference.target();
              return !target || (target->fields() && target->fields()->size() == kFields);
            }),
            0);
}

// A value that lacks every field: against the whole structure it is refused as missing
// its last field; once the target is gone, as a mismatch with the reference.
TEST(ReferenceRelease, ValidationThroughAReferenceIsNeverFooledByARelease) {
  const Val empty = Of("target", {{"f999", Int(1)}});
  EXPECT_EQ(
      RaceReleaseAgainst([&empty](const StructRefDefinition& reference) {
        MessageList errors;
        const Def definition = ListD(reference.GetConstPtr());
        if (DataValidator::Validate<LooseMatch, ValidatorModeStrict>(definition, ListOf({empty}), errors))
          return false;
        const std::string& id = errors.front().id();
        return errors.size() == 1 && (id == "olma.data.compound.field.missing" ||
                                      errors.front().args().front() == "StructRefDefinition");
      }),
      0);
}

}  // namespace
