#include "providers/qmi/codec/codec.h"

#include <string.h>

#include <algorithm>
#include <bit>

namespace vek::qmi {
namespace {

// The wire's byte order is the machine's, so numbers are stored alike in records and in TLVs: 1, 2, 4 or 8 bytes, which
// need not be aligned.
static_assert(std::endian::native == std::endian::little);

uint64_t load(const uint8_t* from, size_t size) {
  switch (size) {
    case 1:
      return *from;
    case 2: {
      uint16_t value;
      memcpy(&value, from, sizeof value);
      return value;
    }
    case 4: {
      uint32_t value;
      memcpy(&value, from, sizeof value);
      return value;
    }
    default: {
      uint64_t value;
      memcpy(&value, from, sizeof value);
      return value;
    }
  }
}

void store(uint8_t* to, size_t size, uint64_t value) {
  switch (size) {
    case 1:
      *to = static_cast<uint8_t>(value);
      break;
    case 2: {
      const auto narrow = static_cast<uint16_t>(value);
      memcpy(to, &narrow, sizeof narrow);
      break;
    }
    case 4: {
      const auto narrow = static_cast<uint32_t>(value);
      memcpy(to, &narrow, sizeof narrow);
      break;
    }
    default:
      memcpy(to, &value, sizeof value);
  }
}

// What a Reader hands out lies inside its bytes; what would not is refused, and the reader is spent.
class Reader {
 public:
  explicit Reader(std::span<const uint8_t> bytes) : at_(bytes.data()), end_(bytes.data() + bytes.size()) {}

  size_t left() const { return static_cast<size_t>(end_ - at_); }

  const uint8_t* take(size_t size) {
    if (size > left()) {
      at_ = end_;
      return nullptr;
    }
    const uint8_t* const taken = at_;
    at_ += size;
    return taken;
  }

  bool number(size_t width, bool is_signed, uint64_t& value) {
    const uint8_t* const from = take(width);
    if (from == nullptr) return false;
    value = load(from, width);
    if (is_signed && width < 8 && (from[width - 1] & 0x80) != 0) value |= ~uint64_t{0} << (8 * width);
    return true;
  }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

class Writer {
 public:
  explicit Writer(std::span<uint8_t> room) : start_(room.data()), at_(start_), end_(start_ + room.size()) {}

  size_t size() const { return static_cast<size_t>(at_ - start_); }

  uint8_t* take(size_t size) {
    if (size > static_cast<size_t>(end_ - at_)) return nullptr;
    uint8_t* const taken = at_;
    at_ += size;
    return taken;
  }

  bool number(size_t width, uint64_t value) {
    uint8_t* const to = take(width);
    if (to == nullptr) return false;
    store(to, width, value);
    return true;
  }

 private:
  uint8_t* start_;
  uint8_t* at_;
  uint8_t* end_;
};

bool decode_members(std::span<const Field> members, Reader& in, uint8_t* record);
bool encode_members(std::span<const Field> members, const uint8_t* record, Writer& out);

bool decode_text(const Field& field, Reader& in, uint8_t* member) {
  uint64_t length = in.left();
  if (field.count_width != 0 && !in.number(field.count_width, false, length)) return false;
  const uint8_t* const from = length <= in.left() ? in.take(static_cast<size_t>(length)) : nullptr;
  if (from == nullptr) return false;
  // A zero byte ends the text for all who read the member: what stands behind one would only be there by chance.
  const size_t kept =
      strnlen(reinterpret_cast<const char*>(from), std::min<size_t>(static_cast<size_t>(length), field.size - 1u));
  memcpy(member, from, kept);
  member[kept] = 0;
  return true;
}

bool decode_list(const Field& field, Reader& in, uint8_t* record) {
  const Reader whole = in;
  uint64_t count = 0;
  bool counted = in.number(field.count_width, false, count);
  size_t width = field.width;
  if (field.tolerance == Tolerance::missing_count && (!counted || count != in.left())) {
    in = whole;
    count = std::min<size_t>(in.left(), field.size);
    counted = true;
  }
  if (field.tolerance == Tolerance::wide_elements && counted && count != 0 && in.left() == count * 4) width = 4;
  if (!counted || count > field.size / field.stride) return false;

  uint8_t* member = record + field.offset;
  for (size_t i = 0; i < count; i++, member += field.stride) {
    if (field.inner != nullptr) {
      if (!decode_members(field.members(), in, member)) return false;
    } else {
      uint64_t value;
      if (!in.number(width, field.is_signed, value)) return false;
      if (width > field.width && value >> (8 * field.width) != 0) return false;
      store(member, field.stride, value);
    }
  }
  store(record + field.count_offset, 4, count);
  return true;
}

bool decode_other(const Field& field, Reader& in, uint8_t* record) {
  uint8_t* const member = record + field.offset;
  switch (field.kind) {
    case Kind::bytes: {
      const uint8_t* const from = in.take(field.size);
      if (from != nullptr) memcpy(member, from, field.size);
      return from != nullptr;
    }
    case Kind::text:
      return decode_text(field, in, member);
    case Kind::list:
      return decode_list(field, in, record);
    case Kind::record:
      return decode_members(field.members(), in, member);
    case Kind::number:
      break;
  }
  return false;
}

// Most fields are numbers, and cost no call.
inline bool decode_field(const Field& field, Reader& in, uint8_t* record) {
  if (field.kind != Kind::number) return decode_other(field, in, record);
  uint64_t value;
  if (!in.number(field.width, field.is_signed, value)) return false;
  store(record + field.offset, field.stride, value);
  return true;
}

bool decode_members(std::span<const Field> members, Reader& in, uint8_t* record) {
  for (const Field& member : members)
    if (!decode_field(member, in, record)) return false;
  return true;
}

bool encode_field(const Field& field, const uint8_t* record, Writer& out) {
  const uint8_t* const member = record + field.offset;
  switch (field.kind) {
    case Kind::number:
      return out.number(field.width, load(member, field.stride));
    case Kind::bytes: {
      uint8_t* const to = out.take(field.size);
      if (to != nullptr) memcpy(to, member, field.size);
      return to != nullptr;
    }
    case Kind::text: {
      const size_t length = strnlen(reinterpret_cast<const char*>(member), field.size);
      if (field.count_width == 1 && length > 0xFF) return false;
      if (field.count_width != 0 && !out.number(field.count_width, length)) return false;
      uint8_t* const to = out.take(length);
      if (to != nullptr) memcpy(to, member, length);
      return to != nullptr;
    }
    case Kind::list: {
      const uint64_t count = load(record + field.count_offset, 4);
      if (count > field.size / field.stride || (field.count_width == 1 && count > 0xFF)) return false;
      if (!out.number(field.count_width, count)) return false;
      for (size_t i = 0; i < count; i++) {
        const uint8_t* const element = member + i * field.stride;
        if (field.inner != nullptr ? !encode_members(field.members(), element, out)
                                   : !out.number(field.width, load(element, field.stride)))
          return false;
      }
      return true;
    }
    case Kind::record:
      return encode_members(field.members(), member, out);
  }
  return false;
}

bool encode_members(std::span<const Field> members, const uint8_t* record, Writer& out) {
  for (const Field& member : members)
    if (!encode_field(member, record, out)) return false;
  return true;
}

// Takes back what a TLV that turned out to be no good has left in the record.
void clear(const Field& field, uint8_t* record) {
  memset(record + field.offset, 0, field.size);
  if (field.kind == Kind::list) store(record + field.count_offset, 4, 0);
}

// A response begins with its result; every response record has it first.
bool is_failure(const Message& message, const uint8_t* record) {
  return message.type == MessageType::response && message.record_size >= 4 && load(record, 4) != 0;
}

}  // namespace

Decoded decode(const Message& message, std::span<const uint8_t> tlvs, void* record, size_t record_size) {
  if (record_size < message.record_size) return Decoded::record_too_small;
  const auto target = static_cast<uint8_t*>(record);
  if (record_size != 0) memset(target, 0, record_size);

  uint64_t met = 0;
  bool malformed = false;
  Reader in(tlvs);
  while (in.left() != 0) {
    const uint8_t* const head = in.take(3);
    if (head == nullptr) return Decoded::malformed;
    const size_t size = static_cast<size_t>(head[1] | head[2] << 8);
    const uint8_t* const value = in.take(size);
    if (value == nullptr) return Decoded::malformed;

    for (size_t i = 0; i < message.row_count; i++) {
      const Tlv& row = message.rows[i];
      if (row.id != head[0]) continue;
      const uint64_t bit = uint64_t{1} << i;
      if ((met & bit) != 0) break;
      met |= bit;
      Reader inside({value, size});
      if (decode_field(row.value, inside, target)) {
        if (row.flag_offset != kNowhere) target[row.flag_offset] = 1;
      } else {
        clear(row.value, target);
        malformed |= row.flag_offset == kNowhere;
      }
      break;
    }
  }
  if (malformed) return Decoded::malformed;

  const bool failure = is_failure(message, target);
  for (size_t i = 0; i < message.row_count; i++) {
    if (message.rows[i].flag_offset != kNowhere || (met >> i & 1) != 0) continue;
    if (!failure || message.rows[i].value.offset == 0) return Decoded::missing;
  }
  return Decoded::ok;
}

std::optional<size_t> encode(const Message& message, const void* record, size_t record_size, std::span<uint8_t> out) {
  if (record_size < message.record_size) return std::nullopt;
  const auto source = static_cast<const uint8_t*>(record);
  const bool failure = message.record_size != 0 && is_failure(message, source);
  Writer writer(out);
  for (const Tlv& row : message.tlvs()) {
    if (row.flag_offset != kNowhere ? source[row.flag_offset] == 0 : failure && row.value.offset != 0) continue;
    uint8_t* const head = writer.take(3);
    if (head == nullptr) return std::nullopt;
    const size_t before = writer.size();
    if (!encode_field(row.value, source, writer)) return std::nullopt;
    const size_t size = writer.size() - before;
    if (size > 0xFFFF) return std::nullopt;
    head[0] = row.id;
    head[1] = static_cast<uint8_t>(size);
    head[2] = static_cast<uint8_t>(size >> 8);
  }
  return writer.size();
}

}  // namespace vek::qmi
