// Comparing two published APIs: what was added, removed and changed, and whether each change
// breaks clients built against the old one.
//
// A provider about to publish a new API can refuse a breaking change; a client that sees the
// container's checksum move can learn what moved:
//
//   const Olma::Provider::ApiDiff diff = Olma::Provider::CompareApis(*published, *candidate);
//   if (diff.breaking()) {
//     for (const auto& change : diff.changes) Report(change.ToString());
//     // "breaking: changed com.acme.tasks.create.input: Required input field added: owner"
//   }
//
// An API is compared as a snapshot: per interface, per method, the input and output
// definitions and the declared errors by name. A snapshot is taken from a container
// (ApiSnapshot::Of) or filled by a client from introspection data (definitions read back
// with DefinitionToValueHelper::ConvertBack, olma/data/introspection.h).
//
// Classification, with old and new meaning the first and second argument:
//  - an interface or method added: compatible; removed: breaking;
//  - an input or output whose definition differs: CheckCompatibility
//    (olma/data/compatibility.h) in the Input or Output direction decides, and its messages,
//    which name the dotted path of each field concerned, travel with the change; a definition
//    that differs without breaking anything (an optional input field added, an output field
//    added) is a compatible change;
//  - a declared error added: breaking (old clients may now receive an error they do not
//    know); removed: compatible; changed: CheckCompatibility in the Output direction.
// Changes are listed in interface, method, then element order (input, output, errors by
// name); each carries its dotted path ("com.acme.tasks.create.input").
//
// Stateless; the snapshots are read only, so any number of threads may compare at once.
#pragma once

#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/data/definition.h"
#include "olma/provider/interface_container.h"

namespace Olma {
namespace Provider {

struct OLMA_API ApiSnapshot {
  struct Method {
    Data::DataDefinition::PtrConstType input;
    Data::DataDefinition::PtrConstType output;
    // Declared errors by error name; entries that are not named error definitions are left
    // out.
    std::map<std::string, Data::DataDefinition::PtrConstType> errors;
  };
  // Interface name -> method name -> method.
  std::map<std::string, std::map<std::string, Method>> interfaces;

  // The snapshot of what `container` holds now. Definitions are shared, not copied.
  static ApiSnapshot Of(const AsyncApiInterfaceContainer& container);
};

enum class ApiChangeKind { Added, Removed, Changed };
enum class ApiElement { Interface, Method, Input, Output, Error };

OLMA_API std::string_view to_string(ApiChangeKind kind) noexcept;  // "added", "removed", "changed"
OLMA_API std::string_view to_string(ApiElement element) noexcept;  // "interface", "method", ...

struct OLMA_API ApiChange {
  ApiChangeKind kind;
  ApiElement element;
  bool breaking;
  // The dotted path of the element: the interface name, then the method name, then "input",
  // "output" or "errors" and the error's name.
  std::string path;
  // For a changed input, output or error: the compatibility check's messages (breaking ones)
  // or, for a compatible change, the comparison's message naming the first difference.
  MessageList messages;

  // "<breaking|compatible>: <kind> <path>", then ": " and each message's text, joined by "; ".
  std::string ToString() const;
};

struct OLMA_API ApiDiff {
  std::vector<ApiChange> changes;

  bool empty() const noexcept { return changes.empty(); }
  // True when any change is breaking.
  bool breaking() const noexcept;
};

OLMA_API ApiDiff CompareApis(const ApiSnapshot& oldApi, const ApiSnapshot& newApi);
OLMA_API ApiDiff CompareApis(const AsyncApiInterfaceContainer& oldApi,
                             const AsyncApiInterfaceContainer& newApi);

}  // namespace Provider
}  // namespace Olma
