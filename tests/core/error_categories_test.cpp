#include "olma/core/error_categories.h"

#include <sstream>

#include <gtest/gtest.h>

#include "olma/core/log.h"

namespace {

// The category's name, then its messages for the codes 0 to 3.
std::string Describe(const std::error_category& category) {
  std::string text = category.name();
  for (int code = 0; code <= 3; ++code) text.append("|").append(category.message(code));
  return text;
}

TEST(ErrorCategories, NamesAndMessages) {
  EXPECT_EQ(Describe(Olma::GetFormatCategory()),
            "Olma Format Error|format error|Named argument not found.|Empty Named specifier found.|"
            "More specifiers than expected.");
  EXPECT_EQ(
      Describe(Olma::GetToolsCategory()),
      "Olma Tools Error|tools error|Named argument not found.|Empty Named specifier found.|tools error");
  EXPECT_EQ(Describe(Olma::GetDateTimeCategory()),
            "Olma DateTime Error|format error|Failed to create DateTime.|format error|format error");
}

TEST(SeverityLevel, WritesNamesAndNumbersBeyond) {
  std::ostringstream out;
  for (int level = 0; level <= 7; ++level) out << static_cast<Olma::Log::SeverityLevel>(level) << ' ';
  EXPECT_EQ(out.str(), "Trace Debug Info Warning Error Fatal 6 7 ");
}

}  // namespace
