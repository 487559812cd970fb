#include "report/HtmlParts.h"

#include <algorithm>
#include <cmath>
#include <ctime>

#include "Common/SafeText.h"
#include "terminal/TextLayout.h"

namespace agent::tools {

void HtmlParts::beginPanel(std::string_view title, size_t level, Markup kind) {
  page_ << "<section class=\"" << kind << "\">\n<h" << level << ">" << text(title) << "</h" << level << ">\n";
}

void HtmlParts::beginTable(std::string_view caption, std::initializer_list<ColumnTitle> columns) {
  page_ << "<table><caption>" << text(caption) << "</caption><thead><tr>";
  for (const ColumnTitle& column : columns) {
    page_ << "<th scope=\"col\"";
    if (column.kind == Column::NUMBER) page_ << " class=\"number\"";
    if (column.kind == Column::SHARE) page_ << " class=\"share\"";
    if (column.kind == Column::STRIP) page_ << " class=\"strip-cell\"";
    page_ << ">" << column.title << "</th>";
  }
  page_ << "</tr></thead><tbody>\n";
}

void HtmlParts::beginRow(std::string_view name, bool isGone) {
  page_ << "<tr><th scope=\"row\">";
  this->name(name);
  if (isGone) page_ << " <span class=\"badge\">gone</span>";
  page_ << "</th>";
}

void HtmlParts::beginPathRow(std::string_view path) {
  // The last name counts most.
  const std::string_view trimmed = path.ends_with('/') ? path.substr(0, path.size() - 1) : path;
  const size_t base = trimmed.rfind('/') + 1;  // npos + 1 is 0
  page_ << "<tr><th scope=\"row\" class=\"path\"><bdi class=\"name\"><span>" << text(path.substr(0, base))
        << "</span><wbr>" << text(path.substr(base)) << "</bdi></th>";
}

void HtmlParts::number(std::string_view shown) {
  page_ << "<td class=\"number\">" << text(shown) << "</td>";
}

void HtmlParts::words(std::string_view shown) {
  page_ << "<td><bdi class=\"name\">" << text(shown) << "</bdi></td>";
}

void HtmlParts::share(double part, double whole, double largest) {
  const double length = largest > 0 ? std::clamp(part / largest, 0.0, 1.0) : 0;
  page_ << "<td class=\"share\">";
  if (whole > 0) page_ << "<span>" << text(shareText(part, whole)) << "</span>";
  page_ << "<svg class=\"bar\" aria-hidden=\"true\" width=\"100%\" height=\"8\"><rect class=\"track\" "
           "width=\"100%\" "
           "height=\"8\" rx=\"2\"/><rect class=\"fill\" width=\""
        << Measure{100 * length} << "%\" height=\"8\" rx=\"2\"/></svg></td>";
}

void HtmlParts::growth(double change, double largest) {
  constexpr double MIDDLE = 50;
  const double length = largest > 0 ? std::clamp(std::abs(change) / largest, 0.0, 1.0) * MIDDLE : 0;
  page_
      << "<td class=\"strip-cell\"><svg class=\"bar\" aria-hidden=\"true\" width=\"100%\" height=\"8\"><rect "
         "class=\"track\" width=\"100%\" height=\"8\" rx=\"2\"/>";
  if (change < 0) {
    page_ << "<rect class=\"shrank\" x=\"" << Measure{MIDDLE - length};
  } else {
    page_ << "<rect class=\"grew\" x=\"" << Measure{MIDDLE};
  }
  page_ << "%\" width=\"" << Measure{length} << "%\" height=\"8\"/></svg></td>";
}

void HtmlParts::name(std::string_view bytes) {
  page_ << "<bdi class=\"name\">" << text(bytes) << "</bdi>";
}

void HtmlParts::more(size_t total) {
  if (total <= rows_) return;
  page_ << "<p class=\"more\">… and " << text(grouped(static_cast<int64_t>(total - rows_))) << " more</p>\n";
}

std::string shareText(double part, double whole) {
  if (!(whole > 0) || !(part > 0)) return "0%";
  const double percent = 100 * part / whole;
  if (percent < 1) return "<1%";
  if (percent > 99 && percent < 100) return ">99%";
  return std::to_string(std::lround(std::min(percent, 1e9))) + "%";
}

double sumOf(const std::vector<int64_t>& numbers) {
  double sum = 0;
  for (const int64_t number : numbers) sum += std::max(0.0, static_cast<double>(number));
  return sum;
}

std::string humanSpace(double blocks) {
  constexpr double MOST = 9e18;  // that an int64_t holds
  return humanBlocks(static_cast<int64_t>(std::clamp(blocks, 0.0, MOST)));
}

std::string countOf(int64_t number, const char* one, const char* several) {
  return grouped(number) + " " + (number == 1 ? one : several);
}

std::string formattedUtc(int64_t milliseconds, const char* format) {
  const auto seconds = static_cast<time_t>(milliseconds / 1000);
  struct tm fields = {};
  char formatted[64];
  if (gmtime_r(&seconds, &fields) == nullptr || strftime(formatted, sizeof formatted, format, &fields) == 0) {
    return std::to_string(milliseconds) + " ms";
  }
  return formatted;
}

std::string humanUtc(int64_t milliseconds) {
  return formattedUtc(milliseconds, "%Y-%m-%d, %H:%M UTC");
}

int64_t secondsBetween(int64_t before, int64_t after) {
  int64_t difference = 0;
  if (__builtin_sub_overflow(after, before, &difference)) return after < before ? -1 : after / 1000;
  return difference / 1000;
}

}  // namespace agent::tools
