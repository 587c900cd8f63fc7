// Base64: what decodes is what a plain decoder makes of the text without blanks and line ends, and encodes back to
// itself.
#include <algorithm>
#include <string>

#include "tests/fuzz/exact.h"
#include "vek_pal/encoding.h"

namespace {

std::string plainly_decoded(const std::string& text) {
  static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  unsigned bits = 0, count = 0;
  for (const char character : text.substr(0, text.size() / 4 * 4)) {
    if (character == '=') break;
    const size_t value = kAlphabet.find(character);
    require(value != std::string::npos);
    bits = bits << 6 | static_cast<unsigned>(value);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    out.push_back(static_cast<char>(bits >> count));
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto length = static_cast<unsigned>(size);
  const Exact in(size, data);
  const unsigned room = length / 4 * 3;
  const Exact out(room + 1);
  const int decoded = vek_pal_base64_decode(out.bytes(), room, in.bytes(), length);
  if (decoded <= 0) return 0;

  require(decoded <= static_cast<int>(room) && out.bytes()[decoded] == 0);
  std::string text(in.text(), size);
  std::erase_if(text, [](char character) { return strchr(" \r\n", character) != nullptr; });
  const std::string expected = plainly_decoded(text);
  require(expected.size() <= static_cast<size_t>(decoded));
  require(memcmp(out.bytes(), expected.data(), expected.size()) == 0);
  for (size_t i = expected.size(); i < static_cast<size_t>(decoded); i++) require(out.bytes()[i] == 0);
  if (text.size() != size) return 0;

  require(expected.size() == static_cast<size_t>(decoded));
  const Exact again(size + 1);
  require(vek_pal_base64_encode(again.bytes(), length, out.bytes(), static_cast<unsigned>(decoded)) ==
          static_cast<int>(length));
  // The last character before the padding may carry bits that nothing uses.
  const size_t exact = text.find('=') == std::string::npos ? size : text.find('=') - 1;
  require(memcmp(again.bytes(), in.bytes(), exact) == 0);
  return 0;
}
