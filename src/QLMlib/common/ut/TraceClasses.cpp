#include "QLMlib/common/ut/TraceClasses.h"

#include <string>

#include <unistd.h>

#include "QLMlib/common/unx/StarterOutput.h"

namespace agent {

TraceFlag TR_MIN, TR_MID, TR_MAX;
TraceFlag TR_ENTER, TR_EXIT;
TraceFlag TR_ERROR, TR_GENERAL, TR_DEBUG, TR_EVENT;
TraceFlag TR_FILEOPS, TR_FS, TR_FSPS, TR_NLS;
TraceFlag TR_MEMORY, TR_MEMDETAIL, TR_MEMLEAK;
TraceFlag TR_THREAD, TR_THREAD_STATUS, TR_COMM;
TraceFlag TR_EXTRC, TR_EXTRC_DETAIL, TR_INSTRUMENT, TR_TEST;
TraceFlag TR_TIMESTAMP, TR_PREFIX, TR_PID, TR_TID, TR_CLIENTTYPE;

TestFlag TEST_AUDITLOGRC;
TestFlag TEST_CLC_TIMESTAMP;

namespace {

constexpr TraceClass CLASS_TABLE[] = {
    {"MIN", &TR_MIN, true},
    {"MID", &TR_MID, true},
    {"MAX", &TR_MAX, true},
    {"ENTER", &TR_ENTER, true},
    {"EXIT", &TR_EXIT, true},
    {"ERROR", &TR_ERROR, true},
    {"GENERAL", &TR_GENERAL, true},
    {"DEBUG", &TR_DEBUG, true},
    {"EVENT", &TR_EVENT, true},
    {"FILEOPS", &TR_FILEOPS, true},
    {"FS", &TR_FS, true},
    {"FSPS", &TR_FSPS, true},
    {"NLS", &TR_NLS, true},
    {"MEMORY", &TR_MEMORY, true},
    {"MEMDETAIL", &TR_MEMDETAIL, true},
    {"MEMLEAK", &TR_MEMLEAK, true},
    {"THREAD", &TR_THREAD, true},
    {"THREAD_STATUS", &TR_THREAD_STATUS, true},
    {"COMM", &TR_COMM, true},
    {"EXTRC", &TR_EXTRC, true},
    {"EXTRC_DETAIL", &TR_EXTRC_DETAIL, true},
    {"INSTRUMENT", &TR_INSTRUMENT, true},
    {"TEST", &TR_TEST, true},
    {"TIMESTAMP", &TR_TIMESTAMP, false},
    {"PREFIX", &TR_PREFIX, false},
    {"PID", &TR_PID, false},
    {"TID", &TR_TID, false},
    {"CLIENTTYPE", &TR_CLIENTTYPE, false},
};

constexpr TraceClass JOB_CLASSES[] = {
    {"NA_MIN", &TR_MIN, true},     {"NA_MID", &TR_MID, true},   {"NA_MAX", &TR_MAX, true},
    {"NA_ENTER", &TR_ENTER, true}, {"NA_EXIT", &TR_EXIT, true},
};

constexpr TraceAggregate JOB_AGGREGATES[] = {
    {"MIN", "NA_MIN"},
    {"MID", "NA_MIN NA_MID"},
    {"MAX", "NA_ENTER NA_EXIT NA_MIN NA_MID NA_MAX"},
};

struct FlagWord {
  std::string_view name;
  bool on;
};

/// Takes the next word off `words`; an empty name at the end.
FlagWord nextWord(std::string_view& words, bool on) {
  const size_t start = words.find_first_not_of(' ');
  if (start == std::string_view::npos) return {};
  const size_t end = words.find(' ', start);
  std::string_view name = words.substr(start, end == std::string_view::npos ? end : end - start);
  words.remove_prefix(end == std::string_view::npos ? words.size() : end);
  if (name.front() == '-') return {name.substr(1), !on};
  return {name, on};
}

int applyWords(std::string_view words, bool on, std::span<const TraceClass> classes,
               std::span<const TraceAggregate> aggregates, bool silent);

bool applyClass(FlagWord word, std::span<const TraceClass> classes) {
  for (const TraceClass& row : classes) {
    if (word.name == row.name) {
      row.flag->set(word.on);
      return true;
    }
  }
  return false;
}

int applyAggregate(FlagWord word, std::span<const TraceClass> classes,
                   std::span<const TraceAggregate> aggregates, bool silent) {
  for (const TraceAggregate& row : aggregates) {
    if (word.name == row.name) return applyWords(row.words, word.on, classes, aggregates, silent);
  }
  if (!silent) tellStarter(STDOUT_FILENO, "Invalid trace flag: " + std::string(word.name) + "\n");
  return -1;
}

int applyWords(std::string_view words, bool on, std::span<const TraceClass> classes,
               std::span<const TraceAggregate> aggregates, bool silent) {
  for (;;) {
    const FlagWord word = nextWord(words, on);
    if (word.name.data() == nullptr) return 0;
    if (word.name == "ALL") {
      for (const TraceClass& row : classes) {
        if (row.flag != &TR_TIMESTAMP && row.flag != &TR_PREFIX) row.flag->set(word.on);
      }
      continue;
    }
    if (applyClass(word, classes)) continue;
    if (const int rc = applyAggregate(word, classes, aggregates, silent); rc != 0) return rc;
  }
}

}  // namespace

std::span<const TraceClass> ClassTable() {
  return CLASS_TABLE;
}
std::span<const TraceClass> naTrcClassTable() {
  return JOB_CLASSES;
}
std::span<const TraceAggregate> naAgrClassTable() {
  return JOB_AGGREGATES;
}

void clearTraceFlags() {
  for (const TraceClass& row : CLASS_TABLE) row.flag->set(false);
  for (TestFlag* flag : {&TEST_AUDITLOGRC, &TEST_CLC_TIMESTAMP}) {
    flag->on = false;
    flag->value = 0;
  }
}

int parseTraceFlags(std::string_view words, std::span<const TraceClass> classes,
                    std::span<const TraceAggregate> aggregates, bool silent) {
  return applyWords(words, true, classes, aggregates, silent);
}

}  // namespace agent
