#include "modem/at/atr/main_switch.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/base/file_bytes.h"
#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/at.h"

namespace {

using vek::UniqueFd;

constexpr char kLogTag[] = "AT";
constexpr char kPath[] = "/etc/vyrel_main_switch_flag.cfg";
constexpr char kNewPath[] = "/etc/vyrel_main_switch_flag.cfg.new";
constexpr mode_t kMode = 0644;
constexpr char kOn = '1';
constexpr char kOff = '0';

// Everything behind the first byte of `old`; a file of one byte or none has nothing to copy.
bool copy_behind_switch(int old, int file) {
  char piece[512];
  return lseek(old, 1, SEEK_SET) == 1 && vek::copy_rest(old, file, piece, sizeof piece);
}

bool write_new_file(bool on, const UniqueFd& old) {
  struct stat status;
  const mode_t mode = old && fstat(old.get(), &status) == 0 ? status.st_mode & 07777 : kMode;
  const UniqueFd file(open(kNewPath, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kMode));
  if (!file) return FAIL(false, "Failed to open file: %s", kPath);
  if (vek::write_all(file.get(), on ? &kOn : &kOff, 1) && (!old || copy_behind_switch(old.get(), file.get())) &&
      fchmod(file.get(), mode) == 0 && fsync(file.get()) == 0 && rename(kNewPath, kPath) == 0)
    return true;
  unlink(kNewPath);
  return FAIL(false, "Failed to write to file: %s", kPath);
}

}  // namespace

bool vek::at::set_main_switch(bool on) {
  const UniqueFd old(open(kPath, O_RDONLY | O_CLOEXEC));
  if (!old && errno != ENOENT) return FAIL(false, "Failed to open file: %s", kPath);
  if (!write_new_file(on, old)) return false;
  LOG_I("Main switch flag set to %d", on);
  return true;
}

int vek_vyrel_get_main_switch_flag(int* flag) {
  if (flag == nullptr) return -1;
  const UniqueFd file(open(kPath, O_RDONLY | O_CLOEXEC));
  char first = kOff;
  if (!file && errno != ENOENT) return FAIL(-1, "Failed to open file: %s", kPath);
  if (file && read(file.get(), &first, 1) < 0) return FAIL(-1, "Failed to read file: %s", kPath);
  *flag = first == kOn;
  return 0;
}
