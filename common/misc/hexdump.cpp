#include <algorithm>

#include "common/misc/hex_digits.h"
#include "log/log.h"

namespace {

constexpr char kLogTag[] = "HEXDUMP";
constexpr unsigned kDumpMax = 0x1000;
constexpr unsigned kDumpLine = 16;
constexpr unsigned kPrintLine = 128;

// "%04x:" of the offset, " %02x" a byte padded to a full line, two blanks, and the bytes as characters.
void fill_dump_line(char* at, unsigned offset, const unsigned char* bytes, unsigned count) {
  at = vek::put_hex(at, static_cast<unsigned char>(offset >> 8), vek::kLowerHex);
  at = vek::put_hex(at, static_cast<unsigned char>(offset), vek::kLowerHex);
  *at++ = ':';
  *at++ = ' ';
  for (unsigned i = 0; i < count; i++) {
    *at++ = ' ';
    at = vek::put_hex(at, bytes[i], vek::kLowerHex);
  }
  at = std::fill_n(at, 3 * (kDumpLine - count) + 2, ' ');
  for (unsigned i = 0; i < count; i++) *at++ = bytes[i] >= 0x20 && bytes[i] <= 0x7E ? static_cast<char>(bytes[i]) : '.';
  *at++ = '\n';
  *at = '\0';
}

}  // namespace

void vek_pal_hexdump(const char* tag, const char* func, int line, const char* title, const void* data, unsigned len) {
  LOG_I("dumping '%s' (%u bytes)", title != nullptr ? title : "", len);
  if (data == nullptr) return;
  const auto* const bytes = static_cast<const unsigned char*>(data);
  len = std::min(len, kDumpMax);
  for (unsigned offset = 0; offset < len; offset += kDumpLine) {
    char text[6 + 3 * kDumpLine + 2 + kDumpLine + 2];
    fill_dump_line(text, offset, bytes + offset, std::min(kDumpLine, len - offset));
    LOG_I("[%8s] [%s:%d] %s\n", tag != nullptr ? tag : "", func != nullptr ? func : "", line, text);
  }
}

void vek_pal_hex_print(const char* title, const void* data, int len) {
  if (len < 1 || data == nullptr) return;
  const auto* const bytes = static_cast<const unsigned char*>(data);
  const auto size = static_cast<unsigned>(len);
  for (unsigned offset = 0; offset < size; offset += kPrintLine) {
    char text[3 * kPrintLine + 1];
    vek::fill_hex(text, bytes + offset, std::min(kPrintLine, size - offset));
    LOG_I("%s: %s\n", title != nullptr ? title : "", text);
  }
}
