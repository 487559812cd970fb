#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "figures/Figures.h"
#include "report/HtmlWriter.h"

// What the sections of a page are made of.

namespace agent::tools {

/// What stands in a column of a table.
enum class Column {
  NAME,    ///< the row's heading
  WORDS,   ///< text
  NUMBER,  ///< figures, to the right
  SHARE,   ///< a share and its bar
  STRIP    ///< a drawing that a narrow page leaves out
};

struct ColumnTitle {
  Markup title;
  Column kind = Column::NAME;
};

/// Panels and tables. What begins here has to be ended.
class HtmlParts {
 public:
  /// @param rows how many lines of each list are shown
  HtmlParts(HtmlWriter& page, size_t rows) : page_(page), rows_(rows) {}

  HtmlWriter& page() { return page_; }
  size_t rows() const { return rows_; }

  /// A section with a heading.
  /// @param level of the heading: one below that around it
  /// @param kind classes of the style sheet
  void beginPanel(std::string_view title, size_t level, Markup kind = "panel");
  void endPanel() { page_ << "</section>\n"; }

  /// @param caption for those who don't see what the table stands below
  void beginTable(std::string_view caption, std::initializer_list<ColumnTitle> columns);
  void endTable() { page_ << "</tbody></table>\n"; }

  /// A row up to its heading, which is a name or a path.
  void beginRow(std::string_view name, bool isGone = false);
  void beginPathRow(std::string_view path);
  void endRow() { page_ << "</tr>\n"; }

  void number(std::string_view shown);
  void words(std::string_view shown);
  /// @param whole what it is a share of; 0 where that isn't known
  /// @param largest what the bar is as long as its cell for
  void share(double part, double whole, double largest);

  /// A bar from the middle: to the right for what grew, to the left for what shrank.
  /// @param largest what half of its cell stands for
  void growth(double change, double largest);

  /// A name or a path inside other text.
  void name(std::string_view bytes);

  /// How many rows a list has beyond those that are shown.
  void more(size_t total);

 private:
  HtmlWriter& page_;
  size_t rows_;
};

// Numbers of a file may have any size and sign: sums of them are no integers, and what is below 0 counts as
// 0.

/// "38%", "<1%", ">99%"; "0%" for nothing.
std::string shareText(double part, double whole);

double sumOf(const std::vector<int64_t>& numbers);

/// Units of 512 bytes for people, for a sum.
std::string humanSpace(double blocks);

/// "1 file", "1,234 files".
std::string countOf(int64_t number, const char* one, const char* several);

/// A time in milliseconds since the epoch, as strftime(3) has it.
std::string formattedUtc(int64_t milliseconds, const char* format);

/// The same for people: "2026-11-24, 23:03 UTC".
std::string humanUtc(int64_t milliseconds);

/// Seconds between two times in milliseconds.
int64_t secondsBetween(int64_t before, int64_t after);

}  // namespace agent::tools
