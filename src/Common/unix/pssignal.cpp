#include "Common/unix/pssignal.h"

#include <signal.h>
#include <unistd.h>

#include "QLMlib/common/unx/SystemCalls.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

std::atomic<unsigned char> agentStop{0};

namespace {

std::atomic<int> caughtSignal{0};  // not yet traced
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<unsigned char>::is_always_lock_free,
              "a signal handler may touch lock-free atomics only");

/// What this process was started with, of the signals that it sets for itself alone.
struct FoundSignal {
  int number;
  bool known = false;
  struct sigaction action = {};
};
FoundSignal foundSignals[] = {{SIGXFSZ}, {SIGTTOU}, {SIGCHLD}};

void setDisposition(int signalNumber, void (*disposition)(int), struct sigaction* found = nullptr) {
  struct sigaction action = {};
  action.sa_handler = disposition;
  sigemptyset(&action.sa_mask);
  for (const int masked : {SIGTERM, SIGPIPE, SIGHUP}) sigaddset(&action.sa_mask, masked);
  action.sa_flags = SA_RESTART;  // a stop takes effect at the next entry, not as EINTR somewhere
  ::sigaction(signalNumber, &action, found);
}

/// For this process alone: children get what was found.
void setForItself(int signalNumber, void (*disposition)(int)) {
  for (FoundSignal& found : foundSignals) {
    if (found.number != signalNumber) continue;
    setDisposition(signalNumber, disposition, found.known ? nullptr : &found.action);
    found.known = true;
  }
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

void ignoreSignalsOfWriting() {
  setDisposition(SIGPIPE, SIG_IGN);
  setForItself(SIGXFSZ, SIG_IGN);
  setForItself(SIGTTOU, SIG_IGN);
}

void installSignalHandling() {
  TRACE_SCOPE("installSignalHandling()");
  setDisposition(SIGTERM, unxInterruptHandler);
  ignoreSignalsOfWriting();
  setDisposition(SIGHUP, SIG_IGN);
  setForItself(SIGCHLD, SIG_DFL);
  sigset_t stopSignal;
  sigemptyset(&stopSignal);
  sigaddset(&stopSignal, SIGTERM);
  ::pthread_sigmask(SIG_UNBLOCK, &stopSignal, nullptr);
  sys.setpgid(0, 0);
}

void restoreFoundSignals(const sigset_t& mask) {
  ::signal(SIGTERM, SIG_DFL);  // until now a stop for the whole group would only have set a flag here
  for (const FoundSignal& found : foundSignals) {
    if (found.known) ::sigaction(found.number, &found.action, nullptr);
  }
  ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

}  // namespace agent
