#include "QLMlib/common/thrd/Thread.h"

#include <csignal>
#include <new>

#include <unistd.h>

#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {
namespace {

constexpr int NO_DESCRIPTOR = 109;

std::atomic<pthread_t> notedThread{0};
std::atomic<pid_t> notedProcess{0};

/// What a new thread is to do; the thread owns the block.
struct apiThreadstart {
  void (*function)(void*);
  void* argument;
};

extern "C" void* apiStartFunc(void* argument) {
  auto* block = static_cast<apiThreadstart*>(argument);
  const apiThreadstart start = *block;
  delete block;
  start.function(start.argument);
  return nullptr;
}

int createThread(ThreadDescriptor& descriptor, apiThreadstart* block) {
  pthread_attr_t attributes;
  int rc = pthread_attr_init(&attributes);
  if (rc != 0) return rc;
  if (descriptor.stackSize != 0) rc = pthread_attr_setstacksize(&attributes, descriptor.stackSize);
  if (rc == 0) rc = sys.pthread_create(&descriptor.thread, &attributes, apiStartFunc, block);
  pthread_attr_destroy(&attributes);
  return rc;
}

}  // namespace

std::atomic<bool> bIsSingleThread{true};
std::atomic<bool> bInSignalExit{false};

void setThreadMode(bool on) {
  if (on) {
    notedThread = pthread_self();
    notedProcess = ::getpid();
  }
  bIsSingleThread = !on;
}

pid_t processNumber() {
  return bIsSingleThread ? ::getpid() : notedProcess.load();
}

pthread_t mainThread() {
  return notedThread;
}

int pkStartThread(ThreadDescriptor* descriptor) {
  if (descriptor == nullptr) return NO_DESCRIPTOR;
  TRACE(TR_THREAD, "Starting thread %s\n", descriptor->name);

  auto* block = new (std::nothrow) apiThreadstart{descriptor->function, descriptor->argument};
  if (block == nullptr) return -1;
  const int rc = createThread(*descriptor, block);
  if (rc != 0) delete block;
  return rc;
}

int startThreadWithoutSignals(ThreadDescriptor& descriptor) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const int rc = pkStartThread(&descriptor);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return rc;
}

}  // namespace agent
