#include "system/InstallTree.h"

#include <algorithm>
#include <ctime>
#include <sstream>
#include <thread>

namespace agent::test {

namespace fs = std::filesystem;

std::string padded(long number, size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(digits.size() < width ? width - digits.size() : 0, '0') + digits;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

std::string Job::stem() const {
  return name + "." + padded(sid, 4) + "_scan." + padded(run, 8);
}

std::vector<std::string> Job::arguments() const {
  return {"-scan",         "-servername",       server,          "-jobname",         name,
          "-sidrunnumber", std::to_string(sid), "-jobrunnumber", std::to_string(run)};
}

InstallTree::InstallTree() : root_(directory_ / "agent") {
  for (const char* name : {"bin", "input/srv", "output", "log"})
    fs::create_directories(fs::path(root_) / name);
  fs::create_symlink(SCAN_PROGRAM, program());
  fs::create_symlink(SCAN_NLS_DIRECTORY, root_ + "/nls");
}

std::string InstallTree::room(const std::string& name) const {
  fs::create_directories(directory_ / name);
  return directory_ / name;
}

std::string InstallTree::definitionFile() const {
  const bool initial = job.name.starts_with("InitialFSScan");
  return root_ + "/input/" + job.server + "/" + (initial ? job.name : job.stem()) + ".dat";
}

void InstallTree::define(const std::string& text) const {
  fs::create_directories(fs::path(definitionFile()).parent_path());
  std::ofstream(definitionFile(), std::ios::binary) << text;
}

void InstallTree::installAgent(int status, const std::string& line) const {
  std::ofstream(root_ + "/bin/Agent") << "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" << root_ << "/told'\n"
                                      << line << "\nexit " << status << "\n";
  fs::permissions(root_ + "/bin/Agent", fs::perms::owner_all);
}

std::vector<std::string> InstallTree::agentArguments() const {
  return linesOf(content(root_ + "/told"));
}

Launch InstallTree::launch(const std::vector<std::string>& furtherArguments) const {
  Launch launch;
  launch.program = program();
  launch.arguments = job.arguments();
  launch.arguments.insert(launch.arguments.end(), furtherArguments.begin(), furtherArguments.end());
  return launch;
}

long long InstallTree::scanWithinOneSecond(const Definition& definition) const {
  for (;;) {
    const time_t before = time(nullptr);
    while (time(nullptr) == before) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    define(definition.text());
    fs::remove(logFile());
    if (scan().status != 0) return -1;
    if (time(nullptr) == before + 1) return before + 1;
  }
}

std::vector<std::string> InstallTree::logLines(const std::string& file) const {
  const std::string form = "dd/dd/dddd dd:dd:dd.ddd ";
  std::vector<std::string> lines;
  for (const std::string& line : linesOf(content(file.empty() ? logFile() : file))) {
    std::string start = line.substr(0, form.size());
    std::replace_if(
        start.begin(), start.end(), [](char byte) { return byte >= '0' && byte <= '9'; }, 'd');
    // Lines without a stamp belong to a list above them: they begin with blanks.
    const bool whole = start == form || line.empty() || line.starts_with("  ");
    lines.push_back(start == form ? line.substr(form.size()) : whole ? line : "NO TIME STAMP: " + line);
  }
  return lines;
}

}  // namespace agent::test
