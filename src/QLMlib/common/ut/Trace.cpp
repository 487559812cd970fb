#include "QLMlib/common/ut/Trace.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include <unistd.h>

#include "QLMlib/common/nls/DateTimeFormat.h"
#include "QLMlib/common/thrd/Mutex.h"
#include "QLMlib/common/unx/DirectoryPath.h"
#include "QLMlib/common/unx/StarterOutput.h"
#include "QLMlib/common/ut/TraceClasses.h"
#include "QLMlib/common/ut/TraceFile.h"
#include "QLMlib/common/ut/TraceOutput.h"

namespace agent {
namespace {

constexpr int32_t CLIENT_TYPE_SCAN = 9;
constexpr int SETUP_FAILED = 30;
constexpr int OPEN_FAILED = 1;
constexpr uint64_t SEGMENT_MB = 1000;

/// Formats the mark of a thread for TR_TID.
std::string threadIdMark(pid_t thread) {
  return "[" + std::to_string(thread) + "] ";
}

/// The one record of the facility.
struct TraceObject {
  TraceOutput output;
  // Held over the room check, the write and the header update. Nested: what goes wrong there may be traced.
  MutexHandle mutex = pkCreateMutex();
  std::atomic<pid_t> lastThread{0};
  int32_t clientType = 0;
  bool forceTimestampAndPrefix = false;
  std::string (*trTIDProc)(pid_t) = nullptr;
};

// Never freed: destructors of other static objects may still trace.
std::atomic<TraceObject*> traceObj{nullptr};

const char* baseName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

std::string formatText(const char* format, va_list arguments) {
  std::array<char, 1024> buffer;
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
  std::string text;
  if (length >= 0 && static_cast<size_t>(length) < buffer.size()) {
    text.assign(buffer.data(), static_cast<size_t>(length));
  } else if (length >= 0) {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string sourcePrefix(const char* file, unsigned line) {
  std::array<char, 320> buffer;
  const int length = std::snprintf(buffer.data(), buffer.size(), "%-20.255s(%4u): ", baseName(file), line);
  return std::string(buffer.data(), static_cast<size_t>(length));
}

/// What stands in front of a line's text, by the flags that shape lines.
std::string linePrefix(TraceObject& trace) {
  std::string prefix;
  std::string threadChange;
  if (TR_TIMESTAMP) {
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    prefix += timeStampText(now) + " ";
  }
  if (TR_PID) {
    std::array<char, 24> buffer;
    std::snprintf(buffer.data(), buffer.size(), "[%.6u] ", static_cast<unsigned>(::getpid()));
    prefix += buffer.data();
  }
  if (TR_TID) {
    const pid_t thread = ::gettid();
    prefix += trace.trTIDProc(thread);
    if (trace.lastThread.exchange(thread, std::memory_order_relaxed) != thread) {
      std::array<char, 96> buffer;
      std::snprintf(buffer.data(), buffer.size(), "\n%32s thread %s%2d================>\n",
                    "<===============================", "", static_cast<int>(thread));
      threadChange = buffer.data();
    }
  }
  if (TR_CLIENTTYPE) prefix += "[client type " + std::to_string(trace.clientType) + "] ";
  if (!prefix.empty()) prefix += ": ";
  return threadChange + prefix;
}

void disableTracing(const TraceObject& trace) {
  clearTraceFlags();
  tellStarter(STDOUT_FILENO,
              "Unable to write to trace file " + trace.output.name() + ". Tracing disabled.\n");
}

void writeRecord(TraceObject& trace, std::string text) {
  // A text of several places in the code has no line feed of its own; the next record still starts a line.
  if (text.empty() || text.back() != '\n') text += '\n';
  const std::string record = linePrefix(trace) + text;

  const MutexLock lock(trace.mutex, MutexForm::NESTED);
  if (!trace.output.write(record)) disableTracing(trace);
}

bool createTraceObject() {
  if (traceObj == nullptr) {
    auto* created = new (std::nothrow) TraceObject;
    if (created == nullptr) return false;
    traceObj = created;
  }
  TraceObject& trace = *traceObj;
  trace.clientType = CLIENT_TYPE_SCAN;
  trace.lastThread = ::gettid();
  trace.trTIDProc = threadIdMark;
  clearTraceFlags();
  return true;
}

bool createTraceDirectory(const std::string& fileName) {
  const size_t slash = fileName.rfind('/');
  if (slash == std::string::npos) return true;
  return slash > 0 && makeDirectoryPath(fileName.substr(0, slash)) == 0;
}

void writeFirstLines(TraceObject& trace, uint64_t maxMB) {
  if (trace.forceTimestampAndPrefix) {
    TR_TIMESTAMP.set(true);
    TR_PREFIX.set(true);
  }
  if (trace.output.isStream()) {
    if (trace.output.name() != "CONSOLE") {
      traceWrite(__FILE__, __LINE__, "Tracing to %s\n",
                 trace.output.name() == "STDOUT" ? "stdout" : "stderr");
    }
    return;
  }
  traceWrite(__FILE__, __LINE__, "Tracing to file: %s\n", trace.output.name().c_str());
  traceWrite(__FILE__, __LINE__, "Tracefile maximum length set to %lu MB.\n",
             static_cast<unsigned long>(maxMB));
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  traceWrite(__FILE__, __LINE__,
             "----------------------------------------------------------------\n%s %s - Trace begun.\n",
             dateText(local).c_str(), timeText(local).c_str());
}

}  // namespace

void traceWrite(const char* file, unsigned line, const char* format, ...) {
  TraceObject* trace = traceObj;
  if (trace == nullptr) return;
  const int savedErrno = errno;

  std::string text = TR_PREFIX ? sourcePrefix(file, line) : std::string();
  va_list arguments;
  va_start(arguments, format);
  text += formatText(format, arguments);
  va_end(arguments);
  writeRecord(*trace, std::move(text));

  errno = savedErrno;
}

TraceScope::TraceScope(const char* file, unsigned line, const char* name)
    : file_(file), line_(line), name_(name) {
  if (TR_ENTER) traceWrite(file_, line_, "Enter: %s\n", name_);
}

TraceScope::~TraceScope() {
  if (TR_EXIT) traceWrite(file_, line_, "Exit: %s\n", name_);
}

int initializeTrace(const std::string& fileName, const std::string& debugWord, int32_t maxLogSizeKilobytes) {
  const auto maxMB = static_cast<uint64_t>(std::max(maxLogSizeKilobytes / 1024, 1));
  if (traceObj != nullptr) closeTrace();
  if (!createTraceObject()) return SETUP_FAILED;
  if (fileName.empty()) return 0;

  TraceObject& trace = *traceObj;
  trace.forceTimestampAndPrefix = true;
  if (!createTraceDirectory(fileName)) return SETUP_FAILED;
  parseTraceFlags("PID TID", ClassTable(), {}, false);
  parseTraceFlags(debugWord, naTrcClassTable(), naAgrClassTable(), false);

  if (trace.output.open(fileName, {.maxMB = maxMB, .segmentMB = SEGMENT_MB}) != 0) {
    tellStarter(STDOUT_FILENO, "Unable to open trace output file " + fileName + "\n");
    closeTrace();
    return OPEN_FAILED;
  }
  writeFirstLines(trace, maxMB);
  return 0;
}

void closeTrace() {
  TraceObject* trace = traceObj;
  if (trace == nullptr) return;
  const MutexLock lock(trace->mutex, MutexForm::NESTED);
  if (const int failure = trace->output.close(); failure != 0) {
    tellStarter(STDOUT_FILENO, "Unable to close trace output file " + trace->output.name() + ": " +
                                   std::strerror(failure) + " \n");
  }
  clearTraceFlags();
}

}  // namespace agent
