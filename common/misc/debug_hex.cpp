#include <algorithm>

#include "common/base/heap_block.h"
#include "common/misc/hex_digits.h"
#include "log/log.h"

namespace {

constexpr char kLogTag[] = "NET";
constexpr unsigned kBufferSize = 512;
constexpr unsigned kLine = 30;
constexpr unsigned kShort = 128;

}  // namespace

void VEK_PAL_LOG_DEBUG_HEX(const void* data, unsigned len) {
  if (len > kShort) LOG_I("%s: data len too long", __func__);
  const vek::HeapBlock<char> text(kBufferSize);
  if (!text) {
    LOG_E("%s: malloc failed!", __func__);
    return;
  }
  const auto* const bytes = static_cast<const unsigned char*>(data);
  if (bytes == nullptr) len = 0;
  for (unsigned offset = 0; offset < len; offset += kLine) {
    vek::fill_hex(text.get(), bytes + offset, std::min(kLine, len - offset));
    LOG_I("str_buf:%s", text.get());
  }
}
