#include "vek_pal/at_client.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "records.h"

namespace {

std::string read_line(int connection) {
  std::string line;
  char c;
  while (!line.ends_with("\r\n") && recv(connection, &c, 1, 0) == 1) line += c;
  return line;
}

void write_all(int connection, const std::string& text) {
  ASSERT_EQ(send(connection, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
  usleep(50'000);  // what is written next arrives as another piece
}

// A server on the module's AT port: each connection is handed to the next of `scripts`.
class AtServer {
 public:
  explicit AtServer(std::vector<std::function<void(int)>> scripts) : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(40096);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(listener_, 4), 0);
    thread_ = std::jthread([this, scripts] {
      for (const auto& script : scripts) {
        const int connection = accept(listener_, nullptr, nullptr);
        script(connection);
        close(connection);
      }
    });
  }
  ~AtServer() {
    vek_pal_at_client_close();
    thread_.join();
    close(listener_);
  }

 private:
  int listener_;
  std::jthread thread_;
};

struct Answer {
  int code;
  std::string text;
  uint32_t length;
};

Answer ask(const char* command, uint32_t room = 512) {
  std::string response(room, '?');
  uint32_t length = 77;
  const int code = vek_pal_at_send(command, 1, response.data(), room, &length);
  return {code, response.substr(0, length), length};
}

}  // namespace

TEST(AtClient, SendsOneLineAndCollectsItsPieces) {
  std::vector<std::string> got;
  AtServer server({[&](int connection) {
    got.push_back(read_line(connection));
    write_all(connection, "+GTGPSCFG: 1\r\n");
    write_all(connection, "\r\nOK\r\n");
    got.push_back(read_line(connection));
    write_all(connection, "0123456789ERROR");
    got.push_back(read_line(connection));
    write_all(connection, std::string(7000, 'x') + "OK");
  }});
  const auto seen = records_of([&] {
    const Answer pieces = ask("AT+GTGPSCFG?\r\nAT+SECOND\r\n");
    EXPECT_EQ(pieces.code, 0);
    EXPECT_EQ(pieces.text, "+GTGPSCFG: 1\r\n\r\nOK\r\n");
  });
  EXPECT_TRUE(seen.has("IPC_AT", "tcp connect ok:0th!"));
  EXPECT_TRUE(seen.has("IPC_AT", "recv_size ok, but bot find error or ok will rerecv:14, total_size:14"));
  EXPECT_TRUE(seen.has("IPC_AT", "at resp ok:+len:20"));

  EXPECT_EQ(ask("AT+CUT\r\n", 10).text, "0123456789") << "a response longer than the buffer is cut";
  const Answer huge = ask("AT+HUGE\r\n", 16384);
  EXPECT_EQ(huge.code, 0);
  EXPECT_EQ(huge.length, 6144u);
  EXPECT_EQ(got, (std::vector<std::string>{"AT+GTGPSCFG?\r\n", "AT+CUT\r\n", "AT+HUGE\r\n"}));
}

TEST(AtClient, EndsTheCollectionAfterTenPiecesWithWhatThereIs) {
  std::atomic<bool> answered = false;
  AtServer server({[&](int connection) {
    read_line(connection);
    while (!answered) write_all(connection, "more\r\n");
  }});
  const auto seen = records_of([&] {
    const Answer ten = ask("AT+TEN\r\n");
    answered = true;
    EXPECT_EQ(ten.code, 0);
    EXPECT_GE(ten.length, 60u);
  });
  EXPECT_EQ(std::ranges::count_if(seen.all,
                                  [](const Record& record) { return record.text.find("rerecv") != std::string::npos; }),
            10);
}

TEST(AtClient, SendsAgainWhenTheServerHangsUp) {
  std::vector<std::string> got;
  AtServer server({[&](int connection) { got.push_back(read_line(connection)); },
                   [&](int connection) {
                     got.push_back(read_line(connection));
                     write_all(connection, "OK\r\n");
                   }});
  const auto seen = records_of([&] { EXPECT_EQ(ask("AT+ONCE\r\n").text, "OK\r\n"); });
  EXPECT_TRUE(seen.has("IPC_AT", "server disconnected, will reconnect!"));
  EXPECT_EQ(got, (std::vector<std::string>{"AT+ONCE\r\n", "AT+ONCE\r\n"}));
}

TEST(AtClient, GivesUpOnAServerThatAlwaysHangsUp) {
  AtServer server(std::vector<std::function<void(int)>>(11, [](int connection) { read_line(connection); }));
  const auto seen = records_of([&] { EXPECT_EQ(ask("AT\r\n").code, -1); });
  EXPECT_TRUE(seen.has("IPC_AT", "recv_size fail:-1"));
}

TEST(AtClient, FailsAtTheSendAfterThirtyAttempts) {
  const auto seen = records_of([&] {
    const Answer none = ask("AT\r\n");
    EXPECT_EQ(none.code, -1);
    EXPECT_EQ(none.length, 0u);
  });
  EXPECT_TRUE(seen.has("IPC_AT", "tcp connect faild:30!"));
  EXPECT_TRUE(seen.has_part("IPC_AT", "Send to at server error, sent_size fail :-1"));
  EXPECT_EQ(vek_pal_ipc_at_clinet_init(), 0) << "a failed connection is not a failure here";
  const auto closed = records_of([] { EXPECT_EQ(vek_pal_at_client_close(), 0); });
  EXPECT_TRUE(closed.has("IPC_AT", "socket is  already closed"));
}

TEST(AtClient, TurnsDownBadArguments) {
  char room[4];
  uint32_t length = 9;
  const auto seen = records_of([&] {
    EXPECT_EQ(vek_pal_at_send(nullptr, 1, room, 4, &length), -1);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(vek_pal_at_send("AT", 0, room, 4, &length), -1);
    EXPECT_EQ(vek_pal_at_send("AT", 1, nullptr, 4, &length), -1);
    EXPECT_EQ(vek_pal_at_send("AT", 1, room, 0, &length), -1);
    EXPECT_EQ(vek_pal_at_send("AT", 1, room, 4, nullptr), -1);
  });
  ASSERT_EQ(seen.all.size(), 5u);
  EXPECT_EQ(seen.all[4].text, "Invalid parameter!");
}
