#pragma once

#include <sys/types.h>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct fuse_session;

namespace simulated {

// A file whose contents are made when it is read, and where every write is a command: as in sysfs. A missing handler
// makes the file unreadable or read-only.
struct ControlFile {
  std::string path;  // where the module has it
  std::function<std::string()> read;
  std::function<int(std::string_view)> write;  // 0, or what the writer gets as errno
};

// Serves control files from a file system of its own (FUSE) and puts a link to each where the module has it. Throws
// std::system_error where there is no FUSE.
class ControlFiles {
 public:
  ControlFiles(asio::io_context& events, const std::string& directory, std::vector<ControlFile> files);
  ~ControlFiles();
  ControlFiles(const ControlFiles&) = delete;
  ControlFiles& operator=(const ControlFiles&) = delete;

  const ControlFile* file(ino_t node) const;  // nullptr: there is none
  ino_t node(const std::string& name) const;  // 0: there is none

 private:
  struct Unmount {
    void operator()(fuse_session* session) const;
  };
  void serve();

  std::vector<ControlFile> files_;
  std::unique_ptr<fuse_session, Unmount> session_;
  asio::posix::stream_descriptor requests_;
};

}  // namespace simulated
