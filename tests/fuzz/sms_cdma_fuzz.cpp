// CDMA messages: what the decoder hands out keeps within the record.
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "vek_pal/sms.h"

namespace {

void require(bool holds) {
  if (!holds) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
  if (size != 0) memcpy(exact.get(), data, size);

  vek_pal_sms_decoded_t message;
  const int code = DecodeCdmaPdu(exact.get(), static_cast<uint32_t>(size), &message);
  require(code == 0 || code == -1);
  if (code != 0) return 0;

  require(message.message_type == 1 || message.message_type == 2);
  require((message.timestamp[0] != 0) == (message.message_type == 1));
  require(memchr(message.address, 0, sizeof message.address) != nullptr);
  require(memchr(message.timestamp, 0, sizeof message.timestamp) != nullptr);
  require(message.encoding >= VEK_PAL_SMS_ENCODING_7BIT && message.encoding <= VEK_PAL_SMS_ENCODING_UCS2);
  require(message.encoding != VEK_PAL_SMS_ENCODING_UCS2 || message.text_length % 2 == 0);
  require(message.text_length >= 0 && message.text_length <= VEK_PAL_SMS_TEXT_MAX);
  for (size_t i = static_cast<size_t>(message.text_length); i < sizeof message.text; i++) require(message.text[i] == 0);
  return 0;
}
