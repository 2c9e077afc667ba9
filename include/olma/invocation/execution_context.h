// The execution context: everything a call carries besides its input.
//
// A context holds three maps, each ordered by byte-wise comparison of its keys (keys are
// case-sensitive):
//  - the application context: string settings that travel with a call ("opId",
//    "api_release", the user agent, ...), each a WrapT<std::string> so that a value the
//    client library set can be overridden by one taken from the request's headers;
//  - the security context: the authentication scheme and its fields ("schemeId",
//    "userName", ...), each a small tree of strings (SecurityContextEntry) with the same
//    value/override pair;
//  - the application data: structured values the transport attaches, such as the peer's
//    TCP endpoint.
//
//   auto context = Olma::Core::ExecutionContext::GetInstance();
//   context->applicationContext()["opId"] = "op-17";             // the plain slot
//   auto& entry = context->applicationContext()["api_release"];
//   entry.override = "2.1";                                     // wins over entry.value
//   entry.effective();                                          // "2.1"
//
// Every reader of a context reads effective(): the override when it is set, the value
// otherwise. Writers choose the slot; the transport writes header values into the
// override slot.
//
// Thread safety: a context carries no lock. The transport fills it before the call runs;
// after that any number of threads may read it. A context that must change while others
// read it is copied first (the copy shares the immutable data values, nothing else).
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "olma/core/export.h"

namespace Olma {
namespace Data {
class DataValue;
}  // namespace Data

namespace Core {

// A value with an optional override. effective() is the override when set, the value
// otherwise. Construction and assignment from a T (or anything T is constructible from)
// write the plain slot and leave the override alone; the constructor taking the
// Override tag writes the override slot instead.
template <typename T, typename OptionalT = std::optional<T>>
struct WrapT {
  // Selects the overloads that write the override slot. It carries no data.
  struct Override {
    explicit Override() = default;
  };

  T value{};
  OptionalT override;

  WrapT() = default;

  template <typename U, typename = std::enable_if_t<!std::is_same_v<std::decay_t<U>, WrapT> &&
                                                    !std::is_same_v<std::decay_t<U>, Override> &&
                                                    std::is_constructible_v<T, U&&>>>
  WrapT(U&& plain) : value(std::forward<U>(plain)) {}

  template <typename U, typename = std::enable_if_t<std::is_constructible_v<T, U&&>>>
  WrapT(Override, U&& overriding) : override(std::in_place, std::forward<U>(overriding)) {}

  // Replaces the plain value; an override that is set keeps winning.
  template <typename U, typename = std::enable_if_t<!std::is_same_v<std::decay_t<U>, WrapT> &&
                                                    std::is_assignable_v<T&, U&&>>>
  WrapT& operator=(U&& plain) {
    value = std::forward<U>(plain);
    return *this;
  }

  const T& effective() const noexcept { return override ? *override : value; }

  friend bool operator==(const WrapT& a, const WrapT& b) {
    return a.value == b.value && a.override == b.override;
  }
  friend bool operator!=(const WrapT& a, const WrapT& b) { return !(a == b); }
};

struct SecurityContextEntry;

// A security-context entry with its override slot.
using SecurityContextWrappedEntry = WrapT<SecurityContextEntry, std::optional<SecurityContextEntry>>;

// The security context of a call, and the nested entries of a SecurityContextEntry.
using SecurityContext = std::map<std::string, SecurityContextWrappedEntry>;

// One node of a security context: either a plain string (isValue true, no nested
// entries) or a group of named entries (isValue false), such as a signature made of an
// algorithm, a key id and the signed bytes.
//
// Entries nest to any depth, so copying, comparing and destroying walk the tree with an
// explicit work list instead of recursing: a chain of a million nested entries costs heap,
// not call stack. A destroyed entry overwrites its string with zeros first, because the
// strings of a security context are passwords and tokens.
struct OLMA_API SecurityContextEntry {
  std::string value;
  SecurityContext entries;
  bool isValue = false;

  // An empty group.
  SecurityContextEntry() = default;
  // A plain string. Implicit, so that `securityContext["userName"] = "bob"` stores a
  // plain string entry.
  SecurityContextEntry(std::string text) noexcept : value(std::move(text)), isValue(true) {}
  SecurityContextEntry(const char* text) : value(text), isValue(true) {}

  SecurityContextEntry(const SecurityContextEntry& other);
  SecurityContextEntry(SecurityContextEntry&& other) noexcept = default;
  SecurityContextEntry& operator=(const SecurityContextEntry& other);
  SecurityContextEntry& operator=(SecurityContextEntry&& other) noexcept;
  ~SecurityContextEntry();

  // Equal when both trees have the same shape, strings, flags and override slots.
  bool operator==(const SecurityContextEntry& other) const;
  bool operator!=(const SecurityContextEntry& other) const { return !(*this == other); }
};

// An application-context entry with its override slot.
using ApplicationContextEntry = WrapT<std::string, std::optional<std::string>>;
using ApplicationContext = std::map<std::string, ApplicationContextEntry>;
// Structured per-request values; the values are immutable and shared between copies.
using ApplicationData = std::map<std::string, std::shared_ptr<const Data::DataValue>>;

class OLMA_API ExecutionContext {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<ExecutionContext>;
  using PtrConstType = std::shared_ptr<const ExecutionContext>;

  // A new context with all three maps empty.
  static PtrType GetInstance();
  // A new context holding a copy of `other` (see the copy constructor).
  static PtrType GetInstance(const ExecutionContext& other);

  // Copies all three maps. The data values of the application data are shared, not
  // cloned: they are immutable.
  ExecutionContext(const ExecutionContext& other) = default;
  ExecutionContext(ExecutionContext&& other) = default;
  ExecutionContext& operator=(const ExecutionContext& other) = default;
  ExecutionContext& operator=(ExecutionContext&& other) = default;
  virtual ~ExecutionContext();

  ApplicationContext& applicationContext() noexcept { return applicationContext_; }
  const ApplicationContext& applicationContext() const noexcept { return applicationContext_; }
  SecurityContext& securityContext() noexcept { return securityContext_; }
  const SecurityContext& securityContext() const noexcept { return securityContext_; }
  ApplicationData& applicationData() noexcept { return applicationData_; }
  const ApplicationData& applicationData() const noexcept { return applicationData_; }

  // Only GetInstance can name the tag.
  explicit ExecutionContext(PrivateTag) {}

 private:
  ApplicationContext applicationContext_;
  SecurityContext securityContext_;
  ApplicationData applicationData_;
};

}  // namespace Core
}  // namespace Olma
