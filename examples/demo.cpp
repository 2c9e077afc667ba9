// A tour of the library for newcomers.
#include <iostream>

#include "olma/olma.h"

int main() {
  std::cout << Olma::Format("{1} of {2}", 3, "five") << '\n';
  return 0;
}
