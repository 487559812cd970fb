#pragma once

#include <signal.h>

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

/// From here on a write may fail, but it neither ends the job nor stops it: SIGPIPE (its reader has gone),
/// SIGXFSZ (its file may not grow) and SIGTTOU (a group of its own is in the background of its terminal) are
/// ignored. To be called before the first write: the first message, the first line of a trace.
void ignoreSignalsOfWriting();

/// SIGTERM requests a stop; SIGHUP and the signals of writing are ignored, so the job outlives its terminal
/// and its agent; the job becomes the leader of a process group of its own. What the agent may have set
/// otherwise is put right: SIGTERM is unblocked, and SIGCHLD gets its default, without which no child's exit
/// code could be had.
void installSignalHandling();

/// In a child, between fork and exec: signals as a program expects them. SIGTERM ends it, SIGPIPE and SIGHUP
/// stay ignored; the others that this process has set for itself are as it found them. Async-signal-safe.
/// @param mask of the thread that starts the child
void restoreFoundSignals(const sigset_t& mask);

/// SIGTERM and SIGINT: keeps the number and sets agentStop, nothing else. Any other signal is passed over.
extern "C" void unxInterruptHandler(int signalNumber);

}  // namespace agent
