#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

/// A rule of a scoring policy. The format has room for it: its header row stands in every result file. No
/// definition of this job makes one.
class FileScoreRule : public EntityToObjectMapper {
 public:
  FileScoreRule();

  static const RecordTable<FileScoreRule>& table();

  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;
  static void printHeader(GenericPrint& print);
  void printData(GenericPrint& print) const;

  int16_t getType() const { return type_; }
  void setType(int16_t type) { type_ = type; }
  int16_t getOperator() const { return operator_; }
  void setOperator(int16_t op) { operator_ = op; }
  const std::string& getRule() const { return rule_; }
  size_t getRuleLength() const { return rule_.size(); }
  void setRule(std::string rule) { rule_ = std::move(rule); }
  int16_t getScore() const { return score_; }
  void setScore(int16_t score) { score_ = score; }

 private:
  int16_t type_ = 0;
  int16_t operator_ = 0;
  std::string rule_;
  int16_t score_ = 0;
};

}  // namespace agent
