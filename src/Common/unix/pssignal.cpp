#include "Common/unix/pssignal.h"

#include <signal.h>
#include <unistd.h>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

std::atomic<unsigned char> agentStop{0};

namespace {

std::atomic<int> caughtSignal{0};  // not yet traced
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<unsigned char>::is_always_lock_free,
              "a signal handler may touch lock-free atomics only");

void setDisposition(int signalNumber, void (*disposition)(int)) {
  struct sigaction action = {};
  action.sa_handler = disposition;
  sigemptyset(&action.sa_mask);
  for (const int masked : {SIGTERM, SIGPIPE, SIGHUP}) sigaddset(&action.sa_mask, masked);
  action.sa_flags = SA_RESTART;  // a stop takes effect at the next entry, not as EINTR somewhere
  ::sigaction(signalNumber, &action, nullptr);
}

}  // namespace

extern "C" void unxInterruptHandler(int signalNumber) {
  if (signalNumber != SIGINT && signalNumber != SIGTERM) return;
  caughtSignal.store(signalNumber, std::memory_order_relaxed);
  agentStop.store(1, std::memory_order_release);
}

void traceCaughtSignal() {
  if (agentStop.load(std::memory_order_acquire) == 0) return;
  const int signalNumber = caughtSignal.exchange(0, std::memory_order_relaxed);
  if (signalNumber != 0) TRACE(TR_MIN, "Caught signal %d\n", signalNumber);
}

void installSignalHandling() {
  TRACE_SCOPE("installSignalHandling()");
  setDisposition(SIGTERM, unxInterruptHandler);
  setDisposition(SIGPIPE, SIG_IGN);
  setDisposition(SIGHUP, SIG_IGN);
  setDisposition(SIGXFSZ, SIG_IGN);  // a file that may not grow is a failed write, told as such
  setDisposition(SIGTTOU, SIG_IGN);  // a group of its own is in the background of its terminal
  setDisposition(SIGCHLD, SIG_DFL);
  sigset_t stopSignal;
  sigemptyset(&stopSignal);
  sigaddset(&stopSignal, SIGTERM);
  ::pthread_sigmask(SIG_UNBLOCK, &stopSignal, nullptr);
  ::setpgid(0, 0);
}

}  // namespace agent
