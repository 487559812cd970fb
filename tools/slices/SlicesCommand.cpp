#include "slices/SlicesCommand.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <stdexcept>

#include "Common/SafeText.h"
#include "Probe/Filesystem.h"
#include "QLMlib/common/ut/NumberText.h"
#include "definition/ScandefRun.h"
#include "figures/Figures.h"
#include "figures/ResultFile.h"
#include "slices/SliceChoice.h"
#include "slices/SlicedDefinition.h"
#include "slices/TreeLook.h"

namespace agent::scandef {

namespace {

namespace files = std::filesystem;

/// The file system that a path lies below, the innermost; null where it lies below none.
/// @param pathOf how file systems are called where the path comes from: in the definition, or on this host
template <typename PathOf>
const MountPoint* filesystemOf(const Definition& definition, const std::string& path, PathOf pathOf) {
  const MountPoint* found = nullptr;
  for (const MountPoint& filesystem : definition.filesystems) {
    const std::string root = withoutSlash(pathOf(filesystem));
    if (!path.starts_with(root + "/") || path.size() <= root.size() + 1) continue;
    if (found == nullptr || root.size() > withoutSlash(pathOf(*found)).size()) found = &filesystem;
  }
  return found;
}

/// Raises weights to what a result tells of directories: how many entries lie in each.
void addResult(const std::string& name, Weights& weights) {
  try {
    for (const tools::FilesystemFigures& filesystem : figuresOf(tools::readResultFile(name)).filesystems) {
      for (const tools::StatisticFigures& statistic : filesystem.statistics) {
        if (!statistic.onFilesystem) continue;
        for (const tools::DirectoryFigures& directory : statistic.onFilesystem->directories) {
          double& known = weights[directoryPath(directory.entry.path)];
          known = std::max(known,
                           static_cast<double>(directory.files) + static_cast<double>(directory.directories));
        }
      }
    }
  } catch (const tools::ResultFileError& error) {
    throw UsageError("--last: " + shown(name) + ": " + error.what());
  }
}

/// A slice of the last time, with the seconds that it took.
struct TimedSlice {
  std::string directory;
  double seconds = 0;
};

std::vector<TimedSlice> timesIn(const std::string& directory) {
  std::vector<TimedSlice> times;
  std::ifstream slices(files::path(directory) / "slices");
  if (!slices) throw UsageError("--times: " + shown(directory) + " holds no slices");
  for (std::string line; std::getline(slices, line);) {
    const size_t tab = line.find('\t');
    if (tab == std::string::npos) continue;
    std::string seconds;
    std::ifstream file(files::path(directory) / line.substr(0, tab) / "seconds");
    std::getline(file, seconds);
    const auto taken = wholeNumber<int32_t>(seconds);
    if (!taken) return {};  // what one of them took isn't known, so the others can't be compared with it
    times.push_back({directoryPath(line.substr(tab + 1)), std::max(1.0, static_cast<double>(*taken))});
  }
  return times;
}

/// Turns weights into seconds: what lay in a slice shares what that one took.
void spreadTimes(const std::vector<TimedSlice>& times, Weights& weights) {
  const auto sliceOf = [&times](const std::string& path) {
    size_t found = 0;  // the rest
    for (size_t i = 1; i < times.size(); ++i) {
      const std::string& directory = times[i].directory;
      const bool isInside = path == directory || path.starts_with(directory + "/");
      if (isInside && (found == 0 || directory.size() > times[found].directory.size())) found = i;
    }
    return found;
  };
  std::vector<double> sums(times.size(), 0);
  for (const auto& [path, weight] : weights) sums[sliceOf(path)] += weight;
  for (auto& [path, weight] : weights) {
    const size_t slice = sliceOf(path);
    if (sums[slice] > 0) weight *= times[slice].seconds / sums[slice];
  }
  for (size_t i = 0; i < times.size(); ++i) {
    if (sums[i] <= 0) weights[times[i].directory] += times[i].seconds;
  }
}

Weights weightsFor(const Request& request) {
  Weights weights;
  for (const MountPoint& filesystem : request.definition.filesystems) addLook(filesystem, weights);
  for (const std::string& result : request.slices.last) addResult(result, weights);
  const std::vector<TimedSlice> times =
      request.slices.times.empty() ? std::vector<TimedSlice>() : timesIn(request.slices.times);
  if (!times.empty()) spreadTimes(times, weights);
  return weights;
}

/// The directories that somebody has named.
std::vector<SliceDirectory> namedDirectories(const Request& request) {
  std::vector<SliceDirectory> directories;
  for (const std::string& named : request.slices.directories) {
    const std::string local = withoutSlash(named);
    const auto refuse = [&named](const std::string& reason) {
      throw UsageError("--slice: " + shown(named) + ": " + reason);
    };
    SliceDirectory directory;
    directory.filesystem = filesystemOf(request.definition, local,
                                        [](const MountPoint& mountPoint) { return mountPoint.localPath(); });
    if (directory.filesystem == nullptr) refuse("it lies below no mount point of the definition");
    directory.path = withoutSlash(directory.filesystem->path) +
                     local.substr(withoutSlash(directory.filesystem->localPath()).size());
    const std::string reason = whyNoSlice(request.definition, *directory.filesystem, directory.path);
    if (!reason.empty()) refuse(reason);
    if (std::any_of(directories.begin(), directories.end(),
                    [&](const SliceDirectory& other) { return other.path == directory.path; }))
      refuse("it is named twice");
    directories.push_back(directory);
  }
  return directories;
}

std::string percent(double share) {
  return std::to_string(static_cast<int>(std::lround(100 * share))) + " %";
}

std::vector<SliceDirectory> chosenDirectories(const Request& request, std::vector<std::string>& remarks) {
  const Definition& definition = request.definition;
  std::vector<std::string> roots;
  for (const MountPoint& filesystem : definition.filesystems) roots.push_back(directoryPath(filesystem.path));
  const SliceNumber number{request.slices.count, !request.slices.times.empty()};
  const auto holderOf = [&definition](const std::string& path) {
    return filesystemOf(definition, path, [](const MountPoint& mountPoint) { return mountPoint.path; });
  };
  const auto mayBeSlice = [&](const std::string& path) {
    const MountPoint* const filesystem = holderOf(path);
    return filesystem != nullptr && whyNoSlice(definition, *filesystem, path).empty();
  };
  const SliceChoice choice = chooseSlices(roots, weightsFor(request), number, mayBeSlice);
  std::vector<SliceDirectory> directories;
  for (const std::string& path : choice.directories) directories.push_back({holderOf(path), path});
  if (directories.empty()) throw UsageError("--slices: there is no directory that can be a slice");
  if (directories.size() < request.slices.count) {
    remarks.push_back("there are no more than " + std::to_string(directories.size()) +
                      " directories that can be slices");
  }
  remarks.push_back("by what is known, the slice with the most work has " + percent(choice.heaviest) +
                    " of it");
  return directories;
}

/// Where a slice is cut more than once its files would be of two cuts.
void makeEmptyDirectory(const std::string& path) {
  std::error_code error;
  files::create_directories(path, error);
  if (!error && !files::is_empty(path, error) && !error)
    throw UsageError("--output: " + shown(path) + " is not empty");
  if (error) throw std::runtime_error("can't make the directory " + shown(path) + ": " + error.message());
}

/// Tells this cut from others.
std::string nameOfCut() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return "cut " + std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) + "." +
         std::to_string(getpid());
}

void writeSlice(const files::path& directory, const Slice& slice) {
  std::string mounts;
  for (const std::string& path : slice.binds) mounts += "bind " + path + "\n";
  for (const std::string& path : slice.covers) mounts += "cover " + path + "\n";
  files::create_directory(directory);
  writeFile(directory / "mounts", mounts);
  writeFile(directory / "definition", definitionText(slice.definition));
}

}  // namespace

std::vector<std::string> writeSlices(const Request& request) {
  const Definition& definition = request.definition;
  std::vector<std::string> remarks;
  for (const MountPoint& filesystem : definition.filesystems) {
    // Its paths begin with "/" wherever it is mounted: what lies where couldn't be told.
    if (Filesystem::isCLFSFileset(filesystem.type))
      throw UsageError("--slices: " + shown(filesystem.path) + ": a file set of this kind can't be cut");
  }
  const std::vector<SliceDirectory> directories =
      request.slices.directories.empty() ? chosenDirectories(request, remarks) : namedDirectories(request);
  const std::vector<Slice> slices = slicesOf(definition, directories, nameOfCut());
  makeEmptyDirectory(request.output);
  const files::path output = request.output;
  std::string list;
  for (const Slice& slice : slices) {
    const std::string number = std::to_string(slice.number);
    writeSlice(output / number, slice);
    list += number + "\t" + slice.directory + "\n";
  }
  writeFile(output / "job", definition.jobName + "\n" + std::to_string(request.sidRunNumber) + "\n" +
                                std::to_string(std::max(request.jobRunNumber, 1)) + "\n");
  // Behind all else: what has it is complete.
  writeFile(output / "slices", list);
  return remarks;
}

}  // namespace agent::scandef
