#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "records.h"
#include "vek_pal/data.h"

// The moment before the new file takes the old one's place is where a crash would show: a test looks around there, and
// says what becomes of the step.
std::function<int(const std::string& from)> g_at_rename;

extern "C" int rename(const char* from, const char* to) {
  if (g_at_rename && g_at_rename(from) != 0) {
    errno = EROFS;
    return -1;
  }
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

namespace {

constexpr char kPath[] = "/etc/resolv.conf";

std::string contents(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

// Files in /etc whose name begins with that of resolv.conf.
int files_beside() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/etc"))
    count += entry.path().filename().string().starts_with("resolv.conf");
  return count;
}

class ResolvConf : public testing::Test {
 protected:
  void SetUp() override {
    unlink(kPath);
    unlink("/tmp/resolv.conf.auto");
  }
  void TearDown() override { g_at_rename = nullptr; }
};

TEST_F(ResolvConf, NewServersStandAboveWhatWasThere) {
  std::string large;
  while (large.size() < 300'000) large += "# a line that must survive\nnameserver 192.0.2.1\n";
  const struct {
    const char *old, *primary, *secondary, *top;
  } rows[] = {
      {"search example.org\n", "10.0.0.1", "10.0.0.2", "nameserver 10.0.0.1\nnameserver 10.0.0.2\n"},
      {"nameserver 10.0.0.1", "2001:db8::1", nullptr, "nameserver 2001:db8::1\n"},
      {"options ndots:1\n", nullptr, "10.0.0.2", "nameserver 10.0.0.2\n"},
      {"options ndots:1\n", "", "10.0.0.2", "nameserver 10.0.0.2\n"},
      {"", "10.0.0.1", "2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff",
       "nameserver 10.0.0.1\nnameserver 2001:db8:aaaa:bbbb:cccc:dddd:eeee:ffff\n"},
      {large.c_str(), "10.0.0.1", nullptr, "nameserver 10.0.0.1\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.top);
    write(kPath, row.old);
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_insert_dns_addr_top(row.primary, row.secondary), 0); });
    EXPECT_TRUE(contents(kPath) == std::string(row.top) + row.old);
    EXPECT_TRUE(seen.has("PDP", "current DNS resolve file length: " + std::to_string(std::string(row.old).size())));
    EXPECT_EQ(files_beside(), 1);
  }
}

TEST_F(ResolvConf, AMissingFileIsMadeAndEverybodyMayReadIt) {
  umask(077);
  EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), 0);
  EXPECT_EQ(contents(kPath), "nameserver 10.0.0.1\n");
  struct stat now;
  ASSERT_EQ(stat(kPath, &now), 0);
  EXPECT_EQ(now.st_mode & 07777, 0644u);
}

TEST_F(ResolvConf, TheModeOfTheOldFileStays) {
  write(kPath, "#\n");
  ASSERT_EQ(chmod(kPath, 0664), 0);
  EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), 0);
  struct stat now;
  ASSERT_EQ(stat(kPath, &now), 0);
  EXPECT_EQ(now.st_mode & 07777, 0664u);
}

TEST_F(ResolvConf, ALinkStaysAndWhatItLeadsToIsReplaced) {
  for (const char* target : {"/tmp/resolv.conf.auto", "../tmp/resolv.conf.auto"}) {
    for (const bool exists : {true, false}) {
      SCOPED_TRACE(target);
      SetUp();
      ASSERT_EQ(symlink(target, kPath), 0);
      if (exists) write("/tmp/resolv.conf.auto", "search lan\n");
      EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), 0);
      EXPECT_EQ(std::filesystem::read_symlink(kPath), target);
      EXPECT_EQ(contents("/tmp/resolv.conf.auto"),
                exists ? "nameserver 10.0.0.1\nsearch lan\n" : "nameserver 10.0.0.1\n");
    }
  }
}

TEST_F(ResolvConf, LinksInACircleFail) {
  ASSERT_EQ(symlink(kPath, kPath), 0);
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), -1); });
  EXPECT_TRUE(seen.has("PDP", "fopen /etc/resolv.conf fail"));
}

TEST_F(ResolvConf, AnythingButAnAddressIsTurnedDown) {
  const struct {
    const char *primary, *secondary;
  } rows[] = {
      {nullptr, nullptr},      {"", ""}, {"ns.example.org", nullptr}, {"10.0.0.1", "10.0.0.1\nsearch evil"},
      {"10.0.0.256", nullptr},
  };
  for (const auto& row : rows) {
    write(kPath, "search example.org\n");
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_insert_dns_addr_top(row.primary, row.secondary), -1); });
    EXPECT_TRUE(seen.has("PDP", "Invalid DNS IP."));
    EXPECT_EQ(contents(kPath), "search example.org\n");
  }
}

TEST_F(ResolvConf, ACrashInTheMiddleLeavesTheOldFileWhole) {
  write(kPath, "search example.org\n");
  std::string old_file, new_file;
  g_at_rename = [&](const std::string& from) {
    old_file = contents(kPath);
    new_file = contents(from);
    return 0;
  };
  EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), 0);
  EXPECT_EQ(old_file, "search example.org\n");
  EXPECT_EQ(new_file, "nameserver 10.0.0.1\nsearch example.org\n");
}

TEST_F(ResolvConf, AFileThatCannotBeReplacedIsLeftAsItWas) {
  write(kPath, "search example.org\n");
  g_at_rename = [](const std::string&) { return -1; };
  EXPECT_EQ(vek_pal_insert_dns_addr_top("10.0.0.1", nullptr), -1);
  EXPECT_EQ(contents(kPath), "search example.org\n");
  EXPECT_EQ(files_beside(), 1) << "the unfinished file must be gone";
}

}  // namespace
