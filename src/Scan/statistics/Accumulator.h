#pragma once

#include "Common/Object.h"

namespace agent {

class CuStatResults;
class FileAttributes;
class Scanner;

/// One list, histogram or total of a statistic, while a walk lasts.
class Accumulator : public Object {
 public:
  using Object::Object;

  /// Takes an entry that the statistic's selection and hard-link rule let through.
  virtual void accumulate(Scanner& scanner, FileAttributes& attributes) = 0;
  /// Moves what was gathered into the results. Called once, when the walk leaves the start directory.
  virtual void finish(CuStatResults& results) = 0;
};

}  // namespace agent
