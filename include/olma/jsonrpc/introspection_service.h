// The introspection service: lets a client see what a server offers and whether it changed.
//
// Interface "com.zorvex.olma.std.introspection", methods:
//   list      {}                  -> list of {"name": interface name, "methods": list of method names}
//   get       {"method": full name} -> {"name", "input", "output", "errors"}: the method's
//                                      definitions as introspection structures
//                                      ("com.zorvex.olma.std.introspection.operation.data_definition")
//   checksum  {}                  -> the interface container's API checksum (eight hex digits)
// An unknown interface or method named in "get" is answered with
// "com.zorvex.olma.std.errors.operation_not_found" and the dispatcher's message.
//
//   auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance();
//   auto dispatcher = Olma::Provider::CallDispatcher::GetInstance(container);
//   container->Add(Olma::JsonRpc::IntrospectionService::GetInstance(dispatcher), messages);
//
// The service reads the dispatcher's current interfaces at each call (it holds the dispatcher
// weakly, so registering the service in the dispatcher's container makes no cycle), so the
// list and the checksum follow interfaces added later. Thread-safe as the dispatcher is.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/call_dispatcher.h"

namespace Olma {
namespace JsonRpc {

struct OLMA_API IntrospectionService {
  static constexpr std::string_view kInterfaceName = "com.zorvex.olma.std.introspection";
  static Provider::AsyncApiInterface::PtrConstType GetInstance(
      std::weak_ptr<const Provider::CallDispatcher> dispatcher);
};

}  // namespace JsonRpc
}  // namespace Olma
