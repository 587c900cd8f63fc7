#include "log/log.h"

#include <gtest/gtest.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "records.h"
#include "vek_pal/nvm.h"

namespace {

constexpr char kLogTag[] = "SMS_PDU_DECODE";
constexpr char kCurrent[] = "/vyrel_current_log.txt";
constexpr char kPrevious[] = "/vyrel_previous_log.txt";
constexpr char kOldest[] = "/vyrel_oldest_log.txt";

int log_form(unsigned level, const char* tag, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = vek_pal_log(level, tag, fmt, args);
  va_end(args);
  return result;
}

std::string contents(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class LogFile : public testing::Test {
 protected:
  void SetUp() override {
    TearDown();
    switch_on(1);
  }
  void TearDown() override {
    vek_pal_file_logging_enable = 0;
    if (vek_pal_log_fd != nullptr) fclose(vek_pal_log_fd);
    vek_pal_log_fd = nullptr;
    for (const char* path : {kCurrent, kPrevious, kOldest}) unlink(path);
  }
  static void switch_on(uint8_t value) { ASSERT_EQ(vek_pal_nvm_write(241, &value, 1), 0); }
  // As at the start of a process.
  static int start() {
    if (vek_pal_log_fd != nullptr) fclose(vek_pal_log_fd);
    vek_pal_log_fd = nullptr;
    return vek_pal_log_init();
  }
};

}  // namespace

TEST(LogLevel, GatesTheMacroAndTheFunctions) {
  EXPECT_EQ(vek_pal_log_get_level(), 5u);
  EXPECT_EQ(vek_pal_log_set_level(6), -1);
  EXPECT_EQ(vek_pal_log_get_level(), 5u);
  EXPECT_EQ(vek_pal_log_set_level(0), 0);
  EXPECT_EQ(vek_pal_log_should_log(0), 1);
  EXPECT_EQ(vek_pal_log_should_log(1), 0);
  const auto seen = records_of([] {
    LOG_E("suppressed");
    vek_pal_loge("A", "suppressed");
    vek_pal_logf("A", "fatal %d", 7);
  });
  ASSERT_EQ(seen.all.size(), 1u);
  EXPECT_EQ(seen.all[0].whole, "[       A] fatal 7");
  EXPECT_EQ(seen.all[0].mask, 0x10u);
  vek_pal_log_set_level(5);
}

TEST(LogRecord, CarriesTagFunctionAndLine) {
  errno = 42;
  const auto seen = records_of([] { LOG_W("lock %s of %d", "this", 3); });
  EXPECT_EQ(errno, 42);
  ASSERT_EQ(seen.all.size(), 1u);
  EXPECT_TRUE(
      std::regex_match(seen.all[0].whole, std::regex(R"(\[SMS_PDU_DECODE\] \[operator\(\):\d+\]-lock this of 3 \n)")))
      << seen;
  EXPECT_EQ(seen.all[0].mask, 0x02u);

  const auto cut = records_of([] { LOG_I("%s", std::string(3000, 'x').c_str()); });
  EXPECT_EQ(cut.all[0].whole.size(), 1023u);
}

TEST(LogFunctions, PadTheTagAndGoOutInChunks) {
  const struct {
    unsigned level;
    const char* tag;
    const char* whole;
    unsigned mask;
  } rows[] = {
      {0, "AT", "[      AT] x", 0x10},    {1, "AT", "[      AT] x", 0x08}, {2, "", "[ UNKNOWN] x", 0x02},
      {3, nullptr, "[ UNKNOWN] x", 0x04}, {4, "AT", "[      AT] x", 0x01}, {5, "AT", "[      AT] x", 0x04},
      {9, "AT", "[      AT] x", 0x04},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.level);
    const auto seen = records_of([&] { log_form(row.level, row.tag, "x"); });
    ASSERT_EQ(seen.all.size(), 1u);
    EXPECT_EQ(seen.all[0].whole, row.whole);
    EXPECT_EQ(seen.all[0].mask, row.mask);
  }

  const auto chunks = records_of([] { log_form(3, "AT", "%s", std::string(600 - 11, 'x').c_str()); });
  ASSERT_EQ(chunks.all.size(), 2u);
  EXPECT_EQ(chunks.all[0].whole.size(), 512u);
  EXPECT_EQ(chunks.all[1].whole.size(), 88u);
  const auto cut = records_of([] { log_form(3, "AT", "%s", std::string(3000, 'x').c_str()); });
  ASSERT_EQ(cut.all.size(), 2u);
  EXPECT_EQ(cut.all[1].whole.size(), 1020u - 512u);
}

TEST_F(LogFile, KeepsThreeFilesAndTakesTimestampedRecords) {
  for (int process = 1; process <= 4; process++) {
    ASSERT_EQ(start(), 0);
    LOG_I("process %d", process);
  }
  EXPECT_TRUE(std::regex_match(
      contents(kCurrent),
      std::regex(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] \[SMS_PDU_DECODE\] \[TestBody:\d+\]-process 4 \n\n)")))
      << contents(kCurrent);
  EXPECT_NE(contents(kPrevious).find("process 3"), std::string::npos);
  EXPECT_NE(contents(kOldest).find("process 2"), std::string::npos);
}

TEST_F(LogFile, MovesAFullFileAwayBeforeTheNextRecord) {
  ASSERT_EQ(start(), 0);
  ASSERT_EQ(truncate(kCurrent, 0x100000), 0);
  LOG_I("still here");
  EXPECT_NE(access(kPrevious, F_OK), 0);
  ASSERT_EQ(truncate(kCurrent, 0x100001), 0);
  LOG_I("in a new file");
  struct stat previous;
  ASSERT_EQ(stat(kPrevious, &previous), 0);
  EXPECT_EQ(previous.st_size, 0x100001);
  EXPECT_NE(contents(kCurrent).find("in a new file"), std::string::npos);
}

TEST_F(LogFile, StaysOffWithoutTheSwitchAndSurvivesAFileThatCannotBeMade) {
  switch_on(0);
  EXPECT_EQ(start(), 0);
  EXPECT_NE(access(kCurrent, F_OK), 0);

  unlink("/data/vyrel/vyrel_file_logging");
  testing::internal::CaptureStdout();
  EXPECT_GT(start(), 0);
  fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "read vyrel file logging nvm fail\n");

  switch_on(1);
  ASSERT_EQ(mkdir(kOldest, 0700), 0);  // cannot be replaced by a file, so neither can what follows it
  ASSERT_EQ(mkdir((std::string(kOldest) + "/full").c_str(), 0700), 0);
  ASSERT_EQ(mkdir(kCurrent, 0700), 0);
  ASSERT_EQ(mkdir(kPrevious, 0700), 0);
  ASSERT_EQ(mkdir((std::string(kPrevious) + "/full").c_str(), 0700), 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(start(), 0);
  fflush(stdout);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Unable to create /vyrel_current_log.txt vyrel log file"),
            std::string::npos);
  const auto seen = records_of([] { LOG_I("still heard"); });
  ASSERT_EQ(seen.all.size(), 1u);
  EXPECT_NE(seen.all[0].whole.find("still heard"), std::string::npos);
  ASSERT_EQ(system("rm -r /vyrel_*"), 0);
}

TEST(HexDump, ShowsOffsetHexAndText) {
  std::vector<unsigned char> data(5000);
  for (size_t i = 0; i < data.size(); i++) data[i] = static_cast<unsigned char>(i + 0x10);
  const auto seen = records_of([&] { vek_pal_hexdump("NET", "caller", 12, "frame", data.data(), 20); });
  ASSERT_EQ(seen.all.size(), 3u);
  EXPECT_EQ(seen.all[0].tag, "HEXDUMP");
  EXPECT_EQ(seen.all[0].text, "dumping 'frame' (20 bytes)");
  EXPECT_EQ(seen.all[1].text,
            "[     NET] [caller:12] 0000:  10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f  ................\n\n");
  EXPECT_EQ(seen.all[2].text,
            "[     NET] [caller:12] 0010:  20 21 22 23                                       !\"#\n\n");

  const auto large = records_of([&] { vek_pal_hexdump("NET", "f", 1, "t", data.data(), 5000); });
  EXPECT_EQ(large.all.size(), 1u + 4096 / 16);

  const auto print = records_of([&] {
    vek_pal_hex_print("t", data.data(), 0);
    vek_pal_hex_print("t", data.data(), 129);
  });
  ASSERT_EQ(print.all.size(), 2u);
  EXPECT_EQ(print.all[1].text, "t: 90 \n");

  vek_pal_log_set_level(3);
  const auto debug = records_of([&] { VEK_PAL_LOG_DEBUG_HEX(data.data(), 129); });
  ASSERT_EQ(debug.all.size(), 6u);
  EXPECT_EQ(debug.all[0].tag, "NET");
  EXPECT_EQ(debug.all[0].text, "VEK_PAL_LOG_DEBUG_HEX: data len too long");
  EXPECT_EQ(debug.all[5].text.substr(0, 14), "str_buf:88 89 ");
  vek_pal_log_set_level(5);
}
