// Names of interfaces and methods: how every call is addressed.
//
// An interface is named by a dotted name such as "com.acme.tasks"; a method by its
// interface and its simple name. Both are immutable once built and are handed around as
// shared pointers to const, so one identifier may be shared by any number of interface
// definitions, calls and threads.
//
//   auto method = Olma::Core::MethodIdentifier::GetInstance("com.acme.tasks.list");
//   method->interfaceIdentifier()->name();   // "com.acme.tasks"
//   method->name();                          // "list"
//   method->ToString();                      // "com.acme.tasks.list"
//
//   Olma::Core::MethodIdentifierSet methods;   // ordered by the names, not by address
//
// Ordering is byte-wise string comparison: interfaces by name, methods by interface
// name first and method name second. Containers of shared pointers order by the
// pointed-to identifiers through PointeeLess, with an empty pointer first.
//
// Thread safety: identifiers are immutable; any number of threads may read and compare
// them. Factories throw only std::bad_alloc, and leave nothing half-built when they do.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "olma/core/export.h"

namespace Olma {
namespace Core {

// Orders shared pointers by what they point to: an empty pointer sorts before any
// non-empty one, two empty pointers are equivalent, and two non-empty pointers compare
// their pointees with operator<. Use it for every set or map keyed by identifiers, so
// that equal names meet in one entry whatever object holds them.
struct PointeeLess {
  template <typename T>
  bool operator()(const std::shared_ptr<T>& a, const std::shared_ptr<T>& b) const {
    if (!b) return false;
    if (!a) return true;
    return *a < *b;
  }
};

class OLMA_API InterfaceIdentifier {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<InterfaceIdentifier>;
  using PtrConstType = std::shared_ptr<const InterfaceIdentifier>;

  // A new identifier holding `name` as given; the name is not validated. The empty name
  // stands for "no interface" (a method named without one).
  [[nodiscard]] static PtrConstType GetInstance(std::string name);

  // The fully qualified interface name.
  const std::string& name() const noexcept { return name_; }
  // The name itself.
  const std::string& ToString() const noexcept { return name_; }

  friend bool operator==(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept {
    return a.name_ == b.name_;
  }
  friend bool operator!=(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept {
    return !(a == b);
  }
  friend bool operator<(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept {
    return a.name_ < b.name_;
  }
  friend bool operator>(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept { return b < a; }
  friend bool operator<=(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept {
    return !(b < a);
  }
  friend bool operator>=(const InterfaceIdentifier& a, const InterfaceIdentifier& b) noexcept {
    return !(a < b);
  }

  // Only GetInstance can name the tag.
  InterfaceIdentifier(PrivateTag, std::string name) noexcept : name_(std::move(name)) {}

 private:
  std::string name_;
};

class OLMA_API MethodIdentifier {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<MethodIdentifier>;
  using PtrConstType = std::shared_ptr<const MethodIdentifier>;

  // Splits a fully qualified name at its last '.': the interface is everything before
  // it, the method everything after it (empty when the name ends with '.'). Without any
  // '.' the interface name is empty and the whole text is the method name.
  //   "a.b.c" -> ("a.b", "c")   "ping" -> ("", "ping")   "a.b." -> ("a.b", "")
  [[nodiscard]] static PtrConstType GetInstance(std::string_view fullName);

  // The method `name` of `interfaceIdentifier`. An empty interface pointer is taken as
  // the interface with the empty name, so interfaceIdentifier() is never empty.
  [[nodiscard]] static PtrConstType GetInstance(InterfaceIdentifier::PtrConstType interfaceIdentifier,
                                                std::string name);

  const InterfaceIdentifier::PtrConstType& interfaceIdentifier() const noexcept { return interface_; }
  // The method's simple name, without the interface.
  const std::string& name() const noexcept { return name_; }

  // Interface name, ".", method name. A method without interface keeps the leading
  // point (".ping"), so the text still shows that no interface was given.
  std::string ToString() const;

  friend bool operator==(const MethodIdentifier& a, const MethodIdentifier& b) noexcept {
    return a.name_ == b.name_ && *a.interface_ == *b.interface_;
  }
  friend bool operator!=(const MethodIdentifier& a, const MethodIdentifier& b) noexcept { return !(a == b); }
  // The interface name decides first: "a.z" sorts before "x.b".
  friend bool operator<(const MethodIdentifier& a, const MethodIdentifier& b) noexcept {
    const int byInterface = a.interface_->name().compare(b.interface_->name());
    return byInterface != 0 ? byInterface < 0 : a.name_ < b.name_;
  }
  friend bool operator>(const MethodIdentifier& a, const MethodIdentifier& b) noexcept { return b < a; }
  friend bool operator<=(const MethodIdentifier& a, const MethodIdentifier& b) noexcept { return !(b < a); }
  friend bool operator>=(const MethodIdentifier& a, const MethodIdentifier& b) noexcept { return !(a < b); }

  // Only the factories can name the tag; `interfaceIdentifier` must not be empty.
  MethodIdentifier(PrivateTag, InterfaceIdentifier::PtrConstType interfaceIdentifier,
                   std::string name) noexcept
      : interface_(std::move(interfaceIdentifier)), name_(std::move(name)) {}

 private:
  InterfaceIdentifier::PtrConstType interface_;
  std::string name_;
};

// The methods of an interface, ordered by name (interface first, then method).
using MethodIdentifierSet = std::set<MethodIdentifier::PtrConstType, PointeeLess>;

}  // namespace Core
}  // namespace Olma
