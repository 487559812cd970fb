#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Common/CellFormat.h"
#include "Common/EntityToObjectMapper.h"

namespace agent::tools {

/// A file that can't be read at all; what() says why, for people.
class ResultFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The columns of a record class, as the header block of a result file names them.
struct ResultClass {
  /// @param tag the class tag; what this program knows of the class is looked up here, once
  ResultClass(const std::string& tag, Row columnNames);
  ResultClass(const ResultClass&) = delete;
  ResultClass& operator=(const ResultClass&) = delete;

  const Row names;
  std::vector<std::optional<CellKind>> kinds;           ///< of each column; none for one that isn't known
  std::unordered_map<std::string_view, size_t> places;  ///< of each name, the first
};

/// One node of a result file with its rows and children, as they stand there.
struct ResultNode {
  std::string tag;
  std::shared_ptr<const ResultClass> columns;
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

/// The first place at which a file isn't what the job writes: cut off, damaged, or never a result.
struct ResultFault {
  int64_t line = 0;    ///< counted from 1
  std::string reason;  ///< what was expected there and what stands there, for people

  /// "line 12: expected ..."
  std::string text() const { return "line " + std::to_string(line) + ": " + reason; }
};

/// One result file as far as it is sound.
struct ResultFile {
  /// What stands below its "AgentScan" nodes, in file order and in front of the fault. Of the nodes that the
  /// fault leaves open those are kept that have their row; what was found in a monitored directory is left
  /// out when the file doesn't get as far as to say in which.
  std::vector<ResultNode> nodes;
  std::optional<ResultFault> fault;  ///< none: the file is whole
  std::string checksum;              ///< SHA-256 of a whole file, in hexadecimal, where it was asked for
};

/// Whether the checksum of a file is made while it is read, which takes a third of the time again.
enum class Checksum { NONE, SHA256 };

/// Reads a result file up to its end or its first fault.
/// @throws ResultFileError when it can't be opened or read
ResultFile readResultFile(const std::string& fileName, Checksum checksum = Checksum::NONE);

}  // namespace agent::tools
