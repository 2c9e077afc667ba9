#include "olma/provider/api_diff.h"

#include <utility>

#include "olma/data/compatibility.h"
#include "olma/data/definitions.h"

namespace Olma {
namespace Provider {
namespace {

using Data::CompatibilityDirection;
using Data::DataDefinition;
using MethodMap = std::map<std::string, ApiSnapshot::Method>;

std::string Join(std::string_view path, std::string_view name) {
  std::string joined;
  joined.reserve(path.size() + 1 + name.size());
  return joined.append(path).append(1, '.').append(name);
}

class Differ {
 public:
  explicit Differ(ApiDiff& diff) : diff_(diff) {}

  void Interfaces(const ApiSnapshot& oldApi, const ApiSnapshot& newApi) {
    Walk(oldApi.interfaces, newApi.interfaces,
         [this](const std::string& name, const MethodMap* before, const MethodMap* after) {
           if (!after) {
             Add(ApiChangeKind::Removed, ApiElement::Interface, true, name);
           } else if (!before) {
             Add(ApiChangeKind::Added, ApiElement::Interface, false, name);
           } else {
             Methods(name, *before, *after);
           }
         });
  }

 private:
  // Calls visit(key, old entry or null, new entry or null) for every key of either map, in
  // key order.
  template <class Map, class Visit>
  static void Walk(const Map& before, const Map& after, Visit visit) {
    constexpr const typename Map::mapped_type* kNone = nullptr;
    auto b = before.begin();
    auto a = after.begin();
    while (b != before.end() || a != after.end()) {
      if (a == after.end() || (b != before.end() && b->first < a->first)) {
        visit(b->first, &b->second, kNone);
        ++b;
      } else if (b == before.end() || a->first < b->first) {
        visit(a->first, kNone, &a->second);
        ++a;
      } else {
        visit(b->first, &b->second, &a->second);
        ++b;
        ++a;
      }
    }
  }

  void Methods(const std::string& interfaceName, const MethodMap& before, const MethodMap& after) {
    Walk(before, after,
         [&](const std::string& name, const ApiSnapshot::Method* b, const ApiSnapshot::Method* a) {
           const std::string path = Join(interfaceName, name);
           if (!a || !b) {
             Add(a ? ApiChangeKind::Added : ApiChangeKind::Removed, ApiElement::Method, !a, path);
             return;
           }
           Definition(ApiElement::Input, Join(path, "input"), b->input, a->input,
                      CompatibilityDirection::Input);
           Definition(ApiElement::Output, Join(path, "output"), b->output, a->output,
                      CompatibilityDirection::Output);
           const std::string errors = Join(path, "errors");
           Walk(b->errors, a->errors,
                [&](const std::string& error, const DataDefinition::PtrConstType* be,
                    const DataDefinition::PtrConstType* ae) {
                  const std::string errorPath = Join(errors, error);
                  if (!ae || !be) {
                    // An error added is one old clients cannot know; one removed is never raised.
                    Add(ae ? ApiChangeKind::Added : ApiChangeKind::Removed, ApiElement::Error, ae != nullptr,
                        errorPath);
                    return;
                  }
                  Definition(ApiElement::Error, errorPath, *be, *ae, CompatibilityDirection::Output);
                });
         });
  }

  void Definition(ApiElement element, const std::string& path, const DataDefinition::PtrConstType& before,
                  const DataDefinition::PtrConstType& after, CompatibilityDirection direction) {
    MessageList breaks;
    if (!Data::CheckCompatibility(before, after, direction, breaks)) {
      Add(ApiChangeKind::Changed, element, true, path).messages = std::move(breaks);
      return;
    }
    // Compatible, but maybe still different: an optional input field added, say.
    MessageList difference;
    if (!DataDefinition::Compare(before, after, difference)) {
      Add(ApiChangeKind::Changed, element, false, path).messages = std::move(difference);
    }
  }

  ApiChange& Add(ApiChangeKind kind, ApiElement element, bool breaking, std::string path) {
    diff_.changes.push_back(ApiChange{kind, element, breaking, std::move(path), {}});
    return diff_.changes.back();
  }

  ApiDiff& diff_;
};

}  // namespace

ApiSnapshot ApiSnapshot::Of(const AsyncApiInterfaceContainer& container) {
  ApiSnapshot snapshot;
  container.ForEach([&snapshot](const AsyncApiInterface::PtrConstType& interface) {
    auto& methods = snapshot.interfaces[interface->id()->name()];
    for (const auto& [name, method] : interface->methods()) {
      Method& entry = methods[name];
      entry.input = method->input();
      entry.output = method->output();
      for (const DataDefinition::PtrConstType& error : method->errors()) {
        if (!error || error->type() != Data::DataType::ERROR) continue;
        const auto& errorName = static_cast<const Data::ErrorDefinition&>(*error).name();
        if (errorName) entry.errors.emplace(*errorName, error);
      }
    }
  });
  return snapshot;
}

std::string_view to_string(ApiChangeKind kind) noexcept {
  switch (kind) {
    case ApiChangeKind::Added:
      return "added";
    case ApiChangeKind::Removed:
      return "removed";
    case ApiChangeKind::Changed:
      return "changed";
  }
  return {};
}

std::string_view to_string(ApiElement element) noexcept {
  switch (element) {
    case ApiElement::Interface:
      return "interface";
    case ApiElement::Method:
      return "method";
    case ApiElement::Input:
      return "input";
    case ApiElement::Output:
      return "output";
    case ApiElement::Error:
      return "error";
  }
  return {};
}

std::string ApiChange::ToString() const {
  std::string text(breaking ? "breaking: " : "compatible: ");
  text.append(to_string(kind)).append(1, ' ').append(path);
  const char* separator = ": ";
  for (const BaseMessage& message : messages) {
    text.append(separator).append(message.defaultMessage());
    separator = "; ";
  }
  return text;
}

bool ApiDiff::breaking() const noexcept {
  for (const ApiChange& change : changes) {
    if (change.breaking) return true;
  }
  return false;
}

ApiDiff CompareApis(const ApiSnapshot& oldApi, const ApiSnapshot& newApi) {
  ApiDiff diff;
  Differ(diff).Interfaces(oldApi, newApi);
  return diff;
}

ApiDiff CompareApis(const AsyncApiInterfaceContainer& oldApi, const AsyncApiInterfaceContainer& newApi) {
  return CompareApis(ApiSnapshot::Of(oldApi), ApiSnapshot::Of(newApi));
}

}  // namespace Provider
}  // namespace Olma
