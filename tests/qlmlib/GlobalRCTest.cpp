#include "QLMlib/common/ut/GlobalRC.h"

#include <cerrno>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/ut/TraceClasses.h"

namespace agent::test {
namespace {

std::string internalErrors;

/// The catalog of these tests: the severity of message 1000 + n is n.
uint8_t severityOf(uint32_t number) {
  return number >= 1000 && number <= 1009 ? static_cast<uint8_t>(number - 1000) : 255;
}

constexpr uint32_t INFORMATION_MESSAGE = 1004;
constexpr uint32_t WARNING_MESSAGE = 1005;
constexpr uint32_t ERROR_MESSAGE = 1006;

class GlobalRCTest : public ::testing::Test {
 protected:
  GlobalRCTest() {
    delete GlobalRC::getInstance();  // what other suites left
    rc_.reset(GlobalRC::getInstance());
    internalErrors.clear();
    rc_->connect({.severity = severityOf,
                  .internalError = [](const char*, unsigned, const char* text) { internalErrors += text; }});
    gRC = nullptr;
  }
  ~GlobalRCTest() override {
    clearTraceFlags();
    setMutexPlatform(nullptr);
    setThreadMode(false);
  }

  GlobalRC& rc() { return *rc_; }
  int32_t codeOf(uint32_t number) {
    rc().clearAllRC();
    rc().set(number);
    return rc().get();
  }

 private:
  std::unique_ptr<GlobalRC> rc_;
};

TEST_F(GlobalRCTest, ASeverityHasItsCode) {
  const int32_t codes[] = {0, 0, 0, 12, 0, 8, 12, 12, 0, 0};  // Z T R K I W E S L 9
  for (uint32_t severity = 0; severity < 10; ++severity)
    EXPECT_EQ(codeOf(1000 + severity), codes[severity]) << severity;
  EXPECT_EQ(codeOf(4711), 0);  // in no catalog
}

TEST_F(GlobalRCTest, SomeNumbersHaveTheirCodeWhateverTheirSeverity) {
  const std::string warnings =
      "201 202 203 204 206 207 208 209 210 212 214 215 218 219 220 221 222 223 230 235 249 "
      "251 252 253 254 255 256 257 258 259 260 261 262 266 ";
  std::string found;
  std::string errors;
  for (uint32_t number = 0; number < 300; ++number) {
    if (codeOf(number) == 4) found += std::to_string(number) + " ";
    if (codeOf(number) == 12) errors += std::to_string(number) + " ";
  }
  EXPECT_EQ(found, warnings);
  EXPECT_EQ(errors, "250 263 ");
}

TEST_F(GlobalRCTest, TheCodeRisesUntilItIsClearedAndEachClearGoesOneStepFurther) {
  rc().set(ERROR_MESSAGE);
  EXPECT_FALSE(rc().set(WARNING_MESSAGE));
  EXPECT_EQ(rc().get(), 12);
  EXPECT_TRUE(rc().clearRC());
  EXPECT_TRUE(rc().set(WARNING_MESSAGE));
  EXPECT_FALSE(rc().set(INFORMATION_MESSAGE));
  EXPECT_EQ(rc().get(), 8);
  EXPECT_EQ(rc().getMacroMax(), 12);
  EXPECT_EQ(rc().getMax(), 12);

  EXPECT_TRUE(rc().clearMacroRC());
  EXPECT_TRUE(rc().set(201));
  EXPECT_EQ(rc().get(), 4);
  EXPECT_EQ(rc().getMacroMax(), 4);
  EXPECT_EQ(rc().getMax(), 12);

  EXPECT_TRUE(rc().clearAllRC());
  EXPECT_EQ(rc().get(), 0);
  EXPECT_EQ(rc().getMacroMax(), 0);
  EXPECT_EQ(rc().getMax(), 0);
}

TEST_F(GlobalRCTest, TheTestFlagReplacesTheCodeOfTheAuditLog) {
  TEST_AUDITLOGRC.on = true;
  EXPECT_EQ(codeOf(250), 8);
  TEST_AUDITLOGRC.value = 3;
  EXPECT_EQ(codeOf(250), 3);
  TEST_AUDITLOGRC.value = -5;
  EXPECT_EQ(codeOf(250), 8);
}

int refuse(pthread_mutex_t*) {
  return EINVAL;
}

TEST_F(GlobalRCTest, AMutexThatFailsIsReportedAndTheFieldsStayReadable) {
  setThreadMode(true);
  rc().set(WARNING_MESSAGE);
  const MutexPlatform noLock{pthread_mutex_lock, refuse, pthread_mutex_trylock, pthread_mutex_unlock,
                             pthread_mutex_destroy};
  setMutexPlatform(&noLock);
  EXPECT_FALSE(rc().set(ERROR_MESSAGE));
  EXPECT_EQ(internalErrors, "Unable to acquire global rc mutex\n");
  EXPECT_EQ(rc().get(), 8);  // untouched by set, read without the mutex
  EXPECT_TRUE(rc().clearRC());
  EXPECT_EQ(rc().get(), 0);
}

TEST_F(GlobalRCTest, ThreadsMaySetAtTheSameTime) {
  setThreadMode(true);
  const auto work = [this] {
    for (int i = 0; i < 1000; ++i) {
      rc().set(WARNING_MESSAGE);
      rc().clearRC();
      rc().set(ERROR_MESSAGE);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(rc().getMax(), 12);
}

}  // namespace
}  // namespace agent::test
