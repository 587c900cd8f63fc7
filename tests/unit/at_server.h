// A server on the module's AT port that answers as a test's script says.
#pragma once

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "vek_pal/at_client.h"

inline std::string read_line(int connection) {
  std::string line;
  char c;
  while (!line.ends_with("\r\n") && recv(connection, &c, 1, 0) == 1) line += c;
  return line;
}

inline void write_all(int connection, const std::string& text) {
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
