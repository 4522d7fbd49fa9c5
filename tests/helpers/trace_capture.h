// The trace lines that are written while it lives.
#pragma once

#include <cstdio>
#include <string>

class TraceCapture {
 public:
  TraceCapture();
  ~TraceCapture();
  /// What was written since the last call, each line without the time in front.
  std::string take();

 private:
  FILE *stream_;
};

/// A trace's text, each line without the time in front.
std::string without_times(const std::string &text);
