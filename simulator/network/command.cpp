#include "network/command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "common/base/unique_fd.h"

namespace simulated {
namespace {

// Files in memory instead of pipes: nobody has to read and write at the same time.
vek::UniqueFd memory_file(const std::string& contents) {
  vek::UniqueFd file(memfd_create("command", MFD_CLOEXEC));
  if (!file || write(file.get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size()))
    throw std::system_error(errno, std::generic_category(), "memory file");
  lseek(file.get(), 0, SEEK_SET);
  return vek::UniqueFd(file.release());
}

std::string contents_of(int file) {
  std::string text(4096, '\0');
  const ssize_t length = pread(file, text.data(), text.size(), 0);
  text.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return text;
}

}  // namespace

void run_command(const std::vector<std::string>& arguments, const std::string& input) {
  const vek::UniqueFd standard_input = memory_file(input), errors = memory_file({});
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, standard_input.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.get(), STDERR_FILENO);
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_t child = 0;
  const int failure = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::system_error(failure, std::generic_category(), arguments.front());
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  if (status != 0) throw std::runtime_error(arguments.front() + ": " + contents_of(errors.get()));
}

}  // namespace simulated
