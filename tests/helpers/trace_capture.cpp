#include "helpers/trace_capture.h"

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
  std::string all = text;
  for (size_t at = 0; at + 8 < all.size(); at = std::min(all.find('\n', at), all.size() - 1) + 1)
    if (all[at + 2] == ':' && all[at + 5] == ':' && all[at + 8] == ' ') all.erase(at, 9);
  return all;
}
