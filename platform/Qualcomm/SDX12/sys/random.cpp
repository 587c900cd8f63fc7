#include <fcntl.h>
#include <unistd.h>

#include "common/base/unique_fd.h"
#include "log/log.h"
#include "vek_pal/time.h"

namespace {

constexpr char kLogTag[] = "SYS";

}  // namespace

int vek_pal_rng_generate(unsigned char* buf, unsigned len) {
  if (buf == nullptr) return FAIL(VEK_PAL_TIME_BAD_ARGUMENT, "Parameter is NULL");
  if (len == 0) return FAIL(VEK_PAL_TIME_BAD_ARGUMENT, "Invalid size");

  vek::UniqueFd source(open("/dev/random", O_RDONLY | O_CLOEXEC));
  if (!source) source.reset(open("/dev/urandom", O_RDONLY | O_CLOEXEC));
  if (!source) return FAIL(VEK_PAL_TIME_NO_RANDOM, "Failed to open file");
  if (read(source.get(), buf, len) != static_cast<ssize_t>(len))
    return FAIL(VEK_PAL_TIME_NO_RANDOM, "Failed to read file");
  for (unsigned i = 0; i < len; i++) LOG_I("Random bytes: %02x", buf[i]);
  return 0;
}
