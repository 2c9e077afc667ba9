// The declared shape of a method and of an interface.
//
// A method definition names the method and declares the definitions of its input
// structure, its result and the errors it may report; the provider validates every call
// against it. An interface definition names the interface and lists its methods.
//
//   using namespace Olma::Data;
//   auto list = Olma::Core::MethodDefinition::GetInstance(
//       Olma::Core::MethodIdentifier::GetInstance("com.acme.tasks.list"),
//       StructDefinition::GetInstance("list-input", {}),
//       ListDefinition::GetInstance(StringDefinition::GetInstance()),
//       {ErrorDefinition::GetInstance("com.acme.tasks.not_found")});
//
// Both are immutable once built and handled as shared pointers to const; any number of
// threads may read them. Factories throw only std::bad_alloc and leave nothing
// half-built when they do.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <utility>

#include "olma/core/export.h"
#include "olma/data/definition.h"
#include "olma/invocation/identifiers.h"

namespace Olma {
namespace Core {

class OLMA_API MethodDefinition {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<MethodDefinition>;
  using PtrConstType = std::shared_ptr<const MethodDefinition>;
  // The declared errors, each an error definition, in declaration order.
  using ErrorList = std::list<Data::DataDefinition::PtrConstType>;

  // A new definition of the method `identifier`. `input` describes the input structure,
  // `output` the result and `errors` the errors the method may report. Nothing is
  // validated or copied deeply: the definitions are shared.
  [[nodiscard]] static PtrConstType GetInstance(MethodIdentifier::PtrConstType identifier,
                                                Data::DataDefinition::PtrConstType input,
                                                Data::DataDefinition::PtrConstType output, ErrorList errors);

  const MethodIdentifier::PtrConstType& identifier() const noexcept { return identifier_; }
  const Data::DataDefinition::PtrConstType& input() const noexcept { return input_; }
  const Data::DataDefinition::PtrConstType& output() const noexcept { return output_; }
  const ErrorList& errors() const noexcept { return errors_; }

  // "<method>\nInput: <input> \nOutput: <output> \n", the blank before each line break
  // included. An empty identifier or definition shows as "<unset>".
  std::string ToString() const;

  // Only GetInstance can name the tag.
  MethodDefinition(PrivateTag, MethodIdentifier::PtrConstType identifier,
                   Data::DataDefinition::PtrConstType input, Data::DataDefinition::PtrConstType output,
                   ErrorList errors) noexcept
      : identifier_(std::move(identifier)),
        input_(std::move(input)),
        output_(std::move(output)),
        errors_(std::move(errors)) {}

 private:
  MethodIdentifier::PtrConstType identifier_;
  Data::DataDefinition::PtrConstType input_;
  Data::DataDefinition::PtrConstType output_;
  ErrorList errors_;
};

class OLMA_API InterfaceDefinition {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<InterfaceDefinition>;
  using PtrConstType = std::shared_ptr<const InterfaceDefinition>;

  // A new definition of the interface `identifier` with the given methods (taken over
  // by value: pass an rvalue to avoid the copy).
  [[nodiscard]] static PtrConstType GetInstance(InterfaceIdentifier::PtrConstType identifier,
                                                MethodIdentifierSet methods);

  const InterfaceIdentifier::PtrConstType& identifier() const noexcept { return identifier_; }
  // The methods, ordered by name (PointeeLess), not by address.
  const MethodIdentifierSet& methods() const noexcept { return methods_; }

  // Only GetInstance can name the tag.
  InterfaceDefinition(PrivateTag, InterfaceIdentifier::PtrConstType identifier,
                      MethodIdentifierSet methods) noexcept
      : identifier_(std::move(identifier)), methods_(std::move(methods)) {}

 private:
  InterfaceIdentifier::PtrConstType identifier_;
  MethodIdentifierSet methods_;
};

}  // namespace Core
}  // namespace Olma
