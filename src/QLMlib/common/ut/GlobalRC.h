#pragma once

#include <cstdint>

#include "QLMlib/common/thrd/Mutex.h"

namespace agent {

/// What the global return code needs of the message layer, which stands above it.
struct MessageServices {
  /// The severity that the catalog gives a message; 255 if it holds none, 6 if it could not be asked.
  uint8_t (*severity)(uint32_t msgNum) = nullptr;
  /// Issues message 263 for a failure inside the runtime, without feeding it back.
  void (*internalError)(const char* file, unsigned line, const char* text) = nullptr;
};

/// The worst outcome so far, as the messages that were issued tell it: 0, 4, 8 or 12. It only rises until it
/// is cleared. Each operation may be called from any thread.
///
/// Lock order: this object's mutex first, then nls_mutex, and that only for the look-up of a severity. The
/// message layer never calls set while it holds nls_mutex.
class GlobalRC {
 public:
  /// The one instance, made on first use at start-up, while one thread runs.
  static GlobalRC* getInstance();

  /// Ends the instance; the next getInstance makes a new one.
  ~GlobalRC();
  GlobalRC(const GlobalRC&) = delete;
  GlobalRC& operator=(const GlobalRC&) = delete;

  /// Says where severities come from. Without it every message without a fixed code counts as 0.
  void connect(const MessageServices& services) { services_ = services; }

  /// Takes an issued message into account.
  /// @return true if it raised the code; false if it left it alone or the mutex failed
  bool set(uint32_t msgNum);

  int32_t get();          // worst since the last clear of any kind
  int32_t getMacroMax();  // worst since clearMacroRC or clearAllRC
  int32_t getMax();       // worst since clearAllRC

  bool clearRC();  // these always answer true
  bool clearMacroRC();
  bool clearAllRC();

 private:
  GlobalRC();

  bool acquired(const MutexLock& lock) const;
  bool released(MutexLock& lock) const;
  void reportFailure(const char* text) const;
  int32_t returnCodeOf(uint32_t msgNum) const;
  bool raise(uint32_t msgNum, int32_t msgRC);
  void traceFields(const char* when) const;
  template <typename Work>
  auto underMutex(const char* operation, Work work);

  static GlobalRC* instanceP;

  int32_t rc = 0;
  int32_t rcMacroMax = 0;
  int32_t rcMax = 0;
  MutexHandle mutex_;
  MessageServices services_;
};

/// The instance for the message layer; null until start-up has set it.
extern GlobalRC* gRC;

}  // namespace agent
