// GSM messages: both decoders say the same, what they hand out keeps within the record, and bytes after the user data
// change nothing.
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "vek_pal/sms.h"

namespace {

void require(bool holds) {
  if (!holds) abort();
}

void check_record(const vek_pal_sms_decoded_t& message) {
  require(memchr(message.address, 0, sizeof message.address) != nullptr);
  require(memchr(message.timestamp, 0, sizeof message.timestamp) != nullptr);
  require(message.text_length >= 0 && message.text_length <= VEK_PAL_SMS_TEXT_MAX);
  for (size_t i = static_cast<size_t>(message.text_length); i < sizeof message.text; i++) require(message.text[i] == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kTail = 3;
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
  const std::unique_ptr<uint8_t[]> longer(new uint8_t[size + kTail]);
  memset(longer.get(), 0xFF, size + kTail);
  if (size != 0) {
    memcpy(exact.get(), data, size);
    memcpy(longer.get(), data, size);
  }

  vek_pal_sms_decoded_t message, data_message, with_tail;
  const int code = DecodeGsmPdu(exact.get(), static_cast<uint32_t>(size), &message);
  require(DecodeGsmPdu_WAP(exact.get(), static_cast<uint32_t>(size), &data_message) == code);
  require(memcmp(&message, &data_message, sizeof message) == 0);
  require(code == 0 || code == -1);
  if (code != 0) return 0;

  check_record(message);
  require(message.message_type == 0 || message.message_type == 1);
  require(message.encoding >= VEK_PAL_SMS_ENCODING_7BIT && message.encoding <= VEK_PAL_SMS_ENCODING_UCS2);
  require(DecodeGsmPdu(longer.get(), static_cast<uint32_t>(size + kTail), &with_tail) == 0);
  require(memcmp(&message, &with_tail, sizeof message) == 0);
  return 0;
}
