// Writes scan definitions from plain words, so that a person can start a scan without a server; translates
// their selections in both directions.
//
// Exit codes: 0 done, 1 the file can't be written, 2 the command line can't be followed.

#include <filesystem>
#include <fstream>
#include <iostream>

#include "Common/SafeText.h"
#include "Common/unix/psnautil.h"
#include "definition/ScandefDefinition.h"
#include "definition/ScandefLanguage.h"
#include "definition/ScandefOptions.h"

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

int writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) return complain("can't write the file " + shown(path), NOT_WRITTEN);
  return DONE;
}

int writeForJob(const Request& request, const std::string& text) {
  const std::string& job = request.definition.jobName;
  const std::string path =
      definitionPath(request.install, request.server, job, request.sidRunNumber, request.jobRunNumber);
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  if (const int code = writeFile(path, text); code != DONE) return code;
  std::cout << "The definition was written to " << safeText(path, Backslash::KEPT)
            << "\nStart the scan with\n  " << shellWord(request.install + "/bin/scan") << " -scan -jobname "
            << shellWord(job) << " -sidrunnumber " << request.sidRunNumber << " -jobrunnumber "
            << request.jobRunNumber;
  if (!request.server.empty()) std::cout << " -servername " << shellWord(request.server);
  std::cout << "\n";
  return DONE;
}

int write(const Request& request) {
  std::string text;
  try {
    text = definitionText(request.definition);
  } catch (const std::invalid_argument& error) {
    return complain(error.what(), BAD_USAGE);
  }
  remark(request.remarks);
  if (!request.install.empty()) return writeForJob(request, text);
  if (!request.output.empty()) return writeFile(request.output, text);
  std::cout << text << std::flush;
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
  Request request;
  try {
    request = parseOptions(arguments);
  } catch (const UsageError& error) {
    return complain(std::string(error.what()) + "\nTry scandef --help.", BAD_USAGE);
  }
  switch (request.action) {
    case Request::Action::HELP:
      std::cout << helpText();
      return DONE;
    case Request::Action::EXPLAIN:
    case Request::Action::COMPILE:
      return translate(request);
    case Request::Action::WRITE:
      break;
  }
  return write(request);
}

}  // namespace
}  // namespace agent::scandef

int main(int argc, char** argv) {
  return agent::scandef::run({argv + 1, argv + argc});
}
