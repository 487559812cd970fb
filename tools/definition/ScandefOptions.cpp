#include "ScandefOptions.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/NumberText.h"
#include "ScandefPatterns.h"
#include "ScandefToml.h"
#include "figures/Figures.h"

namespace agent::scandef {

namespace {

int32_t number(const std::string& option, const std::string& value, int32_t lowest, int32_t highest) {
  const std::optional<int32_t> result = wholeNumber<int32_t>(value);
  if (!result || *result < lowest || *result > highest) {
    throw UsageError(option + ": " + shown(value) + " is no number from " + std::to_string(lowest) + " to " +
                     std::to_string(highest));
  }
  return *result;
}

int32_t id(const std::string& option, const std::string& value) {
  return number(option, value, 1, std::numeric_limits<int32_t>::max());
}

/// "7=/home" as 7 and "/home"; "/home" alone gets the next number after the highest so far.
template <typename Record>
Record numberedPath(const std::string& option, const std::string& value, const std::vector<Record>& before) {
  const size_t equals = value.find('=');
  const bool hasId = equals != std::string::npos && equals > 0 &&
                     std::all_of(value.begin(), value.begin() + static_cast<ptrdiff_t>(equals),
                                 [](char c) { return c >= '0' && c <= '9'; });
  int32_t highest = 0;
  for (const Record& record : before) highest = std::max(highest, record.id);
  if (!hasId && highest == std::numeric_limits<int32_t>::max())
    throw UsageError(option + ": no id is left: give one");
  Record record;
  record.id = hasId ? id(option, value.substr(0, equals)) : highest + 1;
  record.path = hasId ? value.substr(equals + 1) : value;
  if (record.path.empty()) throw UsageError(option + ": the path is missing");
  return record;
}

int16_t filesystemType(const std::string& option, const std::string& value) {
  std::string names;
  for (const auto& [name, type] : FILESYSTEM_TYPES) {
    if (value == name) return type;
    names += " " + std::string(name);
  }
  throw UsageError(option + ": " + shown(value) + " is none of" + names);
}

bool isByteList(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789-, ") == std::string::npos;
}

/// What completion offers; another is refused by whoever takes the value.
template <typename Kinds>
CLI::Validator offering(const Kinds& kinds) {
  std::string members;
  for (const FilesystemType& kind : kinds) members += (members.empty() ? "" : ",") + std::string(kind.name);
  return CLI::Validator([](std::string&) { return std::string(); }, "{" + members + "}", "");
}

constexpr const char* EXAMPLES =
    "Selections of --where: type = file, name like '%/*.log', owner = 'anna', size >= 10M,\n"
    "  mtime < -90d, atime, orphan, attributes any setuid, and, or, not: see scandef(1).\n"
    "Example: scandef /home --by-owner --largest-files 20 --where \"atime<-365d\" --run";

}  // namespace

ScandefOptions::ScandefOptions(MountKinds mounts) : mounts_(std::move(mounts)) {
  tools::beginCommand(command_, "scandef", "[FILE.toml] [MOUNTPOINT...] [option...]",
                      "Says what a scan is to do: writes its definition, or scans at once with --run.",
                      EXAMPLES);
  command_.add_option("PLACE", places_, "a definition that people can read, or a mount point to scan")
      ->type_name("FILE");
  addScanOptions();
  addJobOptions();
  addSliceOptions();
  addStatisticOptions();
}

CLI::Option* ScandefOptions::add(const std::string& names, const char* valueName,
                                 const std::string& description, Handler handler) {
  const std::string name = names.substr(0, names.find(','));
  const bool takesValue = *valueName != '\0';
  known_[name] = {takesValue, std::move(handler)};
  CLI::Option* option = nullptr;
  if (takesValue) {
    const auto written = [this, name](const std::string& value) { arguments_.emplace_back(name, value); };
    option = command_.add_option_function<std::string>(names, written, description)->type_name(valueName);
  } else {
    const auto written = [this, name](int64_t) { arguments_.emplace_back(name, ""); };
    option = command_.add_flag_function(names, written, description);
  }
  // Each time that it stands there, since an option belongs to what stands in front of it.
  return option->trigger_on_parse()->group(group_);
}

void ScandefOptions::addScanOptions() {
  group_ = "What to scan and to do";
  const auto action = [this](Request::Action wanted) {
    return [this, wanted](const std::string&, const std::string&) { request_.action = wanted; };
  };
  const auto text = [](std::string& target) {
    return [&target](const std::string&, const std::string& value) { target = value; };
  };
  add("--run", "",
      "scan now and show the report\n"
      "The definition, the result and the logs lie below the install location that --install names, "
      "otherwise "
      "below scandef's own, or where that may not be written below XDG_STATE_HOME or .local/state of the "
      "home "
      "directory. It ends with the job's exit code.",
      action(Request::Action::RUN));
  add("--explain", "",
      "say in words what would be scanned and counted\n"
      "Behind it may also stand the bytes of a selection, signed decimal numbers as in the last column of a "
      "statistic's row, to see that as text.",
      action(Request::Action::EXPLAIN));
  add("--check", "",
      "only say whether the definition is sound\n"
      "Of a file that isn't, the message names file, line, column and what was expected.",
      action(Request::Action::CHECK));
  add("--output,-o", "FILE", "write to a file instead of standard output", text(request_.output));
  add("--install", "DIRECTORY", "write to where a job installed there looks\nIt says how to start the job.",
      text(request_.install));
  add("--monitor", "DIRECTORY",
      "a directory, or a pattern, for --directories\n"
      "It is a path pattern, so one that stands for several directories gives several results, and a special "
      "character of its name is written with an & in front. With a slash in front it has to begin with a "
      "mount "
      "point, spelled as for --filesystem; without, it lies below each of them and counts as a monitored "
      "directory for each: the first has the id that ID=DIRECTORY gives, the others get the next ones.",
      [this](const auto& option, const auto& value) {
        std::vector<MonitoredDirectory>& directories = request_.definition.directories;
        directories.push_back(numberedPath(option, value, directories));
      });
}

void ScandefOptions::addJobOptions() {
  group_ = "More of a job";
  Definition& definition = request_.definition;
  add("--filesystem", "MOUNTPOINT",
      "scan this file system\n"
      "The same as a mount point without the option. ID=MOUNTPOINT gives it an id; otherwise it is one more "
      "than "
      "the highest so far.",
      [&definition](const auto& option, const auto& value) {
        definition.filesystems.push_back(numberedPath(option, value, definition.filesystems));
      });
  add("--type", "NAME",
      "kind of the file system before\n"
      "The mount table tells it unless it is given, or unless definitions know no such kind: then the report "
      "has "
      "UNKNOWN.",
      [&definition](const auto& option, const auto& value) {
        if (definition.filesystems.empty()) throw UsageError(option + " belongs behind a --filesystem");
        definition.filesystems.back().type = filesystemType(option, value);
      })
      ->check(offering(FILESYSTEM_TYPES));
  add("--job", "NAME", "name of the job (scan)",
      [&definition](const auto&, const auto& value) { definition.jobName = value; });
  add("--computer", "N", "id of this computer (1)",
      [&definition](const auto& option, const auto& value) { definition.computer = id(option, value); });
  add("--server", "NAME",
      "the server's name\n"
      "A directory of that name stands below input, output and log. A job that is given one tells the agent "
      "how it "
      "ended.",
      [this](const auto&, const auto& value) { request_.server = value; });
  add("--sid", "N", "the schedule's number (1)",
      [this](const auto& option, const auto& value) { request_.sidRunNumber = id(option, value); });
  add("--run-number", "N", "the run's number (1, with --run the next)",
      [this](const auto& option, const auto& value) { request_.jobRunNumber = id(option, value); });
  add("--rows", "N",
      "lines of each list in the report of --run\n"
      "As long as the longest list that is asked for, up to 50, unless it is given.",
      [this](const auto& option, const auto& value) {
        request_.rows = static_cast<size_t>(id(option, value));
      });
  add("--sort", "ORDER", "what the lists of the report of --run begin with",
      [this](const auto& option, const auto& value) {
        if (std::find(tools::ORDER_NAMES.begin(), tools::ORDER_NAMES.end(), value) ==
            tools::ORDER_NAMES.end())
          throw UsageError(option + ": " + shown(value) + " is none of space, entries, name");
        request_.reportOptions.insert(request_.reportOptions.end(), {option, value});
      });
  add("--details", "", "the report of --run tells apparent sizes and names",
      [this](const auto& option, const auto&) { request_.reportOptions.push_back(option); });
  add("--compile", "SELECTION", "show a selection as bytes\nSo it stands in a definition.",
      [this](const auto&, const auto& value) {
        request_.action = Request::Action::COMPILE;
        request_.subject = value;
      });
}

void ScandefOptions::addSliceOptions() {
  group_ = "A file system on many nodes";
  Request::Slices& slices = request_.slices;
  add("--slices", "N",
      "cut the definition into N slices and what is left\n"
      "Each is a directory below a mount point, chosen so that all take about the same time. A few times as "
      "many as "
      "there are nodes keep these busy. --output names a directory, which gets what each node needs: "
      "examples/slurm/scan.sbatch runs them, scanreport --merge joins their results.",
      [this, &slices](const auto& option, const auto& value) {
        constexpr int32_t MOST = 10'000;
        slices.count = static_cast<size_t>(number(option, value, 1, MOST));
        request_.action = Request::Action::SLICE;
      });
  add("--slice", "DIRECTORY", "cut it by this directory\nMay be repeated; instead of --slices.",
      [this, &slices](const auto&, const auto& value) {
        slices.directories.push_back(value);
        request_.action = Request::Action::SLICE;
      });
  add("--last", "RESULT",
      "a result by which --slices knows large directories\nMay be repeated. Its lists of directories count, "
      "the "
      "longer the better.",
      [&slices](const auto&, const auto& value) { slices.last.push_back(value); });
  add("--times", "DIRECTORY",
      "the slices of the last time, which say how long each took\nA slice that took more than a tenth of the "
      "whole is cut again, so that there may be more than N.",
      [&slices](const auto&, const auto& value) { slices.times = value; });
}

void ScandefOptions::addStatisticOptions() {
  group_ = "Options of a statistic";
  add("--statistic", "NAME",
      "begins a statistic: what follows belongs to it\n"
      "It counts all file systems of the job. Options that stand in front of the first one begin a statistic "
      "of "
      "their own, with the name \"all\".",
      [this](const auto& option, const auto& value) {
        if (value.empty()) throw UsageError(option + ": the name is missing");
        request_.definition.statistics.emplace_back(value);
      });
  add("--only", "MOUNTPOINT",
      "count this file system alone\nMay be repeated; it has to be named in front of the statistic.",
      [this](const auto& option, const auto& value) {
        statistic().onlyFilesystems.push_back(filesystemAt(option, value));
      });
  add("--directories", "", "count each monitored directory instead",
      [this](const auto&, const auto&) { statistic().ofDirectories = true; });
  for (const StatisticOption& known : STATISTIC_OPTIONS) {
    const CellKind kind = statisticColumnKind(known.tag);
    const char* const valueName = kind == CellKind::FLAG        ? ""
                                  : kind == CellKind::SELECTION ? "SELECTION"
                                  : kind == CellKind::TEXT      ? "TEXT"
                                                                : "N";
    add("--" + std::string(known.name), valueName, known.help,
        [this, &known](const auto& option, const auto& value) { takeColumn(known, option, value); });
  }
}

std::optional<std::string> ScandefOptions::parse(const std::vector<std::string>& arguments) {
  if (auto text = tools::parseCommand(command_, arguments)) return text;
  for (const std::string& place : places_) takePlace(place);
  if (!request_.file.empty()) readToml(request_.file, *this);
  for (const auto& [option, value] : arguments_) set(option, value);
  finish();
  return std::nullopt;
}

std::optional<bool> ScandefOptions::takesValue(const std::string& option) const {
  const auto found = known_.find(option);
  return found != known_.end() ? std::optional(found->second.takesValue) : std::nullopt;
}

void ScandefOptions::set(const std::string& option, const std::string& value) {
  known_.at(option).handler(option, value);
}

// A definition file, the bytes of a selection, or a mount point: each looks otherwise.
void ScandefOptions::takePlace(const std::string& place) {
  std::error_code error;
  if (isByteList(place)) {
    request_.subject = place;
  } else if (place.ends_with(".toml") || std::filesystem::is_regular_file(place, error)) {
    if (!request_.file.empty())
      throw UsageError("two definitions are named, " + shown(request_.file) + " and " + shown(place));
    request_.file = place;
  } else {
    arguments_.emplace(arguments_.begin() + mountPoints_++, "--filesystem", place);
  }
}

void ScandefOptions::finish() {
  if (isByteList(request_.subject) && request_.action != Request::Action::COMPILE) {
    if (request_.action != Request::Action::EXPLAIN)
      throw UsageError(shown(request_.subject) + ": the bytes of a selection go with --explain");
    request_.action = Request::Action::EXPLAIN_BYTES;
  }
  if (request_.action == Request::Action::COMPILE || request_.action == Request::Action::EXPLAIN_BYTES)
    return;
  check();
  findKinds();
  placeDirectories();
  remark();
}

void ScandefOptions::takeColumn(const StatisticOption& known, const std::string& option,
                                const std::string& value) {
  std::string& cell = statistic()[known.tag];
  switch (statisticColumnKind(known.tag)) {
    case CellKind::NUMBER_32:
      cell = std::to_string(id(option, value));
      break;
    case CellKind::NUMBER_16:
      cell = std::to_string(number(option, value, 0, std::numeric_limits<int16_t>::max()));
      break;
    case CellKind::FLAG:
      cell = ScanVOXTags::VOX_TRUE;
      break;
    case CellKind::SELECTION:
      try {
        const std::string expression =
            compileWhere(value, &caveats_[request_.definition.statistics.size() - 1]);
        cell = expression.empty() ? "" : byteList(expression);
        statistic().where = expression.empty() ? "" : value;
      } catch (const LanguageError& error) {
        throw UsageError(option + ": " + marked(value, error.position(), error.what()));
      }
      break;
    default:
      cell = value;
      break;
  }
}

void ScandefOptions::check() const {
  const Definition& definition = request_.definition;
  if (definition.filesystems.empty()) throw UsageError("nothing to scan: name a mount point");
  if (definition.jobName.empty() || definition.jobName.find('/') != std::string::npos) {
    throw UsageError("--job: " + shown(definition.jobName) + " can't be part of a file's name");
  }
  if (request_.server.find('/') != std::string::npos) {
    throw UsageError("--server: " + shown(request_.server) + " can't be the name of a directory");
  }
  if (!request_.install.empty() && !request_.output.empty()) {
    throw UsageError("--install names the file itself: leave --output out");
  }
  checkSlices();
  const bool isWritten =
      request_.action == Request::Action::WRITE || request_.action == Request::Action::SLICE;
  if (!isWritten && !request_.output.empty()) {
    throw UsageError("--output is for a definition that is written: leave it out");
  }
  for (const Statistic& statistic : definition.statistics) {
    if (statistic.ofDirectories && !statistic.onlyFilesystems.empty()) {
      throw UsageError("--directories and --only exclude each other");
    }
    if (statistic.ofDirectories && definition.directories.empty()) {
      throw UsageError("--directories: there is none to --monitor");
    }
  }
}

void ScandefOptions::checkSlices() const {
  const Request::Slices& slices = request_.slices;
  const bool isCut = slices.count > 0 || !slices.directories.empty();
  if (!isCut && (!slices.last.empty() || !slices.times.empty()))
    throw UsageError("--last and --times go with --slices");
  if (!isCut) return;
  if (slices.count > 0 && !slices.directories.empty())
    throw UsageError("--slices and --slice exclude each other");
  if (request_.action != Request::Action::SLICE || !request_.install.empty())
    throw UsageError("slices go into a directory that --output names: leave other actions and --install out");
  if (request_.output.empty()) throw UsageError("slices need a directory to go into: name it with --output");
}

// Unless somebody has said it, the mount table does.
void ScandefOptions::findKinds() {
  for (MountPoint& filesystem : request_.definition.filesystems) {
    const auto mount = mounts_.at(filesystem.path);
    const bool isGiven = filesystem.type != -1;
    if (mount && !isGiven) filesystem.type = mount->type;
    if (mount && filesystem.type == Filesystem::NFS) findFiler(filesystem, mount->source);
    if (mount || isGiven) continue;
    const std::string holder = mounts_.mountPointOf(filesystem.path);
    if (holder.empty()) continue;
    std::string remark = shown(filesystem.path) + " is no mount point here: the job finds nothing there";
    if (filesystem.path.starts_with('/')) {
      const std::string below = filesystem.path.substr(holder.size() + (holder == "/" ? 0 : 1));
      remark.append(". It lies on ").append(shown(holder)).append(": scan that with --where \"name like '");
      remark.append(safeText(below, Backslash::KEPT)).append("/%'\"");
    }
    request_.remarks.push_back(remark);
  }
}

// The job knows what a filer exports by the filer's own names, wherever this host has it.
void ScandefOptions::findFiler(MountPoint& filesystem, const std::string& source) {
  const size_t separator = source.find(":/");
  if (separator == 0 || separator == std::string::npos) return;
  filesystem.local = std::exchange(filesystem.path, source.substr(separator + 1));
  filesystem.filer = source.substr(0, separator);
  if (filesystem.path == filesystem.local) return;
  request_.remarks.push_back(
      shown(filesystem.local) + " is " + shown(filesystem.path) + " of " + shown(filesystem.filer) +
      ": so begin the paths of the result, and those of patterns and of --monitor with a "
      "slash in front");
}

// A directory that is named without a mount point lies below each: the first keeps its id.
void ScandefOptions::placeDirectories() {
  std::vector<MonitoredDirectory>& directories = request_.definition.directories;
  int32_t highest = 0;
  for (const MonitoredDirectory& directory : directories) highest = std::max(highest, directory.id);
  std::vector<MonitoredDirectory> placed;
  for (const MonitoredDirectory& directory : directories) {
    int32_t id = directory.id;
    for (const std::string& path : placesOf(directory.path)) {
      if (id == 0) {
        if (highest == std::numeric_limits<int32_t>::max()) throw UsageError("--monitor: no id is left");
        id = ++highest;
      }
      placed.push_back({std::exchange(id, 0), path});
    }
  }
  directories = std::move(placed);
}

// The paths of a monitored directory as the job finds them.
std::vector<std::string> ScandefOptions::placesOf(const std::string& path) const {
  const auto refuse = [&path](const std::string& reason) {
    throw UsageError("--monitor: " + shown(path) + ": " + reason);
  };
  if (const std::string reason = whyNothingMatches(path); !reason.empty()) refuse(reason);
  const bool relative = path.find_first_of("/\\") != 0;
  std::vector<std::string> places;
  for (const MountPoint& filesystem : request_.definition.filesystems) {
    const std::string& mountPoint = filesystem.path;
    const std::string mount = mountPoint.substr(0, mountPoint.find_last_not_of('/') + 1);
    const std::string place = relative ? std::string(mount).append("/").append(path) : path;
    const Monitoring monitoring = monitoringOf(place, mountPoint);
    if (monitoring == Monitoring::MISREAD) {
      refuse("below " + shown(mountPoint) +
             " nothing can be monitored: the job takes that name for a pattern, which doesn't match it");
    }
    if (monitoring == Monitoring::FOUND && (relative || places.empty())) places.push_back(place);
  }
  if (places.empty()) {
    refuse(
        "it lies on no --filesystem: begin it with a mount point, or without a slash to have it below each");
  }
  return places;
}

// What is written but may not be what was meant.
void ScandefOptions::remark() {
  Caveats all;
  for (const auto& [place, caveats] : caveats_) {
    all.size = all.size || caveats.size;
    all.allocated = all.allocated || caveats.allocated;
    const std::vector<int32_t>& only = request_.definition.statistics[place].onlyFilesystems;
    for (const std::string& pattern : caveats.absolutePatterns) {
      const auto reaches = [this, &only](const std::string& wanted) {
        return std::any_of(request_.definition.filesystems.begin(), request_.definition.filesystems.end(),
                           [&](const MountPoint& filesystem) {
                             const bool counted = only.empty() || std::find(only.begin(), only.end(),
                                                                            filesystem.id) != only.end();
                             return counted && reachOf(wanted, filesystem.path) == Reach::BELOW;
                           });
      };
      if (reaches(pattern)) continue;
      const std::string below = pattern.substr(0, pattern.find_last_not_of('/') + 1) + "/%";
      request_.remarks.push_back(
          "--where: nothing that is counted matches " + shown(pattern) + ": " +
          (reaches(below) ? "what lies below it is " + shown(below)
                          : "with a slash in front it has to begin with a mount point; without, it begins "
                            "below one, and with '%/' in front at any depth"));
    }
  }
  for (std::string& sentence : all.sentences()) request_.remarks.push_back(std::move(sentence));
}

// The one that the options before have begun.
Statistic& ScandefOptions::statistic() {
  if (request_.definition.statistics.empty()) request_.definition.statistics.emplace_back("all");
  return request_.definition.statistics.back();
}

int32_t ScandefOptions::filesystemAt(const std::string& option, const std::string& path) const {
  for (const MountPoint& filesystem : request_.definition.filesystems) {
    if (filesystem.path == path) return filesystem.id;
  }
  throw UsageError(option + ": " + shown(path) + " is none of the file systems");
}

std::string shown(const std::string& words) {
  return "'" + safeText(words, Backslash::KEPT) + "'";
}

std::string marked(const std::string& text, size_t position, const std::string& reason) {
  const auto shownPart = [](std::string part) {
    std::replace_if(
        part.begin(), part.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return safeText(part, Backslash::KEPT);
  };
  const std::string before = shownPart(text.substr(0, position));
  const size_t columns = displayWidth(before);
  return "column " + std::to_string(columns + 1) + ": " + reason + "\n  " + before +
         shownPart(text.substr(position)) + "\n  " + std::string(columns, ' ') + "^";
}

}  // namespace agent::scandef
