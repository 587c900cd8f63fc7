#include "vek_pal/nvm.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/base/file_bytes.h"
#include "common/base/unique_fd.h"
#include "log/log.h"
#include "nv/nvm_table.h"

namespace {

using vek::UniqueFd;
using namespace vek::nv;

constexpr char kLogTag[] = "NVM";
constexpr char kDirectory[] = "/data/vyrel/";
constexpr unsigned kEndId = 242;  // also what the lookup answers for it: one past any row
constexpr mode_t kDirectoryMode = 0700;
constexpr mode_t kFileMode = 0644;

constexpr size_t kDirectoryLength = sizeof kDirectory - 1;
constexpr size_t kFileNameMax = 255;

struct Path {
  char text[kDirectoryLength + kFileNameMax + 1];

  explicit Path(const vek_nvm_row& row) {
    const size_t length = strnlen(row.file_name, kFileNameMax);
    memcpy(text, kDirectory, kDirectoryLength);
    memcpy(text + kDirectoryLength, row.file_name, length);
    text[kDirectoryLength + length] = '\0';
  }
};

bool read_from_ap(const vek_nvm_row& row, void* buf, unsigned len) {
  if (row.file_name == nullptr) return FAIL(false, "Invalid file path.");
  const UniqueFd file(open(Path(row).text, O_RDONLY | O_CLOEXEC));
  if (!file) return FAIL(false, "Open nvm file failed.");
  if (read(file.get(), buf, len) < 0) return FAIL(false, "Failed to read nvm file.");
  return true;
}

int write_to_ap(const vek_nvm_row& row, const void* data, unsigned len) {
  if (row.file_name == nullptr) return FAIL(-1, "Invalid file path.");
  if (access(kDirectory, F_OK) != 0 && mkdir(kDirectory, kDirectoryMode) != 0)
    return FAIL(-1, "Open and mkdir %s failed.", kDirectory);

  const Path path(row);
  const UniqueFd file(open(path.text, O_WRONLY | O_CREAT | O_TRUNC | O_SYNC | O_CLOEXEC, kFileMode));
  if (!file) return FAIL(-1, "Open %s failed. file handle value: %d\n", path.text, file.get());
  if (!vek::write_all(file.get(), static_cast<const char*>(data), len) || fsync(file.get()) != 0)
    return FAIL(-1, "Write %s failed", path.text);
  LOG_I("Write NV file finished");
  return 0;
}

void back_up() {
  LOG_I("Write nvm, trigger cust data backup.");
  // The value is on flash already; a module without the backup tool keeps it there alone.
  [[maybe_unused]] const int ignored = system("odm_upgrader backup");
}

}  // namespace

unsigned vek_pal_nvm_tab_index_get(unsigned logic_id) {
  if (logic_id == kEndId) return FAIL(kEndId, "Invalid logic nvm id");
  for (unsigned index = 0; index < std::size(vek_nvm_tab); index++)
    if (vek_nvm_tab[index].logic_id == logic_id) return index;
  return 0;
}

int vek_pal_nvm_read(unsigned logic_id, void* buf, unsigned len) {
  if (buf == nullptr || len == 0) return FAIL(VEK_PAL_NVM_BAD_ARGUMENT, "Invalid nvm sync read parameter");
  const unsigned index = vek_pal_nvm_tab_index_get(logic_id);
  if (index == kEndId) return FAIL(VEK_PAL_NVM_INVALID_ID, "Invalid nvm logic id");
  LOG_I("nv_index is:%d.", static_cast<int>(index));

  const vek_nvm_row& row = vek_nvm_tab[index];
  if (row.position == kMd) return FAIL(-1, "Did not support MD nvm read.");
  if (row.position != kAp) return FAIL(VEK_PAL_NVM_NO_STORAGE, "Invaild nv position.");
  if (!read_from_ap(row, buf, len)) return FAIL(VEK_PAL_NVM_READ_FAILED, "Read nvm from AP failed.");
  LOG_I("Read nvm from AP success.");
  return 0;
}

int vek_pal_nvm_write(unsigned logic_id, const void* data, unsigned len) {
  if (data == nullptr || len == 0) return FAIL(VEK_PAL_NVM_BAD_ARGUMENT, "Invalid nvm sync write parameter.");
  const unsigned index = vek_pal_nvm_tab_index_get(logic_id);
  if (index == kEndId) return FAIL(VEK_PAL_NVM_INVALID_ID, "Invalid logic nvm id");

  const vek_nvm_row& row = vek_nvm_tab[index];
  if (row.position == kMd) return FAIL(-1, "Did not support MD nvm write.");
  if (row.position != kAp) return FAIL(VEK_PAL_NVM_NO_STORAGE, "Invaild nv position.");
  if (const int result = write_to_ap(row, data, len); result != 0)
    return FAIL(VEK_PAL_NVM_WRITE_FAILED, "vek_pal_write_nv_md_sync write AP nvm file failed, ret is %d.", result);
  LOG_I("vek_pal_write_nv_md_sync write AP nvm file success.");

  if (row.need_backup == kBackedUp)
    back_up();
  else
    LOG_I("Write nvm, sem is NULL or no backup, do not trigger cust data backup.");
  return 0;
}

int vek_pal_nvm_get_nv_size(unsigned logic_id, unsigned* size) {
  if (size == nullptr) return FAIL(VEK_PAL_NVM_INVALID_ID, "Invalid nvm parameter");
  const unsigned index = vek_pal_nvm_tab_index_get(logic_id);
  if (index == kEndId) return FAIL(VEK_PAL_NVM_INVALID_ID, "Invalid logic nvm id");
  const vek_nvm_row& row = vek_nvm_tab[index];
  if (row.file_name == nullptr) return VEK_PAL_NVM_NO_FILE_NAME;

  const UniqueFd file(open(Path(row).text, O_RDWR | O_CLOEXEC));
  if (!file) return FAIL(VEK_PAL_NVM_OPEN_FAILED, "Open file failed, fp:%d\n", file.get());
  struct stat status;
  if (fstat(file.get(), &status) != 0) return FAIL(VEK_PAL_NVM_SIZE_FAILED, "Get nvm file size failed");
  *size = static_cast<unsigned>(status.st_size);
  return FAIL(0, "Get nvm file size success, the nv size is:%d.", static_cast<int>(*size));
}

int vek_pal_nvm_check_nv_exist(unsigned logic_id) {
  const unsigned index = vek_pal_nvm_tab_index_get(logic_id);
  if (index == kEndId) return VEK_PAL_NVM_INVALID_ID;
  const vek_nvm_row& row = vek_nvm_tab[index];
  if (row.file_name == nullptr) return VEK_PAL_NVM_NO_FILE_NAME;

  const UniqueFd file(open(Path(row).text, O_RDWR | O_CLOEXEC));
  if (!file) return FAIL(VEK_PAL_NVM_OPEN_FAILED, "Open file failed, fp:%d\n", file.get());
  LOG_I("The nv_index: %d is exist", static_cast<int>(index));
  return 0;
}

int vek_pal_nvm_tab_count(void) {
  constexpr int kCount = std::size(vek_nvm_tab);
  LOG_I("The counts of nvm_tab element is:%d.", kCount);
  return kCount;
}

int vek_pal_nvm_tab_backup_count(void) {
  constexpr int kCount = std::ranges::count(vek_nvm_tab, kBackedUp, &vek_nvm_row::need_backup);
  LOG_I("The counts of nvm_tab element which need backup is:%d.", kCount);
  return kCount;
}

int vek_pal_nvm_read_async(void) { return FAIL(-1, "Current did not support async read."); }

int vek_pal_nvm_write_async(void) { return FAIL(-1, "Current did not support async write."); }
