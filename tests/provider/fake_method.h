// Test doubles for the provider tests: a method that echoes its input, and readers for
// what a result carries.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "olma/data/values.h"
#include "olma/invocation/method_result.h"
#include "olma/provider/api_method_helper.h"
#include "olma/provider/async_api_method.h"

namespace OlmaTest {

using Olma::Data::DataDefinition;
using Olma::Data::DataValue;

// Declares `definition` as both its input and its output.
class FakeMethod final : public Olma::Provider::AsyncApiMethod {
 public:
  explicit FakeMethod(std::string name, DataDefinition::PtrConstType definition = nullptr,
                      Olma::Provider::ErrorDefinitionList errors = {})
      : name_(std::move(name)), definition_(std::move(definition)), errors_(std::move(errors)) {}

  const std::string& name() const override { return name_; }
  void Invoke(const Olma::Core::AsyncActivation::PtrType&, const DataValue::PtrConstType& input,
              const Olma::Core::AsyncApiResultCb::PtrType& resultCb) const override {
    (*resultCb)(Olma::Core::MethodResult::GetInstance(input));
  }
  DataDefinition::PtrConstType input() const override { return definition_; }
  DataDefinition::PtrConstType output() const override { return definition_; }
  const Olma::Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  DataDefinition::PtrConstType definition_;
  Olma::Provider::ErrorDefinitionList errors_;
};

// Runs `handler` as its Invoke; declares `definition` as input and output.
class ScriptedMethod final : public Olma::Provider::AsyncApiMethod {
 public:
  using Handler = std::function<void(const DataValue::PtrConstType& input,
                                     const Olma::Core::AsyncApiResultCb::PtrType& resultCb)>;

  ScriptedMethod(std::string name, DataDefinition::PtrConstType definition, Handler handler,
                 Olma::Provider::ErrorDefinitionList errors = {})
      : name_(std::move(name)),
        definition_(std::move(definition)),
        handler_(std::move(handler)),
        errors_(std::move(errors)) {}

  const std::string& name() const override { return name_; }
  void Invoke(const Olma::Core::AsyncActivation::PtrType&, const DataValue::PtrConstType& input,
              const Olma::Core::AsyncApiResultCb::PtrType& resultCb) const override {
    handler_(input, resultCb);
  }
  DataDefinition::PtrConstType input() const override { return definition_; }
  DataDefinition::PtrConstType output() const override { return definition_; }
  const Olma::Provider::ErrorDefinitionList& errors() const override { return errors_; }

 private:
  std::string name_;
  DataDefinition::PtrConstType definition_;
  Handler handler_;
  Olma::Provider::ErrorDefinitionList errors_;
};

// The messages an error carries, read back through CopyErrorMessages.
inline Olma::MessageList MessagesOf(const Olma::Data::ErrorValue::PtrConstType& error) {
  Olma::MessageList messages;
  Olma::Provider::ApiMethodHelper::CopyErrorMessages(error->messages(), messages);
  return messages;
}

// A failed result as its error's name followed by the ids of the error's messages; a
// success as "output".
inline std::vector<std::string> Describe(const Olma::Core::MethodResult::PtrConstType& result) {
  if (!result->isError()) return {"output"};
  std::vector<std::string> texts{result->error()->name()};
  for (const Olma::BaseMessage& message : MessagesOf(result->error())) texts.push_back(message.id());
  return texts;
}

inline DataValue::PtrConstType Struct(std::string name,
                                      std::vector<std::pair<std::string, DataValue::PtrConstType>> fields) {
  auto value = Olma::Data::StructValue::GetInstance(std::move(name));
  for (auto& [fieldName, fieldValue] : fields) value->SetField(fieldName, std::move(fieldValue));
  return value;
}
inline DataValue::PtrConstType Str(const std::string& text) {
  return Olma::Data::StringValue::GetInstance(text);
}
inline DataValue::PtrConstType Int(long long number) {
  return Olma::Data::IntegerValue::GetInstance(number);
}

}  // namespace OlmaTest
