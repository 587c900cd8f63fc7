#include "vek_pal/util.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <string>
#include <vector>

#include "common/src/crc16.h"
#include "records.h"

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char* bytes(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// One bit after the other, as the definition has it.
uint16_t crc16_by_definition(const Bytes& data) {
  unsigned crc = 0;
  for (const unsigned char byte : data) {
    crc ^= static_cast<unsigned>(byte << 8);
    for (int bit = 0; bit < 8; bit++) crc = (crc & 0x8000) != 0 ? (crc << 1 ^ 0x1021) & 0xFFFF : crc << 1;
  }
  return static_cast<uint16_t>(crc);
}

Bytes packed_by_definition(const Bytes& septets) {
  Bytes out((septets.size() * 7 + 7) / 8);
  for (size_t bit = 0; bit < septets.size() * 7; bit++)
    if ((septets[bit / 7] >> bit % 7 & 1) != 0) out[bit / 8] = static_cast<unsigned char>(out[bit / 8] | 1 << bit % 8);
  if (septets.size() % 8 == 7) out.back() |= 0x1A;
  return out;
}

std::string digits_of(const Bytes& bcd, unsigned room = 64) {
  char out[65];
  memset(out, '?', sizeof out);
  unsigned length = 99;
  if (vek_pal_bcd_to_ascii(bcd.data(), static_cast<unsigned>(bcd.size()), out, room, &length) != 0) return "refused";
  EXPECT_EQ(out[room > 0 ? room : 1], '?') << "written past the room";
  EXPECT_EQ(strlen(out), length);
  return out;
}

}  // namespace

TEST(Hex, WritesExactlyTwoCharactersAByte) {
  char out[9] = "........";
  const unsigned char in[] = {0x0A, 0xBC, 0xFF};
  EXPECT_EQ(vek_pal_bin2hex(in, 3, out, 6), 0);
  EXPECT_STREQ(out, "0ABCFF..");
  EXPECT_EQ(vek_pal_bin2hex1(in, 3, out, 8, 0), 0);
  EXPECT_STREQ(out, "0abcff..");
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_bin2hex(nullptr, 3, out, 6), -1);
    EXPECT_EQ(vek_pal_bin2hex(in, 3, nullptr, 6), -1);
    EXPECT_EQ(vek_pal_bin2hex(in, 3, out, 5), -1);
    EXPECT_EQ(vek_pal_bin2hex(in, 0x80000000u, out, 5), -1) << "twice the length must not wrap";
  });
  ASSERT_EQ(seen.all.size(), 4u);
  EXPECT_EQ(seen.all[0].text, "<buf> param is null");
  EXPECT_EQ(seen.all[1].text, "<out_buf> param is null");
  EXPECT_EQ(seen.all[2].text, "out buffer is too small 5");
}

TEST(Hex, IsReadUpToTheFirstWrongCharacter) {
  unsigned char out[6];
  memset(out, 0xEE, sizeof out);
  EXPECT_EQ(vek_pal_hex2bin("0aBCfF", 6, out, 5), 0);
  EXPECT_EQ(memcmp(out, "\x0A\xBC\xFF\0\0\xEE", 6), 0) << "cleared to the end of the buffer and no further";

  for (const char wrong : std::string("g@`G/: \x80\xFF", 9)) {
    const std::string in = std::string("1234") + wrong + "556";
    memset(out, 0xEE, sizeof out);
    EXPECT_TRUE(records_of([&] { EXPECT_EQ(vek_pal_hex2bin(in.c_str(), 8, out, 5), -1) << wrong; }).all.empty());
    EXPECT_EQ(memcmp(out, "\x12\x34\0\0\0\xEE", 6), 0);
    memset(out, 0xEE, sizeof out);
    EXPECT_EQ(vek_pal_AtoHex(in.c_str(), out, 8), -1);
    EXPECT_EQ(memcmp(out, "\x12\x34\xEE", 3), 0);
  }
  EXPECT_EQ(vek_pal_AtoHex("", out, 0), 0);
  EXPECT_EQ(vek_pal_AtoHex("5A6b", out, 3), 0) << "an odd length reads one character more";
  EXPECT_EQ(memcmp(out, "\x5A\x6B\xEE", 3), 0);

  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_hex2bin(nullptr, 2, out, 5), -1);
    EXPECT_EQ(vek_pal_hex2bin("12", 2, nullptr, 5), -1);
    EXPECT_EQ(vek_pal_hex2bin("123", 3, out, 5), -1);
    EXPECT_EQ(vek_pal_hex2bin("1234", 4, out, 1), -1);
  });
  ASSERT_EQ(seen.all.size(), 4u);
  EXPECT_EQ(seen.all[0].text, "<buf> param is null\n");
  EXPECT_EQ(seen.all[1].text, "<out_buf> param is null\n");
  EXPECT_EQ(seen.all[2].text, "invalide hex string\n");
  EXPECT_EQ(seen.all[3].text, "<out_buf> is too small\n");
}

TEST(Trim, CutsOneCharacterAndOnTheRightNeverTheFirst) {
  const struct {
    const char *in, *left, *right, *both;
  } rows[] = {{"  a b  ", "a b  ", "  a b", "a b"}, {"   ", "", " ", ""}, {" ", "", " ", ""}, {"", "", "", ""},
              {"\ta ", "\ta ", "\ta", "\ta"},       {"a", "a", "a", "a"}};
  for (const auto& row : rows) {
    char left[16], right[16], both[16];
    strcpy(left, row.in);
    strcpy(right, row.in);
    strcpy(both, row.in);
    EXPECT_STREQ(vek_pal_str_trim_left(left, ' '), row.left);
    EXPECT_EQ(vek_pal_str_trim_right(right, ' '), right);
    EXPECT_STREQ(right, row.right);
    EXPECT_STREQ(vek_pal_str_trim(both, ' '), row.both);
  }
  char text[] = "xyx";
  EXPECT_STREQ(vek_pal_str_trim(text, 'x' + 256), "y") << "the argument counts as a character";
  EXPECT_EQ(vek_pal_str_trim(nullptr, ' '), nullptr);
}

TEST(Number, IsTheWholeText) {
  const struct {
    const char* text;
    int signed_code, value;
    unsigned unsigned_value;
  } rows[] = {{"12", 0, 12, 12},
              {"", 0, 0, 0},
              {" \t-5", 0, -5, 4294967291u},
              {"+0007", 0, 7, 7},
              {"2147483648", 0, INT_MAX, 2147483648u},
              {"-2147483649", 0, INT_MIN, 2147483647u},
              {"99999999999999999999", 0, INT_MAX, UINT_MAX},
              {"-99999999999999999999", 0, INT_MIN, UINT_MAX},
              {"12a", -1, 77, 77},
              {"0x10", -1, 77, 77},
              {"1 ", -1, 77, 77},
              {" ", -1, 77, 77},
              {"-", -1, 77, 77}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    int value = 77;
    unsigned unsigned_value = 77;
    const auto seen = records_of([&] {
      EXPECT_EQ(vek_pal_strtoint32(row.text, &value), row.signed_code);
      EXPECT_EQ(vek_pal_strtouint32(row.text, &unsigned_value), row.signed_code);
    });
    EXPECT_EQ(value, row.value);
    EXPECT_EQ(unsigned_value, row.unsigned_value);
    EXPECT_EQ(seen.has("UTILS", std::string("invalid int str:") + row.text), row.signed_code != 0);
  }
  int value;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_strtoint32(nullptr, &value), -1);
    EXPECT_EQ(vek_pal_strtouint32("1", nullptr), -1);
  });
  EXPECT_TRUE(seen.has("UTILS", "str is null"));
  EXPECT_TRUE(seen.has("UTILS", "result is null"));
}

TEST(Number, OutOfBoundsKeepsTheResultAndNoNumberIsZero) {
  const struct {
    const char* text;
    int min, max, code, value;
    const char* record;
  } rows[] = {{"10", 1, 10, 0, 10, nullptr},
              {"10", 1, 9, -1, 77, "int out of range: val=10, min=1, max=9"},
              {"-1", 0, 9, -1, 77, "int out of range: val=4294967295, min=0, max=9"},
              {"x", 1, 9, -1, 77, "int out of range: val=0, min=1, max=9"},
              {"x", -1, 9, -1, 0, "invalid int str:x"}};
  for (const auto& row : rows) {
    int value = 77;
    const auto seen =
        records_of([&] { EXPECT_EQ(vek_pal_strtoint32_range(row.text, row.min, row.max, &value), row.code); });
    EXPECT_EQ(value, row.value) << row.text;
    EXPECT_TRUE(row.record == nullptr || seen.has("UTILS", row.record)) << seen;
  }
}

TEST(Number, PowersAreCutToWhatAnIntHolds) {
  const struct {
    int base, exp, power;
  } rows[] = {{7, 0, 1},
              {0, 0, 1},
              {0, 5, 0},
              {2, 30, 1 << 30},
              {2, 31, INT_MAX},
              {-2, 31, INT_MIN},
              {-2, 32, INT_MAX},
              {-2, 33, INT_MIN},
              {3, INT_MAX, INT_MAX},
              {-1, INT_MAX, -1},
              {1, INT_MAX, 1},
              {-1, INT_MIN, 1},
              {-1, -3, -1},
              {2, -1, 0},
              {0, -1, INT_MAX},
              {46341, 2, INT_MAX},
              {46340, 2, 2147395600},
              {INT_MIN, 1, INT_MIN},
              {INT_MIN, 2, INT_MAX}};
  for (const auto& row : rows) EXPECT_EQ(vek_pal_pow(row.base, row.exp), row.power) << row.base << "^" << row.exp;
}

TEST(Compare, NeedsEqualLengths) {
  EXPECT_EQ(vek_pal_mem_equal("a\0b", 3, "a\0b", 3), 1);
  EXPECT_EQ(vek_pal_mem_equal("a\0b", 3, "a\0c", 3), 0);
  EXPECT_EQ(vek_pal_mem_equal("ab", 2, "ab", 1), 0);
  EXPECT_EQ(vek_pal_mem_equal(nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(vek_pal_nstr_equal("a\0b", 3, "a\0c", 3, 1), 1) << "texts end at a zero byte";
  EXPECT_EQ(vek_pal_nstr_equal("abX", 2, "abY", 2, 1), 1);
  EXPECT_EQ(vek_pal_nstr_equal("aB", 2, "Ab", 2, 0), 1);
  EXPECT_EQ(vek_pal_nstr_equal("aB", 2, "Ab", 2, 1), 0);
  EXPECT_EQ(vek_pal_nstr_equal("ab", 2, "ab", 3, 1), 0);
  EXPECT_EQ(vek_pal_str_equal("Ab", "aB", 0), 1);
  EXPECT_EQ(vek_pal_str_equal("Ab", "aB", 1), 0);
}

TEST(Checksum, OfNothingIsZero) {
  EXPECT_EQ(vek_pal_bcc(bytes("\x01\x02\x04\x04"), 4), 3);
  for (const int len : {0, -1, INT_MIN}) {
    EXPECT_EQ(vek_pal_bcc(nullptr, len), 0);
    EXPECT_EQ(vek_pal_crc16(nullptr, len), 0);
  }
}

TEST(Checksum, Crc16IsXmodemForEveryLengthAndWord) {
  EXPECT_EQ(vek_pal_crc16(bytes("123456789"), 9), 0x31C3);
  Bytes data;
  uint32_t random = 1;
  for (int i = 0; i < 600; i++) {
    const uint16_t expected = crc16_by_definition(data);
    ASSERT_EQ(vek_pal_crc16(data.data(), static_cast<int>(data.size())), expected) << data.size();
    ASSERT_EQ(vek::crc16<uint32_t>(data.data(), data.size()), expected) << data.size();
    ASSERT_EQ(vek::crc16<uint64_t>(data.data(), data.size()), expected) << data.size();
    random = random * 1664525 + 1013904223;
    data.push_back(static_cast<unsigned char>(random >> 24));
  }
}

TEST(Bcd, DecodesUpToAFillerOrTheRoom) {
  EXPECT_EQ(digits_of({0x21, 0x43, 0xF5}), "12345");
  EXPECT_EQ(digits_of({0xBA, 0xDC, 0x0E}), "*#pw+0");
  EXPECT_EQ(digits_of({0x21, 0xF3, 0x54}), "123");
  EXPECT_EQ(digits_of({0x21, 0x0F}), "refused");
  EXPECT_EQ(digits_of({0x21, 0x43}, 5), "1234");
  EXPECT_EQ(digits_of({0x21, 0x43}, 4), "123");
  EXPECT_EQ(digits_of({0x21, 0x43}, 3), "12");
  EXPECT_EQ(digits_of({0x21, 0x0F}, 3), "12") << "what does not fit is not looked at";
  EXPECT_EQ(digits_of({0x21}, 1), "");
  EXPECT_EQ(digits_of({0x21}, 0), "");

  char out[4];
  unsigned length;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_bcd_to_ascii(nullptr, 0, nullptr, 4, nullptr), -1);
    EXPECT_EQ(vek_pal_bcd_to_ascii(nullptr, 1, nullptr, 4, nullptr), -1);
    EXPECT_EQ(vek_pal_bcd_to_ascii(nullptr, 1, nullptr, 4, &length), -1);
    EXPECT_EQ(vek_pal_bcd_to_ascii(nullptr, 1, out, 4, &length), -1);
    EXPECT_EQ(vek_pal_bcd_to_ascii(bytes("\x4F"), 1, out, 4, &length), -1);
  });
  const char* const texts[] = {"len is 0", "outlen is NULL", "ascii is NULL", "bcd is NULL", "invalid bcd O"};
  ASSERT_EQ(seen.all.size(), std::size(texts));
  for (size_t i = 0; i < std::size(texts); i++) EXPECT_EQ(seen.all[i].text, texts[i]);
}

TEST(Bcd, EncodesWithAFillerAndTellsTheWholeLength) {
  const struct {
    const char* text;
    unsigned room, length;
    Bytes bcd;
  } rows[] = {{"12345", 4, 3, {0x21, 0x43, 0xF5, 0xEE}},
              {"*#pW+0", 4, 3, {0xBA, 0xDC, 0x0E, 0xEE}},
              {"12345", 2, 3, {0x21, 0x43, 0xEE, 0xEE}},
              {"12x", 1, 2, {0x21, 0xEE, 0xEE, 0xEE}}};
  for (const auto& row : rows) {
    Bytes out(4, 0xEE);
    unsigned length = 99;
    EXPECT_EQ(vek_pal_ascii_to_bcd(row.text, static_cast<unsigned>(strlen(row.text)), out.data(), row.room, &length),
              0);
    EXPECT_EQ(out, row.bcd) << row.text;
    EXPECT_EQ(length, row.length);
  }
  unsigned char out[4];
  unsigned length;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_ascii_to_bcd(nullptr, 0, nullptr, 4, nullptr), -1);
    EXPECT_EQ(vek_pal_ascii_to_bcd(nullptr, 1, nullptr, 4, nullptr), -1);
    EXPECT_EQ(vek_pal_ascii_to_bcd(nullptr, 1, nullptr, 4, &length), -1);
    EXPECT_EQ(vek_pal_ascii_to_bcd(nullptr, 1, out, 4, &length), -1);
    EXPECT_EQ(vek_pal_ascii_to_bcd("1a", 2, out, 4, &length), -1);
    EXPECT_EQ(vek_pal_ascii_to_bcd("1\0", 2, out, 4, &length), -1);
  });
  const char* const texts[] = {"len is 0", "outlen is NULL", "bcd is NULL", "ascii is NULL", "invalid a"};
  ASSERT_EQ(seen.all.size(), std::size(texts) + 1);
  for (size_t i = 0; i < std::size(texts); i++) EXPECT_EQ(seen.all[i].text, texts[i]);
}

TEST(RawBcd, IsHexWithTheHalvesSwapped) {
  char text[] = "????????";
  vek_pal_decode_rawbcd_to_ascii(bytes("\x98\xA4\xF0"), text, 3);
  EXPECT_STREQ(text, "894A0F??");

  const struct {
    const char* text;
    Bytes bcd;
  } rows[] = {{"894a0F", {0x98, 0xA4, 0xF0, 0xFF, 0xEE}},
              {"89440", {0x98, 0x44, 0xF0, 0xFF, 0xEE}},
              {"1234567890", {0x21, 0x43, 0x65, 0x87, 0xEE}},
              {"", {0x00, 0xFF, 0xFF, 0xFF, 0xEE}},
              {"1x", {0x01, 0xFF, 0xFF, 0xFF, 0xEE}}};
  for (const auto& row : rows) {
    Bytes out(5, 0xEE);
    vek_pal_encode_ascii_to_rawbcd(row.text, out.data(), 4);
    EXPECT_EQ(out, row.bcd) << row.text;
  }
}

TEST(SevenBit, PacksAndUnpacksEveryLengthIntoEveryRoom) {
  Bytes septets;
  for (unsigned len = 1; len <= 40; len++) {
    septets.push_back(static_cast<unsigned char>(len * 73 % 128));
    Bytes with_top_bits = septets;
    for (unsigned char& septet : with_top_bits) septet |= 0x80;
    const Bytes packed = packed_by_definition(septets);
    for (unsigned room = 0; room <= packed.size() + 1; room++) {
      Bytes out(room + 1, 0xEE);
      unsigned length = 99;
      ASSERT_EQ(vek_pal_7bit_encode(with_top_bits.data(), len, out.data(), room, &length), 0);
      ASSERT_EQ(length, std::min<size_t>(room, packed.size()));
      ASSERT_EQ(Bytes(out.begin(), out.begin() + length), Bytes(packed.begin(), packed.begin() + length)) << len;
      ASSERT_EQ(out[length], 0xEE) << len;
    }
    const size_t whole = packed.size() * 8 / 7;
    for (unsigned room = 0; room <= whole + 1; room++) {
      Bytes out(room + 1, 0xEE);
      unsigned length = 99;
      ASSERT_EQ(vek_pal_7bit_decode(packed.data(), static_cast<unsigned>(packed.size()), out.data(), room, &length), 0);
      ASSERT_EQ(length, std::min<size_t>(room, whole));
      for (unsigned i = 0; i < length; i++) ASSERT_EQ(out[i], i < len ? septets[i] : 0x0D) << len << " at " << i;
      ASSERT_EQ(out[length], 0xEE) << len;
    }
  }
}

TEST(SevenBit, FillsSevenSpareBitsWithACarriageReturn) {
  unsigned char out[8];
  unsigned length;
  vek_pal_7bit_encode(bytes(std::string(7, '\0')), 7, out, 8, &length);
  EXPECT_EQ(length, 7u);
  EXPECT_EQ(memcmp(out, "\0\0\0\0\0\0\x1A", 7), 0);
  // "hellohello", the example that every SMS engineer knows.
  vek_pal_7bit_encode(bytes("hellohello"), 10, out, 8, &length);
  EXPECT_EQ(memcmp(out, "\xE8\x32\x9B\xFD\x46\x97\xD9\xEC", 8), 0);
}

TEST(SevenBit, OfNothingIsOneOctetPackedAndNoSeptetUnpacked) {
  unsigned char out[2] = {0xEE, 0xEE};
  unsigned length = 99;
  EXPECT_EQ(vek_pal_7bit_encode(out, 0, out, 2, &length), 0);
  EXPECT_EQ(length, 1u);
  EXPECT_EQ(memcmp(out, "\0\xEE", 2), 0);
  EXPECT_EQ(vek_pal_7bit_decode(out, 0, out, 2, &length), 0);
  EXPECT_EQ(length, 0u);
}
