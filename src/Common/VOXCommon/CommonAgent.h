#pragma once

namespace agent {

/// What a job asks about its host's kind of agent. One object for each process, see CommonAgentFactory.
class CommonAgent {
 public:
  /// Finds the facts out.
  void initialize() { isWindows = false; }

  bool isWindows = false;
};

}  // namespace agent
