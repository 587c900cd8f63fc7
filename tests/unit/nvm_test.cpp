#include "vek_pal/nvm.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "records.h"

namespace {

int g_backups;

}  // namespace

// Wins over the C library's: the backup command is counted, everything else runs.
extern "C" int system(const char* command) {
  if (std::string(command) != "odm_upgrader backup") return WEXITSTATUS(pclose(popen(command, "r")));
  g_backups++;
  return 1;  // a failed backup changes nothing
}

TEST(Nvm, ResolvesIdsAsItsCallersRelyOn) {
  const struct { unsigned id, index; } rows[] = {{0, 0}, {1, 1}, {80, 2}, {241, 54}, {242, 242}, {5, 0}, {~0u, 0}};
  for (const auto& row : rows) EXPECT_EQ(vek_pal_nvm_tab_index_get(row.id), row.index) << row.id;
  EXPECT_EQ(vek_pal_nvm_tab_count(), 56);
  EXPECT_EQ(vek_pal_nvm_tab_backup_count(), 29);
}

TEST(Nvm, TurnsDownWhatCannotBeStored) {
  char byte = 1;
  unsigned size = 0;
  const struct {
    int seen, code;
  } rows[] = {
      {vek_pal_nvm_read(1, nullptr, 1), 7},
      {vek_pal_nvm_read(1, &byte, 0), 7},
      {vek_pal_nvm_write(1, nullptr, 1), 7},
      {vek_pal_nvm_write(1, &byte, 0), 7},
      {vek_pal_nvm_read(242, &byte, 1), 710},
      {vek_pal_nvm_write(242, &byte, 1), 710},
      {vek_pal_nvm_read(0, &byte, 1), 713},
      {vek_pal_nvm_read(5, &byte, 1), 713},
      {vek_pal_nvm_write(5, &byte, 1), 713},
      {vek_pal_nvm_get_nv_size(5, &size), 714},
      {vek_pal_nvm_get_nv_size(1, nullptr), 710},
      {vek_pal_nvm_get_nv_size(242, &size), 710},
      {vek_pal_nvm_check_nv_exist(5), 714},
      {vek_pal_nvm_check_nv_exist(242), 710},
      {vek_pal_nvm_read_async(), -1},
      {vek_pal_nvm_write_async(), -1},
  };
  for (const auto& row : rows) EXPECT_EQ(row.seen, row.code) << "row " << &row - rows;
}

TEST(Nvm, KeepsExactlyWhatWasWritten) {
  char room[16] = "??????????";
  ASSERT_EQ(vek_pal_nvm_write(80, "0123456789", 10), 0);
  ASSERT_EQ(vek_pal_nvm_write(80, "abc", 3), 0);
  EXPECT_EQ(vek_pal_nvm_read(80, room, sizeof room), 0);
  EXPECT_STREQ(room, "abc???????") << "a short file leaves the rest of the buffer";
  unsigned size = 0;
  const auto sized = records_of([&] { EXPECT_EQ(vek_pal_nvm_get_nv_size(80, &size), 0); });
  EXPECT_EQ(size, 3u);
  ASSERT_EQ(sized.all.size(), 1u);
  EXPECT_EQ(sized.all[0].mask, 0x08u);
  EXPECT_EQ(vek_pal_nvm_check_nv_exist(80), 0);

  unlink("/data/vyrel/vyrel_ec_modem");
  EXPECT_EQ(vek_pal_nvm_read(80, room, 1), 711);
  EXPECT_EQ(vek_pal_nvm_get_nv_size(80, &size), 702);
  EXPECT_EQ(vek_pal_nvm_check_nv_exist(80), 702);
}

TEST(Nvm, BacksUpTheFlaggedItemsOnly) {
  g_backups = 0;
  const auto plain = records_of([] { EXPECT_EQ(vek_pal_nvm_write(80, "x", 1), 0); });
  EXPECT_EQ(g_backups, 0);
  EXPECT_TRUE(plain.has("NVM", "Write nvm, sem is NULL or no backup, do not trigger cust data backup."));
  const auto flagged = records_of([] { EXPECT_EQ(vek_pal_nvm_write(81, "x", 1), 0); });
  EXPECT_EQ(g_backups, 1);
  EXPECT_TRUE(flagged.has("NVM", "Write nvm, trigger cust data backup."));
}

TEST(Nvm, SaysWhatStandsInTheWay) {
  // The directory's place is taken by a file.
  ASSERT_EQ(::system("rm -rf /data/vyrel && touch /data/vyrel"), 0);
  const auto no_directory = records_of([] { EXPECT_EQ(vek_pal_nvm_write(80, "x", 1), 712); });
  EXPECT_TRUE(no_directory.has_part("NVM", "Open and mkdir /data/vyrel/ failed.")) << no_directory;
  unlink("/data/vyrel");

  // A full disk: a file system of one page, which another item has filled.
  ASSERT_EQ(mkdir("/data/vyrel", 0700), 0);
  if (mount("small", "/data/vyrel", "tmpfs", 0, "size=4096,mode=0700") == 0) {
    ASSERT_EQ(vek_pal_nvm_write(113, std::string(4096, 'x').c_str(), 4096), 0);
    const auto full = records_of([] { EXPECT_EQ(vek_pal_nvm_write(80, "x", 1), 712); });
    EXPECT_TRUE(full.has("NVM", "Write /data/vyrel/vyrel_ec_modem failed")) << full;
    ASSERT_EQ(mount(nullptr, "/data/vyrel", nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const auto read_only = records_of([] { EXPECT_EQ(vek_pal_nvm_write(113, "x", 1), 712); });
    EXPECT_TRUE(read_only.has("NVM", "vek_pal_write_nv_md_sync write AP nvm file failed, ret is -1.")) << read_only;
    char byte;
    EXPECT_EQ(vek_pal_nvm_read(113, &byte, 1), 0) << "what was there can still be read";
    umount("/data/vyrel");
  } else {
    FAIL() << "the box lets nobody mount: " << strerror(errno);
  }
  rmdir("/data/vyrel");
  EXPECT_EQ(vek_pal_nvm_write(80, "x", 1), 0) << "a missing directory is made";
}
