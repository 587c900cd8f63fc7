// A modem behind the proxy's address, in a process of its own: what it does counts neither as a client's CPU time nor
// as its instructions. It answers each request as soon as it comes, and whoever asks gets the same bytes.
#pragma once

#include <sched.h>
#include <signal.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

namespace bench {

inline sockaddr_un qmi_proxy_address() {
  sockaddr_un address = {AF_UNIX, ""};
  memcpy(address.sun_path + 1, "qmi-proxy", 9);
  return address;
}
// An abstract name counts with its length.
constexpr socklen_t kQmiProxyAddressSize = offsetof(sockaddr_un, sun_path) + 10;

constexpr uint8_t kQmiClientId = 1;  // each connection has one client
constexpr uint8_t kQmiMode = 0;      // online

// A request's frame begins with marker, length (2 bytes), sender, service, client id, flags; then come the transaction
// (one byte for service 0, CTL, else two) and the message id.
class QmiModem {
 public:
  // The modem ends with the process that started it. Both stay on one processor, as the module has one: where else the
  // scheduler wakes them would decide the figures.
  static void start() {
    static const pid_t modem = run();
    if (modem < 0) abort();
  }

 private:
  static pid_t run() {
    cpu_set_t here;
    CPU_ZERO(&here);
    CPU_SET(sched_getcpu(), &here);
    sched_setaffinity(0, sizeof here, &here);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = qmi_proxy_address();
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), kQmiProxyAddressSize) != 0) abort();
    listen(listener, 4);
    if (const pid_t modem = fork(); modem != 0) {
      close(listener);
      return modem;
    }
    // From outside: under callgrind, a process that ends itself would write a report of its own.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) std::thread(serve, accept(listener, nullptr, nullptr)).detach();
  }

  static void serve(int connection) {
    uint8_t request[512], answer[64];
    while (recv(connection, request, sizeof request, 0) > 0)
      if (send(connection, answer, write_answer(request, answer), MSG_NOSIGNAL) < 0) break;
    close(connection);
  }

  static size_t write_answer(const uint8_t* request, uint8_t* answer) {
    constexpr uint8_t kSuccess[] = {0x02, 4, 0, 0, 0, 0, 0};
    const bool ctl = request[4] == 0;
    const size_t head = ctl ? 12 : 13;
    memcpy(answer, request, head);
    answer[3] = 0x80;
    answer[6] = ctl ? 1 : 2;
    uint8_t* end = answer + head;
    memcpy(end, kSuccess, sizeof kSuccess);
    end += sizeof kSuccess;
    if (ctl && request[8] == 0x22) {  // allocate a client id for the service that the request names
      const uint8_t allocation[] = {0x01, 2, 0, request[15], kQmiClientId};
      end = static_cast<uint8_t*>(memcpy(end, allocation, sizeof allocation)) + sizeof allocation;
    } else if (ctl && request[8] == 0x23) {  // release one
      end = static_cast<uint8_t*>(memcpy(end, request + head, 5)) + 5;
    } else if (!ctl) {
      const uint8_t mode[] = {0x01, 1, 0, kQmiMode};
      end = static_cast<uint8_t*>(memcpy(end, mode, sizeof mode)) + sizeof mode;
    }
    const auto size = static_cast<size_t>(end - answer);
    answer[1] = static_cast<uint8_t>(size - 1);
    answer[head - 2] = static_cast<uint8_t>(size - head);
    return size;
  }
};

}  // namespace bench
