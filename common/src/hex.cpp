#include "common/misc/hex.h"

#include <string.h>

#include "log/log.h"
#include "vek_pal/util.h"

namespace {

constexpr char kLogTag[] = "UTILS";

}  // namespace

int vek_pal_bin2hex1(const unsigned char* buf, unsigned len, char* out, unsigned outsize, unsigned char upper) {
  if (buf == nullptr) return FAIL(-1, "<buf> param is null");
  if (out == nullptr) return FAIL(-1, "<out_buf> param is null");
  if (len > outsize / 2) return FAIL(-1, "out buffer is too small %u", outsize);
  vek::hex::encode(buf, len, out, upper != 0 ? vek::hex::Letters::upper : vek::hex::Letters::lower);
  return 0;
}

int vek_pal_bin2hex(const unsigned char* buf, unsigned len, char* out, unsigned outsize) {
  return vek_pal_bin2hex1(buf, len, out, outsize, 1);
}

int vek_pal_hex2bin(const char* hex, unsigned hexlen, unsigned char* out, unsigned outsize) {
  if (hex == nullptr) return FAIL(-1, "<buf> param is null\n");
  if (out == nullptr) return FAIL(-1, "<out_buf> param is null\n");
  if (hexlen % 2 != 0) return FAIL(-1, "invalide hex string\n");
  if (outsize < hexlen / 2) return FAIL(-1, "<out_buf> is too small\n");
  memset(out, 0, outsize);
  return vek::hex::decode(hex, hexlen / 2, out) ? 0 : -1;
}

int vek_pal_AtoHex(const char* hex, unsigned char* out, unsigned hexlen) {
  return vek::hex::decode(hex, hexlen / 2 + hexlen % 2, out) ? 0 : -1;
}
