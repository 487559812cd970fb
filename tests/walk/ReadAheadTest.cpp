#include <unistd.h>

#include <condition_variable>
#include <fstream>
#include <mutex>
#include <random>
#include <stdexcept>

#include "Common/ScanAbortException.h"
#include "Common/unix/pssignal.h"
#include "support/RefusedCalls.h"
#include "support/Waiting.h"
#include "walk/WalkFixture.h"

namespace agent::test {
namespace {

using namespace std::chrono_literals;

/// Calls that dawdle now and then, fail for some names, and answer for some directories as if they lay on
/// another device; the same for a name each time. The root, whose name is a path, is spared.
class UnreliableCalls : public RefusableCalls {
 public:
  int openDirectory(int parent, const char* name) override {
    dawdle();
    return isOneIn(23, name, "open") ? refuse(EACCES) : RefusableCalls::openDirectory(parent, name);
  }
  int statEntry(int directory, const char* name, struct stat& status) override {
    dawdle();
    if (*name != '\0' && isOneIn(29, name, "stat")) return refuse(ENOENT);
    const int rc = RefusableCalls::statEntry(directory, name, status);
    if (*name != '\0' && isOneIn(19, name, "mount")) ++status.st_dev;
    return rc;
  }
  ssize_t readEntries(int directory, void* buffer, size_t size) override {
    dawdle();
    return RefusableCalls::readEntries(directory, buffer, dawdles ? std::min<size_t>(size, 300) : size);
  }
  std::atomic<bool> dawdles = false;

 private:
  static int refuse(int error) {
    errno = error;
    return -1;
  }
  static bool isOneIn(size_t count, const std::string& name, const char* what) {
    return name[0] != '/' && std::hash<std::string>()(what + name) % count == 0;
  }
  void dawdle() const {
    static std::atomic<uint32_t> calls = 0;
    if (dawdles && ++calls % 7 == 0) usleep(calls % 97);
  }
};

/// Writes down all that the walk tells of each entry.
class Recording : public FileAction {
 public:
  Recording() : FileAction("Recording") {}
  void actUpon(Scanner&, FileAttributes& entry) override {
    if (--left == 0) throw std::runtime_error("the action failed");
    text += entry.faName + ' ';
    for (const int64_t number :
         {int64_t{entry.faType}, int64_t{entry.faAttributes}, entry.faModified, entry.faAccessed,
          entry.faBlocks, entry.faLength, entry.faInodeNumber, int64_t{entry.faLinkCount}}) {
      text += std::to_string(number) + ' ';
    }
    text += entry.faOwner->ugName + '\n';
  }
  void directoryEntered(FileAttributes&) override { text += "+\n"; }
  void directoryLeft() override { text += "-\n"; }
  void directoryPassedOver() override { text += "!\n"; }

  std::string text;
  int64_t left = -1;  // entries before it throws; below 0: it never does
};

class ReadAheadTest : public WalkFixture {
 protected:
  struct Seen {
    int rc = 0;
    std::string text;
    std::vector<std::string> log;
    bool operator==(const Seen&) const = default;
  };
  Seen see(size_t readers) {
    readers_ = readers;
    Recording recording;
    const JobLog log;
    const int rc = walk(tree_.path(), recording);
    return {rc, recording.text, log.lines()};
  }

  void grow(std::mt19937& random, const std::string& directory, int level) {
    const auto entries = random() % (level == 0 ? 16 : 6);
    for (uint32_t i = 0; i < entries; ++i) {
      const std::string name = directory + std::to_string(i) + "." + std::to_string(random() % 100);
      switch (random() % 8) {
        case 0:
        case 1:
        case 2:
          std::filesystem::create_directories(tree_ / name);
          if (level < 4) grow(random, name + "/", level + 1);
          break;
        case 3:
          symlink("nowhere", (tree_ / name).c_str());
          break;
        case 4:
          tree_.file(name);
          link((tree_ / name).c_str(), (tree_ / (name + "~")).c_str());
          break;
        default:
          tree_.file(name);
      }
    }
  }
};

TEST_F(ReadAheadTest, TheWalkSeesWhatItSeesByItselfAndInTheSameOrder) {
  const auto calls = std::make_shared<UnreliableCalls>();
  calls_ = calls;
  for (uint32_t seed = 0; seed < 200; ++seed) {
    SCOPED_TRACE("tree " + std::to_string(seed));
    std::mt19937 random(seed);
    for (const auto& entry : std::filesystem::directory_iterator(tree_.path())) {
      std::filesystem::remove_all(entry);
    }
    grow(random, "", 0);
    calls->dawdles = false;
    const Seen alone = see(0);
    calls->dawdles = seed % 3 != 0;
    walkHelps_ = seed % 2 == 0;
    isSlow_ = seed % 5 == 0;
    descriptors_ = seed % 7 == 0 ? 0 : 64;           // 0: nothing is opened before the walk waits for it
    bytes_ = seed % 4 == 0 ? seed * 40 : 4'000'000;  // next to nothing may wait for the walk
    const Seen ahead = see(1 + seed % 4);
    ASSERT_EQ(ahead.text, alone.text);
    ASSERT_EQ(ahead, alone);
  }
}

TEST_F(ReadAheadTest, ThreadsThatCannotBeHadAreDoneWithout) {
  std::mt19937 random(3);
  for (int i = 0; i < 5; ++i) grow(random, std::to_string(i) + "-", 0);
  const Seen alone = see(0);
  for (const int refused : {1, 2, 4}) {
    for (const bool isSlow : {false, true}) {
      isSlow_ = isSlow;
      walkHelps_ = !isSlow;
      RefusedCalls calls;
      calls.refuse<&Calls::pthread_create>(EAGAIN, refused);
      EXPECT_EQ(see(8), alone) << refused << isSlow;
      EXPECT_LE(calls.made<&Calls::pthread_create>(), refused) << "tried again in vain";
    }
  }
}

TEST_F(ReadAheadTest, OneSmallDirectoryStartsNoThread) {
  for (const char* name : {"a", "b", "c"}) tree_.file(name);
  RefusedCalls calls;
  calls.watch<&Calls::pthread_create>();
  see(8);
  EXPECT_EQ(calls.made<&Calls::pthread_create>(), 0);

  for (const char* name : {"d/e", "f/g", "h/i"}) tree_.file(name);
  see(8);
  EXPECT_GT(calls.made<&Calls::pthread_create>(), 0) << "several do";
}

TEST_F(ReadAheadTest, AnActionThatFailsLeavesNoThreadAndNoDescriptor) {
  const auto calls = std::make_shared<UnreliableCalls>();
  calls_ = calls;
  calls->dawdles = true;
  std::mt19937 random(7);
  for (int i = 0; i < 5; ++i) grow(random, std::to_string(i) + "-", 0);
  std::thread([] {}).join();  // ThreadSanitizer adds a thread of its own to the first one
  const auto descriptors = countOf("fd");
  const auto threads = countOf("task");
  for (int round = 1; round <= 2'000; ++round) {
    Recording recording;
    recording.left = round % 60 + 1;
    readers_ = 1 + random() % 4;
    walkHelps_ = random() % 2 == 0;
    EXPECT_THROW(walk(tree_.path(), recording), std::runtime_error);
  }
  // The kernel takes a moment for a thread.
  EXPECT_TRUE(eventually([&] { return countOf("fd") == descriptors && countOf("task") == threads; }));
}

/// Calls that hang for some names until the test lets them go.
class HangingCalls : public RefusableCalls {
 public:
  int openDirectory(int parent, const char* name) override {
    hang(name);
    return RefusableCalls::openDirectory(parent, name);
  }
  int statEntry(int directory, const char* name, struct stat& status) override {
    hang(name);
    return RefusableCalls::statEntry(directory, name, status);
  }
  void hang(const std::string& name) {
    if (!name.starts_with("dead")) return;
    std::unique_lock lock(lock_);
    ++hanging;
    wake_.wait(lock, [this] { return isFree_; });
    --hanging;
  }
  /// And waits for their answers.
  void letGo() {
    {
      const std::unique_lock lock(lock_);
      isFree_ = true;
    }
    wake_.notify_all();
    while (hanging > 0) std::this_thread::sleep_for(1ms);
  }
  std::atomic<int> hanging = 0;

 private:
  std::mutex lock_;
  std::condition_variable wake_;
  bool isFree_ = false;
};

TEST_F(ReadAheadTest, ACallThatHangsCostsTheLimitAndOneReader) {
  const auto calls = std::make_shared<HangingCalls>();
  calls_ = calls;
  for (const char* name : {"a/b", "mount/dead1", "mount/dead2", "mount/alive", "z/y"}) tree_.file(name);
  limit_ = 1s;
  walkHelps_ = false;
  for (const size_t readers : {size_t{1}, size_t{4}}) {
    action_->visited.clear();
    readers_ = readers;
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(walk(), 0);

    EXPECT_LT(std::chrono::steady_clock::now() - start, 2500ms) << readers;
    EXPECT_THAT(visited(), ::testing::ElementsAre("a", "a/b", "mount", "mount/alive", "z", "z/y"));
    for (const char* name : {"mount/dead1", "mount/dead2"}) {
      EXPECT_THAT(log_.lines(),
                  ::testing::Contains("STA0063E Unable to read the attributes of \"" + (tree_ / name) +
                                      "\": Stale file handle. The entry is not counted; the scan goes on."));
    }
  }
  // What returns late finds what it needs, and touches nothing else.
  calls->letGo();
}

TEST_F(ReadAheadTest, AStopIsNoticedWhileEveryReaderHangs) {
  const auto calls = std::make_shared<HangingCalls>();
  calls_ = calls;
  for (int i = 0; i < 8; ++i) tree_.file("dead" + std::to_string(i));
  isSlow_ = true;
  walkHelps_ = false;
  readers_ = 2;
  std::chrono::steady_clock::time_point told;
  std::thread stopper([&] {
    while (calls->hanging < 2) std::this_thread::sleep_for(1ms);
    told = std::chrono::steady_clock::now();
    agentStop = 1;
  });
  EXPECT_THROW(walk(), ScanAbortException);
  const auto ended = std::chrono::steady_clock::now();
  stopper.join();
  agentStop = 0;
  EXPECT_LT(ended - told, 150ms) << "100 ms to notice it, and what calls under way get";
  calls->letGo();
}

}  // namespace
}  // namespace agent::test
