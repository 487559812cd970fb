#include "Scan/ahead/ReadAhead.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "Common/ScanAbortException.h"
#include "Common/unix/pssignal.h"
#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// One reading of a directory: about a thousand names.
constexpr size_t BUFFER_BYTES = 32768;
// A directory is read on into the same chunk while this much is free: to its end, if it is a small one.
constexpr size_t WORTHWHILE_ROOM = 4096;
// Entries that one thread stats at a time, of a directory that several share.
constexpr size_t ENTRIES_AT_ONCE = 128;
constexpr size_t SLOW_ENTRIES_AT_ONCE = 4;
// A walk that doesn't read itself sleeps until this many entries are there, or for PATIENCE: else it would
// wake for every small directory.
constexpr size_t WORTH_WAKING = 2048;
constexpr milliseconds PATIENCE{1};
// How often a waiting walk looks whether it was told to stop, or a call hangs.
constexpr milliseconds TICK{50};
// What calls under way get at the end.
constexpr milliseconds GRACE{50};
constexpr size_t THREAD_STACK_SIZE = size_t{512} * 1024;

uint32_t deviceNumber(dev_t device) {
  return static_cast<uint32_t>(device);  // as the walk compares them
}

}  // namespace

/// A piece of work on one chunk.
struct ReadAhead::Task {
  enum class Step { OPEN, READ, STAT };

  std::shared_ptr<Chunk> chunk;
  std::shared_ptr<AheadDirectory> directory;  // null before it has been opened
  Step step = Step::OPEN;
  EntryRange range;       // that is to be stat'ed
  bool isShared = false;  // others are at work on the same chunk, or may be
};

/// A thread and what it is doing. Its own when it has been given up; so a call that returns late finds all
/// that it touches.
struct ReadAhead::Worker {
  static constexpr uint64_t GIVEN_UP = UINT64_MAX;

  explicit Worker(ReadAhead& owner) : readAhead(owner), calls(owner.setup_.calls) {}

  /// Makes a call that may hang.
  /// @return false when the worker was given up meanwhile
  template <typename Call>
  bool call(Call make) {
    uint64_t current = number.load(std::memory_order_relaxed) + 1;
    number.store(current, std::memory_order_release);
    make();
    return number.compare_exchange_strong(current, current + 1, std::memory_order_acq_rel);
  }

  ReadAhead& readAhead;
  const std::shared_ptr<DirectoryCalls> calls;
  pthread_t thread{};
  Task task;  // written between calls; whoever gives the worker up reads it while it is in one
  size_t at = 0;
  std::unique_ptr<char[]> buffer = std::make_unique_for_overwrite<char[]>(BUFFER_BYTES);
  std::atomic<uint64_t> number = 0;  // of the call; odd while in it

  // The walk's notes: the call it last saw the worker in, and since when.
  uint64_t seen = 0;
  steady_clock::time_point seenAt;
};

// ---- Threads ----

ReadAhead::ReadAhead(Setup setup)
    : setup_(std::move(setup)),
      // With a limit a call may hang: one directory never has all threads.
      mostInDirectory_(setup_.limit.count() > 0 ? (std::max<size_t>(2, setup_.workers) - 2) / 2 : SIZE_MAX),
      mostWorkers_(setup_.workers),
      walk_(std::make_shared<Worker>(*this)),
      walkHelps_(setup_.walkHelps) {}

ReadAhead::~ReadAhead() {
  std::unique_lock lock(lock_);
  stopping_ = true;
  workerWake_.notify_all();
  ended_.wait_for(lock, GRACE, [this] { return running_ == 0; });
  std::erase_if(workers_, [this](const std::shared_ptr<Worker>& worker) {
    uint64_t number = worker->number;
    if (number % 2 == 0 || !worker->number.compare_exchange_strong(number, Worker::GIVEN_UP)) return false;
    pthread_detach(worker->thread);
    --running_;
    return true;
  });
  lock.unlock();
  for (const std::shared_ptr<Worker>& worker : workers_) pthread_join(worker->thread, nullptr);
}

/// Under the lock; the first one from the walk's thread. Where the system has no more threads, those that run
/// do, and without any the walk reads by itself.
void ReadAhead::startWorker() {
  if (bIsSingleThread) setThreadMode(true);
  auto worker = std::make_shared<Worker>(*this);
  auto argument = std::make_unique<std::shared_ptr<Worker>>(worker);
  ThreadDescriptor descriptor{.name = "ReadAhead",
                              .function = threadMain,
                              .argument = argument.get(),
                              .stackSize = THREAD_STACK_SIZE};
  workers_.reserve(workers_.size() + 1);
  if (const int rc = startThreadWithoutSignals(descriptor); rc != 0) {
    TRACE(TR_MIN, "ReadAhead: a thread could not be started, rc(%d); %zu read ahead%s\n", rc, running_,
          running_ == 0 ? "; the walk reads by itself, without a limit" : "");
    mostWorkers_ = running_;
    if (running_ == 0) walkHelps_ = true;
    return;
  }
  (void)argument.release();  // the thread's now
  worker->thread = descriptor.thread;
  workers_.push_back(std::move(worker));
  ++running_;
}

void ReadAhead::threadMain(void* argument) {
  const std::unique_ptr<std::shared_ptr<Worker>> worker(static_cast<std::shared_ptr<Worker>*>(argument));
  (*worker)->readAhead.work(**worker);
}

void ReadAhead::work(Worker& worker) {
  std::exception_ptr failure;
  try {
    std::unique_lock lock(lock_);
    while (!stopping_) {
      if (!take(worker.task)) {
        // What there was to do is done: the walk need not wait for more to come together.
        walkWake_.notify_one();
        ++idle_;
        workerWake_.wait(lock);
        --idle_;
        continue;
      }
      wakeForWork();
      lock.unlock();
      if (!perform(worker)) return;
      lock.lock();
      finish(worker.task);
      closeDirectories(lock);
    }
  } catch (...) {
    failure = std::current_exception();
  }
  const std::unique_lock lock(lock_);
  worker.task = {};
  if (failure) {
    failure_ = failure;
    stopping_ = true;
    walkWake_.notify_one();
  }
  --running_;
  ended_.notify_all();
}

// ---- Work, without the lock ----

bool ReadAhead::perform(Worker& worker) {
  Task& task = worker.task;
  if (task.step == Task::Step::OPEN && !open(worker)) return false;
  if (task.step == Task::Step::READ && !read(worker)) return false;
  return task.step != Task::Step::STAT || statRange(worker);
}

/// Opens a directory and looks whether it is the one that was stat'ed. Without that it isn't read: the walk
/// compares the two as well, and says so.
bool ReadAhead::open(Worker& worker) {
  Task& task = worker.task;
  Chunk& chunk = *task.chunk;
  OwnedDescriptor descriptor;
  int error = 0;
  const bool isRoot = !chunk.parent;
  const int parent = isRoot ? AT_FDCWD : chunk.parent->descriptor.get();
  if (!worker.call([&] {
        descriptor = OwnedDescriptor(worker.calls->openDirectory(parent, chunk.name.c_str()));
        error = descriptor ? 0 : errno;
      })) {
    return false;
  }
  chunk.openError = error;
  if (error != 0) return true;

  struct stat status = {};
  if (!worker.call([&] { error = worker.calls->statEntry(descriptor.get(), "", status) == 0 ? 0 : errno; })) {
    return false;
  }
  task.directory = std::make_shared<AheadDirectory>(std::move(descriptor), openDirectories_);
  chunk.opened = EntryStatus(status);
  chunk.openedError = error;
  if (isRoot) {
    rootDevice_ = deviceNumber(status.st_dev);
  } else if (error != 0 || status.st_dev != chunk.expected.device || status.st_ino != chunk.expected.inode) {
    return true;
  }
  task.step = Task::Step::READ;
  return true;
}

/// Reads as much of a directory as a chunk holds.
bool ReadAhead::read(Worker& worker) {
  Task& task = worker.task;
  Chunk& chunk = *task.chunk;
  while (!chunk.isLast && chunk.bytes.size() + WORTHWHILE_ROOM <= BUFFER_BYTES) {
    ssize_t got = 0;
    int error = 0;
    if (!worker.call([&] {
          got = worker.calls->readEntries(task.directory->descriptor.get(), worker.buffer.get(),
                                          BUFFER_BYTES - chunk.bytes.size());
          error = got < 0 ? errno : 0;
        })) {
      return false;
    }
    chunk.readError = error;
    chunk.isLast = got <= 0;
    if (got > 0) chunk.bytes.insert(chunk.bytes.end(), worker.buffer.get(), worker.buffer.get() + got);
  }
  listEntries(chunk);
  task.step = Task::Step::STAT;
  task.range = {0, chunk.entries.size()};
  const bool isSmall = chunk.isLast && chunk.entries.size() <= ENTRIES_AT_ONCE;
  if (isSmall && !setup_.isSlow) return true;

  // Large enough to be shared: the rest is anybody's from here on, and so is the next part.
  std::unique_lock lock(lock_);
  task.range.end = std::min(task.range.end, setup_.isSlow ? SLOW_ENTRIES_AT_ONCE : ENTRIES_AT_ONCE);
  task.isShared = true;
  chunk.directory = task.directory;
  ++chunk.directory->atWork;
  shareStating(chunk, task.range.end);
  if (!chunk.isLast) {
    chunk.following = std::make_shared<Chunk>();
    Chunk& next = *chunk.following;
    next.level = chunk.level;
    next.pathLength = chunk.pathLength;
    next.directory = chunk.directory;
    next.place = order_.insert(std::next(chunk.descent), {chunk.following, false});
  }
  wakeForWork();
  return true;
}

bool ReadAhead::statRange(Worker& worker) {
  Task& task = worker.task;
  Chunk& chunk = *task.chunk;
  for (worker.at = task.range.begin; worker.at < task.range.end; ++worker.at) {
    if (stopping_.load(std::memory_order_relaxed)) return true;
    AheadEntry& entry = chunk.entries[worker.at];
    struct stat status;
    int error = 0;
    if (!worker.call([&] {
          error = worker.calls->statEntry(task.directory->descriptor.get(), chunk.nameOf(entry), status) == 0
                      ? 0
                      : errno;
        })) {
      return false;
    }
    entry.error = error;
    if (error == 0) entry.status = EntryStatus(status);
  }
  return true;
}

/// Finds the names in what was read that the walk will ask for.
void ReadAhead::listEntries(Chunk& chunk) const {
  const auto forEachName = [&chunk](auto use) {
    for (size_t place = 0; place < chunk.bytes.size();) {
      const auto* const entry = reinterpret_cast<const dirent64*>(chunk.bytes.data() + place);
      use(entry->d_name);
      place += entry->d_reclen;
    }
  };
  size_t names = 0;
  forEachName([&](const char*) { ++names; });
  chunk.entries.reserve(names);
  forEachName([&](const char* name) {
    if (setup_.rules.isNoEntry(name) || !setup_.rules.fitsStat(entryPathLength(chunk, name))) return;
    chunk.entries.push_back({.name = static_cast<uint32_t>(name - chunk.bytes.data()), .status = {}});
  });
}

bool ReadAhead::isEntered(const Chunk& chunk, const AheadEntry& entry) const {
  if (entry.error != 0 || !S_ISDIR(entry.status.mode) || deviceNumber(entry.status.device) != rootDevice_) {
    return false;
  }
  const char* const name = chunk.nameOf(entry);
  return WalkRules::hasRoomBelow(chunk.level) && setup_.rules.fitsOpen(entryPathLength(chunk, name)) &&
         (chunk.level > 0 || !WalkRules::isSnapshot(setup_.rules.rootPath() + name));
}

/// Bytes of an entry's logical path. Only the root's ends in a slash.
size_t ReadAhead::entryPathLength(const Chunk& chunk, const char* name) const {
  return chunk.pathLength + (chunk.level == 0 ? 0 : 1) + std::strlen(name);
}

// ---- The order, under the lock ----

/// The first work in the walk's order. Where calls wait, that is first sought in directories where nobody is:
/// many a system lets one thread at a time look into a directory.
bool ReadAhead::take(Task& task) {
  return (setup_.isSlow && take(task, 0)) || take(task, mostInDirectory_);
}

/// @param most threads in one directory, before this one
bool ReadAhead::take(Task& task, size_t most) {
  for (auto place = order_.begin(); place != order_.end();) {
    if (!canTake(*place, most)) {
      ++place;
    } else if (place->isDescent) {
      place = beginBelow(*place->chunk);  // in front of this: looked at next
    } else {
      takeFrom(*place->chunk, task);
      return true;
    }
  }
  return false;
}

bool ReadAhead::canTake(const OrderItem& item, size_t most) const {
  const Chunk& chunk = *item.chunk;
  if (item.isDescent) return chunk.below.size() < chunk.subDirectories.size() && mayBegin();
  if (chunk.phase == Chunk::Phase::TO_READ) {
    return &chunk == awaited_ || (mayBegin() && !chunk.waitsForTurn);
  }
  return !chunk.toStat.empty() && chunk.directory->atWork <= most;
}

void ReadAhead::takeFrom(Chunk& chunk, Task& task) {
  task = {};
  task.chunk = chunk.place->chunk;
  task.directory = chunk.directory;
  if (chunk.phase == Chunk::Phase::TO_READ) {
    chunk.phase = Chunk::Phase::READING;
    task.step = chunk.directory ? Task::Step::READ : Task::Step::OPEN;
    return;
  }
  EntryRange& range = chunk.toStat.back();
  const size_t most = setup_.isSlow ? SLOW_ENTRIES_AT_ONCE : ENTRIES_AT_ONCE;
  task.step = Task::Step::STAT;
  task.range = {range.begin, std::min(range.end, range.begin + most)};
  range.begin = task.range.end;
  if (range.empty()) chunk.toStat.pop_back();
  task.isShared = true;
  ++chunk.directory->atWork;
}

bool ReadAhead::hasWork() const {
  return std::any_of(order_.begin(), order_.end(),
                     [this](const OrderItem& item) { return canTake(item, mostInDirectory_); });
}

bool ReadAhead::mayBegin() const {
  return !isFull_ && *openDirectories_ < setup_.descriptors;
}

/// Wakes one who may do what is there, or starts another; those that are awake look for themselves.
void ReadAhead::wakeForWork() {
  if (idle_ > 0) {
    if (hasWork()) workerWake_.notify_one();
  } else if (running_ < mostWorkers_ && !stopping_) {
    if (hasWork()) startWorker();
  } else if (walkHelps_ && walkSleeps_ && hasWork()) {
    walkWake_.notify_one();
  }
}

/// Whoever is done with a piece of work comes here.
void ReadAhead::finish(Task& task) {
  if (!stopping_) conclude(task);
  task = {};
}

void ReadAhead::conclude(Task& task) {
  Chunk& chunk = *task.chunk;
  if (isOutOfDescriptors(chunk.openError) && &chunk != awaited_) {
    // Others hold them; the walk, when it comes to this directory, holds fewer than a reading ahead of it.
    chunk.openError = 0;
    chunk.waitsForTurn = true;
    chunk.phase = Chunk::Phase::TO_READ;
    return;
  }
  if (task.isShared) {
    --task.directory->atWork;
  } else {
    chunk.directory = task.directory;
    countMemory(chunk);
  }
  if (task.step != Task::Step::STAT || haveStated(chunk, task.range)) makeReady(chunk);
}

void ReadAhead::countMemory(const Chunk& chunk) {
  buffered_ += chunk.memory();
  if (buffered_ > setup_.bytes) isFull_ = true;
}

/// Leaves a chunk's entries from `begin` on to all, and its sub-directories as they are found.
void ReadAhead::shareStating(Chunk& chunk, size_t begin) {
  chunk.phase = Chunk::Phase::STATING;
  if (begin < chunk.entries.size()) chunk.toStat.push_back({begin, chunk.entries.size()});
  chunk.descent = order_.insert(std::next(chunk.place), {chunk.place->chunk, true});
  chunk.hasDescent = true;
  countMemory(chunk);
}

/// Notes that a range has been stat'ed, and lists the sub-directories before the first entry that hasn't
/// been.
/// @return whether all entries have been
bool ReadAhead::haveStated(Chunk& chunk, EntryRange range) {
  std::vector<EntryRange>& stated = chunk.stated;
  stated.insert(std::upper_bound(stated.begin(), stated.end(), range,
                                 [](EntryRange a, EntryRange b) { return a.begin < b.begin; }),
                range);
  auto next = stated.begin();
  for (; next != stated.end() && next->begin == chunk.statedTo; ++next) {
    for (size_t place = next->begin; place < next->end; ++place) {
      if (isEntered(chunk, chunk.entries[place])) {
        chunk.subDirectories.push_back(static_cast<uint32_t>(place));
      }
    }
    chunk.statedTo = next->end;
  }
  stated.erase(stated.begin(), next);
  return chunk.statedTo == chunk.entries.size();
}

void ReadAhead::makeReady(Chunk& chunk) {
  if (!chunk.hasDescent && !chunk.subDirectories.empty()) {
    chunk.descent = order_.insert(chunk.place, {chunk.place->chunk, true});
    chunk.hasDescent = true;
  }
  readyEntries_ += chunk.entries.size();
  chunk.phase = Chunk::Phase::READY;
  chunk.isReady.store(true, std::memory_order_release);
  if (&chunk == awaited_ && walkSleeps_ && (walkIsUrgent_ || readyEntries_ >= WORTH_WAKING)) {
    walkWake_.notify_one();
  }
  const std::shared_ptr<Chunk> kept = std::move(chunk.place->chunk);
  order_.erase(chunk.place);
  endDescent(chunk);
}

/// Lets go of a chunk's directory, and of its place in the order, once nothing is left to be begun in it.
void ReadAhead::endDescent(Chunk& chunk) {
  if (chunk.phase != Chunk::Phase::READY || chunk.below.size() < chunk.subDirectories.size()) return;
  if (chunk.directory) closing_.push_back(std::move(chunk.directory));
  if (!chunk.hasDescent) return;
  chunk.hasDescent = false;
  order_.erase(chunk.descent);  // which may be the last to know the chunk
}

/// Makes the first chunk of a chunk's next sub-directory. With the last one the order may give the chunk up.
ChunkOrder::iterator ReadAhead::beginBelow(Chunk& chunk) {
  const AheadEntry& entry = chunk.entries[chunk.subDirectories[chunk.below.size()]];
  const auto child = std::make_shared<Chunk>();
  chunk.below.push_back(child);
  child->name = chunk.nameOf(entry);
  child->parent = chunk.directory;
  child->expected = entry.status;
  child->level = chunk.level + 1;
  child->pathLength = entryPathLength(chunk, chunk.nameOf(entry));
  child->waitsForTurn = chunk.level == 0 && setup_.rules.asksForSnapshots();
  child->place = order_.insert(chunk.descent, {child, false});
  endDescent(chunk);
  return child->place;
}

void ReadAhead::closeDirectories(std::unique_lock<std::mutex>& lock) {
  if (closing_.empty()) return;
  std::vector<std::shared_ptr<AheadDirectory>> closing = std::exchange(closing_, {});
  const bool wasAtLimit = *openDirectories_ >= setup_.descriptors;
  lock.unlock();
  closing.clear();
  lock.lock();
  if (wasAtLimit) wakeForWork();
}

// ---- The walk's side ----

std::shared_ptr<Chunk> ReadAhead::begin(const char* path) {
  auto root = std::make_shared<Chunk>();
  root->name = path;
  root->pathLength = setup_.rules.rootPath().size();
  const std::unique_lock lock(lock_);
  root->place = order_.insert(order_.end(), {root, false});
  return root;
}

std::shared_ptr<Chunk> ReadAhead::below(Chunk& chunk, size_t number) {
  std::unique_lock lock(lock_);
  while (chunk.below.size() <= number) beginBelow(chunk);
  closeDirectories(lock);
  return std::move(chunk.below[number]);
}

std::shared_ptr<Chunk> ReadAhead::following(Chunk& chunk) {
  const std::unique_lock lock(lock_);
  return std::move(chunk.following);
}

void ReadAhead::await(Chunk& chunk) {
  if (!chunk.isReady.load(std::memory_order_acquire)) waitFor(chunk);
  readyEntries_ -= chunk.entries.size();
  const size_t memory = chunk.memory();
  // Not before half of it is gone: so that threads sleep and wake seldom.
  if (buffered_.fetch_sub(memory) - memory <= setup_.bytes / 2 && isFull_) {
    const std::unique_lock lock(lock_);
    isFull_ = false;
    workerWake_.notify_all();
  }
}

void ReadAhead::waitFor(Chunk& chunk) {
  std::unique_lock lock(lock_);
  awaited_ = &chunk;
  walkIsUrgent_ = walkHelps_;
  if (running_ == 0 && !walkHelps_) startWorker();
  if (idle_ > 0 && !chunk.isReady && canTake(*chunk.place, mostInDirectory_)) workerWake_.notify_one();
  while (!chunk.isReady) {
    if (failure_) std::rethrow_exception(failure_);
    if (stopRequested()) {
      TRACE(TR_MIN, "ReadAhead::await() : agentStop is true\n");
      throw ScanAbortException("Scan abort initiated by Server -> terminating scan");
    }
    if (walkHelps_ && take(walk_->task)) {
      if (running_ < mostWorkers_) wakeForWork();
      lock.unlock();
      perform(*walk_);
      lock.lock();
      finish(walk_->task);
    } else {
      walkSleeps_ = true;
      walkWake_.wait_for(lock, walkIsUrgent_ ? TICK : PATIENCE);
      walkSleeps_ = false;
      walkIsUrgent_ = true;
      if (setup_.limit.count() > 0) giveUpHanging();
    }
    closeDirectories(lock);
  }
  awaited_ = nullptr;
}

/// Gives up whoever has been in one call for longer than the limit, as far as the walk has watched.
void ReadAhead::giveUpHanging() {
  const steady_clock::time_point now = steady_clock::now();
  const std::vector<std::shared_ptr<Worker>> workers = workers_;
  for (const std::shared_ptr<Worker>& worker : workers) {
    uint64_t number = worker->number.load(std::memory_order_acquire);
    if (number % 2 == 0) continue;
    if (number != worker->seen) {
      worker->seen = number;
      worker->seenAt = now;
    } else if (now - worker->seenAt >= setup_.limit &&
               worker->number.compare_exchange_strong(number, Worker::GIVEN_UP)) {
      giveUp(worker);
    }
  }
}

/// What the call was for counts as lost; the rest of the work is for others.
void ReadAhead::giveUp(const std::shared_ptr<Worker>& worker) {
  const Task& task = worker->task;
  Chunk& chunk = *task.chunk;
  TRACE(TR_MIN, "ReadAhead: a call takes longer than the limit; given up (%s)\n", chunk.name.c_str());
  switch (task.step) {
    case Task::Step::OPEN:
      chunk.openError = ESTALE;
      countMemory(chunk);
      makeReady(chunk);
      break;
    case Task::Step::READ:
      chunk.readError = ESTALE;
      chunk.isLast = true;
      chunk.directory = task.directory;
      listEntries(chunk);
      shareStating(chunk, 0);
      if (chunk.entries.empty()) makeReady(chunk);
      break;
    case Task::Step::STAT:
      chunk.entries[worker->at].error = ESTALE;
      if (task.isShared) {
        --task.directory->atWork;
      } else {
        chunk.directory = task.directory;
        shareStating(chunk, chunk.entries.size());
      }
      if (worker->at + 1 < task.range.end) chunk.toStat.push_back({worker->at + 1, task.range.end});
      if (haveStated(chunk, {task.range.begin, worker->at + 1})) makeReady(chunk);
      break;
  }
  std::erase(workers_, worker);
  pthread_detach(worker->thread);
  --running_;
  startWorker();
  workerWake_.notify_all();
}

}  // namespace agent
