// Test doubles for the provider tests: a method whose handler is a plain function, a
// synchronous dispatcher that runs the whole calling sequence, and readers for the
// messages carried by an error result.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "olma/data/values.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
#include "olma/provider/api_method_helper.h"
#include "olma/provider/async_api_interface.h"
#include "olma/provider/async_api_method.h"

namespace OlmaTest {

using Handler =
    std::function<Olma::Core::MethodResult::PtrConstType(const Olma::Data::DataValue::PtrConstType& input)>;

class FakeMethod final : public Olma::Provider::AsyncApiMethod {
 public:
  FakeMethod(std::string name, Olma::Data::DataDefinition::PtrConstType input,
             Olma::Data::DataDefinition::PtrConstType output, Olma::Provider::ErrorDefinitionList errors,
             Handler handler)
      : name_(std::move(name)),
        input_(std::move(input)),
        output_(std::move(output)),
        errors_(std::move(errors)),
        handler_(std::move(handler)) {}

  static PtrConstType Make(std::string name, Olma::Data::DataDefinition::PtrConstType input = nullptr,
                           Olma::Data::DataDefinition::PtrConstType output = nullptr,
                           Olma::Provider::ErrorDefinitionList errors = {}, Handler handler = nullptr) {
    return std::make_shared<const FakeMethod>(std::move(name), std::move(input), std::move(output),
                                              std::move(errors), std::move(handler));
  }

  const std::string& name() const override { return name_; }
  void Invoke(const Olma::Core::AsyncActivation::PtrType&, const Olma::Data::DataValue::PtrConstType& input,
              const Olma::Core::AsyncApiResultCb::PtrType& resultCb) const override {
    (*resultCb)(handler_(input));
  }
  Olma::Data::DataDefinition::PtrConstType input() const override { return input_; }
  Olma::Data::DataDefinition::PtrConstType output() const override { return output_; }
  const Olma::Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  Olma::Data::DataDefinition::PtrConstType input_;
  Olma::Data::DataDefinition::PtrConstType output_;
  Olma::Provider::ErrorDefinitionList errors_;
  Handler handler_;
};

// Runs one call the way a transport does: find the method, check the input, run the
// handler, check what it delivers. The fake handlers deliver before Invoke returns.
inline Olma::Core::MethodResult::PtrConstType Dispatch(const Olma::Provider::AsyncApiInterface& api,
                                                       std::string_view methodName,
                                                       const Olma::Data::DataValue::PtrConstType& input) {
  using Olma::Provider::ApiMethodHelper;
  Olma::MessageList messages;
  Olma::Provider::AsyncApiMethod::PtrConstType method;
  if (!api.method(methodName, method, messages)) {
    return Olma::Core::MethodResult::GetErrorInstance(
        Olma::Data::ErrorValue::Create("com.zorvex.olma.std.errors.operation_not_found", messages));
  }
  const Olma::Provider::QualifiedMethodName fullName(api.id()->name(), method->name());
  Olma::Core::MethodResult::PtrConstType result;
  if (!ApiMethodHelper::ValidateInput(fullName, method->input(), input, result)) return result;
  auto activation = Olma::Core::AsyncActivation::GetInstance(Olma::Core::ExecutionContext::GetInstance());
  auto done = std::make_shared<Olma::Core::AsyncApiResultCb>(
      [&](const Olma::Core::MethodResult::PtrConstType& handled, const Olma::Core::Progress&,
          const Olma::Core::AsyncApiResultCb::Continuation&) {
        if (!handled) return;
        result = handled->isError()
                     ? ApiMethodHelper::ValidateError(fullName, method->errors(), handled->error())
                     : ApiMethodHelper::ValidateOutput(fullName, method->output(), handled->output());
      });
  method->Invoke(activation, input, done);
  return result;
}

// The messages of an error value, read back through CopyErrorMessages.
inline Olma::MessageList MessagesOf(const Olma::Data::ErrorValue::PtrConstType& error) {
  Olma::MessageList messages;
  if (error) Olma::Provider::ApiMethodHelper::CopyErrorMessages(error->messages(), messages);
  return messages;
}

inline std::vector<std::string> IdsOf(const Olma::MessageList& messages) {
  std::vector<std::string> ids;
  for (const Olma::BaseMessage& message : messages) ids.push_back(message.id());
  return ids;
}

inline std::vector<std::string> ArgsOf(const Olma::BaseMessage& message) {
  return std::vector<std::string>(message.args().begin(), message.args().end());
}

// A structure value with the given fields.
inline Olma::Data::StructValue::PtrConstType Struct(
    std::string name, std::vector<std::pair<std::string, Olma::Data::DataValue::PtrConstType>> fields) {
  auto value = Olma::Data::StructValue::GetInstance(std::move(name));
  for (auto& [fieldName, fieldValue] : fields) value->SetField(fieldName, std::move(fieldValue));
  return value;
}

inline Olma::Data::DataValue::PtrConstType Str(const std::string& text) {
  return Olma::Data::StringValue::GetInstance(text);
}

inline Olma::Data::DataValue::PtrConstType Int(long long number) {
  return Olma::Data::IntegerValue::GetInstance(number);
}

}  // namespace OlmaTest
