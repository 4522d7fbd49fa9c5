// A real program run as a child, with pipes on its standard input, output and error.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using Milliseconds = std::chrono::milliseconds;

class ChildProcess {
 public:
  /// Starts `command` (its first word is looked for in PATH) with the strings "NAME=value" added to the environment, in
  /// `directory` if that is not empty. The child goes when this process goes.
  explicit ChildProcess(const std::vector<std::string> &command, const std::vector<std::string> &environment = {},
                        const std::string &directory = {});
  /// Kills the child if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;

  pid_t pid() const { return pid_; }
  void write(std::string_view text);
  void close_input();
  /// Whether the child has read all that was written.
  bool input_is_read() const;

  /// The next line of standard output without its line feed; nothing if none has come in time.
  std::optional<std::string> read_line(Milliseconds timeout = Milliseconds(10000));
  /// Everything that has come on standard output and was not taken by `read_line`, and on standard error.
  const std::string &output() { return received(0); }
  const std::string &errors() { return received(1); }

  /// Waits for the end. The exit status; 128 and the signal for a child that a signal killed; -1 if it still runs.
  int wait(Milliseconds timeout = Milliseconds(10000));
  void kill(int signal = SIGKILL);

 private:
  struct Stream {
    int fd = -1;
    std::string text;
  };
  bool receive(Milliseconds timeout);  ///< false if nothing came in time
  const std::string &received(size_t stream);

  pid_t pid_ = -1;
  int input_ = -1;
  Stream streams_[2];  // standard output and error
  int status_ = -1;
};
