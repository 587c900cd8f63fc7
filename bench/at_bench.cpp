// A parameter list from its text, and an AT command over IPC to its answer. Runs in a bare box: the sockets are the
// module's.
#include <fcntl.h>
#include <glib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "row.h"
#include "sd_bus_peer.h"
#include "unix_socket.h"
#include "vek_pal.h"

namespace {

void quiet() {
  vek_pal_log_set_level(VEK_PAL_LOG_ERROR);
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(null, STDERR_FILENO);
}

// --- at_params: two numbers, a quoted string, a negative number and an omitted one ---

constexpr char kText[] = "3,65534,\"internet.example\",-7,";
constexpr uint32_t kCount = 5;

void params_ours(benchmark::State& state) {
  quiet();
  for (auto _ : state) {
    ATCmdParams* list;
    if (!ATCmdParams_CreateFromStr(kText, kCount, &list, nullptr)) return state.SkipWithError("no list");
    benchmark::DoNotOptimize(list->params[2].text);
    ATCmdParams_Destroy(list);
  }
}

// One block for the records, one for each text, and a pass over the characters.
void params_floor(benchmark::State& state) {
  for (auto _ : state) {
    auto* const params = static_cast<ATCmdParam*>(malloc(kCount * sizeof(ATCmdParam)));
    const char* at = kText;
    benchmark::DoNotOptimize(at);
    for (uint32_t i = 0; i < kCount; i++) {
      ATCmdParam& param = params[i];
      param = {8, nullptr, 0, 65534, 4294967294u, 2147483647, 0, 0};
      if (*at == '"') {
        const char* const end = strchr(at + 1, '"');
        const auto length = static_cast<size_t>(end - at - 1);
        param.text = static_cast<char*>(malloc(length + 1));
        memcpy(param.text, at + 1, length);
        param.text[length] = '\0';
        param.text_size = static_cast<uint32_t>(length + 1);
        param.type = 3;
        at = end + 1;
      } else if (*at != ',' && *at != '\0') {
        char* end;
        param.signed32 = static_cast<int32_t>(strtol(at, &end, 10));
        param.value32 = static_cast<uint32_t>(param.signed32);
        param.type = param.signed32 < 0 ? 9 : 1;
        at = end;
      }
      if (*at == ',') at++;
    }
    benchmark::DoNotOptimize(params);
    for (uint32_t i = 0; i < kCount; i++) free(params[i].text);
    free(params);
  }
}

// A kept scanner; what it read is kept in records as above.
void params_glib(benchmark::State& state) {
  struct Value {
    GTokenType type;
    guint64 number;
    gchar* text;
  };
  GScanner* const scanner = g_scanner_new(nullptr);
  scanner->config->scan_float = FALSE;
  for (auto _ : state) {
    Value* const values = g_new0(Value, kCount);
    g_scanner_input_text(scanner, kText, sizeof kText - 1);
    bool negative = false;
    for (uint32_t i = 0; i < kCount;) {
      const GTokenType token = g_scanner_get_next_token(scanner);
      if (token == G_TOKEN_EOF) break;
      if (token == ',') {
        i++;
      } else if (token == '-') {
        negative = true;
      } else if (token == G_TOKEN_INT) {
        values[i].type = negative ? G_TOKEN_NONE : token;
        values[i].number = scanner->value.v_int;
      } else if (token == G_TOKEN_STRING) {
        values[i].type = token;
        values[i].text = g_strdup(scanner->value.v_string);
      }
    }
    benchmark::DoNotOptimize(values);
    for (uint32_t i = 0; i < kCount; i++) g_free(values[i].text);
    g_free(values);
  }
  g_scanner_destroy(scanner);
}

// --- at_command_ipc: "AT+GTVYREN=?" to a daemon's thread and its answer back ---

constexpr char kCommand[] = "AT+GTVYREN=?";
constexpr char kAnswer[] = "+GTVYREN: (0,1)";
constexpr char kServerPath[] = "/data/vek_pal_ipc_server.sock";
constexpr char kClientPath[] = "/data/vek_pal_at_client.sock";
constexpr char kFloorPath[] = "/data/floor.sock";

// The AT server's end: sends the command, waits for the answer.
void ask(benchmark::State& state, const char* daemon) {
  const int answers = bench::bound(kClientPath);
  const int commands = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = bench::unix_address(daemon);
  char message[sizeof(int32_t) + sizeof kCommand] = {4};
  memcpy(message + sizeof(int32_t), kCommand, sizeof kCommand);
  for (auto _ : state) {
    sendto(commands, message, sizeof message, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    char answer[8192];
    if (recv(answers, answer, sizeof answer, 0) != sizeof(int32_t) + sizeof kAnswer - 1)
      return state.SkipWithError("another answer");
  }
  close(commands);
  close(answers);
}

void command_ours(benchmark::State& state) {
  quiet();
  static const bool started = [] {
    const vek_pal_at_registration registration = {"bench", 1, 0, [](const void*, uint32_t) { return 1; }};
    return vek_pal_ipc_server_init() == 0 && vek_pal_at_register(&registration) == 0;
  }();
  struct stat status;
  while (started && stat(kServerPath, &status) != 0) usleep(1000);
  ask(state, kServerPath);
}

// A thread that receives, looks the name up, and answers over a new socket.
void floor_daemon(int server) {
  for (;;) {
    char buffer[1025] = {};
    if (recv(server, buffer, sizeof buffer - 1, 0) < 4) return;
    const char* const line = buffer + sizeof(int32_t);
    if (strncasecmp(line, "AT+GTVYREN", strcspn(line, "=?")) != 0) continue;
    char answer[sizeof(int32_t) + sizeof kAnswer] = {};
    memcpy(answer + sizeof(int32_t), kAnswer, sizeof kAnswer);
    const sockaddr_un to = bench::unix_address(kClientPath);
    const int reply = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sendto(reply, answer, sizeof answer - 1, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    close(reply);
  }
}

void command_floor(benchmark::State& state) {
  const int server = bench::bound(kFloorPath);
  std::thread daemon(floor_daemon, server);
  ask(state, kFloorPath);
  const sockaddr_un address = bench::unix_address(kFloorPath);
  sendto(server, "", 1, 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  daemon.join();
  close(server);
}

void command_sd_bus(benchmark::State& state) {
  bench::SdBusPeer peer;
  for (auto _ : state)
    if (!peer.call(kCommand)) return state.SkipWithError("no answer");
}

[[maybe_unused]] const bool registered =
    bench::row("at_params/ours", params_ours) && bench::row("at_params/floor", params_floor) &&
    bench::row("at_params/peer:GLib", params_glib) && bench::row("at_command_ipc/ours", command_ours) &&
    bench::row("at_command_ipc/floor", command_floor) && bench::row("at_command_ipc/peer:sd-bus", command_sd_bus);

}  // namespace
