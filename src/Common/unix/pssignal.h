#pragma once

#include <atomic>

namespace agent {

/// Set to 1 by the signal handler when the job is told to stop, and never cleared. Polled once for each entry
/// of a walk; read and written without a lock, which is enough for a value that goes one way only.
extern std::atomic<unsigned char> agentStop;

/// Traces "Caught signal" once after a stop was requested. The handler itself may not trace; so this is
/// called at every look at the flag that finds it set, and at the latest when the job cleans up.
void traceCaughtSignal();

/// The look at the flag.
inline bool stopRequested() {
  if (agentStop.load(std::memory_order_relaxed) == 0) return false;
  traceCaughtSignal();
  return true;
}

/// SIGTERM requests a stop; SIGPIPE, SIGHUP, SIGXFSZ and SIGTTOU are ignored, so the job outlives its
/// terminal and its agent; the job becomes the leader of a process group of its own. What the agent may have
/// set otherwise is put right: SIGTERM is unblocked, and SIGCHLD gets its default, without which no child's
/// exit code could be had.
void installSignalHandling();

/// SIGTERM and SIGINT: keeps the number and sets agentStop, nothing else. Any other signal is passed over.
extern "C" void unxInterruptHandler(int signalNumber);

}  // namespace agent
