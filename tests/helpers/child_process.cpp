#include "helpers/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace {

using Pipe = std::array<int, 2>;

Pipe make_pipe() {
  Pipe ends;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe for a child process");
  return ends;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                           const std::string &directory) {
  std::vector<std::string> words{"env", "-C", directory.empty() ? "." : directory};
  words.insert(words.end(), environment.begin(), environment.end());
  words.insert(words.end(), command.begin(), command.end());
  std::vector<char *> arguments;
  for (std::string &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  signal(SIGPIPE, SIG_IGN);
  const Pipe in = make_pipe(), out = make_pipe(), err = make_pipe();
  pid_ = fork();
  if (pid_ == 0) {
    for (int fd : {0, 1, 2}) dup2(fd == 0 ? in[0] : fd == 1 ? out[1] : err[1], fd);
    signal(SIGPIPE, SIG_DFL);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    execvp("env", arguments.data());
    _exit(127);
  }
  for (int end : {in[0], out[1], err[1]}) close(end);
  input_ = in[1];
  streams_[0].fd = out[0];
  streams_[1].fd = err[0];
}

ChildProcess::~ChildProcess() {
  kill(SIGKILL);
  wait(Milliseconds(5000));
  for (int fd : {input_, streams_[0].fd, streams_[1].fd}) close(fd);
}

void ChildProcess::write(std::string_view text) {
  for (ssize_t written; !text.empty(); text.remove_prefix(static_cast<size_t>(written)))
    if ((written = ::write(input_, text.data(), text.size())) <= 0) return;
}

void ChildProcess::close_input() {
  close(input_);
  input_ = -1;
}

bool ChildProcess::input_is_read() const {
  int waiting = 0;
  return ioctl(input_, FIONREAD, &waiting) == 0 && waiting == 0;
}

bool ChildProcess::receive(Milliseconds timeout) {
  pollfd ready[] = {{streams_[0].fd, POLLIN, 0}, {streams_[1].fd, POLLIN, 0}};
  if (poll(ready, 2, static_cast<int>(timeout.count())) <= 0) return false;
  for (size_t i = 0; i < 2; i++) {
    if (!ready[i].revents) continue;
    char piece[4096];
    const ssize_t size = read(streams_[i].fd, piece, sizeof piece);
    if (size > 0) {
      streams_[i].text.append(piece, static_cast<size_t>(size));
    } else {
      close(streams_[i].fd);
      streams_[i].fd = -1;
    }
  }
  return true;
}

std::optional<std::string> ChildProcess::read_line(Milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::string &text = streams_[0].text;
  size_t end;
  while ((end = text.find('\n')) == std::string::npos) {
    if (streams_[0].fd < 0 || std::chrono::steady_clock::now() > deadline) return std::nullopt;
    receive(Milliseconds(20));
  }
  std::string line = text.substr(0, end);
  text.erase(0, end + 1);
  return line;
}

const std::string &ChildProcess::received(size_t stream) {
  while (receive(Milliseconds(0))) continue;
  return streams_[stream].text;
}

int ChildProcess::wait(Milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (pid_ > 0) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
      pid_ = -1;
    } else if (std::chrono::steady_clock::now() > deadline) {
      return -1;
    } else {
      receive(Milliseconds(5));  // after both ends are closed a plain pause
    }
  }
  return status_;
}

void ChildProcess::kill(int signal) {
  if (pid_ > 0) ::kill(pid_, signal);
}
