#include "at_server/at_terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <system_error>
#include <utility>

namespace simulated {
namespace {

[[noreturn]] void give_up(const char* step) { throw std::system_error(errno, std::generic_category(), step); }

}  // namespace

AtTerminal::AtTerminal(std::string path) : path_(std::move(path)) { renew(); }

void AtTerminal::renew() {
  vek::UniqueFd master{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
  if (!master || grantpt(master.get()) != 0 || unlockpt(master.get()) != 0) give_up("pseudo terminal");
  const char* const device = ptsname(master.get());

  // Raw from the start, for a client may leave the settings alone. The first close is what makes "no client" visible.
  const vek::UniqueFd client{open(device, O_RDWR | O_NOCTTY | O_CLOEXEC)};
  termios settings;
  if (!client || tcgetattr(client.get(), &settings) != 0) give_up(device);
  cfmakeraw(&settings);
  tcsetattr(client.get(), TCSANOW, &settings);

  remove();
  if (symlink(device, path_.c_str()) != 0) give_up(path_.c_str());
  linked_ = true;
  master_.reset(master.release());
}

void AtTerminal::remove() {
  if (std::exchange(linked_, false)) unlink(path_.c_str());
}

bool AtTerminal::has_client() const {
  pollfd state{master_.get(), 0, 0};
  return poll(&state, 1, 0) == 0 || (state.revents & POLLHUP) == 0;
}

asio::posix::stream_descriptor AtTerminal::stream(const asio::any_io_executor& executor) const {
  return asio::posix::stream_descriptor{executor, fcntl(master_.get(), F_DUPFD_CLOEXEC, 0)};
}

}  // namespace simulated
