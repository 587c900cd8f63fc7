// A whole GSM message from its octets to sender, time and text: 160 septets, and 70 characters of UCS2.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <gammu.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string_view>
#include <vector>

#include "vek_pal.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes bytes(std::string_view hex) {
  Bytes out;
  for (; hex.size() >= 2; hex.remove_prefix(2))
    out.push_back(static_cast<uint8_t>(std::stoul(std::string(hex.substr(0, 2)), nullptr, 16)));
  return out;
}

const Bytes kSeptets = bytes(
    "0791447700090000000C91447700091032000042507101035100A0547419D47E93EBEC32485E86BFE5F439888E0ED341747419240F93D36F50"
    "7A0E"
    "7ABB59203ABA0C9A269BA0B41B3467BFE920FAFD0D4ACF41F272989C0785DD64101D5D0691C3F430685E9ECFD36F37283D07D5E12ED0347D76"
    "87D9"
    "A016EE06220BDB2CD0B8CC668360F85850269C0D59A0984C37A3E96A3650953A74819C653C1D242FC3DF72BA0E1403A143");
const Bytes kUcs2 = [] {
  Bytes message = bytes("0791447700090000000C914477000910320008426040506080008C");
  for (int i = 0; i < 70; i++) message.insert(message.end(), {0x04, static_cast<uint8_t>(0x10 + i % 64)});
  return message;
}();

void quiet() {
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(null, STDERR_FILENO);
  close(null);
}

void ours(benchmark::State& state, const Bytes& message) {
  quiet();
  vek_pal_sms_decoded_t out;
  for (auto _ : state) {
    if (DecodeGsmPdu(message.data(), static_cast<uint32_t>(message.size()), &out) != 0) state.SkipWithError("refused");
    benchmark::DoNotOptimize(out);
  }
}

void gammu(benchmark::State& state, const Bytes& message) {
  GSM_SMSMessage out;
  for (auto _ : state) {
    size_t end = 0;
    if (GSM_DecodePDUFrame(nullptr, &out, message.data(), message.size(), &end, TRUE) != ERR_NONE)
      state.SkipWithError("refused");
    benchmark::DoNotOptimize(out);
  }
}

// Text by text: septet for septet through no alphabet at all, or one copy.
void floor_7bit(benchmark::State& state) {
  const uint8_t* const packed = kSeptets.data() + kSeptets.size() - 140;
  uint8_t text[161];
  for (auto _ : state) {
    for (unsigned i = 0; i < 160; i++) {
      const unsigned bit = i * 7;
      const unsigned high = bit % 8 > 1 ? packed[bit / 8 + 1] : 0u;
      text[i] = static_cast<uint8_t>((packed[bit / 8] | high << 8) >> bit % 8 & 0x7F);
    }
    benchmark::DoNotOptimize(text);
  }
}

void floor_ucs2(benchmark::State& state) {
  vek_pal_sms_decoded_t out;
  for (auto _ : state) {
    memset(&out, 0, sizeof out);
    memcpy(out.text, kUcs2.data() + kUcs2.size() - 140, 140);
    benchmark::DoNotOptimize(out);
  }
}

BENCHMARK_CAPTURE(ours, 7bit, kSeptets)->Name("gsm_pdu_7bit/ours");
BENCHMARK_CAPTURE(gammu, 7bit, kSeptets)->Name("gsm_pdu_7bit/peer:gammu");
BENCHMARK(floor_7bit)->Name("gsm_pdu_7bit/floor");
BENCHMARK_CAPTURE(ours, ucs2, kUcs2)->Name("gsm_pdu_ucs2/ours");
BENCHMARK_CAPTURE(gammu, ucs2, kUcs2)->Name("gsm_pdu_ucs2/peer:gammu");
BENCHMARK(floor_ucs2)->Name("gsm_pdu_ucs2/floor");

}  // namespace
