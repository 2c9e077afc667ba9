#include "olma/l10n/localizer.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "olma/core/format.h"
#include "olma/l10n/l10n_category.h"

namespace Olma {
namespace L10n {
namespace {

// One builder being formatted: its arguments in template order, the texts rendered so far.
struct Frame {
  explicit Frame(const MessageBuilderBase& builder) : node(&builder) {
    if (builder.isNamed()) {
      const auto& params = static_cast<const NamedMessageBuilder&>(builder).params();
      arguments.reserve(params.size());
      for (const auto& param : params) arguments.push_back(&param.second);
    } else {
      for (const MsgArgument& argument : static_cast<const PositionalMessageBuilder&>(builder).args()) {
        arguments.push_back(&argument);
      }
    }
    rendered.reserve(arguments.size());
  }

  const MessageBuilderBase* node;
  std::vector<const MsgArgument*> arguments;
  std::vector<std::string> rendered;
};

// The nested builder an argument holds, if any.
const MessageBuilderBase* NestedBuilder(const MsgArgument& argument) {
  if (const auto* named = argument.named()) return named->get();
  if (const auto* positional = argument.positional()) return positional->get();
  return nullptr;
}

std::string Fill(const Frame& frame, std::string_view tmpl, std::error_code& ec) {
  if (!frame.node->isNamed()) return FormatContainer<8>(tmpl, frame.rendered, ec);
  NamedArgs names;
  const auto& params = static_cast<const NamedMessageBuilder*>(frame.node)->params();
  std::size_t index = 0;
  for (const auto& param : params) names.emplace(param.first, frame.rendered[index++]);
  return FormatNamed(tmpl, names, ec);
}

}  // namespace

Localizer::Localizer(std::shared_ptr<const LocalizationBundle> bundle, std::vector<std::string> locales,
                     IntegerFormatter integerFormatter, DoubleFormatter doubleFormatter)
    : bundle_(std::move(bundle)),
      available_(std::move(locales)),
      integerFormatter_(std::move(integerFormatter)),
      doubleFormatter_(std::move(doubleFormatter)) {
  if (available_.empty() && bundle_) available_ = bundle_->Locales();
  if (!bundle_) available_.clear();
  served_ = available_.size();
  available_.emplace_back(LocaleHelpers::defaultLocale());
  available_.emplace_back("en");
}

Localizer::~Localizer() = default;

std::string Localizer::messageTemplate(std::string_view id, std::string_view defaultTemplate,
                                       const LanguagePreference& language, std::error_code& ec) const {
  const std::string locale = LocaleHelpers::Lookup(language.tags(), available_);
  if (locale.empty()) {
    ec = L10nError::LocaleNotSupported;
    return std::string(defaultTemplate);
  }
  const auto served_end = available_.begin() + static_cast<std::ptrdiff_t>(served_);
  if (std::find(available_.begin(), served_end, locale) == served_end) return std::string(defaultTemplate);
  std::error_code lookup;
  std::string tmpl;
  try {
    tmpl = (*bundle_)(id, locale, lookup);
  } catch (const std::bad_function_call&) {
    // The bundle has the locale but not the identifier, and no loader to ask.
    lookup = L10nError::UnknownMessageId;
  }
  if (lookup) {
    ec = lookup;
    return std::string(defaultTemplate);
  }
  return tmpl;
}

std::string Localizer::formatString(const PositionalMessageBuilder& builder, const LocaleSpec& spec,
                                    std::error_code& ec) const {
  return FormatBuilder(builder, spec, ec);
}

std::string Localizer::formatString(const NamedMessageBuilder& builder, const LocaleSpec& spec,
                                    std::error_code& ec) const {
  return FormatBuilder(builder, spec, ec);
}

std::string Localizer::FormatBuilder(const MessageBuilderBase& root, const LocaleSpec& spec,
                                     std::error_code& ec) const {
  // Nested messages are rendered before the message holding them, on an explicit stack.
  std::vector<Frame> stack;
  stack.emplace_back(root);
  for (;;) {
    Frame& top = stack.back();
    const std::size_t next = top.rendered.size();
    if (next < top.arguments.size()) {
      if (const MessageBuilderBase* nested = NestedBuilder(*top.arguments[next])) {
        stack.emplace_back(*nested);
      } else {
        top.rendered.push_back(top.arguments[next]->format(*this, spec, ec));
      }
      continue;
    }
    const std::string& english = top.node->defaultTemplate();
    const std::string tmpl = messageTemplate(top.node->id(), english, spec.languagePreference(), ec);
    std::error_code fill_error;
    std::string text = Fill(top, tmpl, fill_error);
    if (fill_error) {
      // A translation whose fields do not fit the arguments: report it, write English.
      ec = fill_error;
      if (tmpl != english) {
        std::error_code ignored;
        text = Fill(top, english, ignored);
      }
    }
    stack.pop_back();
    if (stack.empty()) return text;
    stack.back().rendered.push_back(std::move(text));
  }
}

RequestLocalizer::PtrConstType RequestLocalizer::GetInstance(Localizer::PtrConstType localizer,
                                                             LocaleSpec::PtrConstType spec) {
  if (!localizer || !spec)
    throw std::invalid_argument("RequestLocalizer needs a localizer and a locale spec");
  return std::make_shared<const RequestLocalizer>(PrivateTag(), std::move(localizer), std::move(spec));
}

RequestLocalizer::PtrConstType RequestLocalizer::FromContext(Localizer::PtrConstType localizer,
                                                             const Core::ExecutionContext& context,
                                                             std::error_code& ec) {
  return GetInstance(std::move(localizer), LocaleSpecHelpers::ExtractLocaleSpec(context, ec));
}

}  // namespace L10n
}  // namespace Olma
