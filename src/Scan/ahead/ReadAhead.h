#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Scan/ahead/Chunk.h"
#include "Scan/unix/DirectoryCalls.h"
#include "Scan/walk/WalkRules.h"

namespace agent {

/// Reads a tree ahead of the walk: threads open, read and stat directories in the order in which the walk
/// will ask for them, and the walk takes what they have made, chunk by chunk. Nothing is touched that the
/// walk would not touch: a sub-directory is stat'ed before it is opened, and opened only where the walk's
/// rules enter it.
///
/// The order is a list of all chunks that aren't done, in the walk's order. A thread takes the first work
/// that it finds there. So the walk, which waits for the first chunk of the list that isn't ready, always
/// waits for what threads do first. It can't wait for ever: what limits the memory and the descriptors of
/// reading ahead does not hold for the chunk that the walk waits for, so that a thread which has nothing else
/// to do takes it; the walk itself does where it may; and where a call takes longer than the limit the one
/// who made it is given up and replaced.
///
/// One thread at a time, the walk's, calls what is public.
class ReadAhead {
 public:
  struct Setup {
    std::shared_ptr<DirectoryCalls> calls;  ///< used by all threads
    WalkRules rules;
    size_t workers = 1;             ///< at most so many threads beside the walk's; started as there is work
    bool walkHelps = false;         ///< the walk reads what it would otherwise wait for
    bool isSlow = false;            ///< calls wait rather than work: many small pieces
    std::chrono::seconds limit{0};  ///< of each call; 0: none
    size_t descriptors = 0;         ///< of open directories at a time, as far as the walk doesn't need more
    size_t bytes = size_t{4} * 1024 * 1024;  ///< of chunks that the walk hasn't come to, as above
  };

  explicit ReadAhead(Setup setup);
  /// Ends all threads. Those that are in a call get a moment; what hangs in the kernel is left to it.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  /// The root's first chunk, to be waited for.
  std::shared_ptr<Chunk> begin(const char* path);
  /// The first chunk of a sub-directory: the chunk's sub-directory `number`.
  std::shared_ptr<Chunk> below(Chunk& chunk, size_t number);
  /// The directory's next chunk; there is one unless this is the last.
  std::shared_ptr<Chunk> following(Chunk& chunk);

  /// Waits until a chunk is ready. From then on it is the walk's.
  /// @throws ScanAbortException when the job was told to stop, within 100 ms
  /// @throws what a thread of reading ahead could not deal with: memory that cannot be had
  void await(Chunk& chunk);

 private:
  struct Worker;
  struct Task;

  static void threadMain(void* argument);
  void startWorker();
  void work(Worker& worker);

  // Each false when the worker was given up meanwhile: nothing here is its business any more.
  bool perform(Worker& worker);
  bool open(Worker& worker);
  bool read(Worker& worker);
  bool statRange(Worker& worker);

  void listEntries(Chunk& chunk) const;
  bool isEntered(const Chunk& chunk, const AheadEntry& entry) const;
  size_t entryPathLength(const Chunk& chunk, const char* name) const;
  void waitFor(Chunk& chunk);

  // Under the lock.
  bool take(Task& task);
  bool take(Task& task, size_t most);
  bool canTake(const OrderItem& item, size_t most) const;
  void takeFrom(Chunk& chunk, Task& task);
  bool hasWork() const;
  bool mayBegin() const;
  void finish(Task& task);
  void conclude(Task& task);
  void countMemory(const Chunk& chunk);
  bool haveStated(Chunk& chunk, EntryRange range);
  void endDescent(Chunk& chunk);
  void shareStating(Chunk& chunk, size_t begin);
  void makeReady(Chunk& chunk);
  ChunkOrder::iterator beginBelow(Chunk& chunk);
  void wakeForWork();
  void giveUpHanging();
  void giveUp(const std::shared_ptr<Worker>& worker);
  void closeDirectories(std::unique_lock<std::mutex>& lock);

  const Setup setup_;
  const size_t mostInDirectory_;  // threads that one directory may have when another comes to it
  std::mutex lock_;
  std::condition_variable workerWake_;
  std::condition_variable walkWake_;
  std::condition_variable ended_;

  // Under the lock.
  std::vector<std::shared_ptr<Worker>> workers_;  // running, and ended ones that are to be joined
  size_t running_ = 0;
  size_t mostWorkers_;  // fewer than asked for where the system has no more
  size_t idle_ = 0;
  ChunkOrder order_;  // of all chunks that aren't done
  const Chunk* awaited_ = nullptr;
  bool walkSleeps_ = false;
  bool walkIsUrgent_ = false;
  std::vector<std::shared_ptr<AheadDirectory>> closing_;  // closed outside the lock
  std::exception_ptr failure_;

  std::shared_ptr<Worker> walk_;  // the walk as one of those who read
  bool walkHelps_;
  std::atomic<bool> stopping_ = false;
  std::atomic<bool> isFull_ = false;
  std::atomic<size_t> readyEntries_ = 0;
  std::atomic<size_t> buffered_ = 0;  // bytes of chunks that the walk hasn't come to
  std::atomic<uint32_t> rootDevice_ = 0;
  std::shared_ptr<std::atomic<size_t>> openDirectories_ = std::make_shared<std::atomic<size_t>>(0);
};

}  // namespace agent
