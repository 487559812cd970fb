#include "QLMlib/common/nls/DateTimeFormat.h"

#include <clocale>
#include <cstdlib>

#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

std::tm quarterPastTen() {
  std::tm time{};
  ::strptime("2014-03-25 22:15:02", "%Y-%m-%d %T", &time);
  return time;
}

class DateTimeFormatTest : public FilesTest {
 protected:
  ~DateTimeFormatTest() override {
    std::setlocale(LC_TIME, "C");
    ::unsetenv("LOCPATH");
    setFormats(0, 0, 0);
  }

  /// Builds a locale of the C library and takes its LC_TIME; false where the host lacks the sources.
  bool useLocale(const std::string& name) {
    const std::string compile =
        "localedef --no-archive -i " + name + " -f UTF-8 " + path(name + ".UTF-8") + " >/dev/null 2>&1";
    if (std::system(compile.c_str()) != 0) return false;
    ::setenv("LOCPATH", path().c_str(), 1);
    return std::setlocale(LC_TIME, (name + ".UTF-8").c_str()) != nullptr;
  }
};

TEST_F(DateTimeFormatTest, NumbersChooseFormats) {
  struct Case {
    int32_t date, time, number;
    const char *dateShown, *timeShown, *numberShown;
  };
  const Case cases[] = {
      {0, 0, 0, "03/25/2014", "22:15:02", "1,234,567 ."},
      {2, 2, 2, "25-03-2014", "22,15,02", "1,234,567 ,"},
      {3, 3, 3, "2014-03-25", "22.15.02", "1 234 567 ,"},
      {4, 4, 4, "25.03.2014", "10:15:02PM", "1 234 567 ."},
      {5, 1, 5, "2014.03.25", "22:15:02", "1.234.567 ,"},
      {6, 5, 7, "03/25/2014", "22:15:02", "1,234,567 ."},  // outside the tables
      {-1, -1, -1, "03/25/2014", "22:15:02", "1,234,567 ."},
  };
  for (const Case& c : cases) {
    setFormats(c.date, c.time, c.number);
    EXPECT_EQ(dateText(quarterPastTen()), c.dateShown);
    EXPECT_EQ(timeText(quarterPastTen()), c.timeShown);
    EXPECT_EQ(numberText(1234567) + " " + decimalMark(), c.numberShown);
  }
  setFormats(0, 0, 0);
  EXPECT_EQ(numberText(-999), "-999");
  EXPECT_EQ(numberText(-1000), "-1,000");
  date_fmt_str = "%d/%m/%y";
  EXPECT_EQ(dateText(quarterPastTen()), "25/03/14  ");  // ten columns
}

TEST_F(DateTimeFormatTest, ALocaleWithALanguageGivesItsDateAndATimeThatEndsInSeconds) {
  for (const auto& [locale, date, time] :
       {std::tuple("C", "%m/%d/%Y", "%H:%M:%S"),
        {"POSIX", "%m/%d/%Y", "%H:%M:%S"},
        {"C.UTF-8", "%m/%d/%Y", "%H:%M:%S"},
        {"de_DE", "%d.%m.%Y", "%T"},
        {"en_US", "%m/%d/%Y", "%H:%M:%S"}}) {  // no milliseconds behind "PM"
    if (std::setlocale(LC_TIME, locale) == nullptr && !useLocale(locale)) {
      GTEST_SKIP() << "the host can't build the locale " << locale;
    }
    setFormats(0, 0, 0);
    EXPECT_EQ(date_fmt_str, date) << locale;
    EXPECT_EQ(time_fmt_str, time) << locale;
  }
}

}  // namespace
}  // namespace agent::test
