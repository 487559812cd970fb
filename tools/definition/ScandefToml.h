#pragma once

#include <string>

namespace agent::scandef {

class ScandefOptions;

/// Reads a definition that people write (TOML 1.0). Its keys are the options without their dashes; what there
/// may be several of stands in arrays or in tables of their own:
///
///   job = "home"
///   monitor = ["*", "/home/projects/*"]
///
///   [[filesystem]]                filesystems = ["/home"] does where nothing else is to be said of them
///   path = "/home"
///   type = "ext4"
///   id = 5
///
///   [[statistic]]
///   name = "old logs"
///   summary = true
///   largest-files = 20
///   only = ["/home"]
///   where = "type=file and name like '%/*.log'"
///
/// @throws UsageError "FILE:LINE:COLUMN: what was expected", or why the file can't be read
void readToml(const std::string& fileName, ScandefOptions& options);

}  // namespace agent::scandef
