// Writes scan definitions from plain words, so that a person can start a scan without a server; translates
// their selections in both directions.
//
// Exit codes: 0 done, 1 the file can't be written, 2 the command line can't be followed.

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "Common/SafeText.h"
#include "Common/unix/psnautil.h"
#include "definition/DefinitionWords.h"
#include "definition/ScandefDefinition.h"
#include "definition/ScandefLanguage.h"
#include "definition/ScandefOptions.h"
#include "definition/ScandefRun.h"
#include "slices/SlicesCommand.h"

namespace agent::scandef {
namespace {

constexpr int DONE = 0;
constexpr int NOT_WRITTEN = 1;
constexpr int BAD_USAGE = 2;

int complain(const std::string& message, int code) {
  std::cerr << "scandef: " << message << "\n";
  return code;
}

void remark(const std::vector<std::string>& sentences) {
  for (const std::string& sentence : sentences) std::cerr << "scandef: " << sentence << "\n";
}

/// A word as a shell takes it; one that a terminal wouldn't show as it is with the escapes of $'...'.
std::string shellWord(const std::string& word) {
  if (safeText(word, Backslash::KEPT) == word) return shellQuoted(word);
  std::string quoted = "$'";
  for (const char byte : safeText(word)) quoted.append(byte == '\'' ? 1 : 0, '\\').append(1, byte);
  return quoted + "'";
}

/// "1 statistic", "2 statistics".
std::string counted(size_t number, const char* what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

int writeForJob(const Request& request, const std::string& text) {
  const std::string& job = request.definition.jobName;
  const int32_t run = std::max(request.jobRunNumber, 1);
  const std::string path = definitionPath(request.install, request.server, job, request.sidRunNumber, run);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  writeFile(path, text);
  std::cout << "The definition was written to " << safeText(path, Backslash::KEPT)
            << "\nStart the scan with\n  " << shellWord(request.install + "/bin/scan") << " -scan -jobname "
            << shellWord(job) << " -sidrunnumber " << request.sidRunNumber << " -jobrunnumber " << run;
  if (!request.server.empty()) std::cout << " -servername " << shellWord(request.server);
  std::cout << "\n";
  return DONE;
}

/// @param text of the definition file
int carryOut(const Request& request, const std::string& text) {
  switch (request.action) {
    case Request::Action::RUN:
      return runScan(request, text);
    case Request::Action::EXPLAIN:
      std::cout << inWords(request.definition) << std::flush;
      break;
    case Request::Action::CHECK:
      std::cout << "The definition is sound: "
                << counted(request.definition.filesystems.size(), "file system") << ", "
                << counted(request.definition.statistics.size(), "statistic") << ".\n"
                << std::flush;
      break;
    default:
      if (!request.install.empty()) return writeForJob(request, text);
      if (!request.output.empty()) {
        writeFile(request.output, text);
      } else {
        std::cout << text << std::flush;
      }
  }
  return std::cout ? DONE : complain("can't write to standard output", NOT_WRITTEN);
}

int translate(const Request& request) {
  std::string expression;
  try {
    if (request.action == Request::Action::COMPILE) {
      Caveats caveats;
      std::cout << byteList(compileWhere(request.subject, &caveats)) << "\n";
      remark(caveats.sentences());
      return DONE;
    }
    expression = expressionOf(request.subject);
  } catch (const LanguageError& error) {
    return complain(marked(request.subject, error.position(), error.what()), BAD_USAGE);
  }
  try {
    std::cout << explainWhere(expression) << "\n";
    return DONE;
  } catch (const LanguageError& error) {
    return complain("byte " + std::to_string(error.position()) + ", counted from 0: " + error.what(),
                    BAD_USAGE);
  }
}

int run(const std::vector<std::string>& arguments) {
  ScandefOptions options;
  try {
    if (const auto text = options.parse(arguments)) {
      std::cout << *text << std::flush;
      return DONE;
    }
  } catch (const UsageError& error) {
    return complain(std::string(error.what()) + "\nTry scandef --help.", BAD_USAGE);
  }
  const Request& request = options.request();
  if (request.action == Request::Action::EXPLAIN_BYTES || request.action == Request::Action::COMPILE)
    return translate(request);
  try {
    const std::string text = definitionText(request.definition);
    remark(request.remarks);
    if (request.action == Request::Action::SLICE) {
      remark(writeSlices(request));
      return DONE;
    }
    return carryOut(request, text);
  } catch (const UsageError& error) {
    return complain(error.what(), BAD_USAGE);
  } catch (const std::invalid_argument& error) {
    return complain(error.what(), BAD_USAGE);
  } catch (const std::exception& error) {
    return complain(error.what(), NOT_WRITTEN);
  }
}

}  // namespace
}  // namespace agent::scandef

int main(int argc, char** argv) {
  return agent::scandef::run({argv + 1, argv + argc});
}
