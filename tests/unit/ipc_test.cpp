#include "vek_pal/ipc.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "records.h"

namespace {

constexpr char kServer[] = "/data/vek_pal_ipc_server.sock";

struct Delivery {
  int32_t msg_id;
  int32_t length;
  std::string payload;
  void* user;
};

std::mutex g_mutex;
std::condition_variable g_arrived;
std::vector<Delivery> g_deliveries;

void remember(int32_t msg_id, void* payload, int32_t length, void* user) {
  const std::scoped_lock lock(g_mutex);
  const auto* const bytes = static_cast<const char*>(payload);
  g_deliveries.push_back({msg_id, length, std::string(bytes, length < 0 ? 0 : static_cast<size_t>(length)), user});
  g_arrived.notify_all();
}

std::vector<Delivery> deliveries(size_t count) {
  std::unique_lock lock(g_mutex);
  g_arrived.wait_for(lock, std::chrono::seconds(5), [&] { return g_deliveries.size() >= count; });
  return std::exchange(g_deliveries, {});
}

std::string message(int32_t msg_id, const std::string& payload) {
  return std::string(reinterpret_cast<const char*>(&msg_id), sizeof msg_id) + payload;
}

int send(const std::string& bytes) {
  return vek_pal_ipc_send_msg(kServer, bytes.data(), static_cast<uint32_t>(bytes.size()), 0);
}

// One server for the process, as in a daemon: its thread never stops.
class Ipc : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(vek_pal_ipc_server_init(), 0);
    for (int i = 0; i < 500 && access(kServer, F_OK) != 0; i++) usleep(10'000);
  }
};

}  // namespace

TEST_F(Ipc, DeliversToEveryEntryOfTheIdAndTurnsDownTheSeventeenth) {
  int users[16];
  for (int i = 0; i < 16; i++) ASSERT_EQ(vek_pal_ipc_msg_register_cmd(i < 2 ? 7 : 100 + i, remember, &users[i]), 0);
  const auto seen = records_of([&] { EXPECT_EQ(vek_pal_ipc_msg_register_cmd(9, remember, nullptr), -1); });
  EXPECT_TRUE(seen.has("IPC", "fail to registered ipc callback, msg id: 9"));

  ASSERT_EQ(send(message(7, "hello")), 0);
  const auto both = deliveries(2);
  ASSERT_EQ(both.size(), 2u);
  EXPECT_EQ(both[0].user, &users[0]);
  EXPECT_EQ(both[1].user, &users[1]);
  EXPECT_EQ(both[1].payload, "hello");

  // The boundaries of a datagram: id only, cut at 1,020 bytes of payload, and too short for an id.
  ASSERT_EQ(send(message(115, "")), 0);
  ASSERT_EQ(send(message(115, std::string(1496, 'x'))), 0);
  const auto edges = deliveries(2);
  ASSERT_EQ(edges.size(), 2u);
  EXPECT_EQ(edges[0].length, 0);
  EXPECT_EQ(edges[1].length, 1020);
  EXPECT_EQ(edges[1].payload, std::string(1020, 'x'));
  const auto short_one = records_of([&] {
    ASSERT_EQ(send("\x73"), 0);  // 115, its other bytes missing
    const auto one = deliveries(1);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].length, -3);
  });
  EXPECT_TRUE(short_one.has("IPC", "receive ipc msg id 115"));
}

TEST(IpcSend, SaysWhyItFailed) {
  const std::string longest = "/data/" + std::string(101, 'p');
  const struct {
    std::string path;
    uint32_t length, stream;
    const char* text;
  } rows[] = {
      {kServer, 0, 0, "invalid param"},
      {longest + "p", 1, 0, "ipc path too long"},
      {"/data/nobody", 1, 0, "fail to send socket data: No such file or directory"},
      {"/data/nobody", 1, 1, "fail to connect server: No such file or directory"},
      {longest, 1, 0, "fail to send socket data: No such file or directory"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const auto seen =
        records_of([&] { EXPECT_EQ(vek_pal_ipc_send_msg(row.path.c_str(), "x", row.length, row.stream), -1); });
    EXPECT_TRUE(seen.has("IPC", row.text)) << seen;
  }
  EXPECT_EQ(vek_pal_ipc_send_msg(nullptr, "x", 1, 0), -1);
  EXPECT_EQ(vek_pal_ipc_send_msg(kServer, nullptr, 1, 0), -1);
}

TEST(IpcSend, SurvivesAStreamPeerThatHangsUp) {
  const char path[] = "/data/hangs_up.sock";
  sockaddr_un address = {AF_UNIX, ""};
  memcpy(address.sun_path, path, sizeof path);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 8), 0);
  std::jthread peer([&] {
    for (int i = 0; i < 50; i++) close(accept(listener, nullptr, nullptr));
  });
  const std::string large(1 << 20, 'x');  // cannot be taken whole before the peer hangs up
  for (int i = 0; i < 50; i++)
    vek_pal_ipc_send_msg(path, large.data(), static_cast<uint32_t>(large.size()), 1);  // alive is the result
}
