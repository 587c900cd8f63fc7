// Frames as modems and other clients put them on the wire, and the records that they mean, in both directions.
#include "providers/qmi/codec/codec.h"

#include <gtest/gtest.h>
#include <string.h>

#include <memory>

#include "fake_modem.h"
#include "providers/qmi/services/ctl.h"
#include "providers/qmi/services/dms.h"
#include "providers/qmi/services/pdc.h"
#include "providers/qmi/transport/link.h"

namespace {

using namespace vek::qmi;

const qmi_idl_service_object& service_of(uint8_t number) {
  switch (number) {
    case 0x00:
      return *ctl_get_service_object();
    case 0x01:
      return *wds_get_service_object_internal_v01(1, 0, 6);
    case 0x02:
      return *dms_get_service_object_internal_v01(1, 0, 6);
    case 0x03:
      return *nas_get_service_object_internal_v01(1, 0, 6);
    case 0x05:
      return *wms_get_service_object_internal_v01(1, 35, 6);
    case 0x0B:
      return *uim_get_service_object_internal_v01(1, 0, 6);
    default:
      return *pdc_get_service_object_internal_v01(1, 0, 6);
  }
}

// Takes a frame apart, fills `record` and builds the same frame again: what was read must be what is written.
template <typename Record>
void read(const Bytes& bytes, Record& record, const Bytes* written = nullptr) {
  ASSERT_EQ(cut_frame(bytes), static_cast<ptrdiff_t>(bytes.size()));
  const auto frame = parse_frame(bytes);
  ASSERT_TRUE(frame);
  const Message* const message = service_of(frame->header.service).find(frame->header.type, frame->header.message_id);
  ASSERT_NE(message, nullptr);
  ASSERT_EQ(decode(*message, frame->tlvs, &record, sizeof record), Decoded::ok);

  Bytes again(kFrameHeaderMax + 4096);
  const size_t head = frame_header_size(frame->header.service);
  const auto size = encode(*message, &record, sizeof record, std::span(again).subspan(head));
  ASSERT_TRUE(size);
  const Sender sender = frame->header.type == MessageType::request ? Sender::client : Sender::modem;
  again.resize(write_frame_header(again.data(), frame->header, sender, *size));
  EXPECT_EQ(again, written != nullptr ? *written : bytes);
}

struct Loose {  // members of every form, to bend
  qmi_response_type resp;
  uint32_t small_len;
  uint16_t small[2];
  uint8_t word_valid;
  uint32_t word;
  uint8_t name_valid;
  char name[4];
  uint8_t slots_valid;
  uint32_t slots_len;
  uint8_t slots[3];
};
constexpr Tlv kLooseResp[] = {
    RESULT_TLV(Loose),
    MANDATORY_TLV(0x01, list8(u16), Loose, small),
    OPTIONAL_TLV(0x10, u16, Loose, word),
    OPTIONAL_TLV(0x11, text8, Loose, name),
    OPTIONAL_TLV(0x12, tolerant(list8(u8), Tolerance::wide_elements), Loose, slots),
};
constexpr Message kLoose = MESSAGE(response, 1, "LOOSE", Loose, kLooseResp);

Decoded decode_loose(const char* tlvs, Loose& record) {
  const Bytes given = hex(tlvs);
  // Exactly as much memory as there are bytes, for the sanitizer to see a step too far.
  const auto exact = std::make_unique<uint8_t[]>(given.size());
  std::copy(given.begin(), given.end(), exact.get());
  return decode(kLoose, {exact.get(), given.size()}, &record, sizeof record);
}

}  // namespace

TEST(QmiCodec, ReadsAndWritesRecordedFrames) {
  ctl_internal_proxy_open_req open;
  read(hex("01 1b00 00 00 00 00 01 00ff 1000 01 0d00 2f6465762f6364632d77646d30"), open);
  EXPECT_STREQ(open.device_path, "/dev/cdc-wdm0");
  qmi_result_resp result;
  read(hex("01 1200 80 00 00 01 01 00ff 0700 02 0400 0000 0000"), result);
  ctl_allocate_cid_req allocate;
  read(hex("01 0f00 00 00 00 00 01 2200 0400 01 0100 0b"), allocate);
  EXPECT_EQ(allocate.service, 0x0B);
  ctl_allocate_cid_resp allocated;
  read(hex("01 1700 80 00 00 01 01 2200 0c00 02 0400 0000 0000 01 0200 0b 01"), allocated);
  EXPECT_EQ(allocated.allocation.cid, 1);
  ctl_release_cid_req release;
  read(hex("01 1000 00 00 00 00 02 2300 0500 01 0200 0b 01"), release);
  EXPECT_EQ(release.release.service, 0x0B);
  qmi_result_resp none;
  read(hex("01 0b00 00 00 00 00 01 2700 0000"), none);

  dms_get_device_serial_numbers_resp numbers;
  read(hex("01 3f00 80 02 01 02 0100 2500 3300 02 0400 0000 0000 10 0100 30 11 0f00 333539303732303631323334353637"
           "12 0e00 3335393037323036313233343536 13 0200 3032"),
       numbers);
  EXPECT_STREQ(numbers.esn, "0");
  EXPECT_STREQ(numbers.imei, "359072061234567");
  EXPECT_STREQ(numbers.meid, "35907206123456");
  EXPECT_STREQ(numbers.imeisv_svn, "02");
  dms_get_model_resp model;
  read(hex("01 1f00 80 02 01 02 b900 7900 1300 02 0400 0000 0000 01 0900 05000000 5344583132"), model);
  EXPECT_EQ(std::string(model.model, model.model_len), "SDX12");
  pdc_refresh_ind refresh;
  read(hex("01 1a00 80 24 01 04 0000 2f00 0e00 01 0400 01000000 11 0400 00000000"), refresh);
  EXPECT_EQ(refresh.refresh_event, 1u);
  EXPECT_FALSE(refresh.subscription_id_valid);
  EXPECT_TRUE(refresh.slot_id_valid);
}

TEST(QmiCodec, TakesAModelWithoutItsLengthForText) {
  const Bytes counted = hex("01 1f00 80 02 01 02 0100 7900 1300 02 0400 0000 0000 01 0900 05000000 5344583132");
  dms_get_model_resp model;
  read(hex("01 1b00 80 02 01 02 0100 7900 0f00 02 0400 0000 0000 01 0500 5344583132"), model, &counted);
  EXPECT_EQ(std::string(model.model, model.model_len), "SDX12");
}

TEST(QmiCodec, JudgesTlvsByTheirTable) {
  const std::string ok = "02 0400 0000 0000 01 0300 01 3412 ";
  const struct {
    std::string tlvs;
    Decoded outcome;
    bool word;
    const char* why;
  } rows[] = {
      {ok + "10 0200 0700", Decoded::ok, true, "whole"},
      {"10 0200 0700 01 0300 01 3412 02 0400 0000 0000", Decoded::ok, true, "any order"},
      {ok + "77 0100 ff 10 0200 0700", Decoded::ok, true, "an unknown one is skipped"},
      {ok + "10 0200 0700 10 0200 0900", Decoded::ok, true, "the first of two counts"},
      {ok + "10 0400 0700 ffff", Decoded::ok, true, "a longer value is accepted"},
      {ok + "10 0100 07", Decoded::ok, false, "an optional one that is too short is absent"},
      {"01 0300 01 3412", Decoded::missing, false, "no result"},
      {"02 0400 0000 0000", Decoded::missing, false, "no mandatory member"},
      {"02 0400 0100 3000", Decoded::ok, false, "which a failure need not have"},
      {"02 0300 0000 00 01 0300 01 3412", Decoded::malformed, false, "half a result"},
      {"02 0400 0000 0000 01 0300 02 3412", Decoded::malformed, false, "a list that counts more than there is"},
      {"02 0400 0000 0000 01 0700 03 111122223333", Decoded::malformed, false, "a list longer than its member"},
      {ok + "10 0200 07", Decoded::malformed, false, "a value past the end"},
      {ok + "10 02", Decoded::malformed, false, "half a header"},
      {"", Decoded::missing, false, "nothing"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    Loose record;
    EXPECT_EQ(decode_loose(row.tlvs.c_str(), record), row.outcome);
    if (row.outcome != Decoded::ok) continue;
    EXPECT_EQ(record.word_valid, row.word ? 1 : 0);
    EXPECT_EQ(record.word, row.word ? 7u : 0u);
    EXPECT_EQ(record.small[0], record.resp.result == 0 ? 0x1234 : 0);
  }
  Loose record;
  EXPECT_EQ(decode(kLoose, {}, &record, sizeof record - 1), Decoded::record_too_small);
}

TEST(QmiCodec, CutsTextAndTakesListsOfEitherWidth) {
  const std::string ok = "02 0400 0000 0000 01 0100 00 ";
  Loose record;
  ASSERT_EQ(decode_loose((ok + "11 0600 05 68656c6c6f 12 0300 02 0203").c_str(), record), Decoded::ok);
  EXPECT_STREQ(record.name, "hel");
  EXPECT_EQ(record.slots_len, 2u);
  EXPECT_EQ(record.slots[1], 3);
  ASSERT_EQ(decode_loose((ok + "11 0400 03 680065").c_str(), record), Decoded::ok);
  EXPECT_EQ(std::string(record.name, 3), std::string("h\0\0", 3)) << "what stands behind a zero byte is no text";
  ASSERT_EQ(decode_loose((ok + "12 0900 02 03000000 02000000").c_str(), record), Decoded::ok);
  EXPECT_EQ(record.slots_len, 2u);
  EXPECT_EQ(record.slots[0], 3);
  EXPECT_EQ(record.slots[1], 2);
  ASSERT_EQ(decode_loose((ok + "12 0900 02 03000000 00010000").c_str(), record), Decoded::ok);
  EXPECT_FALSE(record.slots_valid) << "a wide element that says more than a narrow one can";
  ASSERT_EQ(decode_loose((ok + "11 0600 09 68656c6c6f 12 0500 04 01020304").c_str(), record), Decoded::ok);
  EXPECT_FALSE(record.name_valid) << "text that ends past its TLV";
  EXPECT_FALSE(record.slots_valid) << "more slots than the record has";
  EXPECT_EQ(record.slots_len, 0u);
  EXPECT_EQ(record.slots[0], 0) << "nothing may be left of it";
}

TEST(QmiCodec, WritesNoMoreThanItsRoomAndNoCountPastTheRecord) {
  Loose record = {};
  record.small_len = 2;
  record.name_valid = 1;
  memcpy(record.name, "abcd", 4);  // without its end
  uint8_t room[64];
  const auto size = encode(kLoose, &record, sizeof record, room);
  ASSERT_EQ(size, 7u + 3 + 5 + 3 + 5);
  for (size_t less = 0; less < *size; less++) {
    const auto exact = std::make_unique<uint8_t[]>(less);
    EXPECT_FALSE(encode(kLoose, &record, sizeof record, {exact.get(), less})) << less;
  }
  record.small_len = 3;
  EXPECT_FALSE(encode(kLoose, &record, sizeof record, room));
  EXPECT_FALSE(encode(kLoose, &record, sizeof record - 1, room));
  record.resp.result = 1;
  EXPECT_EQ(encode(kLoose, &record, sizeof record, room), 7u + 3 + 5) << "a failure without its members";
}

TEST(QmiFrame, RefusesWhatContradictsItself) {
  const Bytes whole = hex("01 0c00 80 02 01 02 0100 2500 0000");
  ASSERT_TRUE(parse_frame(whole));
  EXPECT_EQ(parse_frame(whole)->header.transaction, 1);
  EXPECT_EQ(parse_frame(whole)->header.message_id, 0x25);
  const char* const bad[] = {
      "02 0c00 80 02 01 02 0100 2500 0000",  // marker
      "01 0b00 80 02 01 02 0100 2500 0000",  // length
      "01 0c00 80 02 01 02 0100 2500 0100",  // TLV bytes
      "01 0c00 80 02 01 03 0100 2500 0000",  // flags
      "01 0c00 80 00 01 02 0100 2500 0000",  // a CTL header is shorter
      "01 0500 80 02 01",                    // no service header
      "01 0400 80 02",                       // not even a client id
  };
  for (const char* bytes : bad) EXPECT_FALSE(parse_frame(hex(bytes))) << bytes;

  size_t wanted = 0;
  for (size_t size = 0; size < whole.size(); size++)
    EXPECT_EQ(cut_frame(std::span(whole).first(size), &wanted), 0) << "a frame's beginning is no garbage";
  EXPECT_EQ(wanted, 13u);
  EXPECT_EQ(cut_frame(hex("00")), -1);
  EXPECT_EQ(cut_frame(hex("01 0400 80 02 01")), -1) << "shorter than its own header";
}

TEST(QmiTables, NameEachMessageOnceAndFitTheirFrames) {
  for (const uint8_t number : std::initializer_list<uint8_t>{0x00, 0x01, 0x02, 0x03, 0x05, 0x0B, 0x24}) {
    const qmi_idl_service_object& service = service_of(number);
    EXPECT_EQ(service.number, number);
    for (const Message& message : std::span(service.messages, service.message_count)) {
      SCOPED_TRACE(testing::Message() << "service " << int{number} << " message " << message.id);
      EXPECT_EQ(service.find(message.type, message.id), &message);
      const size_t room = message.type == MessageType::request ? Link::kOutgoingMax : kFrameMax;
      EXPECT_LE(kFrameHeaderMax + encoded_max(message), room);
      std::set<uint8_t> ids;
      for (const Tlv& row : message.tlvs()) EXPECT_TRUE(ids.insert(row.id).second) << int{row.id};
      if (message.type != MessageType::request) continue;
      EXPECT_NE(service.find(MessageType::response, message.id), nullptr) << "a request nobody can answer";
    }
  }
}
