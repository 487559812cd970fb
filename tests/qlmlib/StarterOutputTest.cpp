#include "QLMlib/common/unx/StarterOutput.h"

#include <cerrno>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "QLMlib/common/unx/OwnedDescriptor.h"
#include "qlmlib/TestFiles.h"

namespace agent::test {
namespace {

using std::chrono::milliseconds;

/// A reader that has stopped reading: no byte more finds room.
class FullChannel {
 public:
  explicit FullChannel(const std::function<int(int*)>& make) {
    int ends[2];
    if (make(ends) != 0) throw std::runtime_error("no channel");
    reading_ = OwnedDescriptor(ends[0]);
    writing_ = OwnedDescriptor(ends[1]);
    ::fcntl(writer(), F_SETFL, O_RDWR | O_NONBLOCK);
    while (::write(writer(), "x", 1) == 1) ++filled_;
    ::fcntl(writer(), F_SETFL, O_RDWR);
  }

  int writer() const { return writing_.get(); }

  /// Reads slowly to the text's end. @return what stands behind what had filled the channel
  std::string readSlowly(size_t size) const {
    std::string all;
    char piece[3000];
    while (all.size() < filled_ + size) {
      std::this_thread::sleep_for(milliseconds(2));
      const ssize_t got = ::read(reading_.get(), piece, sizeof piece);
      if (got <= 0) break;
      all.append(piece, static_cast<size_t>(got));
    }
    return all.substr(filled_);
  }

 private:
  OwnedDescriptor reading_, writing_;
  size_t filled_ = 0;
};

TEST(StarterOutputTest, AReaderThatTakesNothingIsGivenUpAndASlowOneGetsAll) {
  const struct {
    const char* comment;
    std::function<int(int*)> make;
  } channels[] = {
      {"pipe", [](int* ends) { return ::pipe(ends); }},
      {"socket", [](int* ends) { return ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends); }},
      {"terminal",
       [](int* ends) {
         termios raw{};
         return ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr);
       }},
  };
  std::string text(20'000, '\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i % 23);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  for (const auto& channel : channels) {
    for (const rlim_t descriptors : {before.rlim_cur, rlim_t{3}}) {  // none left: no description of its own
      SCOPED_TRACE(channel.comment + std::string(", descriptors: ") + std::to_string(descriptors));
      const FullChannel full(channel.make);
      const int mode = ::fcntl(full.writer(), F_GETFL);
      const rlimit limit{descriptors, before.rlim_max};
      ::setrlimit(RLIMIT_NOFILE, &limit);

      EXPECT_EQ(writeToReader(full.writer(), "lost", milliseconds(0)), EAGAIN);
      EXPECT_EQ(writeToReader(full.writer(), "lost", milliseconds(30)), EAGAIN);
      std::string read;
      std::thread reader([&] { read = full.readSlowly(text.size()); });
      EXPECT_EQ(writeToReader(full.writer(), text), 0);
      reader.join();

      ::setrlimit(RLIMIT_NOFILE, &before);
      EXPECT_TRUE(read == text) << read.size() << " bytes";
      EXPECT_EQ(::fcntl(full.writer(), F_GETFL), mode) << "the starter shares it";
    }
  }
  EXPECT_EQ(writeToReader(-7, text), EBADF);
}

}  // namespace
}  // namespace agent::test
