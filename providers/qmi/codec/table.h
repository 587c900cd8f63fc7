// The language in which messages are written down: rows that pair the members of a C record with TLVs on the wire. One
// codec walks them in both directions, for the client and for the simulated modem.
//
// To add a message: declare its record in services/<service>.h (32-bit enumerations; `x_valid`, a byte, before an
// optional `x`; `x_len`, 32 bits, before a list `x`; a response begins with `resp`), write its rows in
// services/<service>.cpp, and name them in that service's list of messages:
//
//   constexpr Field kPlmn[] = {FIELD(u16, nas_plmn, mcc), FIELD(u16, nas_plmn, mnc), FIELD(text8, nas_plmn,
//   description)}; constexpr Tlv kGetServingSystemResp[] = {
//       RESULT_TLV(nas_get_serving_system_resp),
//       MANDATORY_TLV(0x01, record(kServing), nas_get_serving_system_resp, serving_system),
//       OPTIONAL_TLV(0x12, record(kPlmn), nas_get_serving_system_resp, current_plmn),
//   };
//   constexpr Message kMessages[] = {
//       MESSAGE(response, 0x24, "GET_SERVING_SYSTEM", nas_get_serving_system_resp, kGetServingSystemResp),
//   };
//
// Offsets and sizes come from the compiler, and a row that does not fit its member does not compile. With VEK_QMI_NAMES
// (the simulated module's build) rows also carry names for readable traces; the library's flash does not.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <type_traits>

namespace vek::qmi {

struct Field;

enum class Kind : uint8_t {
  number,  // little-endian; the member may be wider
  bytes,   // as many as the member has
  text,    // the member ends with a zero byte, the wire's text does not
  list,    // numbers or records, counted
  record,
};

enum class Tolerance : uint8_t {
  none,
  wide_elements,  // a list's elements may also be 4 bytes wide
  missing_count,  // a count that is not the size of the rest is taken for data: the list is the whole value
};

// How a value stands on the wire.
struct Form {
  Kind kind;
  uint8_t width = 0;  // bytes of a number, or of each in a list
  bool is_signed = false;
  uint8_t count_width = 0;  // bytes of the count before a list or text; 0: text up to the end of its TLV
  Tolerance tolerance = Tolerance::none;
  uint8_t inner_count = 0;
  const Field* inner = nullptr;  // the members of a record, or of each in a list
};

// A member of a record and its form.
struct Field {
  const Field* inner;
  uint16_t offset;
  uint16_t size;          // of the whole member
  uint16_t stride;        // of one element
  uint16_t count_offset;  // of `x_len`
  Kind kind;
  uint8_t width;
  bool is_signed;
  uint8_t count_width;
  Tolerance tolerance;
  uint8_t inner_count;
#ifdef VEK_QMI_NAMES
  const char* name;
#endif

  constexpr std::span<const Field> members() const { return {inner, inner_count}; }
};

constexpr uint16_t kNowhere = 0xFFFF;

struct Tlv {
  Field value;
  uint16_t flag_offset;  // of `x_valid`; kNowhere: mandatory
  uint8_t id;
};

enum class MessageType : uint8_t { request, response, indication };

struct Message {
  const Tlv* rows;
  uint16_t id;
  uint16_t record_size;
  MessageType type;
  uint8_t row_count;
#ifdef VEK_QMI_NAMES
  const char* name;
#endif

  constexpr std::span<const Tlv> tlvs() const { return {rows, row_count}; }
};

// Forms, as the rows name them.
constexpr Form unsigned_number(uint8_t width) { return {.kind = Kind::number, .width = width}; }
constexpr Form signed_number(uint8_t width) { return {.kind = Kind::number, .width = width, .is_signed = true}; }
constexpr Form counted_text(uint8_t count_width) {
  return {.kind = Kind::text, .width = 1, .count_width = count_width};
}

constexpr Form counted_list(uint8_t count_width, const Form& element) {
  Form form = element;
  form.kind = Kind::list;
  form.count_width = count_width;
  return form;
}

template <size_t n>
constexpr Form record(const Field (&members)[n]) {
  return {.kind = Kind::record, .inner_count = n, .inner = members};
}

constexpr Form u8 = unsigned_number(1), u16 = unsigned_number(2), u32 = unsigned_number(4), u64 = unsigned_number(8);
constexpr Form i8 = signed_number(1), i16 = signed_number(2), i32 = signed_number(4);
constexpr Form f32 = u32;  // its bits, in a float
constexpr Form bytes = {.kind = Kind::bytes, .width = 1};
constexpr Form text = counted_text(0), text8 = counted_text(1), text16 = counted_text(2);

// list8(u8), list16(record(kSlot)): counted with one, two or four bytes.
constexpr Form list8(const Form& element) { return counted_list(1, element); }
constexpr Form list16(const Form& element) { return counted_list(2, element); }
constexpr Form list32(const Form& element) { return counted_list(4, element); }
constexpr Form tolerant(Form form, Tolerance tolerance) {
  form.tolerance = tolerance;
  return form;
}

struct Place {
  uint16_t offset, size, stride, count_offset;
  const char* name;
};

// Never defined: a table that reaches one of these calls does not compile, and the compiler shows which. The functions
// that call them are constexpr, which every table is too: with consteval ones clang 14 crashes on a table.
void a_number_is_wider_than_its_member();
void a_list_needs_its_count_in_x_len();
void a_record_is_smaller_than_its_members();
void a_message_reaches_past_its_record();

constexpr Field field(const Form& form, const Place& place) {
  const bool number = form.kind == Kind::number || (form.kind == Kind::list && form.inner == nullptr);
  const auto plain = [](unsigned size) { return size == 1 || size == 2 || size == 4 || size == 8; };
  if (number && (form.width > place.stride || !plain(form.width) || !plain(place.stride)))
    a_number_is_wider_than_its_member();
  if (form.kind == Kind::number && place.size != place.stride) a_number_is_wider_than_its_member();
  if (form.kind == Kind::text && place.stride != 1) a_number_is_wider_than_its_member();
  if (form.kind == Kind::list && place.count_offset == kNowhere) a_list_needs_its_count_in_x_len();
  for (unsigned i = 0; i < form.inner_count; i++)
    if (form.inner[i].offset + form.inner[i].size > place.stride) a_record_is_smaller_than_its_members();
  return {
      .inner = form.inner,
      .offset = place.offset,
      .size = place.size,
      .stride = place.stride,
      .count_offset = place.count_offset,
      .kind = form.kind,
      .width = form.width,
      .is_signed = form.is_signed,
      .count_width = form.count_width,
      .tolerance = form.tolerance,
      .inner_count = form.inner_count,
#ifdef VEK_QMI_NAMES
      .name = place.name,
#endif
  };
}

constexpr Message message(MessageType type, uint16_t id, [[maybe_unused]] const char* name, size_t record_size,
                          std::span<const Tlv> rows) {
  for (const Tlv& row : rows) {
    if (row.value.offset + row.value.size > record_size) a_message_reaches_past_its_record();
    if (row.flag_offset != kNowhere && row.flag_offset >= record_size) a_message_reaches_past_its_record();
  }
  // The codec remembers the rows that it has met in one 64-bit word.
  if (rows.size() > 64 || record_size > 0xFFFF) a_message_reaches_past_its_record();
  return {
      .rows = rows.data(),
      .id = id,
      .record_size = static_cast<uint16_t>(record_size),
      .type = type,
      .row_count = static_cast<uint8_t>(rows.size()),
#ifdef VEK_QMI_NAMES
      .name = name,
#endif
  };
}

}  // namespace vek::qmi

// A service: its number on the wire, the version of its interface and all its messages.
struct qmi_idl_service_object {
  const vek::qmi::Message* messages;
  uint8_t number;
  uint8_t message_count;
  uint8_t major;
#ifdef VEK_QMI_NAMES
  const char* name;
#endif

  // nullptr when the service has no such message.
  const vek::qmi::Message* find(vek::qmi::MessageType type, unsigned id) const {
    for (const vek::qmi::Message& message : std::span(messages, message_count))
      if (message.id == id && message.type == type) return &message;
    return nullptr;
  }
};

namespace vek::qmi {

template <size_t n>
constexpr qmi_idl_service_object service(uint8_t number, [[maybe_unused]] const char* name, uint8_t major,
                                         const Message (&messages)[n]) {
  return {
      .messages = messages,
      .number = number,
      .message_count = n,
      .major = major,
#ifdef VEK_QMI_NAMES
      .name = name,
#endif
  };
}

}  // namespace vek::qmi

// The macros of the tables. `form` is looked up in vek::qmi, so the tables stand in a namespace that uses it.
#define QMI_PLACE(type, member)                                                                   \
  []<typename R>() -> ::vek::qmi::Place {                                                         \
    using M = decltype(R::member);                                                                \
    ::vek::qmi::Place place{offsetof(R, member), sizeof(M), sizeof(std::remove_all_extents_t<M>), \
                            ::vek::qmi::kNowhere, #member};                                       \
    if constexpr (requires { &R::member##_len; }) {                                               \
      static_assert(sizeof(R::member##_len) == 4);                                                \
      place.count_offset = offsetof(R, member##_len);                                             \
    }                                                                                             \
    return place;                                                                                 \
  }.template operator()<type>()

#define FIELD(form, type, member) ::vek::qmi::field(form, QMI_PLACE(type, member))
#define MANDATORY_TLV(id, form, type, member) \
  ::vek::qmi::Tlv { ::vek::qmi::field(form, QMI_PLACE(type, member)), ::vek::qmi::kNowhere, id }
#define OPTIONAL_TLV(id, form, type, member) \
  ::vek::qmi::Tlv { ::vek::qmi::field(form, QMI_PLACE(type, member)), offsetof(type, member##_valid), id }
#define RESULT_TLV(type) MANDATORY_TLV(0x02, ::vek::qmi::record(::vek::qmi::kResult), type, resp)
#define MESSAGE(kind, id, name, type, rows) \
  ::vek::qmi::message(::vek::qmi::MessageType::kind, id, name, sizeof(type), rows)
#define EMPTY_REQUEST(id, name) ::vek::qmi::message(::vek::qmi::MessageType::request, id, name, 0, {})
