// Date-time parsing of any text, and creation from any count; whatever is accepted prints
// a canonical text that parses back to the same instant.
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

#include "fuzz/fuzz_input.h"
#include "olma/core/date_time.h"

namespace {

// The canonical text of `created` parses back to a DateTime with the same text. Sources of
// millisecond precision give the same seconds as well; finer ones before the epoch may hold
// one second more (their fraction below the millisecond is not in the text).
void CheckReparse(const Olma::DateTime& created, bool millisecond_source) {
  const std::string& text = created.text();
  OLMA_FUZZ_CHECK(text.size() == 24 && text[4] == '-' && text[10] == 'T' && text[23] == 'Z');
  Olma::DateTime reparsed;
  OLMA_FUZZ_CHECK(Olma::DateTime::Create(text, reparsed));
  OLMA_FUZZ_CHECK(reparsed.text() == text);
  if (millisecond_source) {
    OLMA_FUZZ_CHECK(reparsed == created);
  } else {
    OLMA_FUZZ_CHECK(reparsed.seconds() == created.seconds() ||
                    (reparsed.seconds() + 1 == created.seconds() && created.seconds() <= 0));
    OLMA_FUZZ_CHECK(!(created < reparsed));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  OlmaFuzz::Input input(data, size);
  const std::uint8_t mode = input.Byte();
  Olma::DateTime created;
  std::error_code ec;
  switch (mode % 5) {
    case 0: {
      const std::string text(input.Rest());
      const bool accepted = Olma::DateTime::Create(text, created);
      const Olma::DateTime same = Olma::DateTime::Create(text, ec);
      OLMA_FUZZ_CHECK(accepted == !ec && (!accepted || same == created));
      if (accepted) CheckReparse(created, true);
      break;
    }
    case 1:
      if (Olma::DateTime::Create(input.Number<std::int64_t>(), created)) CheckReparse(created, true);
      break;
    case 2:
      if (Olma::DateTime::Create(Olma::TimeInMilliSeconds(input.Number<std::int64_t>()), created))
        CheckReparse(created, true);
      break;
    case 3:
      if (Olma::DateTime::Create(Olma::TimeInMicroSeconds(input.Number<std::int64_t>()), created))
        CheckReparse(created, true);
      break;
    default: {
      // The clock counts nanoseconds; any microsecond count it can hold.
      const std::int64_t micros =
          input.Number<std::int64_t>() % (std::numeric_limits<std::int64_t>::max() / 1000);
      const std::chrono::system_clock::time_point point{std::chrono::microseconds(micros)};
      if (Olma::DateTime::Create(point, created)) CheckReparse(created, false);
      break;
    }
  }
  return 0;
}
