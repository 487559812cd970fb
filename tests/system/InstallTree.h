#pragma once

#include "support/TemporaryDirectory.h"
#include "system/Definition.h"
#include "system/Process.h"

namespace agent::test {

/// What a server starts a scan with: the names of all its files follow.
struct Job {
  std::string server = "srv";
  std::string name = "nightly";
  int sid = 12;
  int run = 345;

  /// "nightly.0012_scan.00000345"
  std::string stem() const;
  /// -scan and the four options.
  std::vector<std::string> arguments() const;
};

/// An agent's install tree of its own, with the program that was built, in a scratch directory that also has
/// room for what is scanned.
class InstallTree {
 public:
  InstallTree();

  Job job;

  const std::string& scratch() const { return directory_.path(); }
  /// A new directory beside the tree: mount points and trees to scan.
  std::string room(const std::string& name) const;
  /// A path in the tree.
  std::string operator/(const std::string& name) const { return root_ + "/" + name; }
  std::string program() const { return root_ + "/bin/scan"; }

  std::string definitionFile() const;
  std::string resultFile() const { return output(".dat"); }
  std::string recordFile() const { return output(".jobinfo"); }
  std::string logFile() const { return root_ + "/log/" + job.server + "/" + job.stem() + ".log"; }
  std::string traceFile() const { return root_ + "/log/" + job.server + "/" + job.stem() + ".trace"; }

  /// Writes the job's definition file.
  void define(const std::string& text) const;
  /// Puts a program at bin/Agent that writes its arguments to agentArguments(), runs a line of shell, and
  /// ends with `status`.
  void installAgent(int status = 0, const std::string& line = "") const;
  /// What the agent was told, one argument an element; empty if it was never called.
  std::vector<std::string> agentArguments() const;

  /// The launch of the job as the agent would start it, for changes before run().
  Launch launch(const std::vector<std::string>& furtherArguments = {}) const;
  /// Runs the job.
  Outcome scan(const std::vector<std::string>& furtherArguments = {}) const {
    return run(launch(furtherArguments));
  }

  /// Runs the job until a run begins and ends within one second of the clock: all times in its result are
  /// then known.
  /// @return that second; -1 if the job doesn't end with 0
  long long scanWithinOneSecond(const Definition& definition) const;

  /// The lines of a log (the job's own if no file is named) with the time stamp cut, after a look at its
  /// form.
  std::vector<std::string> logLines(const std::string& file = {}) const;
  std::string result() const { return content(resultFile()); }
  /// What lies in a directory of the tree.
  std::set<std::string> names(const std::string& name) const { return directory_.names("agent/" + name); }
  static bool exists(const std::string& path) { return std::filesystem::exists(path); }

 private:
  std::string output(const std::string& extension) const {
    return root_ + "/output/" + job.server + "/" + job.stem() + extension;
  }

  TemporaryDirectory directory_;
  std::string root_;
};

/// The lines of a text, without their line feeds.
std::vector<std::string> linesOf(const std::string& text);

/// Its parts between blanks: the arguments of a command line.
std::vector<std::string> words(const std::string& text);

/// A number, zero-filled on the left to a width.
std::string padded(long number, size_t width);

}  // namespace agent::test
