#pragma once

#include <CLI/App.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "definition/MountKinds.h"
#include "definition/ScandefDefinition.h"
#include "definition/ScandefLanguage.h"
#include "terminal/CommandOptions.h"

namespace agent::scandef {

using tools::UsageError;

/// What the command line asks for.
struct Request {
  enum class Action {
    WRITE,          ///< the definition
    CHECK,          ///< nothing but whether it could be written
    EXPLAIN,        ///< say in words what it asks for
    EXPLAIN_BYTES,  ///< show a selection of a definition file as text
    COMPILE,        ///< show a selection as bytes
    RUN,            ///< scan, and show the report
    SLICE,          ///< the definitions of its slices
  };

  /// How a definition is to be cut.
  struct Slices {
    size_t count = 0;                      ///< 0: not given
    std::vector<std::string> directories;  ///< that are to be slices, by this host's names
    std::vector<std::string> last;         ///< results that tell how large directories are
    std::string times;                     ///< the slices of the last time; empty for none
  };

  Action action = Action::WRITE;
  std::string subject;    ///< of EXPLAIN_BYTES and COMPILE
  std::string file;       ///< the readable definition; empty for none
  Definition definition;  ///< of the others
  Slices slices;          ///< of SLICE
  std::string output;     ///< a file, or empty for standard output; of SLICE a directory
  std::string install;    ///< the job's install location, or empty
  std::string server;
  std::vector<std::string> remarks;  ///< what standard error is to say, though it is no error
  int32_t sidRunNumber = 1;
  int32_t jobRunNumber = 0;                ///< 0: not given
  size_t rows = 0;                         ///< of the report's lists; 0: not given
  std::vector<std::string> reportOptions;  ///< others of scanreport(1)
};

/// The options of scandef, and what they build up. A readable definition sets the same options, one after the
/// other, so that both mean the same.
class ScandefOptions {
 public:
  /// @param mounts where the kinds of file systems are looked up
  explicit ScandefOptions(MountKinds mounts = MountKinds::ofThisHost());
  ~ScandefOptions() = default;
  ScandefOptions(const ScandefOptions&) = delete;
  ScandefOptions& operator=(const ScandefOptions&) = delete;

  /// Takes a whole command line, and in front of it the definition file that it names.
  /// @return what is to be printed instead of going on: a help or the version
  /// @throws UsageError
  std::optional<std::string> parse(const std::vector<std::string>& arguments);

  /// Takes one option.
  /// @param value not looked at for one that takes none
  /// @throws UsageError
  void set(const std::string& option, const std::string& value);

  /// @return none where there is no such option
  std::optional<bool> takesValue(const std::string& option) const;

  const Request& request() const { return request_; }
  const CLI::App& command() const { return command_; }

 private:
  /// Takes an option's value.
  using Handler = std::function<void(const std::string& option, const std::string& value)>;
  struct Known {
    bool takesValue;
    Handler handler;
  };

  /// @param valueName of the manual; empty for an option that takes no value
  CLI::Option* add(const std::string& names, const char* valueName, const std::string& description,
                   Handler handler);
  void addScanOptions();
  void addJobOptions();
  void addSliceOptions();
  void addStatisticOptions();

  void takePlace(const std::string& place);
  void takeColumn(const StatisticOption& known, const std::string& option, const std::string& value);
  void finish();
  void check() const;
  void checkSlices() const;
  void findKinds();
  void findFiler(MountPoint& filesystem, const std::string& source);
  void placeDirectories();
  std::vector<std::string> placesOf(const std::string& path) const;
  void remark();
  Statistic& statistic();
  int32_t filesystemAt(const std::string& option, const std::string& path) const;

  CLI::App command_;
  MountKinds mounts_;
  std::map<std::string, Known> known_;                          // by the name with its dashes
  const char* group_ = "";                                      // of the options that are being added
  std::vector<std::string> places_;                             // what stands without an option
  ptrdiff_t mountPoints_ = 0;                                   // of these, in front of the arguments
  std::vector<std::pair<std::string, std::string>> arguments_;  // options with values, as they were written
  Request request_;
  std::map<size_t, Caveats> caveats_;  // of each statistic's selection, by its place
};

/// What somebody has written, as a message quotes it.
std::string shown(const std::string& words);

/// A message about `text`, with the place marked below it.
std::string marked(const std::string& text, size_t position, const std::string& reason);

}  // namespace agent::scandef
