#include "olma/l10n/message_wire.h"

#include <string>
#include <utility>
#include <vector>

#include "olma/data/values.h"

namespace Olma {
namespace L10n {
namespace {

using Data::DataValue;
using Data::StructValue;

// A nested message whose structure exists but is not filled yet.
struct PendingNested {
  const NamedMessageBuilder* builder;
  StructValue* target;
};
using Pending = std::vector<PendingNested>;

// Unset optionals carry nothing, so every unset field shares one immutable instance.
const DataValue::PtrConstType& Unset() {
  static const DataValue::PtrConstType unset = Data::OptionalValue::GetInstance();
  return unset;
}

DataValue::PtrConstType Set(DataValue::PtrConstType value) {
  return Data::OptionalValue::GetInstance(std::move(value));
}

DataValue::PtrConstType Text(std::string_view text) {
  return Data::StringValue::GetInstance(std::string(text));
}

DataValue::PtrConstType MakeParam(const MsgArgument& argument, Pending& pending) {
  DataValue::PtrConstType s = Unset(), dt = Unset(), i = Unset(), d = Unset(), l = Unset(), format = Unset(),
                          precision = Unset();
  switch (argument.kind()) {
    case MsgArgument::IntegerKind:
      i = Set(Data::IntegerValue::GetInstance(*argument.integer()));
      break;
    case MsgArgument::DoubleKind:
      d = Set(Data::DoubleValue::GetInstance(argument.floating()->value));
      precision = Set(Data::IntegerValue::GetInstance(argument.floating()->precision));
      break;
    case MsgArgument::StringKind:
      s = Set(Text(*argument.string()));
      break;
    case MsgArgument::DateTimeKind: {
      const MsgArgument::When& when = *argument.dateTime();
      dt = Set(DataValue::Create<DateTime>(when.value));
      const bool custom = when.format == DateTimeFormat::CUSTOM && !when.pattern.empty();
      format = Set(Text(custom ? std::string_view(when.pattern) : when.format.name()));
      break;
    }
    case MsgArgument::NamedMessageKind:
      if (const auto& nested = *argument.named()) {
        StructValue::PtrType structure =
            StructValue::GetInstance(std::string(MessageHelpers::kNestedLocalizableMessage));
        pending.push_back({nested.get(), structure.get()});
        l = Set(std::move(structure));
      }
      break;
    default:
      // A nested positional message has no wire form, deliberately; nor has an unset argument.
      break;
  }
  StructValue::PtrType param = StructValue::GetInstance(std::string(MessageHelpers::kLocalizationParam));
  param->SetField("s", std::move(s));
  param->SetField("dt", std::move(dt));
  param->SetField("i", std::move(i));
  param->SetField("d", std::move(d));
  param->SetField("l", std::move(l));
  param->SetField("format", std::move(format));
  param->SetField("precision", std::move(precision));
  return param;
}

// The "params" field: a list of map-entry structures, unset when there are no parameters.
DataValue::PtrConstType MakeParams(const NamedMessageBuilder::Params& params, Pending& pending) {
  if (params.empty()) return Unset();
  Data::ListValue::PtrType list = Data::ListValue::GetInstance();
  for (const auto& param : params) {
    StructValue::PtrType entry = StructValue::GetInstance(std::string(MessageHelpers::kMapEntry));
    entry->SetField("key", Text(param.first));
    entry->SetField("value", MakeParam(param.second, pending));
    list->push_back(std::move(entry));
  }
  return Set(std::move(list));
}

// Fills the nested messages met so far, and those they hold, without recursion.
void FillPending(Pending& pending) {
  while (!pending.empty()) {
    const PendingNested nested = pending.back();
    pending.pop_back();
    nested.target->SetField("id", Text(nested.builder->id()));
    nested.target->SetField("params", MakeParams(nested.builder->params(), pending));
  }
}

template <typename Builder>
StructValue::PtrType MessageHead(const Builder& builder, const Localizer& localizer) {
  StructValue::PtrType message = StructValue::GetInstance(std::string(MessageHelpers::kLocalizableMessage));
  message->SetField("id", Text(builder.id()));
  // The default text never fails the conversion: it falls back to the English template.
  std::error_code ignored;
  message->SetField("default_message",
                    Text(localizer.formatString(builder, *LocaleSpec::Default(), ignored)));
  return message;
}

template <typename Builder>
void SetLocalized(StructValue& message, const Builder& builder, const RequestLocalizer& request,
                  std::error_code& ec) {
  std::string localized = request.localizer().formatString(builder, request.localeSpec(), ec);
  message.SetField("localized", !localized.empty() && !ec ? Set(Text(localized)) : Unset());
}

}  // namespace

DataValue::PtrConstType MessageHelpers::MsgToDataValue(const PositionalMessageBuilder& builder,
                                                       const RequestLocalizer& request, std::error_code& ec) {
  const Localizer& localizer = request.localizer();
  StructValue::PtrType message = MessageHead(builder, localizer);
  Data::ListValueString::PtrType args = Data::ListValueString::GetInstance();
  for (const MsgArgument& argument : builder.args()) {
    args->push_back(argument.format(localizer, request.localeSpec(), ec));
  }
  message->SetField("args", std::move(args));
  SetLocalized(*message, builder, request, ec);
  message->SetField("params", Unset());
  return message;
}

DataValue::PtrConstType MessageHelpers::MsgToDataValue(const NamedMessageBuilder& builder,
                                                       const RequestLocalizer& request, std::error_code& ec) {
  StructValue::PtrType message = MessageHead(builder, request.localizer());
  message->SetField("args", Data::ListValueString::GetInstance());
  SetLocalized(*message, builder, request, ec);
  Pending pending;
  message->SetField("params", MakeParams(builder.params(), pending));
  FillPending(pending);
  return message;
}

}  // namespace L10n

Data::DataValue::PtrConstType MsgArgument::ToDataValue(const L10n::Localizer&, const L10n::LocaleSpec&,
                                                       std::error_code&) const {
  L10n::Pending pending;
  Data::DataValue::PtrConstType param = L10n::MakeParam(*this, pending);
  L10n::FillPending(pending);
  return param;
}

Data::DataValue::PtrConstType MsgArgumentHelper::NestedNamedMsgBuilderToDataValue(
    const NamedMessageBuilder& builder, const L10n::Localizer&, const L10n::LocaleSpec&, std::error_code&) {
  Data::StructValue::PtrType nested =
      Data::StructValue::GetInstance(std::string(L10n::MessageHelpers::kNestedLocalizableMessage));
  L10n::Pending pending{{&builder, nested.get()}};
  L10n::FillPending(pending);
  return nested;
}

}  // namespace Olma
