// The properties of the window for desktops. The icon is the project's, packaging/tolvane.svg, at a quarter of its
// size.
#include "app/window_identity.h"

#include <unistd.h>

#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|window_identity|9|01|1|0|0|11/23/26|06:40:00";

constexpr int ICON_SIZE = 32;
constexpr unsigned long DARK = 0xff5b342a, BODY = 0xffdd9e8d, FOLD = 0xfff3d9d1, PAPER = 0xffffffff, INK = 0xff222222;

// Rectangles in pixels of the icon, painted in this order.
struct Shape {
  int x, y, width, height;
  unsigned long argb;
};
constexpr Shape SHAPES[] = {
    {2, 15, 28, 13, DARK}, {3, 16, 26, 11, BODY}, {5, 23, 22, 2, DARK}, {19, 19, 2, 2, DARK}, {23, 19, 2, 2, DARK},
    {7, 3, 18, 15, DARK},  {8, 4, 16, 13, PAPER}, {19, 3, 6, 6, DARK},  {20, 4, 4, 4, FOLD},  {10, 7, 8, 1, INK},
    {10, 10, 12, 1, INK},  {10, 12, 10, 1, INK},  {10, 15, 12, 1, INK},
};

// Width, height, then the pixels: a cardinal of 32 bits is a long here.
std::vector<unsigned long> icon() {
  std::vector<unsigned long> words(2 + ICON_SIZE * ICON_SIZE);
  words[0] = words[1] = ICON_SIZE;
  for (const Shape &shape : SHAPES) {
    for (int y = shape.y; y < shape.y + shape.height; ++y)
      for (int x = shape.x; x < shape.x + shape.width; ++x)
        words[static_cast<size_t>(2 + y * ICON_SIZE + x)] = shape.argb;
  }
  return words;
}

void set_cardinals(Widget shell, const char *name, const std::vector<unsigned long> &words) {
  Display *const display = XtDisplay(shell);
  XChangeProperty(display, XtWindow(shell), XInternAtom(display, name, False), XA_CARDINAL, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char *>(words.data()), static_cast<int>(words.size()));
}

}  // namespace

void identify_window(Widget shell) {
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  char *list = host;
  XTextProperty machine;
  if (XStringListToTextProperty(&list, 1, &machine)) {
    XSetWMClientMachine(XtDisplay(shell), XtWindow(shell), &machine);
    XFree(machine.value);
  }
  set_cardinals(shell, "_NET_WM_PID", {static_cast<unsigned long>(getpid())});
  set_cardinals(shell, "_NET_WM_ICON", icon());
}

}  // namespace tolvane
