#include "board/control_files.h"

#define FUSE_USE_VERSION 314
#include <fuse_lowlevel.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace simulated {
namespace {

constexpr double kAsked = 0;  // seconds that the kernel may remember an answer

std::string name_of(const ControlFile& file) { return std::filesystem::path(file.path).filename(); }

const ControlFiles& files_of(fuse_req_t request) {
  return *static_cast<const ControlFiles*>(fuse_req_userdata(request));
}

struct stat attributes(const ControlFiles& files, fuse_ino_t node) {
  struct stat is {};
  is.st_ino = node;
  is.st_nlink = 1;
  if (const ControlFile* const file = files.file(node)) {
    is.st_mode = S_IFREG | (file->read ? 0444 : 0) | (file->write ? 0200 : 0);
    is.st_size = 4096;  // as sysfs says of its files
  } else {
    is.st_mode = S_IFDIR | 0555;
  }
  return is;
}

void lookup(fuse_req_t request, fuse_ino_t, const char* name) {
  fuse_entry_param entry{};
  entry.ino = files_of(request).node(name);
  if (entry.ino == 0) {
    fuse_reply_err(request, ENOENT);
    return;
  }
  entry.attr = attributes(files_of(request), entry.ino);
  entry.attr_timeout = entry.entry_timeout = kAsked;
  fuse_reply_entry(request, &entry);
}

void get_attributes(fuse_req_t request, fuse_ino_t node, fuse_file_info*) {
  const struct stat is = attributes(files_of(request), node);
  fuse_reply_attr(request, &is, kAsked);
}

// Whoever opens with O_TRUNC, as shells do, wants a size of 0: nothing to do, as in sysfs.
void set_attributes(fuse_req_t request, fuse_ino_t node, struct stat*, int, fuse_file_info* info) {
  get_attributes(request, node, info);
}

void list(fuse_req_t request, fuse_ino_t, size_t size, off_t offset, fuse_file_info*) {
  const ControlFiles& files = files_of(request);
  std::string entries(size, '\0');
  size_t used = 0;
  for (fuse_ino_t node = FUSE_ROOT_ID + 1 + static_cast<fuse_ino_t>(offset); files.file(node) != nullptr; node++) {
    const struct stat is = attributes(files, node);
    const auto next = static_cast<off_t>(node - FUSE_ROOT_ID);
    const size_t needed =
        fuse_add_direntry(request, &entries[used], size - used, name_of(*files.file(node)).c_str(), &is, next);
    if (needed > size - used) break;
    used += needed;
  }
  fuse_reply_buf(request, entries.data(), used);
}

void open_file(fuse_req_t request, fuse_ino_t node, fuse_file_info* info) {
  const ControlFile* const file = files_of(request).file(node);
  const int mode = info->flags & O_ACCMODE;
  if (file == nullptr) {
    fuse_reply_err(request, ENOENT);
  } else if ((mode != O_RDONLY && !file->write) || (mode != O_WRONLY && !file->read)) {
    fuse_reply_err(request, EACCES);
  } else {
    info->direct_io = 1;  // each write arrives as it was made, and no read is answered from memory
    fuse_reply_open(request, info);
  }
}

void read_file(fuse_req_t request, fuse_ino_t node, size_t size, off_t offset, fuse_file_info*) {
  const std::string text = files_of(request).file(node)->read();
  const auto from = std::min(static_cast<size_t>(offset), text.size());
  fuse_reply_buf(request, text.data() + from, std::min(size, text.size() - from));
}

void write_file(fuse_req_t request, fuse_ino_t node, const char* text, size_t size, off_t, fuse_file_info*) {
  const int refusal = files_of(request).file(node)->write({text, size});
  if (refusal == 0) {
    fuse_reply_write(request, size);
  } else {
    fuse_reply_err(request, refusal);
  }
}

constexpr fuse_lowlevel_ops kOperations = [] {
  fuse_lowlevel_ops operations{};
  operations.lookup = lookup;
  operations.getattr = get_attributes;
  operations.setattr = set_attributes;
  operations.readdir = list;
  operations.open = open_file;
  operations.read = read_file;
  operations.write = write_file;
  return operations;
}();

}  // namespace

ControlFiles::ControlFiles(asio::io_context& events, const std::string& directory, std::vector<ControlFile> files)
    : files_(std::move(files)), requests_(events) {
  // Asked here and not left to fuse_session_mount(), which writes to standard error and tries a set-uid helper.
  if (access("/dev/fuse", R_OK | W_OK) != 0) throw std::system_error(errno, std::generic_category(), "/dev/fuse");
  std::filesystem::create_directories(directory);
  char program[] = "module-sim";
  char* arguments[] = {program, nullptr};
  fuse_args args = FUSE_ARGS_INIT(1, arguments);
  session_.reset(fuse_session_new(&args, &kOperations, sizeof kOperations, this));
  if (!session_ || fuse_session_mount(session_.get(), directory.c_str()) != 0)
    throw std::system_error(errno, std::generic_category(), "mounting " + directory);
  requests_.assign(dup(fuse_session_fd(session_.get())));
  serve();
  for (const ControlFile& file : files_) {
    std::filesystem::create_directories(std::filesystem::path(file.path).parent_path());
    std::filesystem::remove(file.path);
    std::filesystem::create_symlink(directory + "/" + name_of(file), file.path);
  }
}

ControlFiles::~ControlFiles() = default;

void ControlFiles::Unmount::operator()(fuse_session* session) const {
  fuse_session_unmount(session);
  fuse_session_destroy(session);
}

// The root's number is FUSE_ROOT_ID; the files follow.
const ControlFile* ControlFiles::file(ino_t node) const {
  const size_t index = node - FUSE_ROOT_ID - 1;
  return index < files_.size() ? &files_[index] : nullptr;
}

ino_t ControlFiles::node(const std::string& name) const {
  const auto found = std::ranges::find(files_, name, name_of);
  return found == files_.end() ? 0 : static_cast<ino_t>(found - files_.begin()) + FUSE_ROOT_ID + 1;
}

void ControlFiles::serve() {
  requests_.async_wait(asio::posix::stream_descriptor::wait_read, [this](asio::error_code failure) {
    if (failure) return;
    fuse_buf request{};
    if (fuse_session_receive_buf(session_.get(), &request) > 0) fuse_session_process_buf(session_.get(), &request);
    std::free(request.mem);
    if (fuse_session_exited(session_.get()) == 0) serve();
  });
}

}  // namespace simulated
