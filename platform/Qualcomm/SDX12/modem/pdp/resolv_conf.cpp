#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/base/file_bytes.h"
#include "common/base/heap_block.h"
#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/data.h"

namespace {

constexpr char kLogTag[] = "PDP";
constexpr char kResolvConf[] = "/etc/resolv.conf";
constexpr int kLinksMax = 8;
constexpr mode_t kNewFileMode = 0644;

struct Work {
  char path[PATH_MAX];  // the file that is replaced, links followed
  char scratch[PATH_MAX];
  char lines[2 * (sizeof("nameserver \n") + INET6_ADDRSTRLEN)];
};

bool given(const char* server) { return server != nullptr && *server != '\0'; }

bool is_address(const char* text) {
  in6_addr address;
  return inet_pton(AF_INET, text, &address) == 1 || inet_pton(AF_INET6, text, &address) == 1;
}

// Follows links by hand, for the last one may lead to a file that does not exist yet: realpath() would fail.
bool follow_links(Work& work) {
  snprintf(work.path, sizeof work.path, "%s", kResolvConf);
  for (int links = 0; links < kLinksMax; links++) {
    const ssize_t length = readlink(work.path, work.scratch, sizeof work.scratch - 1);
    if (length < 0) return errno == EINVAL || errno == ENOENT;
    work.scratch[length] = '\0';
    char* const place = work.scratch[0] == '/' ? work.path : strrchr(work.path, '/') + 1;
    const auto room = static_cast<size_t>(work.path + sizeof work.path - place);
    if (static_cast<size_t>(length) >= room) return false;
    memcpy(place, work.scratch, static_cast<size_t>(length) + 1);
  }
  return false;
}

// A file beside `work.path` that is removed again unless it takes that file's place.
class Replacement {
 public:
  explicit Replacement(const Work& work) : path_(sizeof work.path + sizeof(".XXXXXX")) {
    if (!path_) return;
    snprintf(path_.get(), sizeof work.path + sizeof(".XXXXXX"), "%s.XXXXXX", work.path);
    fd_.reset(mkostemp(path_.get(), O_CLOEXEC));
  }
  ~Replacement() {
    if (fd_ && !in_place_) unlink(path_.get());
  }
  int fd() const { return fd_.get(); }
  bool take_place_of(const char* path) {
    in_place_ = fsync(fd_.get()) == 0 && rename(path_.get(), path) == 0;
    return in_place_;
  }

 private:
  vek::HeapBlock<char> path_;
  vek::UniqueFd fd_;
  bool in_place_ = false;
};

}  // namespace

int vek_pal_insert_dns_addr_top(const char* primary, const char* secondary) {
  if (!given(primary) && !given(secondary)) return FAIL(-1, "Invalid DNS IP.");
  vek::HeapBlock<Work> work;
  if (!work) return FAIL(-1, "malloc resolv.conf buffers failed!");
  size_t length = 0;
  const char* const servers[] = {primary, secondary};
  for (const char* server : servers) {
    if (!given(server)) continue;
    if (!is_address(server)) return FAIL(-1, "Invalid DNS IP.");
    length +=
        static_cast<size_t>(snprintf(work->lines + length, sizeof work->lines - length, "nameserver %s\n", server));
  }

  if (!follow_links(*work)) return FAIL(-1, "fopen /etc/resolv.conf fail");
  vek::UniqueFd old_file(open(work->path, O_RDONLY | O_CLOEXEC));
  if (!old_file && errno != ENOENT) return FAIL(-1, "fopen /etc/resolv.conf fail");
  struct stat old_stat = {};
  if (old_file && fstat(old_file.get(), &old_stat) != 0) return FAIL(-1, "fopen /etc/resolv.conf fail");
  LOG_I("current DNS resolve file length: %d", static_cast<int>(old_stat.st_size));

  Replacement new_file(*work);
  if (new_file.fd() < 0) return FAIL(-1, "create new /etc/resolv.conf fail: %s", strerror(errno));
  if (!vek::write_all(new_file.fd(), work->lines, length))
    return FAIL(-1, "write /etc/resolv.conf fail: %s", strerror(errno));
  if (old_file && !vek::copy_rest(old_file.get(), new_file.fd(), work->scratch, sizeof work->scratch))
    return FAIL(-1, "copy /etc/resolv.conf fail: %s", strerror(errno));
  // Everybody resolves names: the new file must be as readable as the old one was.
  const bool owned = !old_file || fchown(new_file.fd(), old_stat.st_uid, old_stat.st_gid) == 0;
  if (!owned || fchmod(new_file.fd(), old_file ? old_stat.st_mode & 07777 : kNewFileMode) != 0)
    return FAIL(-1, "set owner of /etc/resolv.conf fail: %s", strerror(errno));
  if (!new_file.take_place_of(work->path)) return FAIL(-1, "replace /etc/resolv.conf fail: %s", strerror(errno));
  return 0;
}
