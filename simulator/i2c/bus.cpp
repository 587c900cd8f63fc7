#include "i2c/bus.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

#include "common/base/unique_fd.h"
#include "i2c/wire.h"

namespace simulated {
namespace {

using asio::posix::stream_descriptor;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kLargestSevenBit = 0x7F, kLargestTenBit = 0x3FF;

// Takes records off the front of a request; one that is too short for them is none of the shim's.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::span<const std::uint8_t> take(std::size_t length) {
    if (length > bytes_.size()) throw std::runtime_error("a request is too short");
    const auto taken = bytes_.first(length);
    bytes_ = bytes_.subspan(length);
    return taken;
  }
  template <typename Record>
  Record take() {
    Record record;
    memcpy(&record, take(sizeof record).data(), sizeof record);
    return record;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

// One opened device.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(stream_descriptor socket, Board& board, EmbeddedController& controller)
      : socket_(std::move(socket)), board_(board), controller_(controller) {}

  void serve() {
    socket_.async_wait(stream_descriptor::wait_read, [self = shared_from_this()](asio::error_code failure) {
      if (!failure && self->answer_one()) self->serve();
    });
  }

 private:
  // False: the program has closed the device.
  bool answer_one() {
    Bytes packet(sizeof(i2c::Request) + i2c::kMostMessages * (sizeof(i2c::MessageHead) + i2c::kLongestMessage));
    const ssize_t received = recv(socket_.native_handle(), packet.data(), packet.size(), MSG_DONTWAIT);
    if (received < 0) return errno == EAGAIN || errno == EINTR;
    if (received == 0) return false;
    packet.resize(static_cast<std::size_t>(received));
    Reader reader(packet);
    Bytes read;
    const int error = perform(reader, read);
    const i2c::Reply reply = {error == 0 ? result_ : -1, error};
    Bytes answer(sizeof reply);
    memcpy(answer.data(), &reply, sizeof reply);
    answer.insert(answer.end(), read.begin(), read.end());
    return send(socket_.native_handle(), answer.data(), answer.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
  }

  int perform(Reader& reader, Bytes& read) try {
    const auto request = reader.take<i2c::Request>();
    result_ = 0;
    switch (request.command) {
      case I2C_SLAVE:
      case I2C_SLAVE_FORCE:
        return request.argument <= (ten_bit_ ? kLargestTenBit : kLargestSevenBit) ? 0 : EINVAL;
      case I2C_TENBIT:
        ten_bit_ = request.argument != 0;
        return 0;
      case I2C_RDWR:
        return transfer(request.argument, reader, read);
      case i2c::kGpioSet: {
        const auto words = reader.take<i2c::GpioWords>();
        board_.set_line(words.gpio, {words.direction, words.level});
        return 0;
      }
      default:
        return ENOTTY;
    }
  } catch (const std::exception&) {
    return EINVAL;
  }

  int transfer(std::uint32_t count, Reader& reader, Bytes& read) {
    if (count > i2c::kMostMessages) return EINVAL;
    std::vector<i2c::MessageHead> heads;
    for (std::uint32_t i = 0; i < count; i++) heads.push_back(reader.take<i2c::MessageHead>());
    for (const i2c::MessageHead& head : heads) {
      int error;
      if ((head.flags & I2C_M_RD) != 0) {
        const std::size_t before = read.size();
        read.resize(before + head.length);
        error = controller_.read(head.address, std::span(read).subspan(before));
      } else {
        error = controller_.write(head.address, reader.take(head.length));
      }
      if (error != 0) return error;
      result_++;
    }
    return 0;
  }

  stream_descriptor socket_;
  Board& board_;
  EmbeddedController& controller_;
  bool ten_bit_ = false;
  int result_ = 0;
};

}  // namespace

I2cBus::I2cBus(Module& module, Board& board, EmbeddedController& controller)
    : board_(board), controller_(controller), listener_(module.events) {
  const i2c::BusAddress bus;
  vek::UniqueFd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!listener || bind(listener.get(), bus.get(), bus.length) != 0 || listen(listener.get(), SOMAXCONN) != 0)
    throw std::system_error(errno, std::generic_category(), "the I2C bus");
  listener_.assign(listener.release());
  accept();
}

void I2cBus::accept() {
  listener_.async_wait(stream_descriptor::wait_read, [this](asio::error_code failure) {
    if (failure) return;
    const int fd = accept4(listener_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0)
      std::make_shared<Connection>(stream_descriptor(listener_.get_executor(), fd), board_, controller_)->serve();
    accept();
  });
}

}  // namespace simulated
