#include "vek_pal/encoding.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <string>
#include <vector>

#include "records.h"

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char* bytes(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

std::string encoded(const std::string& in) {
  Bytes out((in.size() + 2) / 3 * 4 + 1, 0xEE);
  const int length =
      vek_pal_base64_encode(out.data(), static_cast<unsigned>(out.size()), bytes(in), static_cast<unsigned>(in.size()));
  EXPECT_EQ(length, static_cast<int>(out.size()) - 1);
  EXPECT_EQ(out.back(), 0);
  return {out.begin(), out.end() - 1};
}

// What decoding made of `in`, "-1" where it was refused. The room behind the result must stay untouched.
std::string decoded(const std::string& in) {
  Bytes out(in.size() + 8, 0xEE);
  const int result =
      vek_pal_base64_decode(out.data(), static_cast<unsigned>(out.size()), bytes(in), static_cast<unsigned>(in.size()));
  const size_t used = result > 0 ? static_cast<size_t>(result) + 1 : 0;
  for (size_t i = used; i < out.size(); i++) EXPECT_EQ(out[i], 0xEE) << in << " wrote at " << i;
  if (result < 0) return "-1";
  EXPECT_EQ(out[static_cast<size_t>(result)], result > 0 ? 0 : 0xEE);
  return {out.begin(), out.begin() + result};
}

}  // namespace

TEST(Base64, MatchesTheVectorsOfRfc4648) {
  const struct {
    std::string text, base64;
  } rows[] = {{"f", "Zg=="},        {"fo", "Zm8="},        {"foo", "Zm9v"},
              {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
  for (const auto& row : rows) {
    EXPECT_EQ(encoded(row.text), row.base64);
    EXPECT_EQ(decoded(row.base64), row.text);
  }
  EXPECT_EQ(encoded(""), "");
}

TEST(Base64, ComesBackFromEveryLengthAndByte) {
  std::string in;
  for (int i = 0; i < 300; i++) {
    in.push_back(static_cast<char>(i * 167 + i / 256));
    EXPECT_EQ(decoded(encoded(in)), in) << in.size();
  }
}

TEST(Base64, SkipsLineEndsAndBlanksBeforeThemAndNothingElse) {
  const std::string nul(1, '\0');
  const struct {
    std::string in, out;
  } rows[] = {
      {"YWJj\r\n\r\nZA==", "abcd" + nul + nul + nul},
      {"YWJj\nZA=", "abc" + nul + nul},  // the last three characters make no group
      {"YWJjZA==\n\n\n\n", "abcd" + std::string(5, '\0')},
      {"YWJj   \nZA==", "abcd" + nul + nul + nul},
      {"YWJjZGVm  \r\nZ2hp", "abcdefghi" + nul + nul + nul},
      {"\n\n\n\n", ""},
      {"\n\n==", ""},
      {"YWJj ZA=", "-1"},
      {"YWJjZA= ", "-1"},
      {"YW=jZA==", "-1"},
      {"YWJjZ===", "-1"},
      {"YWJj\rZA=", "-1"},
      {"YWJjZ\x80==", "-1"},
      {"YWJjZ-_=", "-1"},
      {"YWJjYWJj\tYWJjYWJ", "-1"},
      {"YWJjYWJjYWJjYWJ" + nul, "-1"},
  };
  for (const auto& row : rows) EXPECT_EQ(decoded(row.in), row.out) << row.in;
  for (int wrong = 0; wrong < 256; wrong++) {  // one wrong character at every place of a long text
    if (isalnum(wrong) || strchr("+/=\n", wrong) != nullptr) continue;
    std::string in(64, 'A');
    in[static_cast<size_t>(wrong) % 64] = static_cast<char>(wrong);
    EXPECT_EQ(decoded(in), "-1") << wrong;
  }
}

TEST(Base64, ChecksItsBuffers) {
  unsigned char out[16] = {};
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_base64_encode(nullptr, 8, bytes("abcd"), 4), -1);
    EXPECT_EQ(vek_pal_base64_encode(out, 0, bytes("abcd"), 4), -1);
    EXPECT_EQ(vek_pal_base64_encode(out, 8, nullptr, 4), -1);
  });
  EXPECT_EQ(seen.all.size(), 3u);
  EXPECT_TRUE(seen.has("CODETRANS", "input num error"));
  const auto small = records_of([&] {
    EXPECT_EQ(vek_pal_base64_encode(out, 7, bytes("abcd"), 4), -1);
    EXPECT_EQ(vek_pal_base64_decode(out, 3, bytes("YWJjZA=="), 8), -1);
    EXPECT_EQ(vek_pal_base64_encode(out, 7, bytes("abcd"), UINT_MAX), -1) << "the length must not wrap";
  });
  EXPECT_EQ(small.all.size(), 3u);
  EXPECT_TRUE(small.has("CODETRANS", "dsize too small"));
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(vek_pal_base64_encode(out, 8, bytes("abcd"), 4), 8);
  EXPECT_EQ(vek_pal_base64_decode(out, 4, bytes("YWJjZA=="), 8), 4);
  const auto wrong = records_of([&] {
    EXPECT_EQ(vek_pal_base64_decode(out, 16, bytes("YWJjZA"), 6), -1);
    EXPECT_EQ(vek_pal_base64_decode(out, 16, bytes("YWJj\r\nZA=="), 10), -1);
    EXPECT_EQ(vek_pal_base64_decode(out, 16, nullptr, 4), -1);
    EXPECT_EQ(vek_pal_base64_decode(nullptr, 16, bytes("YWJj"), 4), -1);
    EXPECT_EQ(vek_pal_base64_decode(out, 16, bytes("YWJj"), 0), -1);
  });
  EXPECT_EQ(wrong.all.size(), 5u);
  EXPECT_TRUE(wrong.has("CODETRANS", "The input parameters is incorrect"));
  EXPECT_TRUE(records_of([&] { vek_pal_base64_decode(out, 16, bytes("YW=j"), 4); }).all.empty());
}

TEST(Base64, DecodesInPlace) {
  std::string text = "Zm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmFyZm9vYmE=";
  auto* const at = reinterpret_cast<unsigned char*>(text.data());
  ASSERT_EQ(vek_pal_base64_decode(at, 48, at, 48), 35);
  EXPECT_STREQ(text.c_str(), "foobarfoobarfoobarfoobarfoobarfooba");
}

TEST(DecimalText, IsReadUpToTheFirstOtherCharacter) {
  const struct {
    const char* text;
    int value;
    bool record;
  } rows[] = {{"  -42abc", -42, false},
              {"+7", 7, false},
              {"-2147483648", INT_MIN, false},
              {"4294967297", 1, false},
              {"0", 0, true},
              {"+x", 0, true},
              {"", 0, true},
              {"- 1", 0, true},
              {"\t5", 0, true}};
  for (const auto& row : rows) {
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_atoi(row.text), row.value) << row.text; });
    EXPECT_EQ(seen.has("CODETRANS", "there are no numbers in the string"), row.record) << row.text;
  }
  EXPECT_TRUE(records_of([] { EXPECT_EQ(vek_pal_atoi(nullptr), -1); }).has("CODETRANS", "src is NULL"));
}

TEST(DecimalText, IsWrittenInAnyRadix) {
  const struct {
    int value;
    unsigned radix;
    const char* text;
  } rows[] = {{0, 10, "0"},
              {-1, 10, "-1"},
              {INT_MIN, 10, "-2147483648"},
              {-1, 16, "FFFFFFFF"},
              {-1, 2, "11111111111111111111111111111111"},
              {46655, 36, "ZZZ"},
              {INT_MAX, 8, "17777777777"}};
  for (const auto& row : rows) {
    char buf[34];
    memset(buf, '?', sizeof buf);
    EXPECT_EQ(vek_pal_itoa(row.value, buf, row.radix), buf);
    EXPECT_STREQ(buf, row.text);
  }
  for (const unsigned radix : {0u, 1u, 37u}) {
    char buf[34] = "kept";
    const auto seen = records_of([&] { EXPECT_EQ(vek_pal_itoa(5, buf, radix), nullptr); });
    EXPECT_TRUE(seen.has("CODETRANS", "The input radix is NULL"));
    EXPECT_STREQ(buf, "kept");
  }
}

TEST(HexText, BecomesBytesWithOtherCharactersAsZero) {
  unsigned char out[80];
  ASSERT_EQ(vek_pal_hex2str("00fFaB0G", 8, out, 5), 4);
  EXPECT_EQ(memcmp(out, "\x00\xFF\xAB\x00", 5), 0);
  std::string every;
  for (int i = 1; i < 256; i++) every += std::string(1, static_cast<char>(i)) + "7";
  for (size_t from = 0; from + 64 <= every.size(); from += 2) {
    ASSERT_EQ(vek_pal_hex2str(every.data() + from, 64, out, 33), 32);
    EXPECT_EQ(out[32], 0);
    for (size_t i = 0; i < 32; i++) {
      const char digit[] = {every[from + 2 * i], '\0'};
      EXPECT_EQ(out[i], strtoul(digit, nullptr, 16) << 4 | 7) << digit;
    }
  }
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_hex2str("abc", 3, out, 9), -1);
    EXPECT_EQ(vek_pal_hex2str(nullptr, 2, out, 9), -1);
    EXPECT_EQ(vek_pal_hex2str("abcd", 4, out, 2), -1);
  });
  ASSERT_EQ(seen.all.size(), 3u);
  EXPECT_EQ(seen.all[1].text, "The input parameters is incorrect");
  EXPECT_EQ(seen.all[2].text, "dsize is too small");
}

TEST(HexText, IsMadeOfBytesOfAnyNumber) {
  Bytes in;
  std::string expected;
  for (unsigned i = 0; i < 70; i++) {
    char out[142];
    memset(out, '?', sizeof out);
    ASSERT_EQ(vek_pal_str2hex(in.data() != nullptr ? in.data() : bytes(""), i, out, 2 * i + 1),
              static_cast<int>(2 * i));
    EXPECT_EQ(out, expected);
    EXPECT_EQ(out[2 * i + 1], '?');
    in.push_back(static_cast<unsigned char>(i * 37));
    char pair[3];
    snprintf(pair, sizeof pair, "%02x", in.back());
    expected += pair;
  }
  char out[8];
  EXPECT_TRUE(
      records_of([&] { EXPECT_EQ(vek_pal_str2hex(nullptr, 1, out, 8), -1); }).has("CODETRANS", "The src is NULL"));
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_str2hex(in.data(), 4, out, 8), -1);
    EXPECT_EQ(vek_pal_str2hex(in.data(), 0x80000000u, out, 8), -1) << "twice the length must not wrap";
  });
  EXPECT_EQ(seen.all.size(), 2u);
  EXPECT_TRUE(seen.has("CODETRANS", "dsize is too small"));
}
