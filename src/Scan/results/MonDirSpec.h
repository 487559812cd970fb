#pragma once

#include <cstdint>
#include <string>

#include "Common/EntityToObjectMapper.h"
#include "Common/RecordTable.h"

namespace agent {

/// A directory to be monitored: the statistics of `sdType` 0 apply to the subtree below it.
class MonDirSpec : public EntityToObjectMapper {
 public:
  MonDirSpec() : EntityToObjectMapper("MonDirSpec") {}

  static const RecordTable<MonDirSpec>& table();

  void inititializeObject(const HeaderRow& refHeaderArray, const Rows& refDataArray) override;

  static void printHeader(GenericPrint& print);
  /// @param nested put the row into a node of the class
  void printData(GenericPrint& print, bool nested = true) const;

  int32_t getMdsID() const { return mdsID_; }
  void setMdsID(int32_t id) { mdsID_ = id; }
  int32_t getMdsGroupID() const { return mdsGroupID_; }
  void setMdsGroupID(int32_t id) { mdsGroupID_ = id; }
  int32_t getMdsComputerID() const { return mdsComputerID_; }
  void setMdsComputerID(int32_t id) { mdsComputerID_ = id; }
  const std::string& getMdsPath() const { return mdsPath_; }
  void setMdsPath(std::string path) { mdsPath_ = std::move(path); }
  bool getMdsMaskedPath() const { return mdsMaskedPath_; }
  void setMdsMaskedPath(bool masked) { mdsMaskedPath_ = masked; }

 private:
  int32_t mdsID_ = 0;
  int32_t mdsGroupID_ = 0;     // carried through for the server
  int32_t mdsComputerID_ = 0;  // the computer whose file systems it is for; below 1: any
  std::string mdsPath_;
  bool mdsMaskedPath_ = false;
};

}  // namespace agent
