// The three decoders, against messages that other programs made and read (tests/data/sms-vectors.json says which).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "modem/sms/bits.h"
#include "modem/sms/septets.h"
#include "records.h"
#include "vek_pal/sms.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Decoder = int (*)(const uint8_t*, uint32_t, vek_pal_sms_decoded_t*);

// Blanks are for the reader.
Bytes bytes(std::string hex) {
  std::erase(hex, ' ');
  Bytes out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

std::string latin1(const Bytes& text) { return {text.begin(), text.end()}; }
std::string text_of(const vek_pal_sms_decoded_t& message) { return {message.text, message.text + message.text_length}; }

// From a block of exactly the message's size, so that a sanitizer sees a read past its end; the record starts out
// dirty.
int decode(Decoder decoder, const Bytes& raw, vek_pal_sms_decoded_t& out) {
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[raw.size()]);
  std::copy(raw.begin(), raw.end(), exact.get());
  memset(&out, 0xEE, sizeof out);
  return decoder(exact.get(), static_cast<uint32_t>(raw.size()), &out);
}

const nlohmann::json& vectors() {
  static const nlohmann::json file = nlohmann::json::parse(std::ifstream(VEK_TEST_DATA "/sms-vectors.json"));
  return file.at("vectors");
}

Decoder decoder_of(const nlohmann::json& vector) { return vector.at("kind") == "gsm" ? DecodeGsmPdu : DecodeCdmaPdu; }

int encoding_of(const nlohmann::json& vector) {
  const int encoding = vector.at("encoding");
  if (vector.at("kind") == "gsm") return encoding;
  return encoding == 4 ? 2 : encoding == 2 ? 0 : 1;  // Unicode; ASCII; octets and Latin
}

// "2024-05-07T08:30:15+00:00" as "2024/5/7,8:30:15"
std::string shown_time(const nlohmann::json& vector) {
  const std::string iso = vector.value("timestamp", "");
  if (iso.empty()) return "";
  const auto field = [&iso](size_t at, size_t n) { return std::to_string(std::stoi(iso.substr(at, n))); };
  return field(0, 4) + "/" + field(5, 2) + "/" + field(8, 2) + "," + field(11, 2) + ":" + field(14, 2) + ":" +
         field(17, 2);
}

TEST(SmsPdu, DecodesEveryVectorAndRefusesThoseToBeRefused) {
  ASSERT_EQ(vectors().size(), 57u);
  for (const auto& vector : vectors()) {
    SCOPED_TRACE(vector.at("name"));
    vek_pal_sms_decoded_t out;
    const auto seen = records_of([&] {
      EXPECT_EQ(decode(decoder_of(vector), bytes(vector.at("hex")), out), vector.value("refused", false) ? -1 : 0);
    });
    if (vector.value("refused", false)) continue;
    EXPECT_EQ(out.message_type, vector.at("message_type"));
    EXPECT_EQ(out.address, vector.at("number").get<std::string>());
    EXPECT_EQ(out.encoding, encoding_of(vector));
    EXPECT_EQ(out.text_length, vector.at("text_length"));
    EXPECT_EQ(text_of(out), latin1(bytes(vector.at("text_latin1_hex"))));
    EXPECT_EQ(out.text[out.text_length], 0);
    EXPECT_EQ(out.timestamp, shown_time(vector));
    if (vector.contains("concat")) {
      char part[64];
      const auto& concat = vector.at("concat");
      snprintf(part, sizeof part, "refnum = %x, maxnum = %d, curnum = %d ", concat.at("ref").get<unsigned>(),
               concat.at("max").get<int>(), concat.at("cur").get<int>());
      EXPECT_TRUE(seen.has_part("SMS_PDU_DECODE", part)) << seen;
    }
  }
}

TEST(SmsPdu, RefusesEveryTruncationOfEveryVector) {
  for (const auto& vector : vectors()) {
    SCOPED_TRACE(vector.at("name"));
    const Bytes whole = bytes(vector.at("hex"));
    for (size_t length = 0; length < whole.size(); length++) {
      vek_pal_sms_decoded_t out;
      const auto seen = records_of([&] {
        EXPECT_EQ(decode(decoder_of(vector), {whole.begin(), whole.begin() + static_cast<long>(length)}, out), -1)
            << length;
      });
      EXPECT_THAT(seen.all, testing::Contains(testing::Field(&Record::mask, 0x08u))) << "no error record, " << length;
    }
  }
}

TEST(SmsPdu, DataMessagesShowTheirOctetsInTheLog) {
  for (const auto& vector : vectors()) {
    if (vector.at("kind") != "gsm") continue;
    SCOPED_TRACE(vector.at("name"));
    const Bytes raw = bytes(vector.at("hex"));
    vek_pal_sms_decoded_t plain, wap;
    int plain_code = 0, wap_code = 0;
    plain_code = decode(DecodeGsmPdu, raw, plain);
    const auto seen = records_of([&] { wap_code = decode(DecodeGsmPdu_WAP, raw, wap); });
    EXPECT_EQ(wap_code, plain_code);
    EXPECT_EQ(memcmp(&plain, &wap, sizeof plain), 0);
    if (vector.at("name") == "gsm-ports16-8bit") {
      EXPECT_TRUE(seen.has("SMS_PDU_DECODE", "SMSPDU_8_BITS messageLen = 9, data is 25, pos is 34")) << seen;
      EXPECT_TRUE(seen.has("SMS_PDU_DECODE", "SMSPDU_8_BITS messageLen = 9, data is ca, pos is 42")) << seen;
    }
  }
}

struct Refusal {
  const char* hex;
  const char* text;
};

void expect_refusals(Decoder decoder, std::span<const Refusal> rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.hex);
    vek_pal_sms_decoded_t out;
    const auto seen = records_of([&] { EXPECT_EQ(decode(decoder, bytes(row.hex), out), -1); });
    EXPECT_TRUE(seen.has("SMS_PDU_DECODE", row.text)) << row.text << "\n" << seen;
  }
}

const std::string k250Octets(500, '0');

TEST(GsmPdu, SaysWhyItRefuses) {
  const std::string long_8bit = "00 04 0481 2143 00 04 42603040506000 A1" + k250Octets;
  const std::string long_ucs2 = "00 04 0481 2143 00 08 42603040506000 FA" + k250Octets;
  const std::string long_7bit = "00 04 0481 2143 00 00 42603040506000 A1" + k250Octets;
  expect_refusals(DecodeGsmPdu,
                  std::vector<Refusal>{
                      {"00 02 0481 2143", "Decoding this message is not supported TP-MTI 2."},
                      {"00 07 0481 2143", "Decoding this message is not supported TP-MTI 3."},
                      {"00 04 0081 00 00 42603040506000 00", "Address length 0 is <= 0"},
                      {"00 04 1291 214365870921436587 00 00 42603040506000 00",
                       "Hex string array (18) is too small to convert (9) bytes"},
                      {"00 04 20D0 C2303BEC1E9765C4701EC2303BEC1E97 00 00 42603040506000 00",
                       "Hex string array (18) is too small to convert (16) bytes"},
                      {"00 04 0481 2143 00 C8 42603040506000 00", "this encoding is not supported (tpDcs 200)"},
                      {"00 04 0481 2143 00 C8 42603040506000 00", "Message format not supported."},
                      {"00 04 0481 2143 00 0C 42603040506000 00", "Message format not supported."},
                      {"00 44 0481 2143 00 00 42603040506000 03 050003", "the message length -4 is <0"},
                      {"00 44 0481 2143 00 04 42603040506000 00", "the message length -1 is <0"},
                      {long_8bit.c_str(), "Overflow occurs when converting 8bits to 8bits 161>161"},
                      {long_ucs2.c_str(), "Overflow occurs when copying UCS2 to UCS2 250 > 161"},
                      {long_7bit.c_str(), "Overflow occurs when converting 7bits to 8bits"},
                  });
}

TEST(GsmPdu, TakesWhatIsUnusualButWhole) {
  const std::string full_8bit = "00 04 0481 2143 00 04 42603040506000 A0" + k250Octets;
  const struct {
    std::string hex, address, text;
  } rows[] = {
      // 17 digits fill the address; with "+" 16 do.
      {"00 04 1181 2143658709214365F7 00 00 42603040506000 00", "12345678901234567", ""},
      {"00 04 1091 2143658709214365 00 00 42603040506000 00", "+1234567890123456", ""},
      {"00 04 0681 A1CBED 00 00 42603040506000 00", "1*#abc", ""},
      // "ACME", its 7 semi-octets rounded up to 8
      {"00 04 08D0 C161B308 00 00 42603040506000 00", "ACME", ""},
      // an escape as the last septet; a header element that claims more than there is; bytes after the text
      {"00 04 0481 2143 00 00 42603040506000 02 C10D", "1234", "A?"},
      {"00 44 0481 2143 00 04 42603040506000 05 03 00FF01 58", "1234", "X"},
      {"00 04 0481 2143 00 04 42603040506000 01 58 FFFF", "1234", "X"},
      {full_8bit, "1234", std::string(160, '\0')},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.hex);
    vek_pal_sms_decoded_t out;
    EXPECT_EQ(decode(DecodeGsmPdu, bytes(row.hex), out), 0);
    EXPECT_EQ(out.address, row.address);
    EXPECT_EQ(text_of(out), row.text);
  }
}

TEST(SmsPdu, TurnsDownMissingArguments) {
  const uint8_t raw[] = {0};
  vek_pal_sms_decoded_t out;
  for (const Decoder decoder : {DecodeGsmPdu, DecodeGsmPdu_WAP, DecodeCdmaPdu}) {
    EXPECT_EQ(decoder(nullptr, 1, &out), -1);
    EXPECT_EQ(decoder(raw, 1, nullptr), -1);
    EXPECT_EQ(decoder(raw, 0, &out), -1);
  }
}

// Pieces of a message that decodes: transport type, sender 3305773196, bearer data with identifier, text "AAAA", time.
#define TELESERVICE "0002 1002"
#define SENDER "0207 028CE95DCC6580"
#define IDENTIFIER "0003 168D30"
#define AAAA "0106 102418306080"
#define TIME "0306 101004044847"

TEST(CdmaPdu, SaysWhyItRefuses) {
  const std::string long_octets = "00" SENDER "08 BE" IDENTIFIER TIME "01 AF 0568 " + std::string(2 * 173, '0');
  expect_refusals(
      DecodeCdmaPdu,
      std::vector<Refusal>{
          {"01" TELESERVICE, "Do not support this message type 1"},
          {"00", "No Bearer data in the message"},
          {"00 0003 100200", "0: SMS message parameter length should be 2"},
          {"00 0101 00", "1: SMS message parameter length should be 2"},
          {"00 0602 FC00", "6: SMS message parameter length should be 1"},
          {"00 0703 000000", "7: SMS message parameter length should be 2"},
          {"00 2001 00", "Do not support this Parameter Id: 32"},
          {"00 0207 038CE95DCC6580", "Buffer overflow will occur (14>11)"},
          {"00 020A 04800000000000000000", "Internal buffer of originating address is too small 18"},
          {"00 0203 A80000", "Do not support this number type 5"},
          {"00 0203 C80000", "Do not support this number type 1"},
          {"00 0302 0120", "Internal buffer of originating subaddress is too small 18"},
          {"00 0302 0010", "Could not retrieve data"},
          {"00 0801 00", "Could not retrieve data"},
          {"00 0800", "No message identifier in the message"},
          {"00 0804 0002 168D", "0: Subparameter length should be 3"},
          {"00 0804 0802 0000", "8: Subparameter length should be 1"},
          {"00 0804 0302 1010", "3: Subparameter length should be 6"},
          {"00 0803 1101 00", "17: Subparameter length should be 2"},
          {"00 0802 1800", "Do not support this subparameter Id: 24"},
          {"00 0805 0003 300000", "Do not support this message type 3"},
          {"00 0805" IDENTIFIER, "No origination address in the message"},
          {"00" SENDER "0805" IDENTIFIER, "No service center time stamp in the message"},
          {"00" SENDER "0805 0003 200000", "No destination address in the message"},
          {"00" SENDER "080D" IDENTIFIER TIME, "No data in the message"},
          {"00" SENDER "0812" IDENTIFIER TIME "0103 080000", "Do not support 1 encoding"},
          {"00" SENDER "0812" IDENTIFIER TIME "0103 580000", "encoding 11 not supported"},
          {"00" SENDER "0815" IDENTIFIER TIME "0106 103418306080", "Overflow occurs when decoding user data"},
          {"00" SENDER "0815 0003 168D38" TIME "0106 1024FF306080", "Overflow occurs when decoding user data"},
          {long_octets.c_str(), "Internal buffer of userData is too small 173"},
      });
}

TEST(CdmaPdu, ReadsTheLessCommonForms) {
  const std::string three_octets("a\0\xFF", 3);
  const struct {
    const char* what;
    const char* hex;
    std::string address, text;
    int encoding;
  } rows[] = {
      {"subaddress, cause codes and reply option are passed over",
       "00" TELESERVICE SENDER "0303 001AB0 0701 00 0601 FC 0815" IDENTIFIER TIME AAAA, "3305773196", "AAAA", 0},
      {"bearer data before the address", "00 0815" TIME AAAA IDENTIFIER SENDER, "3305773196", "AAAA", 0},
      {"an e-mail address", "00 0207 D02B0A03117318 0815" IDENTIFIER TIME AAAA, "a@b.c", "AAAA", 0},
      {"octets", "00" SENDER "0814" IDENTIFIER TIME "0105 001B0807F8", "3305773196", three_octets, 1},
      {"the GSM alphabet", "00" SENDER "0815" IDENTIFIER TIME "0106 482647A03028", "3305773196", "Hi{", 0},
      {"ASCII after a header", "00" SENDER "0819 0003 168D38" TIME "010A 104828001A60100A4690", "3305773196", "Hi", 0},
      {"Unicode after a header", "00" SENDER "0819 0003 168D38" TIME "010A 202028001A6010090560", "3305773196",
       "\x20\xAC", 2},
      {"the GSM alphabet after a header", "00" SENDER "0819 0003 168D38" TIME "010A 484828001A60100C8348", "3305773196",
       "Hi", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    vek_pal_sms_decoded_t out;
    EXPECT_EQ(decode(DecodeCdmaPdu, bytes(row.hex), out), 0);
    EXPECT_EQ(out.address, row.address);
    EXPECT_EQ(text_of(out), row.text);
    EXPECT_EQ(out.encoding, row.encoding);
  }
}

TEST(Bits, RefuseMoreThanThereIs) {
  using namespace vek::sms;
  const uint8_t octets[] = {0xA5, 0x5A, 0xFF, 0x00, 0x81};
  BitSource source(octets);
  EXPECT_EQ(source.ReadBits(3), 5u);
  EXPECT_EQ(source.ReadBits(32), 0x2AD7F804u);
  const auto seen = records_of([&] { EXPECT_EQ(source.ReadBits(33), 0u); });
  EXPECT_TRUE(seen.has("SMS_PDU_DECODE", "Should not read more that 32 bits"));
  EXPECT_TRUE(source.ran_out());

  uint8_t room[2] = {};
  BitSink sink(room);
  EXPECT_TRUE(sink.WriteBits(0x1FF, 9));
  EXPECT_TRUE(sink.WritePadding());
  EXPECT_EQ(sink.octets(), 2u);
  EXPECT_THAT(room, testing::ElementsAre(0xFF, 0x80));
  const auto full = records_of([&] { EXPECT_FALSE(sink.WriteBits(0, 1)); });
  EXPECT_TRUE(full.has("SMS_PDU_DECODE", "Internal buffer overflow [2]"));
}

}  // namespace
