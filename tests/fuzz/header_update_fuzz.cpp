// Whole header sets through the execution-context mapping: each line is "name:value" (a line
// without ":" is a name with an empty value), so names shorter than "olma-ctx-", repeated
// headers and every recognised header meet in one request.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "olma/transport/update_execution_ctx_helper.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using Olma::Transport::Header;
  static const auto method = Olma::Core::MethodIdentifier::GetInstance("a.b.get");
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::vector<Header> headers;
  for (std::size_t begin = 0; begin <= text.size();) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(begin, end - begin);
    const std::size_t colon = line.find(':');
    headers.push_back(colon == std::string_view::npos
                          ? Header{line, {}}
                          : Header{line.substr(0, colon), line.substr(colon + 1)});
    begin = end + 1;
  }
  auto context = Olma::Core::ExecutionContext::GetInstance();
  int calls = 0;
  Olma::Provider::JsonRpc1_1::UpdateExecutionCtxHelper::Update(
      std::make_shared<Olma::Transport::VectorHeaderRange>(headers), *method, *context,
      {[&calls](Olma::Transport::HeaderRange& range, Olma::Core::ExecutionContext&) {
        for (Header header; range.Next(header);) ++calls;
      }});
  const Olma::Core::ExecutionContext copy(*context);
  if (copy.securityContext() != context->securityContext()) __builtin_trap();
  return 0;
}
