#include "common/src/crc16.h"
#include "vek_pal/util.h"

unsigned char vek_pal_bcc(const unsigned char* data, int len) {
  unsigned char all = 0;
  for (int i = 0; i < len; i++) all ^= data[i];
  return all;
}

unsigned short vek_pal_crc16(const unsigned char* data, int len) {
  return len < 1 ? uint16_t{0} : vek::crc16<uintptr_t>(data, static_cast<size_t>(len));
}
