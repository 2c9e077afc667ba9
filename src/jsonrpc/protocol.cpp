#include "olma/jsonrpc/protocol.h"

#include <system_error>
#include <utility>
#include <vector>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value_visitor.h"
#include "olma/jsonrpc/json_codec.h"
#include "olma/l10n/message_builder.h"

namespace Olma {
namespace JsonRpc {
namespace {

namespace json = boost::json;
using Data::DataType;
using Data::DataValue;

constexpr std::string_view kVersion = "1.1";

void AppendEnvelope(std::string_view idJson, std::string& out) {
  out += "{\"version\":\"1.1\",\"id\":";
  out += idJson;
}

const std::string* StringField(const Data::CompoundValue& message, std::string_view name) {
  const auto found = message.fields().find(name);
  if (found == message.fields().end() || !found->second || found->second->type() != DataType::STRING) {
    return nullptr;
  }
  return &static_cast<const Data::StringValue&>(*found->second).value();
}

// The "args" of a wire message as builder arguments: a typed list of strings or a list of
// string values.
std::vector<MsgArgument> ArgumentsOf(const Data::CompoundValue& message) {
  std::vector<MsgArgument> arguments;
  const auto found = message.fields().find("args");
  if (found == message.fields().end() || !found->second) return arguments;
  if (found->second->type() == DataType::LIST_STRING) {
    for (const std::string& arg : static_cast<const Data::ListValueString&>(*found->second)) {
      arguments.emplace_back(std::string_view(arg));
    }
  } else if (found->second->type() == DataType::LIST) {
    for (const DataValue::PtrConstType& arg : static_cast<const Data::ListValue&>(*found->second)) {
      if (arg && arg->type() == DataType::STRING) {
        arguments.emplace_back(std::string_view(static_cast<const Data::StringValue&>(*arg).value()));
      }
    }
  }
  return arguments;
}

// The message in the request's language, or nothing when no served locale other than the
// built-in English has a template for it.
std::optional<std::string> Localize(const Data::CompoundValue& message,
                                    const L10n::RequestLocalizer& request) {
  const std::string* id = StringField(message, "id");
  if (!id) return std::nullopt;
  std::error_code ec;
  std::string tmpl =
      request.localizer().messageTemplate(*id, {}, request.localeSpec().languagePreference(), ec);
  if (ec || tmpl.empty()) return std::nullopt;
  PositionalMessageBuilder builder(*id, std::move(tmpl), ArgumentsOf(message));
  std::string text = request.localizer().formatString(builder, request.localeSpec(), ec);
  if (ec || text.empty()) return std::nullopt;
  return text;
}

// A copy of `error` whose messages carry "localized" where a translation exists; the copy
// shares every other part of the original. Returns `error` itself when nothing changed.
Data::ErrorValue::PtrConstType LocalizeError(const Data::ErrorValue::PtrConstType& error,
                                             const L10n::RequestLocalizer& request, std::string& firstText) {
  const Data::ListValue::PtrConstType messages = error->messages();
  if (!messages || messages->empty()) return error;
  auto localizedList = Data::ListValue::GetInstance();
  bool changed = false;
  for (const DataValue::PtrConstType& item : *messages) {
    if (!item || item->type() != DataType::STRUCTURE) {
      localizedList->push_back(item);
      continue;
    }
    const auto& message = static_cast<const Data::CompoundValue&>(*item);
    std::optional<std::string> text = Localize(message, request);
    if (!text) {
      localizedList->push_back(item);
      continue;
    }
    if (firstText.empty() && item == messages->front()) firstText = *text;
    auto copy = Data::StructValue::GetInstance(message.name());
    for (const auto& [name, value] : message.fields()) copy->SetField(name, value);
    copy->SetField("localized", Data::StringValue::GetInstance(std::move(*text)));
    localizedList->push_back(std::move(copy));
    changed = true;
  }
  if (!changed) return error;
  auto copy = Data::ErrorValue::GetInstance(error->name());
  for (const auto& [name, value] : error->fields()) copy->SetField(name, value);
  copy->SetField("messages", std::move(localizedList));
  return copy;
}

std::string FirstDefaultText(const Data::ErrorValue& error) {
  const Data::ListValue::PtrConstType messages = error.messages();
  if (messages && !messages->empty() && messages->front() &&
      messages->front()->type() == DataType::STRUCTURE) {
    if (const std::string* text =
            StringField(static_cast<const Data::CompoundValue&>(*messages->front()), "default_message")) {
      return *text;
    }
  }
  return error.name();
}

}  // namespace

bool Protocol::ParseRequest(std::string_view body, std::size_t maxDepth, Request& request, ErrorCode& code,
                            MessageList& messages) {
  json::parse_options options;
  options.max_depth = maxDepth;
  boost::system::error_code ec;
  request.document =
      json::parse(json::string_view(body.data(), body.size()), ec, json::storage_ptr(), options);
  if (ec) {
    code = ErrorCode::kParseError;
    messages.push_back(Message<CoreTag>("olma.invalid.request"));
    return false;
  }
  code = ErrorCode::kInvalidRequest;
  const json::object* call = request.document.if_object();
  if (!call) {
    messages.push_back(Message<CoreTag>("olma.invalid.request"));
    return false;
  }
  if (const json::value* id = call->if_contains("id")) request.idJson = json::serialize(*id);
  const json::value* version = call->if_contains("version");
  const json::value* method = call->if_contains("method");
  const json::value* params = call->if_contains("params");
  const bool versionOk = !version || (version->is_string() && version->get_string() == kVersion);
  const bool paramsOk = !params || params->is_object() || params->is_null();
  if (!versionOk || !method || !method->is_string() || !paramsOk) {
    messages.push_back(Message<CoreTag>("olma.invalid.request"));
    return false;
  }
  request.method.assign(method->get_string().data(), method->get_string().size());
  request.params = params && params->is_object() ? params : nullptr;
  return true;
}

ErrorCode Protocol::CodeForError(std::string_view errorName) {
  if (errorName == kOperationNotFound) return ErrorCode::kMethodNotFound;
  if (errorName == kInvalidArgument || errorName == "com.zorvex.olma.std.errors.unexpected_input") {
    return ErrorCode::kInvalidParams;
  }
  if (errorName == kInternalServerError) return ErrorCode::kInternalError;
  if (errorName == kUnauthenticated) return ErrorCode::kUnauthenticated;
  if (errorName == kUnauthorized) return ErrorCode::kUnauthorized;
  return ErrorCode::kApplicationError;
}

std::string Protocol::WriteResult(std::string_view idJson, const DataValue::PtrConstType& value,
                                  const Data::DataDefinition::PtrConstType& definition) {
  std::string out;
  out.reserve(128);
  AppendEnvelope(idJson, out);
  out += ",\"result\":";
  JsonCodec::ToJson(value, definition, out);
  out += '}';
  return out;
}

std::string Protocol::WriteError(std::string_view idJson, ErrorCode code,
                                 const Data::ErrorValue::PtrConstType& error,
                                 const Data::DataDefinition::PtrConstType& definition,
                                 const L10n::RequestLocalizer* localizer) {
  std::string firstText;
  const Data::ErrorValue::PtrConstType sent = localizer ? LocalizeError(error, *localizer, firstText) : error;
  if (firstText.empty()) firstText = FirstDefaultText(*error);
  std::string out;
  out.reserve(256);
  AppendEnvelope(idJson, out);
  out += ",\"error\":{\"name\":\"JSONRPCError\",\"code\":";
  out += std::to_string(static_cast<int>(code));
  out += ",\"message\":";
  JsonCodec::AppendString(firstText, out);
  out += ",\"error\":";
  JsonCodec::ToJson(sent, definition, out);
  out += "}}";
  return out;
}

std::string Protocol::WriteError(std::string_view idJson, ErrorCode code, std::string_view errorName,
                                 const MessageList& messages, const L10n::RequestLocalizer* localizer) {
  return WriteError(idJson, code, Data::ErrorValue::Create(std::string(errorName), messages), nullptr,
                    localizer);
}

}  // namespace JsonRpc
}  // namespace Olma
