#include "ScandefOptions.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <utility>

#include "Common/SafeText.h"
#include "Common/ScanVOXTags.h"
#include "QLMlib/common/ut/NumberText.h"
#include "ScandefLanguage.h"
#include "ScandefPatterns.h"

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

class Parser {
 public:
  Parser();

  Request parse(const std::vector<std::string>& arguments);

 private:
  using Handler = std::function<void(const std::string& option, const std::string& value)>;

  void parseStatisticOption(const char* tag, const std::string& option, const std::string& value);
  void check() const;
  void placeDirectories();
  std::vector<std::string> placesOf(const std::string& path) const;
  void remark();
  Statistic& statistic(const std::string& option);
  int32_t filesystemAt(const std::string& option, const std::string& path) const;

  Request request_;
  std::map<size_t, Caveats> caveats_;  // of each statistic's selection, by its place
  std::map<std::string, Handler> withValue_;
  std::map<std::string, Handler> alone_;
};

Parser::Parser() {
  Definition& definition = request_.definition;
  const auto text = [](std::string& target) {
    return [&target](const std::string&, const std::string& value) { target = value; };
  };
  const auto action = [this](Request::Action wanted) {
    return [this, wanted](const std::string&, const std::string& value) {
      request_.action = wanted;
      request_.subject = value;
    };
  };
  alone_["--help"] = alone_["-h"] = action(Request::Action::HELP);
  withValue_["--explain"] = action(Request::Action::EXPLAIN);
  withValue_["--compile"] = action(Request::Action::COMPILE);
  withValue_["--output"] = text(request_.output);
  withValue_["--install"] = text(request_.install);
  withValue_["--server"] = text(request_.server);
  withValue_["--job"] = text(definition.jobName);
  withValue_["--sid"] = [this](const auto& option, const auto& value) {
    request_.sidRunNumber = id(option, value);
  };
  withValue_["--run"] = [this](const auto& option, const auto& value) {
    request_.jobRunNumber = id(option, value);
  };
  withValue_["--computer"] = [&definition](const auto& option, const auto& value) {
    definition.computer = id(option, value);
  };
  withValue_["--filesystem"] = [&definition](const auto& option, const auto& value) {
    definition.filesystems.push_back(numberedPath(option, value, definition.filesystems));
  };
  withValue_["--type"] = [&definition](const auto& option, const auto& value) {
    if (definition.filesystems.empty()) throw UsageError(option + " belongs behind a --filesystem");
    definition.filesystems.back().type = filesystemType(option, value);
  };
  withValue_["--monitor"] = [&definition](const auto& option, const auto& value) {
    definition.directories.push_back(numberedPath(option, value, definition.directories));
  };
  withValue_["--statistic"] = [&definition](const auto& option, const auto& value) {
    if (value.empty()) throw UsageError(option + ": the name is missing");
    definition.statistics.emplace_back(value);
  };
  withValue_["--only"] = [this](const auto& option, const auto& value) {
    statistic(option).onlyFilesystems.push_back(filesystemAt(option, value));
  };
  alone_["--directories"] = [this](const auto& option, const auto&) {
    statistic(option).ofDirectories = true;
  };

  for (const StatisticOption& known : STATISTIC_OPTIONS) {
    auto& handlers = statisticColumnKind(known.tag) == CellKind::FLAG ? alone_ : withValue_;
    handlers["--" + std::string(known.name)] = [this, &known](const auto& option, const auto& value) {
      parseStatisticOption(known.tag, option, value);
    };
  }
}

// "--option value" and "--option=value".
Request Parser::parse(const std::vector<std::string>& arguments) {
  for (size_t place = 0; place < arguments.size(); ++place) {
    const size_t equals = arguments[place].find('=');
    const std::string option = arguments[place].substr(0, equals);
    if (const auto alone = alone_.find(option); alone != alone_.end()) {
      if (equals != std::string::npos) throw UsageError(option + " takes no value");
      alone->second(option, {});
      continue;
    }
    const auto handler = withValue_.find(option == "-o" ? "--output" : option);
    if (handler == withValue_.end()) throw UsageError("there is no option " + shown(option));
    if (equals != std::string::npos) {
      handler->second(option, arguments[place].substr(equals + 1));
    } else if (++place < arguments.size()) {
      handler->second(option, arguments[place]);
    } else {
      throw UsageError(option + " needs a value");
    }
  }
  if (request_.action == Request::Action::WRITE) {
    check();
    placeDirectories();
    remark();
  }
  return request_;
}

void Parser::parseStatisticOption(const char* tag, const std::string& option, const std::string& value) {
  std::string& cell = statistic(option)[tag];
  switch (statisticColumnKind(tag)) {
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
      } catch (const LanguageError& error) {
        throw UsageError(option + ": " + marked(value, error.position(), error.what()));
      }
      break;
    default:
      cell = value;
      break;
  }
}

void Parser::check() const {
  const Definition& definition = request_.definition;
  if (definition.filesystems.empty()) throw UsageError("nothing to scan: name a --filesystem");
  if (definition.jobName.empty() || definition.jobName.find('/') != std::string::npos) {
    throw UsageError("--job: " + shown(definition.jobName) + " can't be part of a file's name");
  }
  if (request_.server.find('/') != std::string::npos) {
    throw UsageError("--server: " + shown(request_.server) + " can't be the name of a directory");
  }
  if (!request_.install.empty() && !request_.output.empty()) {
    throw UsageError("--install names the file itself: leave --output out");
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

// A directory that is named without a mount point lies below each: the first keeps its id.
void Parser::placeDirectories() {
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
std::vector<std::string> Parser::placesOf(const std::string& path) const {
  const auto refuse = [&path](const std::string& reason) {
    throw UsageError("--monitor: " + shown(path) + ": " + reason);
  };
  if (const std::string reason = whyNothingMatches(path); !reason.empty()) refuse(reason);
  const bool relative = path.find_first_of("/\\") != 0;
  std::vector<std::string> places;
  for (const auto& [id, mountPoint, type] : request_.definition.filesystems) {
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
void Parser::remark() {
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
Statistic& Parser::statistic(const std::string& option) {
  if (request_.definition.statistics.empty()) throw UsageError(option + " belongs behind a --statistic");
  return request_.definition.statistics.back();
}

int32_t Parser::filesystemAt(const std::string& option, const std::string& path) const {
  for (const MountPoint& filesystem : request_.definition.filesystems) {
    if (filesystem.path == path) return filesystem.id;
  }
  throw UsageError(option + ": no --filesystem " + shown(path) + " in front of it");
}

}  // namespace

Request parseOptions(const std::vector<std::string>& arguments) {
  return Parser().parse(arguments);
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

std::string helpText() {
  std::string text =
      "Usage: scandef [option...] --filesystem MOUNTPOINT... [--statistic NAME [its option...]]...\n"
      "       scandef --explain BYTES\n"
      "       scandef --compile SELECTION\n"
      "\n"
      "Writes a scan definition, so that a scan can be started without a server.\n"
      "\n"
      "  --filesystem [ID=]MOUNTPOINT    scan this file system; ids are counted unless given\n"
      "  --type NAME                     kind of the file system before: ext2 ext3 ext4 reiserfs vxfs vfat "
      "tmpfs\n"
      "                                  nfs cifs clfs mxfs fake\n"
      "  --monitor [ID=]DIRECTORY        a directory, or a pattern, for the statistics of --directories; "
      "below\n"
      "                                  each mount point unless it begins with one\n"
      "  --job NAME                      name of the job (scan)\n"
      "  --computer ID                   id of this computer (1)\n"
      "  --output FILE, -o FILE          write to a file instead of standard output\n"
      "  --install DIRECTORY             write to where a job installed there looks, and say how to start "
      "it\n"
      "  --server NAME, --sid N, --run N the server's name, the schedule's and the run's number, for "
      "--install\n"
      "  --explain BYTES                 show a selection of a definition file as text\n"
      "  --compile SELECTION             show a selection as bytes\n"
      "  --help, -h                      this text\n"
      "\n"
      "A statistic counts all file systems of the job. What follows --statistic belongs to it:\n"
      "\n"
      "  --only MOUNTPOINT               this file system alone; may be repeated\n"
      "  --directories                   the monitored directories instead\n";
  for (const StatisticOption& option : STATISTIC_OPTIONS) {
    const CellKind kind = statisticColumnKind(option.tag);
    std::string line = "  --" + std::string(option.name);
    if (kind == CellKind::TEXT) line += " TEXT";
    if (kind == CellKind::SELECTION) line += " SELECTION";
    if (kind == CellKind::NUMBER_32 || kind == CellKind::NUMBER_16) line += " N";
    line.resize(std::max<size_t>(line.size() + 1, 34), ' ');
    text += line + option.help + "\n";
  }
  text +=
      "\n"
      "Selections:\n"
      "\n"
      "  type = file                     != too; link directory fifo socket device other; (file, link)\n"
      "  name like '%/*.log'             not like too; patterns of paths; ('/tmp/%', '%/core')\n"
      "  owner like 'www-*'              not like too; patterns of names\n"
      "  owner = 'anna', group = 'staff' = != < <= > >= and in ['a', 'c'), by bytes\n"
      "  size >= 10M                     = != < <= > >= and in [1K, 10M), in bytes, below 2G\n"
      "  size32 >= 10M                   the same by the low 32 bits as a signed number, as the job "
      "compares\n"
      "  allocated >= 4G                 the same, by the space that is taken, below 1T\n"
      "  mtime < -90d                    atime too; now, -36h, 2024-05-01, 2024-05-01T12:30:00Z, "
      "@1700000000\n"
      "  attributes all setuid+sticky    any too; orphan archive blockdevice executable sticky setgid "
      "setuid\n"
      "  orphan                          an attribute alone\n"
      "  everything, nothing, not, and, or, ( )\n"
      "\n"
      "Example:\n"
      "\n"
      "  scandef --filesystem /home --statistic \"old logs\" --summary --largest-files 20 \\\n"
      "          --where \"type=file and size>=10M and name like '%/*.log' and mtime<-90d\" -o job.dat\n";
  return text;
}

}  // namespace agent::scandef
