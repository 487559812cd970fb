#pragma once

#include <atomic>
#include <string>

namespace agent {

/// One trace class: a byte that is set while lines of the class are wanted. Read without a lock from any
/// thread, written when tracing starts or ends.
class TraceFlag {
 public:
  explicit operator bool() const { return value_.load(std::memory_order_relaxed) != 0; }
  void set(bool on) { value_.store(on ? 1 : 0, std::memory_order_relaxed); }

 private:
  std::atomic<unsigned char> value_{0};
};

extern TraceFlag TR_MIN, TR_MID, TR_MAX;  // how much the job tells: MIN, MID and MAX of option -debug
extern TraceFlag TR_ENTER, TR_EXIT;       // "Enter: " and "Exit: " of functions, with MAX
extern TraceFlag TR_ERROR, TR_GENERAL, TR_DEBUG, TR_EVENT;
extern TraceFlag TR_FILEOPS, TR_FS, TR_FSPS, TR_NLS;
extern TraceFlag TR_MEMORY, TR_MEMDETAIL, TR_MEMLEAK;
extern TraceFlag TR_THREAD, TR_THREAD_STATUS, TR_COMM;
extern TraceFlag TR_EXTRC, TR_EXTRC_DETAIL, TR_INSTRUMENT, TR_TEST;
extern TraceFlag TR_TIMESTAMP, TR_PREFIX, TR_PID, TR_TID, TR_CLIENTTYPE;  // these shape a line

/// Writes one record to the trace file; call it through TRACE. Keeps errno. Never fails visibly: where the
/// file can't be written, tracing is turned off and the job goes on.
/// @param file source file; the part behind its last "/" is printed
/// @param format printf format of the text
void traceWrite(const char* file, unsigned line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Traces "Enter: <name>" now and "Exit: <name>" when the scope ends, under TR_ENTER and TR_EXIT.
class TraceScope {
 public:
  TraceScope(const char* file, unsigned line, const char* name);
  ~TraceScope();
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

 private:
  const char* file_;
  unsigned line_;
  const char* name_;
};

}  // namespace agent

/// TRACE(TR_MAX, "format", ...): one test of a byte while the class is off; no argument is evaluated then.
#define TRACE(flag, ...)                                    \
  do {                                                      \
    if (::agent::flag) {                                    \
      ::agent::traceWrite(__FILE__, __LINE__, __VA_ARGS__); \
    }                                                       \
  } while (false)

#define TRACE_SCOPE_NAME2(line) traceScope##line
#define TRACE_SCOPE_NAME(line) TRACE_SCOPE_NAME2(line)
/// TRACE_SCOPE("Scanner::scan()"): "Enter: ..." here, "Exit: ..." at the end of the enclosing block.
#define TRACE_SCOPE(name)                                \
  const ::agent::TraceScope TRACE_SCOPE_NAME(__LINE__) { \
    __FILE__, __LINE__, name                             \
  }
