// Messages between processes' sockets, and exchanges with an AT server on the loopback address.
#include <gio/gio.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "row.h"
#include "sd_bus_peer.h"
#include "unix_socket.h"
#include "vek_pal.h"

namespace {

constexpr char kServer[] = "/data/vek_pal_ipc_server.sock";
constexpr char kFloorServer[] = "/data/floor_server.sock";
constexpr char kReply[] = "/data/bench_reply.sock";
constexpr char kSink[] = "/data/bench_sink.sock";
constexpr char kMessage[] = "\x64\0\0\0AT+GTVYREN?";

using bench::bound;
using bench::unix_address;

// A new socket a message, as there is nothing to keep between two.
void floor_send(const char* path, const void* data, size_t size) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = unix_address(path);
  benchmark::DoNotOptimize(sendto(fd, data, size, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address));
  close(fd);
}

void receive(int fd) {
  char buffer[1024];
  if (recv(fd, buffer, sizeof buffer, 0) < 0) abort();
}

void send_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  const int sink = bound(kSink);
  for (auto _ : state) {
    vek_pal_ipc_send_msg(kSink, kMessage, sizeof kMessage, 0);
    receive(sink);
  }
  close(sink);
}
void send_floor(benchmark::State& state) {
  const int sink = bound(kSink);
  for (auto _ : state) {
    floor_send(kSink, kMessage, sizeof kMessage);
    receive(sink);
  }
  close(sink);
}

void round_trip_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  static const int started = [] {
    vek_pal_ipc_server_init();
    vek_pal_ipc_msg_register_cmd(
        100,
        [](int32_t, void* payload, int32_t length, void*) {
          vek_pal_ipc_send_msg(kReply, payload, static_cast<uint32_t>(length), 0);
        },
        nullptr);
    while (access(kServer, F_OK) != 0) usleep(1000);
    return 0;
  }();
  benchmark::DoNotOptimize(started);
  const int reply = bound(kReply);
  for (auto _ : state) {
    vek_pal_ipc_send_msg(kServer, kMessage, sizeof kMessage, 0);
    receive(reply);
  }
  close(reply);
}
void round_trip_floor(benchmark::State& state) {
  const int server = bound(kFloorServer), reply = bound(kReply);
  std::thread thread([&] {
    for (;;) {
      char buffer[1024];
      memset(buffer, 0, sizeof buffer);
      const ssize_t size = recv(server, buffer, sizeof buffer, 0);
      if (size == 1) return;
      floor_send(kReply, buffer + 4, static_cast<size_t>(size) - 4);
    }
  });
  for (auto _ : state) {
    floor_send(kFloorServer, kMessage, sizeof kMessage);
    receive(reply);
  }
  floor_send(kFloorServer, "", 1);
  thread.join();
  close(server);
  close(reply);
}
void round_trip_sd_bus(benchmark::State& state) {
  bench::SdBusPeer peer;
  for (auto _ : state)
    if (!peer.call("AT+GTVYREN?")) state.SkipWithError("no answer");
}

// Answers every line with OK, on the module's AT port.
class AtServer {
 public:
  AtServer() : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = this->address();
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) abort();
    listen(listener_, 4);
    thread_ = std::thread([this] {
      const int connection = accept(listener_, nullptr, nullptr);
      char line[256];
      while (recv(connection, line, sizeof line, 0) > 0)
        if (send(connection, "\r\nOK\r\n", 6, MSG_NOSIGNAL) < 0) break;
      close(connection);
    });
  }
  ~AtServer() {
    thread_.join();
    close(listener_);
  }
  static sockaddr_in address() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(40096);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }

 private:
  int listener_;
  std::thread thread_;
};

constexpr char kCommand[] = "AT+GTGPS?\r\n";

void at_ours(benchmark::State& state) {
  vek_pal_log_set_level(1);
  AtServer server;
  char response[256];
  uint32_t length;
  for (auto _ : state)
    if (vek_pal_at_send(kCommand, sizeof kCommand, response, sizeof response, &length) != 0)
      state.SkipWithError("no answer");
  vek_pal_at_client_close();
}
void at_floor(benchmark::State& state) {
  AtServer server;
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = AtServer::address();
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) abort();
  char response[256];
  for (auto _ : state) {
    benchmark::DoNotOptimize(send(fd, kCommand, sizeof kCommand - 1, 0));
    memset(response, 0, sizeof response);
    while (recv(fd, response, sizeof response - 1, 0) > 0 && strstr(response, "OK") == nullptr) continue;
  }
  close(fd);
}
void at_gio(benchmark::State& state) {
  AtServer server;
  GSocketClient* const client = g_socket_client_new();
  GSocketConnection* const connection = g_socket_client_connect_to_host(client, "127.0.0.1", 40096, nullptr, nullptr);
  GOutputStream* const out = g_io_stream_get_output_stream(G_IO_STREAM(connection));
  GInputStream* const in = g_io_stream_get_input_stream(G_IO_STREAM(connection));
  char response[256];
  for (auto _ : state) {
    g_output_stream_write_all(out, kCommand, sizeof kCommand - 1, nullptr, nullptr, nullptr);
    memset(response, 0, sizeof response);
    while (g_input_stream_read(in, response, sizeof response - 1, nullptr, nullptr) > 0 &&
           strstr(response, "OK") == nullptr)
      continue;
  }
  g_object_unref(connection);
  g_object_unref(client);
}

[[maybe_unused]] const bool registered =
    bench::row("ipc_send/ours", send_ours) && bench::row("ipc_send/floor", send_floor) &&
    bench::row("ipc_send/peer:sd-bus", round_trip_sd_bus) && bench::row("ipc_round_trip/ours", round_trip_ours) &&
    bench::row("ipc_round_trip/floor", round_trip_floor) &&
    bench::row("ipc_round_trip/peer:sd-bus", round_trip_sd_bus) && bench::row("at_exchange/ours", at_ours) &&
    bench::row("at_exchange/floor", at_floor) && bench::row("at_exchange/peer:GIO", at_gio);

}  // namespace
