// The introspection service: lets a client see what a server offers and whether it changed.
//
// Interface "com.zorvex.olma.std.introspection", methods:
//   list      {}                  -> list of {"name": interface name, "methods": list of method names}
//   get       {"method": full name} -> {"name", "input", "output", "errors"}: the method's
//                                      definitions as introspection structures
//                                      ("com.zorvex.olma.std.introspection.operation.data_definition")
//   checksum  {}                  -> the API checksum as text
// An unknown interface or method named in "get" is answered with
// "com.zorvex.olma.std.errors.operation_not_found" and the dispatcher's message.
//
//   auto dispatcher = std::make_shared<Olma::JsonRpc::CallDispatcher>();
//   dispatcher->AddInterface(Olma::JsonRpc::IntrospectionService::GetInstance(dispatcher, checksum),
//   messages);
//
// The service reads the dispatcher's current interfaces at each call (it holds it weakly, so
// registering the service in that dispatcher makes no cycle) and asks `checksum` for the
// checksum, so both follow interfaces added later. Thread-safe as the dispatcher is.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "olma/core/export.h"
#include "olma/jsonrpc/call_dispatcher.h"
#include "olma/provider/async_api_interface.h"

namespace Olma {
namespace JsonRpc {

struct OLMA_API IntrospectionService {
  static constexpr std::string_view kInterfaceName = "com.zorvex.olma.std.introspection";
  // Returns the current checksum of the hosted API; called from any thread.
  using ChecksumSource = std::function<std::string()>;

  static Provider::AsyncApiInterface::PtrConstType GetInstance(std::weak_ptr<const CallDispatcher> dispatcher,
                                                               ChecksumSource checksum);
};

}  // namespace JsonRpc
}  // namespace Olma
