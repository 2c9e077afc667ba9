#include "jwt/claims.h"

#include <boost/json/array.hpp>
#include <boost/json/value.hpp>
#include <utility>
#include <vector>

#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"

namespace Olma {
namespace Jwt {
namespace Detail {
namespace {

// A container already attached to its parent, and the JSON it is still to be filled from.
struct Pending {
  const boost::json::object* object = nullptr;
  Data::StructValue::PtrType structure;
  const boost::json::array* array = nullptr;
  Data::ListValue::PtrType list;
};

// The value for `json`; objects and arrays come back empty and are queued to be filled.
Data::DataValue::PtrConstType Convert(const boost::json::value& json, std::vector<Pending>& pending) {
  switch (json.kind()) {
    case boost::json::kind::string:
      return Data::StringValue::GetInstance(std::string(json.get_string()));
    case boost::json::kind::int64:
      return Data::IntegerValue::GetInstance(json.get_int64());
    case boost::json::kind::uint64:
      return Data::DoubleValue::GetInstance(static_cast<double>(json.get_uint64()));
    case boost::json::kind::double_:
      return Data::DoubleValue::GetInstance(json.get_double());
    case boost::json::kind::bool_:
      return Data::BooleanValue::GetInstance(json.get_bool());
    case boost::json::kind::null:
      return Data::OptionalValue::GetInstance();
    case boost::json::kind::object: {
      auto structure = Data::StructValue::GetInstance("object");
      pending.push_back({&json.get_object(), structure, nullptr, nullptr});
      return structure;
    }
    case boost::json::kind::array: {
      auto list = Data::ListValue::GetInstance();
      pending.push_back({nullptr, nullptr, &json.get_array(), list});
      return list;
    }
  }
  return Data::OptionalValue::GetInstance();
}

}  // namespace

Data::StructValue::PtrType ToStructValue(const boost::json::object& object, std::string name) {
  auto root = Data::StructValue::GetInstance(std::move(name));
  std::vector<Pending> pending{{&object, root, nullptr, nullptr}};
  while (!pending.empty()) {
    const Pending next = std::move(pending.back());
    pending.pop_back();
    if (next.object != nullptr) {
      for (const auto& member : *next.object) {
        next.structure->SetField(std::string_view(member.key().data(), member.key().size()),
                                 Convert(member.value(), pending));
      }
    } else {
      for (const auto& element : *next.array) next.list->push_back(Convert(element, pending));
    }
  }
  return root;
}

}  // namespace Detail
}  // namespace Jwt
}  // namespace Olma
