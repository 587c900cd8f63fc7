// One conversion of the library as a filter, from standard input to standard output: for the test beside it, which
// holds the results against other people's tools.
#include <stdio.h>

#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

#include "vek_pal.h"

namespace {

using Conversion = std::function<int(const std::string& in, std::string& out)>;

unsigned size_of(const std::string& text) { return static_cast<unsigned>(text.size()); }
const unsigned char* bytes(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }
unsigned char* bytes(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

// The functions that give the length of what they wrote.
template <typename Function>
Conversion converts(Function function) {
  return [function](const std::string& in, std::string& out) {
    const int length = function(in, out);
    out.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return length < 0 ? 1 : 0;
  };
}

const std::map<std::string, Conversion> kConversions = {
    {"base64-encode", converts([](const std::string& in, std::string& out) {
       return vek_pal_base64_encode(bytes(out), size_of(out), bytes(in), size_of(in));
     })},
    {"base64-decode", converts([](const std::string& in, std::string& out) {
       return vek_pal_base64_decode(bytes(out), size_of(out), bytes(in), size_of(in));
     })},
    {"hex-encode", converts([](const std::string& in, std::string& out) {
       return vek_pal_str2hex(bytes(in), size_of(in), out.data(), size_of(out));
     })},
    {"hex-decode", converts([](const std::string& in, std::string& out) {
       return vek_pal_hex2str(in.data(), size_of(in), bytes(out), size_of(out));
     })},
    {"crc16",
     [](const std::string& in, std::string& out) {
       out.resize(static_cast<size_t>(
           snprintf(out.data(), out.size(), "%04x", vek_pal_crc16(bytes(in), static_cast<int>(in.size())))));
       return 0;
     }},
    {"septets-pack",
     [](const std::string& in, std::string& out) {
       unsigned length;
       const int code = vek_pal_7bit_encode(bytes(in), size_of(in), bytes(out), size_of(out), &length);
       out.resize(length);
       return code;
     }},
    {"septets-unpack",
     [](const std::string& in, std::string& out) {
       unsigned length;
       const int code = vek_pal_7bit_decode(bytes(in), size_of(in), bytes(out), size_of(out), &length);
       out.resize(length);
       return code;
     }},
};

}  // namespace

int main(int argc, char** argv) {
  const auto conversion = kConversions.find(argc == 2 ? argv[1] : "");
  if (conversion == kConversions.end()) {
    for (const auto& [name, ignored] : kConversions) std::cerr << name << '\n';
    return 2;
  }
  vek_pal_log_set_level(VEK_PAL_LOG_FATAL);
  const std::string in(std::istreambuf_iterator<char>(std::cin), {});
  std::string out(2 * in.size() + 16, '\0');
  const int code = conversion->second(in, out);
  std::cout << out;
  return code;
}
