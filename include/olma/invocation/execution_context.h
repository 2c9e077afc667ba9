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

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
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

// The security context of a call: its entries by key.
using SecurityContext = std::map<std::string, SecurityContextWrappedEntry>;

// The nested entries of a SecurityContextEntry: entries by key, with the interface of the
// SecurityContext map that it holds.
//
// An entry cannot hold a standard map of entries directly, because a standard map may not
// be instantiated before its element type is complete; this class holds it through a
// pointer and defines its members once the entry type is complete. The map is created by
// the first access that may insert (non-const operator[], begin, end, find, emplace,
// insert), so a plain string entry, whose group stays empty, costs no allocation. Const
// access to an empty group returns value-initialised iterators, which stop marking its
// end once something has been inserted.
//
// Copying, comparing and destroying walk the nested groups with an explicit work list
// instead of recursing, so a chain of a million nested entries costs heap, not call stack.
class OLMA_API SecurityContextEntries {
 public:
  using Element = std::pair<const std::string, SecurityContextWrappedEntry>;

  SecurityContextEntries() noexcept = default;
  SecurityContextEntries(const SecurityContextEntries& other);
  SecurityContextEntries(SecurityContextEntries&& other) noexcept = default;
  SecurityContextEntries& operator=(const SecurityContextEntries& other);
  SecurityContextEntries& operator=(SecurityContextEntries&& other) noexcept;
  ~SecurityContextEntries();

  bool empty() const noexcept;
  std::size_t size() const noexcept;
  std::size_t count(const std::string& key) const;

  auto begin();
  auto end();
  auto begin() const;
  auto end() const;
  auto find(const std::string& key);
  auto find(const std::string& key) const;

  // The entry of `key`, inserted empty when absent.
  SecurityContextWrappedEntry& operator[](const std::string& key);
  SecurityContextWrappedEntry& operator[](std::string&& key);
  // The entry of `key`; throws std::out_of_range when absent.
  SecurityContextWrappedEntry& at(const std::string& key);
  const SecurityContextWrappedEntry& at(const std::string& key) const;

  template <class... Args>
  auto emplace(Args&&... args);
  auto insert(const Element& element);
  auto insert(Element&& element);
  // Removes the entry of `key`; returns how many were removed (0 or 1).
  std::size_t erase(const std::string& key);
  void clear() noexcept;
  void swap(SecurityContextEntries& other) noexcept { map_.swap(other.map_); }

  // Equal when both hold the same keys with equal entries, at every depth.
  bool operator==(const SecurityContextEntries& other) const;
  bool operator!=(const SecurityContextEntries& other) const { return !(*this == other); }

 private:
  // The map, created on first use.
  SecurityContext& Map();

  std::unique_ptr<SecurityContext> map_;
};

// One node of a security context: either a plain string (isValue true, no nested
// entries) or a group of named entries (isValue false), such as a signature made of an
// algorithm, a key id and the signed bytes.
//
// Entries nest to any depth; copying, comparing and destroying cost no call depth (see
// SecurityContextEntries). A destroyed entry overwrites its string with zeros first,
// because the strings of a security context are passwords and tokens.
struct OLMA_API SecurityContextEntry {
  std::string value;
  SecurityContextEntries entries;
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

// The members of SecurityContextEntries that need the complete entry type.

inline bool SecurityContextEntries::empty() const noexcept {
  return !map_ || map_->empty();
}
inline std::size_t SecurityContextEntries::size() const noexcept {
  return map_ ? map_->size() : 0;
}
inline std::size_t SecurityContextEntries::count(const std::string& key) const {
  return map_ ? map_->count(key) : 0;
}

inline auto SecurityContextEntries::begin() {
  return Map().begin();
}
inline auto SecurityContextEntries::end() {
  return Map().end();
}
inline auto SecurityContextEntries::begin() const {
  return map_ ? std::as_const(*map_).begin() : SecurityContext::const_iterator();
}
inline auto SecurityContextEntries::end() const {
  return map_ ? std::as_const(*map_).end() : SecurityContext::const_iterator();
}
inline auto SecurityContextEntries::find(const std::string& key) {
  return Map().find(key);
}
inline auto SecurityContextEntries::find(const std::string& key) const {
  return map_ ? std::as_const(*map_).find(key) : SecurityContext::const_iterator();
}

inline SecurityContextWrappedEntry& SecurityContextEntries::operator[](const std::string& key) {
  return Map()[key];
}
inline SecurityContextWrappedEntry& SecurityContextEntries::operator[](std::string&& key) {
  return Map()[std::move(key)];
}
inline SecurityContextWrappedEntry& SecurityContextEntries::at(const std::string& key) {
  return const_cast<SecurityContextWrappedEntry&>(std::as_const(*this).at(key));
}
inline const SecurityContextWrappedEntry& SecurityContextEntries::at(const std::string& key) const {
  if (!map_) throw std::out_of_range("SecurityContextEntries::at");
  return map_->at(key);
}

template <class... Args>
auto SecurityContextEntries::emplace(Args&&... args) {
  return Map().emplace(std::forward<Args>(args)...);
}
inline auto SecurityContextEntries::insert(const Element& element) {
  return Map().insert(element);
}
inline auto SecurityContextEntries::insert(Element&& element) {
  return Map().insert(std::move(element));
}
inline std::size_t SecurityContextEntries::erase(const std::string& key) {
  return map_ ? map_->erase(key) : 0;
}
inline void SecurityContextEntries::clear() noexcept {
  if (map_) map_->clear();
}

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
  [[nodiscard]] static PtrType GetInstance();
  // A new context holding a copy of `other` (see the copy constructor).
  [[nodiscard]] static PtrType GetInstance(const ExecutionContext& other);

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
