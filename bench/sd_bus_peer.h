// The peer of the IPC rows: one method call over sd-bus to another connection on a private bus and back.
#pragma once

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

namespace bench {

class SdBusPeer {
 public:
  SdBusPeer() {
    start_daemon();
    service_ = connect();
    caller_ = connect();
    sd_bus_add_object_vtable(service_, nullptr, "/bench", "bench.Peer", kMethods, nullptr);
    sd_bus_get_unique_name(service_, &name_);
    thread_ = std::thread([this] {
      while (!over_)
        if (sd_bus_process(service_, nullptr) == 0) sd_bus_wait(service_, 20'000);
    });
  }
  ~SdBusPeer() {
    over_ = true;
    thread_.join();
    sd_bus_close_unref(caller_);
    sd_bus_close_unref(service_);
    kill(daemon_, SIGTERM);
    waitpid(daemon_, nullptr, 0);
  }

  bool call(const char* text) {
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call_method(caller_, name_, "/bench", "bench.Peer", "Echo", nullptr, &reply, "s", text);
    sd_bus_message_unref(reply);
    return result >= 0;
  }

 private:
  static int echo(sd_bus_message* message, void*, sd_bus_error*) {
    const char* text = nullptr;
    sd_bus_message_read(message, "s", &text);
    return sd_bus_reply_method_return(message, "s", text);
  }

  void start_daemon() {
    int address[2];
    if (pipe(address) != 0) abort();
    daemon_ = fork();
    if (daemon_ == 0) {
      const std::string print = "--print-address=" + std::to_string(address[1]);
      execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--address=unix:tmpdir=/tmp", print.c_str(),
             nullptr);
      _exit(127);
    }
    close(address[1]);
    FILE* const from = fdopen(address[0], "r");
    char line[256] = "";
    if (fgets(line, sizeof line, from) == nullptr) {
      fputs("sd_bus_peer: dbus-daemon does not start\n", stderr);
      exit(1);
    }
    fclose(from);
    line[strcspn(line, "\n")] = '\0';
    address_ = line;
  }

  sd_bus* connect() const {
    sd_bus* bus = nullptr;
    sd_bus_new(&bus);
    sd_bus_set_address(bus, address_.c_str());
    sd_bus_set_bus_client(bus, 1);
    if (sd_bus_start(bus) < 0) {
      fputs("sd_bus_peer: no connection to the bus\n", stderr);
      exit(1);
    }
    return bus;
  }

  static constexpr sd_bus_vtable kMethods[] = {
      SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Echo", "s", "s", echo, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};

  pid_t daemon_ = -1;
  std::string address_;
  sd_bus* service_ = nullptr;
  sd_bus* caller_ = nullptr;
  const char* name_ = nullptr;
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace bench
