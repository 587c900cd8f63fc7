// Messages of GSM and everything after it: 3GPP TS 23.040.
#include <algorithm>
#include <iterator>

#include "log/log.h"
#include "modem/sms/octets.h"
#include "modem/sms/septets.h"
#include "modem/sms/time_stamp.h"
#include "vek_pal/sms.h"

namespace {

using vek::sms::Octets;

constexpr char kLogTag[] = "SMS_PDU_DECODE";

static_assert(sizeof(vek_pal_sms_decoded_t) == 228);

// The first octet of a TPDU.
constexpr unsigned kMessageTypeMask = 0x03;
constexpr unsigned kHeaderIndicator = 0x40;
enum : int { kDeliver = 0, kSubmit = 1 };

constexpr unsigned kInternational = 0x91;
constexpr unsigned kAlphanumeric = 0xD;  // upper nibble of the type of address
constexpr size_t kTimeStampOctets = 7;

int DetermineEncoding(unsigned dcs) {
  return FAIL(VEK_PAL_SMS_ENCODING_UNKNOWN, "this encoding is not supported (tpDcs %u)", dcs);
}

int encoding_of(unsigned dcs) {
  if (dcs < 0x40) return static_cast<int>(dcs >> 2 & 3);
  if (dcs >= 0xF0) return (dcs & 0x04) != 0 ? VEK_PAL_SMS_ENCODING_8BIT : VEK_PAL_SMS_ENCODING_7BIT;
  return DetermineEncoding(dcs);
}

// The semi-octets of an address, low nibble first. The filler is dropped.
bool digits(std::span<const uint8_t> octets, size_t count, bool international, char (&address)[18]) {
  char* to = address;
  char* const last = std::end(address) - 1;
  if (international) *to++ = '+';
  for (size_t i = 0; i < count; i++) {
    const unsigned nibble = i % 2 == 0 ? octets[i / 2] & 0x0Fu : octets[i / 2] >> 4u;
    if (nibble == 0xF) continue;
    if (to == last) return false;
    *to++ = "0123456789*#abc"[nibble];
  }
  return true;
}

bool decode_address(Octets& in, char (&address)[18]) {
  const unsigned length = in.next();
  const unsigned type = in.next();
  if (in.ran_out()) return FAIL(false, "The message ends in its address, pos %d", in.position());
  if (length == 0) return FAIL(false, "Address length %d is <= 0", 0);
  const auto octets = in.take((length + 1) / 2);
  if (in.ran_out()) return FAIL(false, "The message ends in its address, pos %d", in.position());

  const bool fits = type >> 4 == kAlphanumeric
                        ? vek::sms::unpack_septets(octets, 0, length * 4 / 7,
                                                   {reinterpret_cast<uint8_t*>(address), sizeof address - 1}) >= 0
                        : digits(octets, length, type == kInternational, address);
  if (!fits) {
    return FAIL(false, "Hex string array (%u) is too small to convert (%u) bytes", unsigned{sizeof address},
                static_cast<unsigned>(octets.size()));
  }
  LOG_D("addressLen = %u, pos = %d", length, in.position());
  return true;
}

void decode_time_stamp(std::span<const uint8_t> octets, char (&text)[32]) {
  int field[6];
  for (size_t i = 0; i < std::size(field); i++) field[i] = (octets[i] & 0x0F) * 10 + (octets[i] >> 4);
  vek::sms::render({2000 + field[0], field[1], field[2], field[3], field[4], field[5]}, text);
}

// How many octets a SUBMIT's validity period takes.
constexpr size_t validity_octets(unsigned first_octet) {
  constexpr uint8_t kOctets[] = {0, 7, 1, 7};  // none, enhanced, relative, absolute
  return kOctets[first_octet >> 3 & 3];
}

// What the header says only interests the log: parts of a long message are not joined here.
void log_concatenation(std::span<const uint8_t> header) {
  Octets in(header);
  while (in.left() != 0) {
    const unsigned id = in.next();
    const auto element = in.take(in.next());
    if (in.ran_out()) return;
    const bool wide = id == 0x08 && element.size() == 4;
    if (!wide && !(id == 0x00 && element.size() == 3)) continue;
    const unsigned reference = wide ? element[0] * 256u + element[1] : element[0];
    const auto counts = element.last(2);
    LOG_D("refnum = %x, maxnum = %d, curnum = %d size = %d", reference, counts[0], counts[1],
          static_cast<int>(header.size()));
    LOG_D("SmsCurNum = %d", counts[1]);
  }
}

int decode_septets(std::span<const uint8_t> data, size_t first, size_t count, vek_pal_sms_decoded_t& out) {
  const int written = vek::sms::unpack_septets(data, first, count, {out.text, VEK_PAL_SMS_TEXT_MAX});
  return written >= 0 ? written : FAIL(-1, "Overflow occurs when converting 7bits to 8bits");
}

int copy_octets(std::span<const uint8_t> text, vek_pal_sms_decoded_t& out) {
  const auto length = static_cast<int>(text.size());
  if (length > VEK_PAL_SMS_TEXT_MAX) {
    return out.encoding == VEK_PAL_SMS_ENCODING_8BIT
               ? FAIL(-1, "Overflow occurs when converting 8bits to 8bits %d>%zd", length, ssize_t{sizeof out.text})
               : FAIL(-1, "Overflow occurs when copying UCS2 to UCS2 %d > %zd", length, ssize_t{sizeof out.text});
  }
  std::copy(text.begin(), text.end(), out.text);
  return length;
}

enum class Octetwise { silent, logged };

// The user data: its length, a header when there is one, and the text, whose length it returns; -1 is a failure.
int decode_user_data(Octets& in, bool has_header, Octetwise octetwise, vek_pal_sms_decoded_t& out) {
  const bool septets = out.encoding == VEK_PAL_SMS_ENCODING_7BIT;
  const int length = in.next();  // in septets or octets, the header counted
  const auto units = static_cast<size_t>(length);
  const int position = in.position();
  const auto data = in.take(septets ? vek::sms::octets_of_septets(units) : units);
  if (in.ran_out()) return FAIL(-1, "The message ends in its user data, pos %d", position);

  size_t header_octets = 0;
  if (has_header) {
    // An empty one has no room for the header's own length.
    header_octets = data.empty() ? 1 : size_t{data[0]} + 1;
    if (header_octets <= data.size()) log_concatenation(data.first(header_octets).subspan(1));
  }
  LOG_D("tpUdhi %d, tpUdhl %d, tpUdl %d, UserData pos %d, encoding %d", has_header,
        has_header ? static_cast<int>(header_octets) - 1 : 0, length, position, out.encoding);

  // Text after a header starts on the next boundary of its own characters.
  const size_t skipped = septets ? vek::sms::septets_of_octets(header_octets) : header_octets;
  const int text_units = length - static_cast<int>(skipped);
  if (text_units < 0) return FAIL(-1, "the message length %d is <0", text_units);
  LOG_D(" messageLen %d, pos %d, size %d", text_units, position, static_cast<int>(data.size()));
  if (septets) return decode_septets(data, skipped, static_cast<size_t>(text_units), out);

  const auto text = data.subspan(skipped);
  if (octetwise == Octetwise::logged && out.encoding == VEK_PAL_SMS_ENCODING_8BIT) {
    for (int i = 0; i < text_units; i++) {
      LOG_D("SMSPDU_8_BITS messageLen = %d, data is %x, pos is %d", text_units, text[static_cast<size_t>(i)],
            position + static_cast<int>(skipped) + i);
    }
  }
  return copy_octets(text, out);
}

int decode(const uint8_t* raw, uint32_t length, Octetwise octetwise, vek_pal_sms_decoded_t* out) {
  if (raw == nullptr || out == nullptr) return FAIL(-1, "Invalid input parameter.");
  *out = {};
  Octets in({raw, length});

  in.take(in.next());  // the service centre's address
  const unsigned first_octet = in.next();
  if (in.ran_out()) return FAIL(-1, "The message ends before its first octet, length %u", length);
  out->message_type = static_cast<int32_t>(first_octet & kMessageTypeMask);
  if (out->message_type != kDeliver && out->message_type != kSubmit)
    return FAIL(-1, "Decoding this message is not supported TP-MTI %d.", out->message_type);
  LOG_D("firstByte is %x, pos is %d", first_octet, in.position());

  if (out->message_type == kSubmit) in.next();  // the message reference
  if (!decode_address(in, out->address)) return -1;

  const unsigned pid = in.next();
  const unsigned dcs = in.next();
  if (in.ran_out()) return FAIL(-1, "The message ends before its data coding, pos %d", in.position());
  LOG_D("tpPid 0x%02X, tpDcs 0x%02X", pid, dcs);
  out->encoding = encoding_of(dcs);
  if (out->encoding == VEK_PAL_SMS_ENCODING_UNKNOWN) return FAIL(-1, "Message format not supported.");

  const auto time = in.take(out->message_type == kDeliver ? kTimeStampOctets : validity_octets(first_octet));
  if (in.ran_out()) return FAIL(-1, "The message ends in its time, pos %d", in.position());
  if (out->message_type == kDeliver) decode_time_stamp(time, out->timestamp);

  const int text_length = decode_user_data(in, (first_octet & kHeaderIndicator) != 0, octetwise, *out);
  if (text_length < 0) return -1;
  out->text_length = text_length;
  return 0;
}

}  // namespace

int DecodeGsmPdu(const uint8_t* raw, uint32_t length, vek_pal_sms_decoded_t* out) {
  return decode(raw, length, Octetwise::silent, out);
}

int DecodeGsmPdu_WAP(const uint8_t* raw, uint32_t length, vek_pal_sms_decoded_t* out) {
  return decode(raw, length, Octetwise::logged, out);
}
