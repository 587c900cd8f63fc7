// CDMA messages: 3GPP2 C.S0015. Parameters hold the addresses and the bearer data; the bearer data holds subparameters.
// Parameters and subparameters are first collected, then checked and turned into the record, for they may come in any
// order.
#include <string.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include "log/log.h"
#include "modem/sms/bits.h"
#include "modem/sms/octets.h"
#include "modem/sms/septets.h"
#include "modem/sms/time_stamp.h"
#include "vek_pal/sms.h"

namespace {

using vek::sms::BitSink;
using vek::sms::BitSource;
using vek::sms::Octets;
using Bytes = std::span<const uint8_t>;

constexpr char kLogTag[] = "SMS_PDU_DECODE";

enum Parameter : unsigned {
  kTeleservice = 0,
  kServiceCategory = 1,
  kOriginatingAddress = 2,
  kOriginatingSubaddress = 3,
  kDestinationAddress = 4,
  kDestinationSubaddress = 5,
  kBearerReplyOption = 6,
  kCauseCodes = 7,
  kBearerData = 8,
};

enum Subparameter : unsigned { kMessageIdentifier = 0, kUserData = 1, kTimeStamp = 3 };

// By identifier; 0 is a length of its own in each message.
constexpr uint8_t kSubparameterLengths[] = {
    3, 0, 1,           // message identifier, user data, user response code
    6, 6, 1, 6, 1,     // time stamp; validity and deferred delivery, absolute and relative
    1, 1, 1, 1, 1, 1,  // priority, privacy, reply option, number of messages, alert, language
    0, 1, 0, 2, 0, 0,
    1, 1,  // call-back, display, multiple encoding, deposit index, category data and results, status, cause
    0, 0,  // enhanced voice mail and its acknowledgement
};

enum : int { kDeliver = 1, kSubmit = 2 };

struct Address {
  char text[sizeof vek_pal_sms_decoded_t::address] = {};
  bool present = false;
};

struct Message {
  Address origin, destination;
  std::optional<Bytes> bearer_data;
};

struct Bearer {
  std::optional<Bytes> identifier, user_data, time_stamp;
};

bool has_length(Bytes value, size_t length) { return value.size() == length; }

bool read_digits(BitSource& bits, int width, int count, char* text) {
  if (width != 4 && width != 8) return FAIL(false, "%d digit code is not possible", width);
  const auto fit = static_cast<unsigned>(bits.left() / static_cast<unsigned>(width));
  if (static_cast<unsigned>(count) > fit) return FAIL(false, "Buffer overflow will occur (%d>%u)", count, fit);
  for (int i = 0; i < count; i++) {
    const uint32_t code = bits.ReadBits(static_cast<unsigned>(width));
    text[i] = width == 4 ? "D1234567890*#ABC"[code] : static_cast<char>(code);
  }
  return true;
}

bool read_address(Bytes value, Address& address) {
  constexpr int kReserved[] = {5, 7};
  constexpr int kEmail = 2;
  BitSource bits(value);
  const bool ascii = bits.ReadBits(1) != 0;
  const bool data_network = bits.ReadBits(1) != 0;
  if (ascii) {
    const auto type = static_cast<int>(bits.ReadBits(3));
    const bool known = data_network ? type == kEmail : std::ranges::find(kReserved, type) == std::end(kReserved);
    if (!known) return FAIL(false, "Do not support this number type %d", type);
    if (!data_network) bits.ReadBits(4);  // the numbering plan
  }
  const auto count = static_cast<int>(bits.ReadBits(8));
  if (bits.ran_out()) return false;

  address = {};
  if (static_cast<size_t>(count) >= sizeof address.text)
    return FAIL(false, "Internal buffer of originating address is too small %d", count);
  if (!read_digits(bits, ascii ? 8 : 4, count, address.text)) return false;
  address.present = true;
  return true;
}

// Nothing shows a subaddress, but one that lies about its length spoils the message.
bool check_subaddress(Bytes value) {
  BitSource bits(value);
  bits.skip(4);  // type, odd
  const uint32_t count = bits.ReadBits(8);
  if (count >= sizeof Address::text)
    return FAIL(false, "Internal buffer of originating subaddress is too small %d", static_cast<int>(count));
  bits.skip(count * 8);
  return !bits.ran_out();
}

bool read_parameter(unsigned id, Bytes value, Message& message) {
  const auto shown = static_cast<int>(id);
  switch (id) {
    case kTeleservice:
    case kServiceCategory:
      return has_length(value, 2) || FAIL(false, "%d: SMS message parameter length should be 2", shown);
    case kBearerReplyOption:
      return has_length(value, 1) || FAIL(false, "%d: SMS message parameter length should be 1", shown);
    case kCauseCodes:  // without and with a cause
      return has_length(value, 1) || has_length(value, 2) ||
             FAIL(false, "%d: SMS message parameter length should be 2", shown);
    case kOriginatingAddress:
      return read_address(value, message.origin);
    case kDestinationAddress:
      return read_address(value, message.destination);
    case kOriginatingSubaddress:
    case kDestinationSubaddress:
      return check_subaddress(value);
    case kBearerData:
      message.bearer_data = value;
      return true;
    default:
      return FAIL(false, "Do not support this Parameter Id: %d", shown);
  }
}

bool read_message(Octets in, Message& message) {
  while (in.left() != 0) {
    const unsigned id = in.next();
    const Bytes value = in.take(in.next());
    if (in.ran_out() || !read_parameter(id, value, message)) return false;
  }
  return true;
}

bool read_bearer(Bytes data, Bearer& bearer) {
  Octets in(data);
  while (in.left() != 0) {
    const unsigned id = in.next();
    const Bytes value = in.take(in.next());
    if (in.ran_out()) return false;
    const auto shown = static_cast<int>(id);
    if (id >= std::size(kSubparameterLengths)) return FAIL(false, "Do not support this subparameter Id: %d", shown);
    const unsigned length = kSubparameterLengths[id];
    if (length != 0 && value.size() != length)
      return FAIL(false, "%d: Subparameter length should be %u", shown, length);
    if (id == kMessageIdentifier) bearer.identifier = value;
    if (id == kUserData) bearer.user_data = value;
    if (id == kTimeStamp) bearer.time_stamp = value;
  }
  return true;
}

void decode_time_stamp(Bytes value, char (&text)[32]) {
  int field[6];
  for (size_t i = 0; i < std::size(field); i++) field[i] = (value[i] >> 4) * 10 + (value[i] & 0x0F);
  const int century = field[0] >= 96 && field[0] <= 99 ? 1900 : 2000;
  vek::sms::render({century + field[0], field[1], field[2], field[3], field[4], field[5]}, text);
}

// How the characters of a user-data encoding come, and what the record calls it.
struct Characters {
  unsigned bits;
  int32_t encoding;
};

constexpr unsigned kGsmAlphabet = 9;
constexpr unsigned kLastEncoding = 10;

constexpr std::optional<Characters> characters_of(unsigned encoding) {
  switch (encoding) {
    case 0:  // octets
    case 8:  // Latin
      return Characters{8, VEK_PAL_SMS_ENCODING_8BIT};
    case 2:  // ASCII
    case 3:  // IA5
    case kGsmAlphabet:
      return Characters{7, VEK_PAL_SMS_ENCODING_7BIT};
    case 4:  // Unicode
      return Characters{16, VEK_PAL_SMS_ENCODING_UCS2};
    default:
      return {};
  }
}

// Septets of the default alphabet are packed from the low bits up, and count from where the characters begin.
int decode_gsm_septets(BitSource& bits, size_t skipped, size_t count, vek_pal_sms_decoded_t& out) {
  uint8_t packed[vek::sms::octets_of_septets(255)] = {};
  BitSink sink(packed);
  for (size_t octets = vek::sms::octets_of_septets(skipped + count); octets != 0; octets--) {
    const auto width = static_cast<unsigned>(std::min<size_t>(8, bits.left()));
    sink.WriteBits(bits.ReadBits(width), width);
    sink.WritePadding();
  }
  const int written = vek::sms::unpack_septets(packed, skipped, count, {out.text, VEK_PAL_SMS_TEXT_MAX});
  return written >= 0 ? written : FAIL(-1, "Overflow occur when decoding user data");
}

// The text, whose length it returns; -1 is a failure.
int decode_user_data(Bytes value, bool has_header, vek_pal_sms_decoded_t& out) {
  BitSource bits(value);
  const unsigned encoding = bits.ReadBits(5);
  const auto characters = characters_of(encoding);
  if (!characters && encoding > kLastEncoding) return FAIL(-1, "encoding %d not supported", static_cast<int>(encoding));
  if (!characters) return FAIL(-1, "Do not support %d encoding", static_cast<int>(encoding));
  const size_t announced = bits.ReadBits(8);
  const unsigned width = characters->bits;
  if (bits.ran_out() || announced * width > bits.left()) return FAIL(-1, "Overflow occurs when decoding user data");
  out.encoding = characters->encoding;

  size_t header_bits = 0;
  if (has_header) {
    BitSource ahead = bits;
    header_bits = (size_t{ahead.ReadBits(8)} + 1) * 8;
  }
  const size_t skipped = (header_bits + width - 1) / width;
  if (skipped > announced) return FAIL(-1, "Overflow occurs when decoding user data");
  const size_t count = announced - skipped;
  if (encoding == kGsmAlphabet) return decode_gsm_septets(bits, skipped, count, out);

  const unsigned written_bits = width == 16 ? 16 : 8;
  if (const size_t octets = count * written_bits / 8; octets > VEK_PAL_SMS_TEXT_MAX)
    return FAIL(-1, "Internal buffer of userData is too small %d", static_cast<int>(octets));
  // Only septets leave bits between the header and the text.
  bits.skip(width == 7 ? skipped * width : header_bits);
  BitSink sink({out.text, VEK_PAL_SMS_TEXT_MAX});
  for (size_t i = 0; i < count; i++) sink.WriteBits(bits.ReadBits(width), written_bits);
  return static_cast<int>(sink.octets());
}

}  // namespace

int DecodeCdmaPdu(const uint8_t* raw, uint32_t length, vek_pal_sms_decoded_t* out) {
  constexpr int kPointToPoint = 0;
  if (raw == nullptr || out == nullptr) return FAIL(-1, "Invalid input parameter.");
  *out = {};
  Octets in({raw, length});
  const int transport_type = in.next();
  if (in.ran_out()) return FAIL(-1, "No data in the message");
  if (transport_type != kPointToPoint) return FAIL(-1, "Do not support this message type %d", transport_type);

  Message message;
  if (!read_message(in, message)) return FAIL(-1, "Could not retrieve data");
  if (!message.bearer_data) return FAIL(-1, "No Bearer data in the message");
  Bearer bearer;
  if (!read_bearer(*message.bearer_data, bearer)) return FAIL(-1, "Could not retrieve data");
  if (!bearer.identifier) return FAIL(-1, "No message identifier in the message");

  BitSource identifier(*bearer.identifier);
  out->message_type = static_cast<int32_t>(identifier.ReadBits(4));
  identifier.skip(16);
  const bool has_header = identifier.ReadBits(1) != 0;
  LOG_D("messageType is %d", out->message_type);

  if (out->message_type == kDeliver) {
    if (!message.origin.present) return FAIL(-1, "No origination address in the message");
    if (!bearer.time_stamp) return FAIL(-1, "No service center time stamp in the message");
    memcpy(out->address, message.origin.text, sizeof out->address);
    decode_time_stamp(*bearer.time_stamp, out->timestamp);
  } else if (out->message_type == kSubmit) {
    if (!message.destination.present) return FAIL(-1, "No destination address in the message");
    memcpy(out->address, message.destination.text, sizeof out->address);
  } else {
    return FAIL(-1, "Do not support this message type %d", out->message_type);
  }

  if (!bearer.user_data) return FAIL(-1, "No data in the message");
  const int text_length = decode_user_data(*bearer.user_data, has_header, *out);
  if (text_length < 0) return FAIL(-1, "Could not retrieve data");
  out->text_length = text_length;
  return 0;
}
