#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Common/EntityToObjectMapper.h"

namespace agent::tools {

/// A result file that can't be read; what() says why, for people.
class ResultFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One node of a result file with its rows and children, as they stand there.
struct ResultNode {
  std::string tag;
  Row columns;
  Rows rows;
  std::vector<ResultNode> children;

  /// The first row's cell of a column; empty when there is none or when it says "null".
  std::string text(std::string_view column) const;
  int64_t number(std::string_view column) const;
  /// A histogram's cell.
  std::vector<int64_t> numbers(std::string_view column) const;
  bool flag(std::string_view column) const { return text(column) == "Y"; }

  /// The first child with this tag, or null.
  const ResultNode* child(std::string_view childTag) const;
  std::vector<const ResultNode*> childrenOf(std::string_view childTag) const;
};

/// Everything that stands in one result file below its "AgentScan" nodes, in file order.
/// @throws ResultFileError when the file can't be read or holds no result
std::vector<ResultNode> readResultFile(const std::string& fileName);

}  // namespace agent::tools
