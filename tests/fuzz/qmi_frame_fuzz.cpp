// The reader of the modem's byte stream, which comes in pieces of any size: it must find the frames that a look at the
// whole stream finds, and the same garbage. The input's first eight bytes are the sizes of the pieces, in turn.
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "exact.h"
#include "providers/qmi/codec/frame.h"
#include "providers/qmi/transport/link.h"

namespace {

using namespace vek::qmi;
using Bytes = std::span<const uint8_t>;

constexpr size_t kSizes = 8;

struct Stream {
  std::vector<Bytes> frames;
  bool ends_in_garbage = false;
};

Stream look_at(Bytes bytes) {
  Stream stream;
  while (!bytes.empty()) {
    const size_t size = bytes.size() < 3 ? 0xFFFF : 1u + bytes[1] + 256u * bytes[2];
    stream.ends_in_garbage = bytes[0] != 1 || size < 6;
    if (stream.ends_in_garbage || size > bytes.size()) break;
    stream.frames.push_back(bytes.first(size));
    bytes = bytes.subspan(size);
  }
  return stream;
}

// What can be taken apart is put together again, to the same bytes.
void take_apart(Bytes bytes) {
  const Exact exact(bytes.size(), bytes.data());
  const Bytes whole(exact.bytes(), bytes.size());
  require(cut_frame(whole) == static_cast<ptrdiff_t>(whole.size()));
  const auto frame = parse_frame(whole);
  if (!frame) return;
  const size_t head = frame_header_size(frame->header.service);
  require(frame->tlvs.data() == whole.data() + head && head + frame->tlvs.size() == whole.size());
  Exact again(whole.size(), whole.data());
  memset(again.bytes(), 0xEE, head);
  const Sender sender{whole[3]};  // which nobody looks at
  require(write_frame_header(again.bytes(), frame->header, sender, frame->tlvs.size()) == whole.size());
  require(memcmp(again.bytes(), whole.data(), whole.size()) == 0);
}

class Reader {
 public:
  Reader(int pipe, const Stream& expected) : expected_(expected) {
    char path[32];
    snprintf(path, sizeof path, "/proc/self/fd/%d", pipe);
    require(link_.open_device(path));
  }
  ~Reader() { link_.close(); }

  // Reads all that is there. False when the rest is garbage.
  bool read() {
    for (;;) {
      const Link::Progress progress = link_.receive();
      require(progress != Link::Progress::broken);
      bool garbage = false;
      for (;;) {
        const Bytes frame = link_.next_frame(garbage);
        if (frame.empty()) break;
        require(found_ < expected_.frames.size() && std::ranges::equal(frame, expected_.frames[found_]));
        take_apart(frame);
        found_++;
      }
      if (garbage) return false;
      if (progress == Link::Progress::would_block) return true;
    }
  }
  size_t found() const { return found_; }
  bool has_unfinished_frame() const { return link_.has_unfinished_frame(); }

 private:
  const Stream& expected_;
  Link link_;
  size_t found_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < kSizes) return 0;
  const Bytes sizes(data, kSizes);
  const Bytes stream(data + kSizes, size - kSizes);
  const Stream expected = look_at(stream);

  int ends[2];
  require(pipe2(ends, O_CLOEXEC) == 0);
  {
    Reader reader(ends[0], expected);
    bool frames = true;
    size_t at = 0;
    for (size_t i = 0; frames && at < stream.size(); i++) {
      const size_t piece = std::min<size_t>(stream.size() - at, 1u + sizes[i % kSizes] * 17u);
      require(write(ends[1], &stream[at], piece) == static_cast<ssize_t>(piece));
      at += piece;
      frames = reader.read();
    }
    require(reader.found() == expected.frames.size());
    require(frames == !expected.ends_in_garbage);
    size_t whole = 0;
    for (const Bytes& frame : expected.frames) whole += frame.size();
    require(reader.has_unfinished_frame() == (whole < stream.size()));
  }
  close(ends[0]);
  close(ends[1]);
  return 0;
}
