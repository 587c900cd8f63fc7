#include "vek_pal/at_client.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "at_server.h"
#include "records.h"

namespace {

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

TEST(AtClient, WaitsOnWhenASignalIsHandled) {
  struct sigaction quiet = {};
  quiet.sa_handler = [](int) {};
  sigaction(SIGUSR1, &quiet, nullptr);  // without SA_RESTART
  const pthread_t caller = pthread_self();
  AtServer server({[&](int connection) {
    read_line(connection);
    for (int i = 0; i < 20; i++) {
      pthread_kill(caller, SIGUSR1);
      usleep(1000);
    }
    write_all(connection, "first OK");
    read_line(connection);
    write_all(connection, "second OK");
  }});
  EXPECT_EQ(ask("AT+FIRST\r\n").text, "first OK");
  EXPECT_EQ(ask("AT+SECOND\r\n").text, "second OK");
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
