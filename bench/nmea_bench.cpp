// NMEA sentences: checksum, type and fields, as a caller reads them. The peer takes a sentence byte by byte, which is
// the only door to its decoder; it reads RMC and GGA and passes over GSV.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "vek_pal.h"

// RTKLIB's solution reader. Its package has no header; these are the records of its version 2.4.3.
extern "C" {
typedef struct {
  time_t time;
  double sec;
} gtime_t;
typedef struct {
  int n, nmax, cyclic, start, end;
  gtime_t time;
  void* data;
  double rb[3];
  uint8_t buff[8192];
  int nb;
} solbuf_t;
void initsolbuf(solbuf_t* buffer, int cyclic, int size);
int inputsol(uint8_t byte, gtime_t from, gtime_t to, double interval, int quality, const void* options,
             solbuf_t* buffer);
// It asks its program for these.
int showmsg(const char*, ...) { return 0; }
void settspan(gtime_t, gtime_t) {}
void settime(gtime_t) {}
}

namespace {

constexpr char kGga[] = "$GNGGA,101215.00,4603.4149,N,01430.3471,E,1,12,0.8,298.1,M,46.5,M,,*74\r\n";
constexpr char kRmc[] = "$GNRMC,101215.00,A,4603.4149,N,01430.3471,E,0.0,,170524,3.9,E,A*02\r\n";
constexpr char kGsv[] = "$GPGSV,2,1,08,05,41,070,38,13,55,240,41,15,71,300,43,18,25,102,35*72\r\n";

// What rows with records write goes nowhere.
[[maybe_unused]] const bool g_quiet = dup2(open("/dev/null", O_WRONLY), STDERR_FILENO) >= 0;

// Every type that has a parser.
union Frame {
  minmea_sentence_rmc rmc;
  minmea_sentence_gga gga;
  minmea_sentence_gsa gsa;
  minmea_sentence_gll gll;
  minmea_sentence_gst gst;
  minmea_sentence_gsv gsv;
  minmea_sentence_vtg vtg;
  minmea_sentence_zda zda;
  minmea_sentence_gbs gbs;
};

int read_sentence(Frame& frame, const char* sentence) {
  switch (minmea_sentence_id(sentence, false)) {
    case MINMEA_SENTENCE_RMC:
      return minmea_parse_rmc(&frame.rmc, sentence);
    case MINMEA_SENTENCE_GGA:
      return minmea_parse_gga(&frame.gga, sentence);
    case MINMEA_SENTENCE_GSA:
      return minmea_parse_gsa(&frame.gsa, sentence);
    case MINMEA_SENTENCE_GLL:
      return minmea_parse_gll(&frame.gll, sentence);
    case MINMEA_SENTENCE_GST:
      return minmea_parse_gst(&frame.gst, sentence);
    case MINMEA_SENTENCE_GSV:
      return minmea_parse_gsv(&frame.gsv, sentence);
    case MINMEA_SENTENCE_VTG:
      return minmea_parse_vtg(&frame.vtg, sentence);
    case MINMEA_SENTENCE_ZDA:
      return minmea_parse_zda(&frame.zda, sentence);
    case MINMEA_SENTENCE_GBS:
      return minmea_parse_gbs(&frame.gbs, sentence);
    default:
      return 0;
  }
}

// Reading an RMC sentence writes a record of level error, whose cost is the log's and not the parser's: it stays out,
// but for one row that shows it.
void ours(benchmark::State& state, const char* sentence, unsigned level = VEK_PAL_LOG_FATAL) {
  vek_pal_log_set_level(level);
  Frame frame;
  for (auto _ : state) {
    benchmark::DoNotOptimize(sentence);
    if (!read_sentence(frame, sentence)) return state.SkipWithError("not read");
    benchmark::DoNotOptimize(frame);
  }
}

// One walk over the sentence that takes the checksum and makes a number with its scale of every field.
void floor(benchmark::State& state, const char* sentence) {
  struct {
    int value, scale;
  } fields[24];
  for (auto _ : state) {
    benchmark::DoNotOptimize(sentence);
    unsigned sum = 0;
    int count = 0, value = 0, scale = 0;
    const char* at = sentence + 1;
    for (; *at != '*'; at++) {
      const char c = *at;
      sum ^= static_cast<unsigned char>(c);
      if (c == ',') {
        fields[count++] = {value, scale};
        value = scale = 0;
      } else if (c == '.') {
        scale = 1;
      } else {
        value = value * 10 + (c - '0');
        scale *= 10;
      }
    }
    fields[count++] = {value, scale};
    const auto hex = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10); };
    if ((hex(at[1]) << 4 | hex(at[2])) != sum) return state.SkipWithError("checksum");
    benchmark::DoNotOptimize(fields);
    benchmark::DoNotOptimize(count);
  }
}

class Rtklib {
 public:
  Rtklib() { initsolbuf(&buffer_, 1, 16); }

  // 1 when the sentence completed a position, -1 when it was read otherwise.
  int read(const char* sentence) {
    int result = 0;
    for (const char* at = sentence; *at != '\0'; at++) {
      const int now = inputsol(static_cast<uint8_t>(*at), {}, {}, 0.0, 0, options_, &buffer_);
      if (now != 0) result = now;
    }
    return result;
  }

 private:
  solbuf_t buffer_{};
  int options_[256] = {3};  // the solution format is NMEA
};

void rtklib(benchmark::State& state, const char* sentence) {
  Rtklib peer;
  peer.read(kRmc);
  if (strcmp(sentence, kGga) == 0 && peer.read(sentence) != 1) return state.SkipWithError("not read");
  for (auto _ : state) benchmark::DoNotOptimize(peer.read(sentence));
}

// The receiver logs of the tests, sentence by sentence; comments and anything else that is no sentence left out.
const std::vector<std::string>& log_sentences() {
  static const auto sentences = [] {
    std::vector<std::string> all;
    for (const auto& file : std::filesystem::directory_iterator(VEK_TEST_DATA "/nmea")) {
      std::ifstream log(file.path());
      for (std::string line; std::getline(log, line);)
        if (minmea_sentence_id(line.c_str(), true) > MINMEA_UNKNOWN) all.push_back(line + '\n');
    }
    std::ranges::sort(all);  // directories have no order
    return all;
  }();
  return sentences;
}

void ours_logs(benchmark::State& state) {
  vek_pal_log_set_level(VEK_PAL_LOG_FATAL);
  const auto& sentences = log_sentences();
  Frame frame;
  for (auto _ : state)
    for (const std::string& sentence : sentences) benchmark::DoNotOptimize(read_sentence(frame, sentence.c_str()));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(sentences.size()));
}

void rtklib_logs(benchmark::State& state) {
  const auto& sentences = log_sentences();
  Rtklib peer;
  for (auto _ : state)
    for (const std::string& sentence : sentences) benchmark::DoNotOptimize(peer.read(sentence.c_str()));
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(sentences.size()));
}

BENCHMARK_CAPTURE(ours, nmea_gga, kGga)->Name("nmea_gga/ours");
BENCHMARK_CAPTURE(floor, nmea_gga, kGga)->Name("nmea_gga/floor");
BENCHMARK_CAPTURE(rtklib, nmea_gga, kGga)->Name("nmea_gga/peer:RTKLIB");
BENCHMARK_CAPTURE(ours, nmea_rmc, kRmc)->Name("nmea_rmc/ours");
BENCHMARK_CAPTURE(ours, nmea_rmc, kRmc, VEK_PAL_LOG_ERROR)->Name("nmea_rmc_with_its_record/ours");
BENCHMARK_CAPTURE(floor, nmea_rmc, kRmc)->Name("nmea_rmc/floor");
BENCHMARK_CAPTURE(rtklib, nmea_rmc, kRmc)->Name("nmea_rmc/peer:RTKLIB");
BENCHMARK_CAPTURE(ours, nmea_gsv, kGsv)->Name("nmea_gsv/ours");
BENCHMARK_CAPTURE(floor, nmea_gsv, kGsv)->Name("nmea_gsv/floor");
BENCHMARK(ours_logs)->Name("nmea_logs/ours");
BENCHMARK(rtklib_logs)->Name("nmea_logs/peer:RTKLIB");

}  // namespace
