#include "helpers/trace_capture.h"

#include <sstream>

#include "support/trace.h"

TraceCapture::TraceCapture() : stream_(tmpfile()) {
  tolvane::Trace_on = 1;
  tolvane::Trace_fp = stream_;
}

TraceCapture::~TraceCapture() {
  tolvane::Trace_on = 0;
  tolvane::Trace_fp = nullptr;
  fclose(stream_);
}

std::string TraceCapture::take() {
  std::string fresh(static_cast<size_t>(ftell(stream_)), '\0');
  rewind(stream_);
  fresh.resize(fread(fresh.data(), 1, fresh.size(), stream_));
  rewind(stream_);
  return without_times(fresh);
}

std::string without_times(const std::string &text) {
  std::istringstream lines(text);
  std::string all, line;
  while (std::getline(lines, line)) {
    const bool has_time = line.size() > 8 && line[2] == ':' && line[5] == ':' && line[8] == ' ';
    all += line.substr(has_time ? 9 : 0) + '\n';
  }
  return all;
}
