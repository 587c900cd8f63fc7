#include "log/log_file.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "providers/diag/diag.h"
#include "vek_pal/log.h"
#include "vek_pal/nvm.h"

FILE* vek_pal_log_fd = nullptr;

namespace {

constexpr char kCurrent[] = "/vyrel_current_log.txt";
constexpr char kPrevious[] = "/vyrel_previous_log.txt";
constexpr char kOldest[] = "/vyrel_oldest_log.txt";
constexpr long kFullSize = 0x100000;
constexpr unsigned kFileLoggingItem = 241;

bool exists(const char* path) { return access(path, F_OK) == 0; }

}  // namespace

void vek_pal_init_log_file(void) {
  if (vek_pal_file_logging_enable == 0) {
    printf("vyrel log file disable\n");
    return;
  }
  if (exists(kOldest)) remove(kOldest);
  if (exists(kPrevious)) rename(kPrevious, kOldest);
  if (exists(kCurrent)) rename(kCurrent, kPrevious);
  vek_pal_log_fd = fopen(kCurrent, "w+e");
  printf(vek_pal_log_fd == nullptr ? "Unable to create %s vyrel log file\n" : "Created %s vyrel log file\n", kCurrent);
}

void vek_pal_check_if_need_refresh_log_file(void) {
  if (vek_pal_log_fd == nullptr) return;
  struct stat status;
  if (stat(kCurrent, &status) != 0) return;
  if (status.st_size <= kFullSize && status.st_size >= 0) return;
  fclose(vek_pal_log_fd);
  vek_pal_log_fd = nullptr;
  vek_pal_init_log_file();
}

void vek::log::append_to_log_file(const char* record) {
  vek_pal_check_if_need_refresh_log_file();
  if (vek_pal_log_fd == nullptr) return;
  fputs(record, vek_pal_log_fd);
  fputc('\n', vek_pal_log_fd);
  fflush(vek_pal_log_fd);
  fsync(fileno(vek_pal_log_fd));
}

int vek_pal_log_init(void) {
  Diag_LSM_Init(nullptr);
  uint8_t enable = 0;
  if (vek_pal_nvm_read(kFileLoggingItem, &enable, sizeof enable) != 0)
    return printf("read vyrel file logging nvm fail\n");
  vek_pal_file_logging_enable = enable;
  if (enable != 0) {
    // The root file system is read-only by default. When this fails, creating the file says so.
    if (system("mount -o remount rw /") != 0) printf("remounting / writable failed\n");
    vek_pal_init_log_file();
  }
  return 0;
}

int vek_pal_log_close(void) { return 0; }
