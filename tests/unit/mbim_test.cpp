#include "vek_pal/mbim.h"

#include "at_host.h"
#include "records.h"
#include "vek_pal/ipc.h"

namespace {

int g_user;
std::vector<std::string> g_heard;
int g_register_result = 0;

// Keeps what was registered to the end of the process, as the IPC server does.
struct Entry {
  int32_t id;
  vek_pal_ipc_callback handler;
  void* word;
};
Entry g_entries[16];
size_t g_entry_count = 0;

std::string event(const std::vector<int32_t>& numbers, const std::string& text = "") {
  return std::string(reinterpret_cast<const char*>(numbers.data()), 4 * numbers.size()) + text;
}

void heard(std::string what, void* user) {
  EXPECT_EQ(user, &g_user);
  g_heard.push_back(std::move(what));
}

void on_open(int status, void* user) { heard("open " + std::to_string(status), user); }
void on_pin(int status, const char* pin, void* user) { heard("pin " + std::to_string(status) + " " + pin, user); }
void on_mapping(int opt, int id, void* user) {
  heard("mapping " + std::to_string(opt) + " " + std::to_string(id), user);
}
void on_connect(int status, const char* apn, void* user) {
  heard("connect " + std::to_string(status) + " " + apn, user);
}

void deliver(int32_t id, std::string payload) {
  const auto length = static_cast<int32_t>(payload.size());
  payload.push_back('\0');
  for (size_t i = 0; i < g_entry_count; i++)
    if (g_entries[i].id == id) g_entries[i].handler(id, payload.data(), length, g_entries[i].word);
}

}  // namespace

// The IPC server, without its thread.
int vek_pal_ipc_msg_register_cmd(int32_t msg_id, vek_pal_ipc_callback callback, void* user) {
  if (g_register_result != 0) return g_register_result;
  g_entries[g_entry_count++] = {msg_id, callback, user};
  return 0;
}

TEST(Mbim, EventsReachTheCallbacksDecoded) {
  ASSERT_EQ(vek_pal_mbim_open_status_indication_register(on_open, &g_user), 0);
  ASSERT_EQ(vek_pal_mbim_simpin_status_indication_register(on_pin, &g_user), 0);
  ASSERT_EQ(vek_pal_mbim_sim_slot_mapping_indication_register(on_mapping, &g_user), 0);
  ASSERT_EQ(vek_pal_mbim_connect_status_indication_register(on_connect, &g_user), 0);
  const struct {
    int32_t id;
    std::string payload;
    const char* heard;  // "": nothing
    const char* record;
  } rows[] = {
      {0, event({1}, "internet"), "connect 1 internet", "mbim_connect_status_indicate_cb status=1, apn=internet"},
      {0, event({0}), "connect 0 ", "mbim_connect_status_indicate_cb status=0, apn="},
      {1, event({2}, std::string("1234\0x", 6)), "pin 2 1234",
       "mbim_sim_pin_status_indicate_cb pin_status=2, pin_code=1234"},
      {2, event({1, 0}), "mapping 1 0", "mbim_sim_slot_mapping_indicate_cb opt=1, sim_id=0"},
      {3, event({-1}), "open -1", "mbim_open_status_indicate_cb mbim_status=-1"},
      {3, event({1, 2}), "open 1", "mbim_open_status_indicate_cb mbim_status=1"},
      {0, "abc", "", "mbim event too short: 3 bytes left"},
      {1, "", "", "mbim event too short: 0 bytes left"},
      {2, event({1}), "", "mbim event too short: 0 bytes left"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.record);
    g_heard.clear();
    const auto seen = records_of([&] { deliver(row.id, row.payload); });
    EXPECT_TRUE(seen.has("MBIM", row.record)) << seen;
    EXPECT_EQ(g_heard, *row.heard != '\0' ? std::vector<std::string>{row.heard} : std::vector<std::string>{});
  }
  g_heard.clear();
  g_entries[0].handler(3, nullptr, -4, g_entries[0].word);
  EXPECT_TRUE(g_heard.empty()) << "a datagram without a whole id";

  ASSERT_EQ(vek_pal_mbim_open_status_indication_register(on_open, &g_user), 0);
  deliver(3, event({5}));
  EXPECT_EQ(g_heard, (std::vector<std::string>{"open 5", "open 5"})) << "each registration is called";
}

TEST(Mbim, RegistrationNeedsACallbackAndRoom) {
  const auto without =
      records_of([] { EXPECT_EQ(vek_pal_mbim_connect_status_indication_register(nullptr, nullptr), -1); });
  EXPECT_TRUE(without.has("MBIM", "callback is null"));
  g_register_result = -1;
  const auto seen = records_of([] {
    EXPECT_EQ(vek_pal_mbim_open_status_indication_register(on_open, nullptr), -1);
    EXPECT_EQ(vek_pal_mbim_connect_status_indication_register(on_connect, nullptr), -1);
  });
  g_register_result = 0;
  EXPECT_TRUE(seen.has("MBIM", "mbim_open_status_indication_register failed"));
  EXPECT_TRUE(seen.has("MBIM", "mbim_connect_status_indication_register failed"));
}

class MbimLines : public AtHost {};

TEST_F(MbimLines, GoOutWithoutTerminatorAndCut) {
  EXPECT_EQ(vek_pal_vyrel_mbim_status_sync(), 0);
  EXPECT_EQ(vek_pal_vyrel_mbim_notify_urc("+GTVYRPOC: CHECK"), 0);
  const auto seen = records_of([] { EXPECT_EQ(vek_pal_vyrel_mbim_notify_urc(std::string(70, 'x').c_str()), 0); });
  EXPECT_TRUE(seen.has("MBIM", "send_length 64"));
  EXPECT_EQ(lines_to_host(), (std::vector<std::string>{"VEK_PAL_MBIM_SYNC", "+GTVYRPOC: CHECK", std::string(64, 'x')}));
}

TEST_F(MbimLines, SayWhenNobodyTakesThem) {
  hang_up_mbim();
  const auto seen = records_of([] {
    EXPECT_EQ(vek_pal_vyrel_mbim_status_sync(), -1);
    EXPECT_EQ(vek_pal_vyrel_mbim_notify_urc("x"), -1);
    EXPECT_EQ(vek_pal_vyrel_mbim_notify_urc(""), -1);
    EXPECT_EQ(vek_pal_vyrel_mbim_notify_urc(nullptr), -1);
  });
  EXPECT_TRUE(seen.has("MBIM", "send mbim sync failed"));
  EXPECT_TRUE(seen.has("MBIM", "Send mbim urc failed"));
  EXPECT_TRUE(seen.has("MBIM", "Invaild urc string"));
}
