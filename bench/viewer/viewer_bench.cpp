// The viewer's first page and its page turns, on a display of its own (Xvfb). The first page is measured from the start
// of the process to white pixels of the page on the screen, against a Motif program with one empty window; the runs of
// both come in turn, and the medians count. A page turn is a command, from the write to the answer.
//
//   viewer_bench [TURNS]
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "helpers/child_process.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

using Clock = std::chrono::steady_clock;

const std::string BUILD = TOLVANE_BUILD_DIR, DOCUMENT = TOLVANE_SOURCE_DIR "/examples/report.fax";
constexpr int PAGES = 3;                    // of the document
constexpr int X = 400, Y = 200, EDGE = 20;  // an area within both windows, white in the document's margin
constexpr auto PATIENCE = std::chrono::seconds(30);

Display *display;

[[noreturn]] void give_up(const char *what) {
  fprintf(stderr, "viewer_bench: %s\n", what);
  exit(1);
}

double milliseconds_until(const std::function<bool()> &condition) {
  const auto start = Clock::now();
  while (!condition())
    if (Clock::now() - start > PATIENCE) give_up("the window does not come or go");
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

bool is_white() {
  XImage *const image = XGetImage(display, DefaultRootWindow(display), X, Y, EDGE, EDGE, AllPlanes, ZPixmap);
  const bool white = image && XGetPixel(image, EDGE / 2, EDGE / 2) == WhitePixel(display, DefaultScreen(display));
  if (image) XDestroyImage(image);
  usleep(100);
  return white;
}

double first_pixels(const std::vector<std::string> &command) {
  milliseconds_until([] { return !is_white(); });
  const auto start = Clock::now();
  const ChildProcess program(command, {"XKEYSYMDB=none"});
  milliseconds_until(is_white);
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::ranges::nth_element(values, values.begin() + static_cast<ptrdiff_t>(values.size() / 2));
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char **argv) {
  const int turns = argc > 1 ? atoi(argv[1]) : 21;
  ChildProcess server({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"});
  const auto number = server.read_line();
  if (!number || turns < 1) give_up("Xvfb did not start");
  setenv("DISPLAY", (":" + *number).c_str(), 1);
  display = XOpenDisplay(nullptr);
  if (!display) give_up("no display");

  std::vector<double> first, bare, turned;
  for (int i = 0; i < turns; ++i) {
    bare.push_back(first_pixels({BUILD + "/bench/bare_window"}));
    first.push_back(first_pixels({BUILD + "/tolvane", DOCUMENT}));
  }
  ChildProcess viewer({BUILD + "/tolvane", DOCUMENT}, {"XKEYSYMDB=none"});
  for (int i = 0; i < turns + 2; ++i) {
    const auto start = Clock::now();
    viewer.write("gopage " + std::to_string(i % PAGES + 1) + "\n");
    if (viewer.read_line() != "OK") give_up("a page turn was not answered");
    if (i >= 2)  // the start is over
      turned.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  printf("\n| First page, ms | Empty window, ms | Ratio | Page turn, ms |\n|---|---|---|---|\n");
  printf("| %.1f | %.1f | %.2f | %.1f |\n", median(first), median(bare), median(first) / median(bare), median(turned));
  XCloseDisplay(display);
  server.kill(SIGTERM);
  server.wait();
}
