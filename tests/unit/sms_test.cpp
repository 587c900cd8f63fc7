// The message service over a client that is played here: what is asked, what is made of the answers, and the records.
#include "vek_pal/sms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "providers/qmi/codec/codec.h"
#include "providers/qmi/services/wms.h"
#include "records.h"

namespace {

using testing::ElementsAre;
using Bytes = std::vector<uint8_t>;

// The modem's side. Every test program is one process, so the tests below share one registration, as a daemon would.
struct FakeModem {
  int init_result = QMI_NO_ERR;
  int send_result = QMI_NO_ERR;
  uint32_t refuse_message = 0;  // answered with error 50
  qmi_client_ind_cb indication = nullptr;
  void* indication_data = nullptr;
  qmi_client_recovery_cb recovery = nullptr;
  int released = 0;
  Bytes stored;

  struct Sent {
    unsigned id, request_size, response_size, timeout_ms;
    Bytes request;
  };
  std::vector<Sent> sent;

  std::vector<unsigned> take_ids() {
    std::vector<unsigned> ids;
    for (const Sent& one : sent) ids.push_back(one.id);
    sent.clear();
    return ids;
  }
} g_modem;

const auto kHandle = reinterpret_cast<qmi_client_type>(&g_modem);

}  // namespace

qmi_client_error_type qmi_client_init_instance(qmi_idl_service_object_type, int instance, qmi_client_ind_cb ind_cb,
                                               void* ind_cb_data, qmi_client_os_params*, uint32_t timeout_ms,
                                               qmi_client_type* user_handle) {
  EXPECT_EQ(instance, 0xFFFF);
  EXPECT_EQ(timeout_ms, 3000u);
  *user_handle = kHandle;
  g_modem.indication = ind_cb;
  g_modem.indication_data = ind_cb_data;
  return g_modem.init_result;
}

qmi_client_error_type qmi_client_send_msg_sync(qmi_client_type handle, unsigned msg_id, void* req, unsigned req_len,
                                               void* resp, unsigned resp_len, unsigned timeout_ms) {
  EXPECT_EQ(handle, kHandle);
  const auto* const bytes = static_cast<const uint8_t*>(req);
  g_modem.sent.push_back({msg_id, req_len, resp_len, timeout_ms, {bytes, bytes + req_len}});
  if (g_modem.send_result != QMI_NO_ERR) return g_modem.send_result;
  memset(resp, 0, resp_len);
  if (g_modem.refuse_message == msg_id) *static_cast<qmi_response_type*>(resp) = {1, 50};
  if (msg_id == QMI_WMS_RAW_READ_REQ_V01) {
    auto& raw = static_cast<wms_raw_read_resp*>(resp)->raw_message_data;
    raw = {.tag_type = 1, .format = 6, .data_len = static_cast<uint32_t>(g_modem.stored.size()), .data = {}};
    std::copy(g_modem.stored.begin(), g_modem.stored.end(), raw.data);
  }
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_message_decode(qmi_client_type, qmi_idl_type_of_message_type type, unsigned message_id,
                                                const void* src, unsigned src_len, void* dst, unsigned dst_len) {
  EXPECT_EQ(type, QMI_IDL_INDICATION);
  const auto* const message =
      wms_get_service_object_internal_v01(1, 35, 6)->find(vek::qmi::MessageType::indication, message_id);
  const bool ok = decode(*message, {static_cast<const uint8_t*>(src), src_len}, dst, dst_len) == vek::qmi::Decoded::ok;
  return ok ? QMI_NO_ERR : QMI_DECODE_MISMATCH;
}

qmi_client_error_type qmi_client_release(qmi_client_type) {
  g_modem.released++;
  return QMI_NO_ERR;
}

qmi_client_error_type qmi_client_register_recovery_cb(qmi_client_type, qmi_client_recovery_cb recovery_cb, void*) {
  g_modem.recovery = recovery_cb;
  return QMI_NO_ERR;
}

namespace {

std::vector<vek_pal_sms_event_t> g_events;

void on_event(vek_pal_sms_event_t event, void* user_data) {
  EXPECT_EQ(user_data, &g_events);
  g_events.push_back(event);
}

int register_callback() { return vek_pal_sms_store_state_indication_register(on_event, &g_events); }

// The event that an indication makes, as its four words; none is empty.
std::vector<int64_t> event_of(unsigned id, Bytes tlvs) {
  g_events.clear();
  g_modem.indication(kHandle, id, tlvs.data(), static_cast<unsigned>(tlvs.size()), g_modem.indication_data);
  if (g_events.empty()) return {};
  const auto& event = g_events[0];
  return {event.event, event.storage_type, event.storage_index, event.message_mode};
}

// First, for a registration cannot be taken back.
TEST(Sms, WantsARegistrationBeforeAnythingElse) {
  char text[160];
  int length = -7;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_sms_get_message_request(1, 0, 1, text, &length), 10);
    EXPECT_EQ(vek_pal_sms_delete_by_index(1, 0, 1), 10);
    EXPECT_EQ(vek_pal_sms_delete_all(1), 10);
  });
  EXPECT_TRUE(seen.has("SMS", "WMS client has not already initialized."));
  EXPECT_TRUE(seen.has("SMS", "WMS client has not initialized."));
  EXPECT_TRUE(seen.has("SMS", "qmi_wms_client has not been initialized."));
  EXPECT_EQ(length, -7);
}

TEST(Sms, RegistersOnceAndGivesAFailedOrderForReportsAgain) {
  g_modem.init_result = QMI_SERVICE_ERR;
  const auto no_modem = records_of([] { EXPECT_EQ(register_callback(), -1); });
  EXPECT_TRUE(no_modem.has("SMS", "Failed to init Network qmi client, error code: -2"));
  EXPECT_EQ(g_modem.released, 1);
  EXPECT_THAT(g_modem.take_ids(), ElementsAre());

  g_modem.init_result = QMI_NO_ERR;
  g_modem.refuse_message = QMI_WMS_SET_EVENT_REPORT_REQ_V01;
  const auto refused = records_of([] { EXPECT_EQ(register_callback(), -1); });
  EXPECT_TRUE(refused.has("SMS", "wms client inited success."));
  EXPECT_TRUE(refused.has("SMS", "wms vek_pal_set_event_report_req failed."));
  EXPECT_THAT(g_modem.sent[0].request, ElementsAre(1, 1));
  EXPECT_THAT(g_modem.take_ids(), ElementsAre(0x01, 0x33));

  g_modem.refuse_message = 0;
  const auto again = records_of([] { EXPECT_EQ(register_callback(), 0); });
  EXPECT_TRUE(again.has("SMS", "WMS client already initialized."));
  EXPECT_TRUE(again.has("SMS", "wms vek_pal_set_event_report_req success."));
  EXPECT_THAT(g_modem.take_ids(), ElementsAre(0x01));

  EXPECT_EQ(vek_pal_sms_store_state_indication_register(nullptr, nullptr), 0);
  EXPECT_THAT(g_modem.take_ids(), ElementsAre()) << "a second registration changes nothing";
  EXPECT_EQ(event_of(0x01, {0x10, 5, 0, 0, 3, 0, 0, 0}).size(), 4u) << "and the first callback stays";
}

TEST(Sms, OrdersReportsAgainWhenTheModemHasRestarted) {
  ASSERT_NE(g_modem.recovery, nullptr);
  EXPECT_EQ(g_modem.recovery(kHandle, nullptr), 0);
  EXPECT_THAT(g_modem.take_ids(), ElementsAre(0x01));
  g_modem.send_result = QMI_TIMEOUT_ERR;
  EXPECT_NE(g_modem.recovery(kHandle, nullptr), 0) << "to be called again";
  g_modem.send_result = QMI_NO_ERR;
  g_modem.sent.clear();
}

TEST(Sms, TurnsIndicationsIntoEvents) {
  EXPECT_THAT(event_of(0x01, {0x10, 5, 0, 0, 3, 0, 0, 0, 0x12, 1, 0, 1}), ElementsAre(1, 1, 3, 1));
  EXPECT_THAT(event_of(0x01, {0x10, 5, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF}), ElementsAre(1, 2, 0xFFFFFFFF, 0));
  EXPECT_THAT(event_of(0x3F, {0x01, 2, 0, 0, 1}), ElementsAre(2, 1, 0, 1));
  EXPECT_THAT(event_of(0x3F, {0x01, 2, 0, 1, 0}), ElementsAre(2, 2, 0, 0));
  EXPECT_THAT(event_of(0x01, {0x12, 1, 0, 1}), ElementsAre()) << "nothing stored";

  const auto odd = records_of([] {
    EXPECT_THAT(event_of(0x01, {0x10, 5, 0, 7, 3, 0, 0, 0}), ElementsAre(1, 2, 3, 0));
    EXPECT_THAT(event_of(0x3F, {0x01, 2, 0, 7, 1}), ElementsAre(2, 0, 0, 1));
    EXPECT_THAT(event_of(0x3F, {}), ElementsAre());
    EXPECT_THAT(event_of(0x01, {0x10, 5, 0}), ElementsAre());
    EXPECT_THAT(event_of(0x47, {0x01, 1, 0, 0}), ElementsAre());
  });
  EXPECT_TRUE(odd.has("SMS", "default set storage_type NV."));
  EXPECT_TRUE(odd.has("SMS", "Invalid storage_type."));
  EXPECT_TRUE(odd.has("SMS", "QMI WMS status change ind decode failed err :-48"));
  EXPECT_TRUE(odd.has("SMS", "WMS indcation coming, ind msg id :0x47"));
  EXPECT_TRUE(odd.has("SMS", "Info, unknown the indication msg_id: 71."));
}

TEST(Sms, ReadsTheTextOfAStoredMessage) {
  g_modem.stored = {0x00, 0x04, 0x04, 0x81, 0x21, 0x43, 0,    0,    0x42,
                    0x60, 0x30, 0x40, 0x50, 0x60, 0x00, 0x02, 0xC8, 0x34};
  const struct { int mode, valid, wms_mode; } rows[] = {{1, 1, 1}, {2, 1, 0}, {0, 0, 0}, {3, 0, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    std::string text(160, '~');
    int length = -1;
    const auto seen =
        records_of([&] { EXPECT_EQ(vek_pal_sms_get_message_request(2, 9, row.mode, text.data(), &length), 0); });
    EXPECT_EQ(length, 2);
    EXPECT_EQ(text.substr(0, 3), "Hi~") << "no terminator";
    EXPECT_TRUE(seen.has("SMS",
                         "route_resp.raw_message_data.data_len = 18, route_resp.raw_message_data.format = 6, "
                         "route_resp.raw_message_data.tag_type = 1"));
    EXPECT_TRUE(seen.has("SMS", "route_resp.raw_message_data.data[16] = c8"));
    EXPECT_TRUE(seen.has("SMS", "Decode ok, datalen = 2."));
    EXPECT_TRUE(seen.has("SMS", "type = 0,data=Hi."));

    const auto& sent = g_modem.sent.back();
    EXPECT_EQ(sent.request_size, 20u);
    EXPECT_EQ(sent.response_size, 276u);
    EXPECT_EQ(sent.timeout_ms, 10000u);
    wms_raw_read_req request;
    memcpy(&request, sent.request.data(), sizeof request);
    EXPECT_EQ(request.message.storage_type, 1u);
    EXPECT_EQ(request.message.storage_index, 9u);
    EXPECT_EQ(request.message_mode_valid, row.valid);
    EXPECT_EQ(request.message_mode, static_cast<uint32_t>(row.wms_mode));
  }
  g_modem.sent.clear();
}

TEST(Sms, ReadingFailsWithNothingWritten) {
  char text[160] = "untouched";
  int length = -7;
  EXPECT_EQ(vek_pal_sms_get_message_request(1, 0, 1, nullptr, &length), 7);
  EXPECT_EQ(vek_pal_sms_get_message_request(1, 0, 1, text, nullptr), 7);
  EXPECT_EQ(vek_pal_sms_get_message_request(0, 0, 1, text, &length), 7);
  EXPECT_EQ(vek_pal_sms_get_message_request(3, 0, 1, text, &length), 7);
  EXPECT_THAT(g_modem.take_ids(), ElementsAre());

  const auto read = [&] { EXPECT_EQ(vek_pal_sms_get_message_request(1, 0, 1, text, &length), -1); };
  g_modem.refuse_message = QMI_WMS_RAW_READ_REQ_V01;
  EXPECT_TRUE(records_of(read).has("SMS",
                                   "WMS QMI_WMS_RAW_READ_REQ_V01 failed, route_resp.resp.result: 1, "
                                   "route_resp.resp.error: 32."));
  g_modem.refuse_message = 0;
  g_modem.send_result = QMI_TIMEOUT_ERR;
  EXPECT_TRUE(records_of(read).has("SMS", "WMS QMI_WMS_RAW_READ_REQ_V01 send msg failed, result: -3, error: 0."));
  g_modem.send_result = QMI_NO_ERR;
  g_modem.stored = {0x00, 0x06};
  EXPECT_TRUE(records_of(read).has("SMS", "DecodeGsmPdu failed."));
  EXPECT_STREQ(text, "untouched");
  EXPECT_EQ(length, -7);
  g_modem.sent.clear();
}

TEST(Sms, DeletesOneOrAll) {
  wms_delete_req request;
  const auto last_request = [&] {
    const auto& sent = g_modem.sent.back();
    EXPECT_EQ(sent.request_size, 28u);
    EXPECT_EQ(sent.response_size, 8u);
    EXPECT_EQ(sent.timeout_ms, 10000u);
    memcpy(&request, sent.request.data(), sizeof request);
  };
  const auto one = records_of([] { EXPECT_EQ(vek_pal_sms_delete_by_index(1, 4, 1), 0); });
  last_request();
  EXPECT_EQ(request.storage_type, 0u);
  EXPECT_EQ(request.index_valid, 1);
  EXPECT_EQ(request.index, 4u);
  EXPECT_EQ(request.message_mode_valid, 1);
  EXPECT_EQ(request.message_mode, 1u);
  for (const char* text :
       {"Enter.", "delete_sms_resp.resp.result = 0.", "delete this message by storage_index: 4 ok.", "Exit."})
    EXPECT_TRUE(one.has("SMS", text)) << text;

  const auto all = records_of([] { EXPECT_EQ(vek_pal_sms_delete_all(2), 0); });
  last_request();
  EXPECT_EQ(request.storage_type, 1u);
  EXPECT_EQ(request.index_valid, 0);
  EXPECT_EQ(request.tag_type_valid, 0);
  EXPECT_EQ(request.message_mode_valid, 1);
  EXPECT_EQ(request.message_mode, 0u);
  EXPECT_TRUE(all.has("SMS", "delete ALL ok."));

  g_modem.refuse_message = QMI_WMS_DELETE_REQ_V01;
  const auto refused = records_of([] {
    EXPECT_EQ(vek_pal_sms_delete_by_index(2, 4, 2), -1);
    EXPECT_EQ(vek_pal_sms_delete_all(1), -1);
    EXPECT_EQ(vek_pal_sms_delete_by_index(0, 4, 1), 7);
    EXPECT_EQ(vek_pal_sms_delete_all(3), 7);
  });
  for (const char* text : {"delete_sms_resp.resp.result = 1.", "delete this message by storage_index: 4 error.",
                           "delete ALL error.", "Invalid storage_type."})
    EXPECT_TRUE(refused.has("SMS", text)) << text;
  g_modem.send_result = QMI_SERVICE_ERR;
  const auto lost = records_of([] { EXPECT_EQ(vek_pal_sms_delete_all(1), -1); });
  EXPECT_TRUE(lost.has("SMS", "WMS QMI_WMS_DELETE_REQ_V01 send msg failed, result: -2, error: 0."));
}

}  // namespace
