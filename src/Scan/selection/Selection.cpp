#include "Scan/selection/Selection.h"

#include <utility>

#include "QLMlib/common/ut/Trace.h"
#include "Scan/selection/Evaluators.h"
#include "Scan/selection/SelectNode.h"
#include "Scan/selection/SelectionParser.h"

namespace agent {

const std::array<const char*, 17> Selection::ops = {
    "& <-",  // 1
    "& ->",
    "| <-",
    "| ->",
    "!",  // 5
    "= PERMS",
    "& PERMS",
    "MATCH USER/GROUP",
    "COMPARE USER/GROUP",
    "MATCH PATH",  // 10
    "= TYPE",
    "COMPARE TIMESTAMP",
    "COMPARE SIZE",
    "IN",
    "BETWEEN",  // 15
    "=",
    "COMPARE",
};

namespace {

// A floating pattern names no drive: it is right on every platform, whichever slashes it is written with.
bool isOfAnotherSystem(std::string_view token) {
  return token.find('\\') != std::string_view::npos && !token.starts_with("%/");
}

// The patterns of one list that are for this system, joined again. Empty ones vanish.
std::string filteredList(std::string_view list) {
  std::string kept;
  while (!list.empty()) {
    const size_t comma = list.find(',');
    const std::string_view token = list.substr(0, comma);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
    if (token.empty()) continue;
    TRACE(TR_MAX, "token = %s\n", std::string(token).c_str());
    const bool keep = !isOfAnotherSystem(token);
    TRACE(TR_MAX, "append token = %s\n", keep ? "true" : "false");
    if (!keep) continue;
    if (!kept.empty()) kept += ',';
    kept += token;
  }
  if (kept.empty()) TRACE(TR_MIN, "FilterOutOtherOSPath: Filter is empty\n");
  return kept;
}

}  // namespace

void Selection::setExpression(std::string expression) {
  expression_ = std::move(expression);
  errors_.clear();
}

bool Selection::compile(std::string_view name, int32_t baseLevel) {
  TRACE_SCOPE("Selection::compile()");
  FilterOutOtherOSPath(expression_, 0);
  if (expression_.empty() || expression_ == " ") {
    root_ = SelectTree(new selectNode);
    root_->evaluator = ExslctTrue;
    return true;
  }
  root_ = SelectionParser(expression_, name, baseLevel, errors_).parse();
  return root_ != nullptr;
}

SelectTree Selection::takeRoot() {
  return std::move(root_);
}

// Plain searches throughout: a ")" inside a pattern ends the list, and bytes that happen to read "(F" begin
// one.
void Selection::FilterOutOtherOSPath(std::string& expression, size_t start) {
  TRACE_SCOPE("Selection::FilterOutOtherOSPath()");
  constexpr std::string_view LIST_BEGIN = "(F";
  std::string filtered;
  size_t copied = 0;
  for (;;) {
    const size_t begin = expression.find(LIST_BEGIN, start);
    if (begin == std::string::npos) break;
    const size_t list = begin + LIST_BEGIN.size();
    const size_t end = expression.find(')', list);
    if (end == std::string::npos) break;
    filtered.append(expression, copied, list - copied);
    filtered += filteredList(std::string_view(expression).substr(list, end - list));
    copied = end;
    start = end;
  }
  filtered.append(expression, copied, std::string::npos);
  expression = std::move(filtered);
}

}  // namespace agent
