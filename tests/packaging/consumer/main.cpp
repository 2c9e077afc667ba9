#include <iostream>

#include "olma/olma.h"

static_assert(__cplusplus >= 201703L, "olma::core must raise its consumers to C++17");

int main() {
  Olma::MessageList messages;
  messages.push_back(Olma::Message<Olma::CoreTag>("olma.data.bad.cast2", "3", "five"));
  std::cout << Olma::Format("consumer: {1} of {2}", messages.front().args().front(), "five") << '\n';
  return 0;
}
