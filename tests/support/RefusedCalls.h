#pragma once

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <functional>
#include <limits>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "QLMlib/common/unx/SystemCalls.h"

namespace agent::test {

using Calls = SystemCallTable;

/// What stands in the place of one entry of the system's calls. It outlives every thread that hangs in it.
template <auto CALL>
struct CallInPlace;

template <typename Result, typename... Arguments, Interrupted INTERRUPTED,
          SystemCall<Result(Arguments...), INTERRUPTED> Calls::*CALL>
struct CallInPlace<CALL> {
  inline static std::atomic<int> made{0};
  inline static std::atomic<int> firstRefused{0};
  inline static std::atomic<int> refusals{0};
  inline static std::atomic<int> error{0};
  inline static std::function<Result(Arguments...)> instead;

  static Result call(Arguments... arguments) {
    const int number = ++made - firstRefused;
    if (number >= 0 && number < refusals) return fail(arguments...);
    return instead ? instead(arguments...) : (sys.*CALL).system()(arguments...);
  }

  static Result fail(Arguments... arguments) {
    using First = std::tuple_element_t<0, std::tuple<Arguments..., void>>;
    // A close that fails has closed all the same.
    if constexpr (INTERRUPTED == Interrupted::NEVER) (sys.*CALL).system()(arguments...);
    if constexpr (std::is_same_v<First, pthread_mutex_t*> || std::is_same_v<First, pthread_t*>) return error;
    errno = error;
    if constexpr (std::is_pointer_v<Result>) return nullptr;
    return static_cast<Result>(-1);
  }
};

/// Lets calls of the system fail, whoever makes them, for as long as it lives; one object at a time.
///
///     RefusedCalls calls;
///     calls.refuse<&Calls::rename>(EROFS);           // every rename
///     calls.refuse<&Calls::write>(ENOSPC, 4);        // from the fourth write on
///     calls.refuse<&Calls::write>(EINTR, 1, 2);      // the first two writes
///     calls.shorten<&Calls::write>(3);               // no write takes more than three bytes
///     calls.replace<&Calls::lockf>([](...) { ... }); // whatever else a test has in mind
class RefusedCalls {
 public:
  RefusedCalls() = default;
  ~RefusedCalls() {
    for (const auto& putBack : putBack_) putBack();
  }
  RefusedCalls(const RefusedCalls&) = delete;
  RefusedCalls& operator=(const RefusedCalls&) = delete;

  /// @param first number of the call that fails first, counted from now on
  /// @param times how many do
  template <auto CALL>
  void refuse(int error, int first = 1, int times = std::numeric_limits<int>::max()) {
    using Place = CallInPlace<CALL>;
    watch<CALL>();
    Place::error = error;
    Place::firstRefused = Place::made + first;
    Place::refusals = times;
  }

  template <auto CALL>
  void allow() {
    CallInPlace<CALL>::refusals = 0;
  }

  template <auto CALL>
  void shorten(size_t longest) {
    replace<CALL>([longest](int descriptor, auto* bytes, size_t size, auto... rest) {
      return (sys.*CALL).system()(descriptor, bytes, std::min(size, longest), rest...);
    });
  }

  template <auto CALL, typename Function>
  void replace(Function function) {
    watch<CALL>();
    CallInPlace<CALL>::instead = std::move(function);
  }

  /// Counts a call.
  template <auto CALL>
  void watch() {
    using Place = CallInPlace<CALL>;
    if ((sys.*CALL).inUse() == Place::call) return;
    Place::made = Place::refusals = 0;
    (sys.*CALL).replace(Place::call);
    putBack_.push_back([] {
      (sys.*CALL).replace(nullptr);
      Place::instead = nullptr;
    });
  }

  /// How often a watched call was made.
  template <auto CALL>
  int made() const {
    return CallInPlace<CALL>::made;
  }

 private:
  std::vector<void (*)()> putBack_;
};

}  // namespace agent::test
