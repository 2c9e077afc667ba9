#include "olma/jsonrpc/introspection_service.h"

#include <utility>

#include "olma/data/compound_values.h"
#include "olma/data/definitions.h"
#include "olma/data/introspection.h"
#include "olma/data/list_values.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value_visitor.h"
#include "olma/invocation/method_result.h"
#include "olma/jsonrpc/function_method.h"
#include "olma/jsonrpc/protocol.h"

namespace Olma {
namespace JsonRpc {
namespace {

using Core::MethodResult;
using Data::DataDefinition;

DataDefinition::PtrConstType EmptyInput() {
  return Data::StructDefinition::GetInstance("empty_input", {});
}

DataDefinition::PtrConstType InterfaceListDefinition() {
  return Data::ListDefinition::GetInstance(Data::StructDefinition::GetInstance(
      "com.zorvex.olma.std.introspection.interface_info",
      {{"name", Data::StringDefinition::GetInstance()},
       {"methods", Data::ListDefinition::GetInstance(Data::StringDefinition::GetInstance())}}));
}

DataDefinition::PtrConstType MethodInfoDefinition() {
  const DataDefinition::PtrConstType& definition = Data::DefinitionToValueHelper::IntrospectionDefinition();
  return Data::StructDefinition::GetInstance("com.zorvex.olma.std.introspection.method_info",
                                             {{"name", Data::StringDefinition::GetInstance()},
                                              {"input", definition},
                                              {"output", definition},
                                              {"errors", Data::ListDefinition::GetInstance(definition)}});
}

void ListInterfaces(const Provider::CallDispatcher& dispatcher,
                    const Core::AsyncApiResultCb::PtrType& resultCb) {
  auto list = Data::ListValue::GetInstance();
  dispatcher.container()->ForEach([&list](const Provider::AsyncApiInterface::PtrConstType& api) {
    auto info = Data::StructValue::GetInstance("com.zorvex.olma.std.introspection.interface_info");
    info->SetField("name", Data::StringValue::GetInstance(api->id()->name()));
    auto methods = Data::ListValueString::GetInstance();
    for (const auto& entry : api->methods()) methods->push_back(entry.first);
    info->SetField("methods", std::move(methods));
    list->push_back(std::move(info));
  });
  (*resultCb)(MethodResult::GetInstance(std::move(list)));
}

void DescribeMethod(const Provider::CallDispatcher& dispatcher, const Data::DataValue::PtrConstType& input,
                    const Core::AsyncApiResultCb::PtrType& resultCb) {
  const auto& fields = static_cast<const Data::CompoundValue&>(*input).fields();
  const std::string& fullName = static_cast<const Data::StringValue&>(*fields.at("method")).value();
  MessageList messages;
  Provider::CallDispatcher::Target target;
  if (!dispatcher.Resolve(fullName, target, messages)) {
    (*resultCb)(
        MethodResult::GetErrorInstance(Data::ErrorValue::Create(std::string(kOperationNotFound), messages)));
    return;
  }
  auto info = Data::StructValue::GetInstance("com.zorvex.olma.std.introspection.method_info");
  info->SetField("name", Data::StringValue::GetInstance(fullName));
  info->SetField("input", Data::DefinitionToValueHelper::Convert(target.method->input()));
  info->SetField("output", Data::DefinitionToValueHelper::Convert(target.method->output()));
  auto errors = Data::ListValue::GetInstance();
  for (const DataDefinition::PtrConstType& error : target.method->errors()) {
    errors->push_back(Data::DefinitionToValueHelper::Convert(error));
  }
  info->SetField("errors", std::move(errors));
  (*resultCb)(MethodResult::GetInstance(std::move(info)));
}

}  // namespace

Provider::AsyncApiInterface::PtrConstType IntrospectionService::GetInstance(
    std::weak_ptr<const Provider::CallDispatcher> dispatcher) {
  auto list = FunctionMethod::GetInstance(
      "list", EmptyInput(), InterfaceListDefinition(), {},
      [dispatcher](const auto&, const auto&, const Core::AsyncApiResultCb::PtrType& resultCb) {
        if (auto owner = dispatcher.lock()) return ListInterfaces(*owner, resultCb);
        (*resultCb)(MethodResult::GetInstance(Data::ListValue::GetInstance()));
      });
  auto get = FunctionMethod::GetInstance(
      "get",
      Data::StructDefinition::GetInstance("com.zorvex.olma.std.introspection.get_input",
                                          {{"method", Data::StringDefinition::GetInstance()}}),
      MethodInfoDefinition(), {},
      [dispatcher](const auto&, const Data::DataValue::PtrConstType& input,
                   const Core::AsyncApiResultCb::PtrType& resultCb) {
        if (auto owner = dispatcher.lock()) return DescribeMethod(*owner, input, resultCb);
        (*resultCb)(
            MethodResult::GetErrorInstance(Data::ErrorValue::GetInstance(std::string(kOperationNotFound))));
      });
  auto sum = FunctionMethod::GetInstance(
      "checksum", EmptyInput(), Data::StringDefinition::GetInstance(), {},
      [dispatcher](const auto&, const auto&, const Core::AsyncApiResultCb::PtrType& resultCb) {
        auto owner = dispatcher.lock();
        (*resultCb)(MethodResult::GetInstance(
            Data::StringValue::GetInstance(owner ? owner->container()->checksum() : std::string())));
      });
  return Provider::AsyncApiInterface::GetInstance(
      Core::InterfaceIdentifier::GetInstance(std::string(kInterfaceName)), {list, get, sum});
}

}  // namespace JsonRpc
}  // namespace Olma
