#include "orvel/testing/run_program.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace orvel::testing {
namespace {

struct Pipe {
  int readEnd = -1;
  int writeEnd = -1;
  Pipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error(std::strerror(errno));
    readEnd = fds[0];
    writeEnd = fds[1];
  }
};

// Feeds input to the child and drains its two outputs together, so neither side can block
// the other on a full pipe.
void exchange(int inFd, const std::string& input, int outFd, int errFd, ProgramResult& result) {
  std::size_t written = 0;
  if (input.empty()) {
    close(inFd);
    inFd = -1;
  }
  char buffer[65536];
  while (outFd >= 0 || errFd >= 0) {
    pollfd fds[3] = {{outFd, POLLIN, 0}, {errFd, POLLIN, 0}, {inFd, POLLOUT, 0}};
    if (poll(fds, 3, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int k = 0; k < 2; ++k) {
      int& fd = k == 0 ? outFd : errFd;
      if (fd < 0 || !(fds[k].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      const ssize_t n = read(fd, buffer, sizeof buffer);
      if (n <= 0) {
        close(fd);
        fd = -1;
      } else {
        (k == 0 ? result.out : result.err).append(buffer, static_cast<std::size_t>(n));
      }
    }
    if (inFd >= 0 && (fds[2].revents & (POLLOUT | POLLERR | POLLHUP))) {
      const ssize_t n = write(inFd, input.data() + written, input.size() - written);
      if (n > 0) written += static_cast<std::size_t>(n);
      if (n <= 0 || written == input.size()) {
        close(inFd);
        inFd = -1;
      }
    }
  }
  if (inFd >= 0) close(inFd);
}

}  // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& input) {
  signal(SIGPIPE, SIG_IGN);
  Pipe in, out, err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.readEnd, 0);
  posix_spawn_file_actions_adddup2(&actions, out.writeEnd, 1);
  posix_spawn_file_actions_adddup2(&actions, err.writeEnd, 2);

  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  pid_t pid = -1;
  const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(in.readEnd);
  close(out.writeEnd);
  close(err.writeEnd);

  ProgramResult result;
  if (spawned != 0) {
    close(in.writeEnd);
    close(out.readEnd);
    close(err.readEnd);
    result.err = std::string("cannot start ") + program + ": " + std::strerror(spawned);
    return result;
  }
  exchange(in.writeEnd, input, out.readEnd, err.readEnd, result);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  return result;
}

}  // namespace orvel::testing
