// Values as data: by the rows of the message tables, and by the layouts of the catalogue.
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>

#include "modem/catalogue.h"
#include "modem/wire.h"

namespace simulated::catalogue {
namespace {

using vek::qmi::Field;
using vek::qmi::Kind;
using vek::qmi::Tolerance;

std::string hex(std::span<const uint8_t> bytes) { return fmt::format("{:02x}", fmt::join(bytes, "")); }

uint64_t unsigned_number(ByteReader& reader, size_t width) {
  uint64_t value = 0;
  const auto bytes = reader.take(width);
  for (size_t i = width; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

OrderedJson number(ByteReader& reader, size_t width, bool is_signed) {
  const uint64_t value = unsigned_number(reader, width);
  if (!is_signed) return value;
  const unsigned shift = static_cast<unsigned>(64 - 8 * width);
  return static_cast<int64_t>(value << shift) >> shift;
}

OrderedJson read_field(const Field& field, ByteReader& reader);

OrderedJson read_record(std::span<const Field> members, ByteReader& reader) {
  OrderedJson json = OrderedJson::object();
  for (const Field& member : members) json[member.name] = read_field(member, reader);
  return json;
}

OrderedJson read_list(const Field& field, ByteReader& reader) {
  const auto whole = reader.rest();
  uint64_t count = unsigned_number(reader, field.count_width);
  size_t width = field.width;
  if (field.tolerance == Tolerance::missing_count && count != reader.rest().size())
    return hex(reader.take(whole.size()));
  if (field.tolerance == Tolerance::wide_elements && count != 0) width = reader.rest().size() / count;
  if (field.inner == nullptr && field.width == 1 && field.tolerance != Tolerance::wide_elements)
    return hex(reader.take(count));
  OrderedJson json = OrderedJson::array();
  for (; count != 0; --count) {
    json.push_back(field.inner != nullptr ? read_record(field.members(), reader)
                                          : number(reader, width, field.is_signed));
  }
  return json;
}

OrderedJson read_field(const Field& field, ByteReader& reader) {
  switch (field.kind) {
    case Kind::number:
      return number(reader, field.width, field.is_signed);
    case Kind::bytes:
      return hex(reader.take(field.size));
    case Kind::text:
      return reader.text(field.count_width != 0 ? unsigned_number(reader, field.count_width) : reader.rest().size());
    case Kind::list:
      return read_list(field, reader);
    case Kind::record:
      return read_record(field.members(), reader);
  }
  return nullptr;
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(' ');
  return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

OrderedJson read_layout(std::string_view layout, ByteReader& reader);

// One form, such as "u16" or "a8<u8 type, s8 name>".
OrderedJson read_form(std::string_view form, ByteReader& reader) {
  if (form.ends_with('>')) {
    const size_t open = form.find('<');
    const size_t count_width = form.starts_with("a8") ? 1 : form.starts_with("a16") ? 2 : 4;
    OrderedJson json = OrderedJson::array();
    for (uint64_t count = unsigned_number(reader, count_width); count != 0; --count) {
      json.push_back(read_layout(form.substr(open + 1, form.size() - open - 2), reader));
    }
    return json;
  }
  if (form == "text") return reader.text(reader.rest().size());
  if (form == "hex") return hex(reader.take(reader.rest().size()));
  if (form == "f32") return std::bit_cast<float>(reader.u32());
  if (form == "ip6") return hex(reader.take(16));
  if (form == "ip4") {
    const uint32_t address = reader.u32();
    return fmt::format("{}.{}.{}.{}", address >> 24, address >> 16 & 0xFF, address >> 8 & 0xFF, address & 0xFF);
  }
  unsigned size = 0;
  std::from_chars(form.data() + 1, form.data() + form.size(), size);
  switch (form.front()) {
    case 'u':
    case 'i':
      return number(reader, size / 8, form.front() == 'i');
    case 's':
      return reader.text(unsigned_number(reader, size / 8));
    case 'b':
      return hex(reader.take(unsigned_number(reader, size / 8)));
    case 'c':
      return reader.text(size);
  }
  throw std::logic_error(fmt::format("the catalogue has a form that is none: {}", form));
}

// The values of a layout, split at the commas that stand outside <...>.
OrderedJson read_layout(std::string_view layout, ByteReader& reader) {
  OrderedJson json = OrderedJson::object();
  while (!layout.empty()) {
    int depth = 0;
    size_t end = 0;
    for (; end < layout.size() && (layout[end] != ',' || depth != 0); ++end)
      depth += layout[end] == '<' ? 1 : layout[end] == '>' ? -1 : 0;
    const std::string_view item = trimmed(layout.substr(0, end));
    layout.remove_prefix(std::min(end + 1, layout.size()));
    const size_t name = item.ends_with('>') ? item.npos : item.rfind(' ');
    if (name == item.npos) return read_form(item, reader);
    json[std::string(item.substr(name + 1))] = read_form(trimmed(item.substr(0, name)), reader);
  }
  return json;
}

}  // namespace

OrderedJson decode(const Field& field, std::span<const uint8_t> value) {
  ByteReader reader(value);
  return read_field(field, reader);
}

OrderedJson decode(std::string_view layout, std::span<const uint8_t> value) {
  ByteReader reader(value);
  return read_layout(layout, reader);
}

}  // namespace simulated::catalogue
