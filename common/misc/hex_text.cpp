#include <limits.h>

#include "common/misc/hex.h"
#include "log/log.h"
#include "vek_pal/encoding.h"

namespace {

constexpr char kLogTag[] = "CODETRANS";

}  // namespace

int vek_pal_hex2str(const char* hex, unsigned hexlen, unsigned char* dst, unsigned dsize) {
  if (hexlen % 2 != 0 || hex == nullptr || dst == nullptr) return FAIL(-1, "The input parameters is incorrect");
  const unsigned count = hexlen / 2;
  if (dsize <= count) return FAIL(-1, "dsize is too small");
  vek::hex::decode_leniently(hex, count, dst);
  dst[count] = 0;
  return static_cast<int>(count);
}

int vek_pal_str2hex(const unsigned char* src, unsigned slen, char* dst, unsigned dsize) {
  if (src == nullptr || dst == nullptr) return FAIL(-1, "The src is NULL");
  if (slen > INT_MAX / 2 || dsize < 2 * slen + 1) return FAIL(-1, "dsize is too small");
  vek::hex::encode(src, slen, dst, vek::hex::Letters::lower);
  dst[2 * slen] = '\0';
  return static_cast<int>(2 * slen);
}
