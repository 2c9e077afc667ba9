#include "olma/core/error_categories.h"

#include <sstream>

#include <gtest/gtest.h>

#include "olma/core/log.h"

namespace {

TEST(ErrorCategories, NamesAndMessages) {
  struct Case {
    const std::error_category& category;
    const char* name;
    int code;
    const char* message;
  } const cases[] = {
      {Olma::GetFormatCategory(), "Olma Format Error", 1, "Named argument not found."},
      {Olma::GetFormatCategory(), "Olma Format Error", 2, "Empty Named specifier found."},
      {Olma::GetFormatCategory(), "Olma Format Error", 3, "More specifiers than expected."},
      {Olma::GetFormatCategory(), "Olma Format Error", 4, "format error"},
      {Olma::GetToolsCategory(), "Olma Tools Error", 1, "Named argument not found."},
      {Olma::GetToolsCategory(), "Olma Tools Error", 2, "Empty Named specifier found."},
      {Olma::GetToolsCategory(), "Olma Tools Error", 3, "tools error"},
      {Olma::GetDateTimeCategory(), "Olma DateTime Error", 1, "Failed to create DateTime."},
      {Olma::GetDateTimeCategory(), "Olma DateTime Error", 0, "format error"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    EXPECT_STREQ(c.category.name(), c.name);
    EXPECT_EQ(c.category.message(c.code), c.message);
  }
}

TEST(ErrorCategories, AccessorsReturnOneInstance) {
  EXPECT_EQ(&Olma::GetFormatCategory(), &Olma::GetFormatCategory());
  EXPECT_NE(static_cast<const std::error_category*>(&Olma::GetFormatCategory()),
            static_cast<const std::error_category*>(&Olma::GetToolsCategory()));
}

TEST(SeverityLevel, WritesNamesAndNumbersBeyond) {
  std::ostringstream out;
  for (int level = 0; level <= 7; ++level) out << static_cast<Olma::Log::SeverityLevel>(level) << ' ';
  EXPECT_EQ(out.str(), "Trace Debug Info Warning Error Fatal 6 7 ");
}

}  // namespace
