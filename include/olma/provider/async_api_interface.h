// AsyncApiInterface: a named set of methods that a provider publishes.
//
// An interface maps the simple names of its methods to the AsyncApiMethod objects that
// run them, and describes itself by an InterfaceDefinition (its identifier and the
// identifiers of its methods). The dispatch code finds the interface (usually through the
// interface container), then the method by name:
//
//   auto api = Olma::Provider::AsyncApiInterface::GetInstance(
//       Olma::Core::InterfaceIdentifier::GetInstance("com.acme.tasks"), {createTask, getTask});
//   Olma::Provider::AsyncApiMethod::PtrConstType method;
//   Olma::MessageList messages;
//   if (!api->method("create", method, messages)) { /* report messages */ }
//
// LockFreeAsyncApiInterface is the one implementation. It is immutable once built, so it
// takes no lock: any number of threads may use one interface at once.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/core/message.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/method_definition.h"
#include "olma/provider/async_api_method.h"

namespace Olma {
namespace Provider {

class LockFreeAsyncApiInterface;

class OLMA_API AsyncApiInterface {
 public:
  using PtrType = std::shared_ptr<AsyncApiInterface>;
  using PtrConstType = std::shared_ptr<const AsyncApiInterface>;
  // Method name to method, in byte-wise order of the names. The comparator is
  // transparent, so a lookup by string view needs no temporary string.
  using MethodMap = std::map<std::string, AsyncApiMethod::PtrConstType, std::less<>>;
  using MethodList = std::list<AsyncApiMethod::PtrConstType>;

  AsyncApiInterface() = default;
  AsyncApiInterface(const AsyncApiInterface&) = delete;
  AsyncApiInterface& operator=(const AsyncApiInterface&) = delete;

  // An interface named `interfaceIdentifier` holding `methods`. Methods are keyed by
  // their name(); when several carry the same name the first in the list is kept and the
  // others are dropped without a message. Empty pointers in the list are skipped. An
  // empty `interfaceIdentifier` is a programming error: std::invalid_argument.
  [[nodiscard]] static std::shared_ptr<const LockFreeAsyncApiInterface> GetInstance(
      Core::InterfaceIdentifier::PtrConstType interfaceIdentifier, const MethodList& methods);

  // The interface's identifier; never empty.
  virtual const Core::InterfaceIdentifier::PtrConstType& id() const = 0;

  // The identifier and the identifiers of all methods (one per distinct name).
  virtual const Core::InterfaceDefinition::PtrConstType& definition() const = 0;

  // Looks up a method by its simple name (exact, case-sensitive). Found: sets `method`
  // and returns true. Not found: appends one message, "olma.async.api.interface.missing.method"
  // ("Interface missing method: {1}[{2}]", the interface name and `name`), to the end of
  // `messages`, leaves `method` unchanged and returns false.
  virtual bool method(std::string_view name, AsyncApiMethod::PtrConstType& method,
                      MessageList& messages) const = 0;

  // All methods, by name.
  virtual const MethodMap& methods() const = 0;

  virtual ~AsyncApiInterface();
};

class OLMA_API LockFreeAsyncApiInterface final : public AsyncApiInterface {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  using PtrType = std::shared_ptr<LockFreeAsyncApiInterface>;
  using PtrConstType = std::shared_ptr<const LockFreeAsyncApiInterface>;

  const Core::InterfaceIdentifier::PtrConstType& id() const override { return id_; }
  const Core::InterfaceDefinition::PtrConstType& definition() const override { return definition_; }
  bool method(std::string_view name, AsyncApiMethod::PtrConstType& method,
              MessageList& messages) const override;
  const MethodMap& methods() const override { return methods_; }

  // Only AsyncApiInterface::GetInstance can name the tag.
  LockFreeAsyncApiInterface(PrivateTag, Core::InterfaceIdentifier::PtrConstType interfaceIdentifier,
                            const MethodList& methods);
  ~LockFreeAsyncApiInterface() override;

 private:
  friend class AsyncApiInterface;

  Core::InterfaceIdentifier::PtrConstType id_;
  Core::InterfaceDefinition::PtrConstType definition_;
  MethodMap methods_;
};

}  // namespace Provider
}  // namespace Olma
