#include "helpers/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace {

using Pipe = std::array<int, 2>;

Pipe make_pipe() {
  Pipe ends;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe for a child process");
  return ends;
}

// Runs in the child, between fork and exec.
[[noreturn]] void become(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                         const std::string &directory) {
  signal(SIGPIPE, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  for (const std::string &entry : environment) {
    const size_t equals = entry.find('=');
    setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
  }
  std::vector<char *> words;
  for (const std::string &word : command) words.push_back(const_cast<char *>(word.c_str()));
  words.push_back(nullptr);
  if (directory.empty() || chdir(directory.c_str()) == 0) execvp(words[0], words.data());
  _exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                           const std::string &directory) {
  signal(SIGPIPE, SIG_IGN);
  const Pipe in = make_pipe(), out = make_pipe(), err = make_pipe();
  pid_ = fork();
  if (pid_ == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    become(command, environment, directory);
  }
  for (int end : {in[0], out[1], err[1]}) close(end);
  input_ = in[1];
  output_.fd = out[0];
  errors_.fd = err[0];
}

ChildProcess::~ChildProcess() {
  kill(SIGKILL);
  wait(Milliseconds(5000));
  close_input();
  for (int fd : {output_.fd, errors_.fd}) {
    if (fd >= 0) close(fd);
  }
}

void ChildProcess::write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(input_, text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<size_t>(written));
  }
}

void ChildProcess::close_input() {
  if (input_ >= 0) close(input_);
  input_ = -1;
}

void ChildProcess::receive(Milliseconds timeout) {
  pollfd ready[] = {{output_.fd, POLLIN, 0}, {errors_.fd, POLLIN, 0}};
  if (poll(ready, 2, static_cast<int>(timeout.count())) <= 0) return;
  Stream *streams[] = {&output_, &errors_};
  for (int i = 0; i < 2; i++) {
    if (!ready[i].revents) continue;
    char piece[4096];
    const ssize_t size = read(streams[i]->fd, piece, sizeof piece);
    if (size > 0) {
      streams[i]->text.append(piece, static_cast<size_t>(size));
    } else {
      close(streams[i]->fd);
      streams[i]->fd = -1;
    }
  }
}

std::optional<std::string> ChildProcess::read_line(Milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  size_t end;
  while ((end = output_.text.find('\n')) == std::string::npos) {
    if (output_.fd < 0 || std::chrono::steady_clock::now() > deadline) return std::nullopt;
    receive(Milliseconds(20));
  }
  std::string line = output_.text.substr(0, end);
  output_.text.erase(0, end + 1);
  return line;
}

const std::string &ChildProcess::output() {
  size_t before;
  do {
    before = output_.text.size() + errors_.text.size();
    receive(Milliseconds(0));
  } while (output_.text.size() + errors_.text.size() != before);
  return output_.text;
}

const std::string &ChildProcess::errors() {
  output();
  return errors_.text;
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
      receive(Milliseconds(10));
      if (output_.fd < 0 && errors_.fd < 0) usleep(2000);
    }
  }
  output();
  return status_;
}

void ChildProcess::kill(int signal) {
  if (pid_ > 0) ::kill(pid_, signal);
}
