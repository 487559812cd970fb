#include "QLMlib/common/ut/GlobalRC.h"

#include <map>
#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "QLMlib/common/thrd/Thread.h"
#include "QLMlib/common/ut/TraceClasses.h"
#include "support/RefusedCalls.h"

namespace agent::test {
namespace {

std::string internalErrors;

/// The catalog of these tests: the severity of message 1000 + n is n.
uint8_t severityOf(uint32_t number) {
  return number >= 1000 && number <= 1009 ? static_cast<uint8_t>(number - 1000) : 255;
}

constexpr uint32_t WARNING_MESSAGE = 1005, ERROR_MESSAGE = 1006;

class GlobalRCTest : public ::testing::Test {
 protected:
  GlobalRCTest() {
    delete GlobalRC::getInstance();  // what other suites left
    rc_.reset(GlobalRC::getInstance());
    internalErrors.clear();
    rc_->connect({.severity = severityOf,
                  .internalError = [](const char*, unsigned, const char* text) { internalErrors += text; }});
    gRC = nullptr;
    setThreadMode(true);
  }
  ~GlobalRCTest() override { setThreadMode(false); }

  int32_t codeOf(uint32_t number) {
    rc_->clearAllRC();
    rc_->set(number);
    return rc_->get();
  }
  /// The three codes, from the one that is cleared first.
  std::string codes() {
    return std::to_string(rc_->get()) + " " + std::to_string(rc_->getMacroMax()) + " " +
           std::to_string(rc_->getMax());
  }

  std::unique_ptr<GlobalRC> rc_;
};

TEST_F(GlobalRCTest, AMessageHasTheCodeOfItsSeverityOrOneOfItsOwn) {
  std::string bySeverity;  // Z T R K I W E S L 9
  for (uint32_t severity = 0; severity < 10; ++severity) {
    bySeverity += std::to_string(codeOf(1000 + severity)) + " ";
  }
  EXPECT_EQ(bySeverity, "0 0 0 12 0 8 12 12 0 0 ");
  EXPECT_EQ(codeOf(4711), 0);  // in no catalog

  std::map<int32_t, std::string> numbers;
  for (uint32_t number = 0; number < 300; ++number) numbers[codeOf(number)] += std::to_string(number) + " ";
  EXPECT_EQ(numbers[4],
            "201 202 203 204 206 207 208 209 210 212 214 215 218 219 220 221 222 223 230 235 249 "
            "251 252 253 254 255 256 257 258 259 260 261 262 266 ");
  EXPECT_EQ(numbers[12], "250 263 ");
  TEST_AUDITLOGRC.on = true;
  for (const auto& [value, code] : {std::pair(0, 8), std::pair(3, 3), std::pair(-5, 8)}) {
    TEST_AUDITLOGRC.value = value;
    EXPECT_EQ(codeOf(250), code);
  }
  clearTraceFlags();
}

TEST_F(GlobalRCTest, TheCodeRisesUntilItIsClearedAndEachClearGoesOneStepFurther) {
  EXPECT_TRUE(rc_->set(ERROR_MESSAGE));
  EXPECT_FALSE(rc_->set(WARNING_MESSAGE));
  rc_->clearRC();
  EXPECT_TRUE(rc_->set(WARNING_MESSAGE));
  EXPECT_EQ(codes(), "8 12 12");
  rc_->clearMacroRC();
  rc_->set(201);
  EXPECT_EQ(codes(), "4 4 12");
  rc_->clearAllRC();
  EXPECT_EQ(codes(), "0 0 0");
}

TEST_F(GlobalRCTest, AMutexThatFailsIsReportedAndTheFieldsStayReadable) {
  rc_->set(WARNING_MESSAGE);
  RefusedCalls calls;
  calls.refuse<&Calls::pthread_mutex_lock>(EINVAL);
  EXPECT_FALSE(rc_->set(ERROR_MESSAGE));
  EXPECT_EQ(internalErrors, "Unable to acquire global rc mutex\n");
  EXPECT_EQ(rc_->get(), 8);  // untouched by set, read without the mutex
  EXPECT_TRUE(rc_->clearRC());
  EXPECT_EQ(rc_->get(), 0);
  calls.allow<&Calls::pthread_mutex_lock>();
  calls.refuse<&Calls::pthread_mutex_unlock>(EPERM);
  EXPECT_FALSE(rc_->set(ERROR_MESSAGE));
  EXPECT_THAT(internalErrors, ::testing::EndsWith("Unable to release global rc mutex\n"));
}

}  // namespace
}  // namespace agent::test
