// One HTTP request header as the transport hands it over: a name and a value, both views
// into the transport's own request buffer, valid for as long as that request is.
//
// Names are compared exactly as they arrive; lower-casing them is the transport's task.
#pragma once

#include <string_view>

namespace Olma {
namespace Core {

struct Header {
  std::string_view name;
  std::string_view value;
};

}  // namespace Core
}  // namespace Olma
