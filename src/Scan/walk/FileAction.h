#pragma once

#include "Common/Object.h"

namespace agent {

class FileAttributes;
class Scanner;

/// What the walk offers entries to. One walk drives a row of actions, in order, on its own thread.
///
/// directoryEntered and directoryLeft balance, and go to every action; actUpon goes only to actions whose
/// selection matched the entry. The root directory is first offered like any entry, then entered.
class FileAction : public Object {
 public:
  using Object::Object;

  /// An entry that this action's selection matched. A directory comes here before it is entered.
  virtual void actUpon(Scanner& scanner, FileAttributes& attributes) = 0;
  /// The walk goes down into the directory that `attributes` describes.
  virtual void directoryEntered(FileAttributes& attributes) = 0;
  /// The directory entered last has no further entries.
  virtual void directoryLeft() = 0;
  /// The directory offered last is not entered after all: it lies too deep. An action that was waiting for
  /// its directoryEntered gives up.
  virtual void directoryPassedOver() {}
  /// True for an action whose selection names a directory itself: for the root of the walk it is shown the
  /// path without its trailing slash, as a definition would spell it ("" for "/").
  virtual bool testsDirectoryItself() const { return false; }
};

}  // namespace agent
