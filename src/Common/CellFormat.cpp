#include "Common/CellFormat.h"

namespace agent {

const char* nameOf(CellKind kind) {
  switch (kind) {
    case CellKind::NUMBER_8:
      return "8-bit number";
    case CellKind::NUMBER_16:
      return "16-bit number";
    case CellKind::NUMBER_32:
      return "32-bit number";
    case CellKind::NUMBER_64:
      return "64-bit number";
    case CellKind::FRACTION:
      return "number with a fraction";
    case CellKind::FLAG:
      return "flag";
    case CellKind::TEXT:
      return "text";
    case CellKind::TEXTS:
      return "texts";
    case CellKind::NUMBERS:
      return "numbers";
    case CellKind::SELECTION:
      return "selection";
  }
  return "";
}

std::vector<std::string> splitAtCommas(std::string_view cell) {
  std::vector<std::string> parts;
  while (!cell.empty()) {
    const size_t comma = cell.find(',');
    parts.emplace_back(cell.substr(0, comma));
    cell.remove_prefix(comma == std::string_view::npos ? cell.size() : comma + 1);
  }
  return parts;
}

std::string joinWithCommas(const std::vector<std::string>& parts) {
  std::string joined;
  for (size_t part = 0; part < parts.size(); ++part) {
    if (part > 0) joined += ',';
    joined += parts[part];
  }
  return joined;
}

}  // namespace agent
