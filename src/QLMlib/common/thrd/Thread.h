#pragma once

#include <atomic>
#include <cstddef>

#include <pthread.h>
#include <sys/types.h>

namespace agent {

/// Set while the process is single-threaded, as it is at start: all locking costs a test then and nothing
/// else.
extern std::atomic<bool> bIsSingleThread;

/// Set while the process ends from a signal: nothing waits for a lock any more.
extern std::atomic<bool> bInSignalExit;

/// Turns thread mode on, noting the calling thread and the process number, or off. To be called while no lock
/// is held, before the first further thread starts or after the last one has ended.
void setThreadMode(bool on);

/// getpid() in single-thread mode, otherwise the number noted when thread mode was turned on.
pid_t processNumber();

/// The thread that turned thread mode on.
pthread_t mainThread();

/// A thread to be started.
struct ThreadDescriptor {
  const char* name = "";  // for the trace
  void (*function)(void*) = nullptr;
  void* argument = nullptr;
  size_t stackSize = 0;  // bytes; 0: the system's default
  pthread_t thread{};    // set by pkStartThread; the caller joins or detaches it
};

/// @return 0; 109 for a null descriptor; -1 where memory is short; an error number of the system
int pkStartThread(ThreadDescriptor* descriptor);

/// pkStartThread for a thread that runs with all signals blocked: they are the main thread's.
int startThreadWithoutSignals(ThreadDescriptor& descriptor);

}  // namespace agent
