#include "QLMlib/common/unx/StarterOutput.h"

#include <cerrno>
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

int makeTerminal(int* ends) {
  const termios raw{};
  return ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr);
}

int makeSocket(int* ends) {
  return ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
}

TEST(StarterOutputTest, AReaderThatTakesNothingIsGivenUpAndASlowOneGetsAll) {
  const std::string text(20'000, 't');
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  int (*const channels[])(int*) = {::pipe, makeSocket, makeTerminal};
  for (const auto make : channels) {
    for (const rlim_t descriptors : {before.rlim_cur, rlim_t{3}}) {  // none left: no description of its own
      int ends[2];
      ASSERT_EQ(make(ends), 0);
      const OwnedDescriptor reading(ends[0]), writing(ends[1]);
      const int mode = ::fcntl(writing.get(), F_GETFL);
      ::fcntl(writing.get(), F_SETFL, mode | O_NONBLOCK);
      std::string expected;
      while (::write(writing.get(), "x", 1) == 1) expected += 'x';
      ::fcntl(writing.get(), F_SETFL, mode);
      const rlimit limit{descriptors, before.rlim_max};
      ::setrlimit(RLIMIT_NOFILE, &limit);

      EXPECT_EQ(writeToReader(writing.get(), "lost", milliseconds(0)), EAGAIN);
      EXPECT_EQ(writeToReader(writing.get(), "lost", milliseconds(30)), EAGAIN);
      expected += text;
      std::string read;
      std::thread reader([&] {
        for (char piece[3000]; read.size() < expected.size();) {
          std::this_thread::sleep_for(milliseconds(2));
          const ssize_t got = ::read(reading.get(), piece, sizeof piece);
          read.append(piece, static_cast<size_t>(std::max<ssize_t>(got, 0)));
        }
      });
      EXPECT_EQ(writeToReader(writing.get(), text), 0);
      reader.join();

      ::setrlimit(RLIMIT_NOFILE, &before);
      EXPECT_TRUE(read == expected) << read.size() << " bytes";
      EXPECT_EQ(::fcntl(writing.get(), F_GETFL), mode) << "the starter shares it";
    }
  }
  EXPECT_EQ(writeToReader(-7, text), EBADF);
}

}  // namespace
}  // namespace agent::test
