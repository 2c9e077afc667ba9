#include "olma/l10n/message_builder.h"

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "olma/l10n/localizer.h"

namespace Olma {
namespace {

// Drops the builders of `pending` one at a time; a builder that nobody else holds has its
// nested builders moved into `pending` first, so no destructor recurses. Builders are never
// reached through weak pointers, so a count of one means this list is the last owner.
template <typename Node, typename Detach>
void ReleaseTree(std::vector<std::shared_ptr<const Node>>& pending, Detach detach) {
  while (!pending.empty()) {
    std::shared_ptr<const Node> node = std::move(pending.back());
    pending.pop_back();
    if (node && node.use_count() == 1) {
      // Orders other threads' last reads of the node before the changes below.
      { std::shared_ptr<const Node> order = node; }
      detach(const_cast<Node&>(*node), pending);
    }
  }
}

}  // namespace

// Frees chains of nested builders iteratively: a builder's destructor moves the nested
// builders out of its arguments, and ReleaseTree empties every one of them that nobody else
// holds before it is dropped, so each destructor runs at depth one.
struct MessageBuilderRelease {
  using Pending = std::vector<std::shared_ptr<const MessageBuilderBase>>;

  static void TakeNested(MsgArgument& argument, Pending& pending) {
    if (auto* named = std::get_if<MsgArgument::NamedPtr>(&argument.value_)) {
      if (*named) pending.push_back(std::move(*named));
    } else if (auto* positional = std::get_if<MsgArgument::PositionalPtr>(&argument.value_)) {
      if (*positional) pending.push_back(std::move(*positional));
    }
  }

  static void Detach(MessageBuilderBase& node, Pending& pending) {
    if (node.isNamed()) {
      for (auto& param : static_cast<NamedMessageBuilder&>(node).params_) TakeNested(param.second, pending);
    } else {
      for (MsgArgument& argument : static_cast<PositionalMessageBuilder&>(node).args_)
        TakeNested(argument, pending);
    }
  }

  static void Release(MessageBuilderBase& node) noexcept {
    Pending pending;
    try {
      Detach(node, pending);
      if (!pending.empty()) ReleaseTree<MessageBuilderBase>(pending, &Detach);
    } catch (const std::bad_alloc&) {
      // No memory for the work list. A failed push_back leaves its builder where it was,
      // so whatever was not handed over yet is freed the ordinary way, by its owner's
      // destructor: recursively, but only as deep as builders are still nested, and
      // only when memory has run out.
    }
  }
};

std::string MsgArgument::format(const L10n::Localizer& localizer, const L10n::LocaleSpec& spec,
                                std::error_code& ec) const {
  switch (kind()) {
    case IntegerKind:
      return localizer.integerFormatter()(*integer(), spec.formatPreference(), ec);
    case DoubleKind:
      return localizer.doubleFormatter()(floating()->value, floating()->precision, spec.formatPreference(),
                                         ec);
    case StringKind:
      return *string();
    case DateTimeKind:
      return localizer.formatDateTime(dateTime()->value, dateTime()->format, dateTime()->pattern, spec, ec);
    case NamedMessageKind:
      if (*named()) return localizer.formatString(**named(), spec, ec);
      break;
    case PositionalMessageKind:
      if (*positional()) return localizer.formatString(**positional(), spec, ec);
      break;
    default:
      break;
  }
  return "_Error_";
}

PositionalMessageBuilder::~PositionalMessageBuilder() {
  MessageBuilderRelease::Release(*this);
}

NamedMessageBuilder::NamedMessageBuilder(const PositionalMessageBuilder& positional)
    : MessageBuilderBase(positional.id(), positional.defaultTemplate(), true) {
  std::size_t position = 0;
  for (const MsgArgument& argument : positional.args()) params_.emplace(std::to_string(++position), argument);
}

NamedMessageBuilder::~NamedMessageBuilder() {
  MessageBuilderRelease::Release(*this);
}

}  // namespace Olma
