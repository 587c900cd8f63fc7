// Conversions on a page of random bytes, an SMS of 160 characters, and numbers.
#include <benchmark/benchmark.h>
#include <modp_b16.h>
#include <modp_b64.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <string.h>

#include <boost/crc.hpp>
#include <charconv>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "vek_pal.h"

// Of libgammu, which exports them and has no header for them.
extern "C" int GSM_PackSevenBitsToEight(size_t offset, const unsigned char* input, unsigned char* output,
                                        size_t length);
extern "C" int GSM_UnpackEightBitsToSeven(size_t offset, size_t in_length, size_t out_length,
                                          const unsigned char* input, unsigned char* output);

namespace {

constexpr unsigned kPage = 1024;
constexpr unsigned kSeptets = 160;
constexpr unsigned kOctets = 140;

const std::vector<unsigned char> kBytes = [] {
  std::vector<unsigned char> bytes(kPage);
  std::minstd_rand random(1);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() >> 8);
  return bytes;
}();

const std::vector<unsigned char> kText = [] {
  std::vector<unsigned char> text(kSeptets);
  for (unsigned i = 0; i < kSeptets; i++) text[i] = kBytes[i] & 0x7F;
  return text;
}();

template <typename Convert>
std::vector<unsigned char> converted(Convert convert) {
  std::vector<unsigned char> out(4 * kPage);
  out.resize(static_cast<size_t>(convert(out.data())));
  return out;
}
const auto kBase64 =
    converted([](unsigned char* out) { return vek_pal_base64_encode(out, 4 * kPage, kBytes.data(), kPage); });
const auto kHex = converted(
    [](unsigned char* out) { return vek_pal_str2hex(kBytes.data(), kPage, reinterpret_cast<char*>(out), 4 * kPage); });
const auto kPacked = converted([](unsigned char* out) {
  unsigned length;
  vek_pal_7bit_encode(kText.data(), kSeptets, out, kOctets, &length);
  return length;
});

unsigned char g_out[4 * kPage];
char* const g_text = reinterpret_cast<char*>(g_out);
const char* chars(const std::vector<unsigned char>& bytes) { return reinterpret_cast<const char*>(bytes.data()); }

// Runs `body` and keeps what it writes and returns.
template <typename Body>
void row(const char* name, Body body) {
  benchmark::RegisterBenchmark(name, [body](benchmark::State& state) {
    vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
    for (auto _ : state) {
      benchmark::DoNotOptimize(body());
      benchmark::ClobberMemory();
    }
  });
}

[[maybe_unused]] const int g_rows = [] {
  row("base64_encode_1k/ours", [] { return vek_pal_base64_encode(g_out, sizeof g_out, kBytes.data(), kPage); });
  row("base64_encode_1k/peer:modp_b64", [] { return modp_b64_encode(g_text, chars(kBytes), kPage); });
  row("base64_encode_1k/peer:OpenSSL", [] { return EVP_EncodeBlock(g_out, kBytes.data(), kPage); });
  row("base64_encode_1k/floor", [] { return memcpy(g_out, kBase64.data(), kBase64.size()); });

  const auto base64_length = static_cast<unsigned>(kBase64.size());
  row("base64_decode_1k/ours",
      [=] { return vek_pal_base64_decode(g_out, sizeof g_out, kBase64.data(), base64_length); });
  row("base64_decode_1k/peer:modp_b64", [=] { return modp_b64_decode(g_text, chars(kBase64), base64_length); });
  row("base64_decode_1k/peer:OpenSSL",
      [=] { return EVP_DecodeBlock(g_out, kBase64.data(), static_cast<int>(base64_length)); });
  row("base64_decode_1k/floor", [] { return memcpy(g_out, kBytes.data(), kPage); });

  row("hex_encode_1k/ours", [] { return vek_pal_str2hex(kBytes.data(), kPage, g_text, sizeof g_out); });
  row("hex_encode_1k/peer:modp_b16", [] { return modp_b16_encode(g_text, chars(kBytes), kPage); });
  row("hex_encode_1k/floor", [] { return memcpy(g_out, kHex.data(), kHex.size()); });
  row("hex_decode_1k/ours", [] { return vek_pal_hex2str(chars(kHex), 2 * kPage, g_out, sizeof g_out); });
  row("hex_decode_1k/peer:modp_b16", [] { return modp_b16_decode(g_text, chars(kHex), 2 * kPage); });
  row("hex_decode_1k/floor", [] { return memcpy(g_out, kBytes.data(), kPage); });

  const auto boost_crc = [](unsigned length) {
    return [length] {
      boost::crc_optimal<16, 0x1021, 0, 0, false, false> crc;
      crc.process_bytes(kBytes.data(), length);
      return crc.checksum();
    };
  };
  const auto sum = [](unsigned length) {
    return [length] {
      uint64_t all = 0;
      for (unsigned at = 0; at < length; at += sizeof all) {
        uint64_t word;
        memcpy(&word, kBytes.data() + at, sizeof word);
        all ^= word;
      }
      return all;
    };
  };
  row("crc16_64/ours", [] { return vek_pal_crc16(kBytes.data(), 64); });
  row("crc16_64/peer:boost", boost_crc(64));
  row("crc16_64/floor", sum(64));
  row("crc16_1k/ours", [] { return vek_pal_crc16(kBytes.data(), kPage); });
  row("crc16_1k/peer:boost", boost_crc(kPage));
  row("crc16_1k/floor", sum(kPage));

  row("septets_unpack_140/ours", [] {
    unsigned length;
    return vek_pal_7bit_decode(kPacked.data(), kOctets, g_out, kSeptets, &length);
  });
  row("septets_unpack_140/peer:gammu",
      [] { return GSM_UnpackEightBitsToSeven(0, kOctets, kSeptets, kPacked.data(), g_out); });
  row("septets_unpack_140/floor", [] { return memcpy(g_out, kText.data(), kSeptets); });
  row("septets_pack_160/ours", [] {
    unsigned length;
    return vek_pal_7bit_encode(kText.data(), kSeptets, g_out, kOctets, &length);
  });
  row("septets_pack_160/peer:gammu", [] { return GSM_PackSevenBitsToEight(0, kText.data(), g_out, kSeptets); });
  row("septets_pack_160/floor", [] { return memcpy(g_out, kPacked.data(), kOctets); });

  row("text_to_number/ours", [] {
    int value;
    return vek_pal_strtoint32("-2147483648", &value);
  });
  row("text_to_number/floor", [] { return strtol("-2147483648", nullptr, 10); });
  row("number_to_text/ours", [] { return vek_pal_itoa(-2147483647, g_text, 10); });
  row("number_to_text/floor", [] { return std::to_chars(g_text, g_text + 12, -2147483647).ptr; });
  return 0;
}();

}  // namespace
