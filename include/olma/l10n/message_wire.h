// The wire form of a built message: the structure values that carry a message to a client
// together with its English text, its text in the requested language and, for a named
// message, its typed parameters, so the client can localise it again.
//
//   "com.zorvex.olma.std.localizable_message"
//       id, default_message, args (list of string), localized (optional string),
//       params (optional list of "map-entry")
//   "map-entry"                                     key, value (a localization_param)
//   "com.zorvex.olma.std.localization_param"
//       optional s, dt, i, d, l (a nested_localizable_message), format, precision
//   "com.zorvex.olma.std.nested_localizable_message" id, params (optional list of "map-entry")
//
//   std::error_code ec;
//   auto wire = Olma::L10n::MessageHelpers::MsgToDataValue(builder, *activation->requestLocalizer(), ec);
//   // ec set: "localized" was left unset, the structure is complete all the same
//
// A positional message sends its rendered arguments in "args" and no "params"; a named one
// an empty "args" and its parameters (when it has any) in "params". A nested positional
// message has no wire form: its parameter structure has every field unset.
//
// The conversion is a pure function of its arguments; nested messages of any depth are
// converted without recursion.
#pragma once

#include <string_view>
#include <system_error>

#include "olma/core/export.h"
#include "olma/data/value.h"
#include "olma/l10n/localizer.h"
#include "olma/l10n/message_builder.h"

namespace Olma {
namespace L10n {

struct OLMA_API MessageHelpers {
  static constexpr std::string_view kLocalizableMessage = "com.zorvex.olma.std.localizable_message";
  static constexpr std::string_view kLocalizationParam = "com.zorvex.olma.std.localization_param";
  static constexpr std::string_view kNestedLocalizableMessage =
      "com.zorvex.olma.std.nested_localizable_message";
  static constexpr std::string_view kMapEntry = "map-entry";

  // The localizable-message structure of `builder`. "default_message" is the message for
  // the default locale specification (failures there are not reported); "args" and
  // "localized" are written for the request's specification, and any failure there is left
  // in `ec` and keeps "localized" unset.
  static Data::DataValue::PtrConstType MsgToDataValue(const PositionalMessageBuilder& builder,
                                                      const RequestLocalizer& request, std::error_code& ec);
  static Data::DataValue::PtrConstType MsgToDataValue(const NamedMessageBuilder& builder,
                                                      const RequestLocalizer& request, std::error_code& ec);
};

}  // namespace L10n
}  // namespace Olma
