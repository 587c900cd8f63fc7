// odm_upgrader backup | restore: takes the place of the module's own tool in a box. The settings that the table flags
// are copied to where no reset reaches them, and back. A backup is whole or not made: it is put together beside the
// last one.
#include <fcntl.h>
#include <sys/file.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "nv/nvm_table.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSettings = "/data/vyrel";
const fs::path kCustomer = "/mnt/customer";
const fs::path kBackup = kCustomer / "vyrel";

// Every daemon that writes a setting starts a backup: one after the other.
void wait_for_turn() {
  const int lock = open((kCustomer / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock < 0 || flock(lock, LOCK_EX) != 0)
    throw fs::filesystem_error("lock", kCustomer, {errno, std::generic_category()});
}

void copy_flagged(const fs::path& from, const fs::path& to) {
  for (const vek_nvm_row& row : vek::nv::vek_nvm_tab) {
    if (row.need_backup == 0 || !fs::exists(from / row.file_name)) continue;
    fs::copy_file(from / row.file_name, to / row.file_name, fs::copy_options::overwrite_existing);
  }
}

void back_up() {
  const fs::path fresh = kCustomer / "vyrel.new";
  fs::remove_all(fresh);
  fs::create_directories(fresh);
  copy_flagged(kSettings, fresh);
  fs::remove_all(kBackup);
  fs::rename(fresh, kBackup);
}

void restore() {
  if (!fs::exists(kBackup)) throw std::runtime_error("there is no backup");
  fs::create_directories(kSettings);
  copy_flagged(kBackup, kSettings);
}

}  // namespace

int main(int argc, char** argv) try {
  const std::string what = argc == 2 ? argv[1] : "";
  std::string line = "odm_upgrader";
  for (int i = 1; i < argc; i++) line.append(" ").append(argv[i]);
  std::ofstream("/run/module/commands.log", std::ios::app) << line + "\n";  // as the other stand-ins do
  if (what != "backup" && what != "restore") {
    std::fputs("usage: odm_upgrader backup|restore\n", stderr);
    return 2;
  }
  fs::create_directories(kCustomer);
  wait_for_turn();
  if (what == "backup")
    back_up();
  else
    restore();
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "odm_upgrader: %s\n", failure.what());
  return 1;
}
