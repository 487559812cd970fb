#pragma once

namespace agent {

/// Root of the job's records and actions. Knows its class by name, for traces.
class Object {
 public:
  explicit Object(const char* className) : className_(className) {}
  virtual ~Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;

  const char* className() const { return className_; }

 private:
  const char* className_;  // a literal
};

}  // namespace agent
