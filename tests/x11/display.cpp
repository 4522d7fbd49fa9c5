#include "x11/display.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <span>
#include <thread>

#include "helpers/temp_dir.h"

#include <X11/StringDefs.h>
#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

namespace {

Display *connection;
int keyboard_event;  // the type under which the server tells of the bell

// Windows go while we look at them: errors of this connection alone are passed over, the program's own stay fatal.
XErrorHandler usual_handler;
int handle_error(Display *from, XErrorEvent *error) {
  return from == connection ? 0 : usual_handler(from, error);
}

// Where the toolkit and the window managers look for what a user has set, and leave files.
constexpr const char *SETTINGS[] = {"XENVIRONMENT",   "XAPPLRESDIR",   "XUSERFILESEARCHPATH", "XFILESEARCHPATH",
                                    "XKEYSYMDB",      "OPENWINHOME",   "SORBEXHOME",          "XDG_CONFIG_HOME",
                                    "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_DIRS"};

struct TestDisplay : testing::Environment {
  const TempDir home;
  // Large enough for the longest page at full scale, so that a whole picture can be photographed.
  ChildProcess server{{"Xvfb", "-displayfd", "1", "-screen", "0", "3800x3800x24", "-nolisten", "tcp", "-noreset"}};

  void SetUp() override {
    const auto number = server.read_line(PATIENCE);
    ASSERT_TRUE(number) << "Xvfb did not start: " << server.errors();
    setenv("DISPLAY", (":" + *number).c_str(), 1);
    setenv("LANG", "C.UTF-8", 1);  // the toolkit tags texts by it
    setenv("HOME", home.string().c_str(), 1);
    for (const char *name : SETTINGS) unsetenv(name);
    connection = XOpenDisplay(nullptr);
    ASSERT_TRUE(connection);
    XkbQueryExtension(connection, nullptr, &keyboard_event, nullptr, nullptr, nullptr);
    XkbSelectEvents(connection, XkbUseCoreKbd, XkbBellNotifyMask, XkbBellNotifyMask);
    usual_handler = XSetErrorHandler(handle_error);
  }
  void TearDown() override {
    if (connection) XCloseDisplay(connection);
    server.kill(SIGTERM);  // asked to go, not killed, the server takes its lock file with it
    server.wait();
  }
};

bool window_manager_runs() {
  XWindowAttributes root;
  XGetWindowAttributes(connection, DefaultRootWindow(connection), &root);
  return root.all_event_masks & SubstructureRedirectMask;
}

}  // namespace

int main(int argc, char **argv) {
  testing::InitGoogleMock(&argc, argv);
  testing::AddGlobalTestEnvironment(new TestDisplay);
  return RUN_ALL_TESTS();
}

bool wait_until(const std::function<bool()> &condition, Milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return condition();
    std::this_thread::sleep_for(Milliseconds(5));
  }
  return true;
}

Display *screen() {
  return connection;
}

WindowManager::WindowManager(const std::vector<std::string> &command) : manager_(command) {
  EXPECT_TRUE(wait_until(window_manager_runs)) << command[0] << " did not start: " << manager_.errors();
}

WindowManager::~WindowManager() {
  manager_.kill();
  manager_.wait();
  wait_until([] { return !window_manager_runs(); });
}

std::vector<Window> parts_of(Window window) {
  std::vector<Window> found;
  Window root, parent, *children = nullptr;
  unsigned count = 0;
  if (!XQueryTree(connection, window, &root, &parent, &children, &count)) return found;
  for (const Window part : std::span(children, count)) {
    if (!is_viewable(part)) continue;
    found.push_back(part);
    const std::vector<Window> inner = parts_of(part);
    found.insert(found.end(), inner.begin(), inner.end());
  }
  if (children) XFree(children);
  return found;
}

Window find_window(const std::string &title, Milliseconds timeout) {
  Window found = 0;
  const auto look = [&] {
    for (const Window window : parts_of(DefaultRootWindow(connection))) {
      char *name = nullptr;
      if (!XFetchName(connection, window, &name) || !name) continue;
      if (title == name) found = window;
      XFree(name);
    }
    return found != 0;
  };
  wait_until(look, timeout);
  return found;
}

Area area_of(Window window) {
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(connection, window, &attributes)) return {};
  Area area{0, 0, attributes.width, attributes.height};
  Window child;
  XTranslateCoordinates(connection, window, attributes.root, 0, 0, &area.x, &area.y, &child);
  return area;
}

Area area_of(Widget widget) {
  XSync(XtDisplayOfObject(widget), False);
  if (XtIsWidget(widget)) return area_of(XtWindow(widget));
  Position x = 0, y = 0;  // a gadget stands in the window of its parent
  Dimension width = 0, height = 0;
  XtVaGetValues(widget, XtNx, &x, XtNy, &y, XtNwidth, &width, XtNheight, &height, nullptr);
  const Area parent = area_of(XtWindowOfObject(widget));
  return {parent.x + x, parent.y + y, width, height};
}

bool is_viewable(Window window) {
  XWindowAttributes attributes;
  return XGetWindowAttributes(connection, window, &attributes) && attributes.map_state == IsViewable;
}

void resize_window(Window shell, int width, int height) {
  XResizeWindow(connection, shell, static_cast<unsigned>(width), static_cast<unsigned>(height));
  EXPECT_TRUE(wait_until([&] { return has_size(shell, width, height); }));
}

bool has_size(Window shell, int width, int height) {
  const std::vector<Window> parts = parts_of(shell);
  for (const Window window : {shell, parts.empty() ? 0 : parts.front()})
    if (const Area area = area_of(window); area.width != width || area.height != height) return false;
  return true;
}

void close_window(Window window) {
  XEvent event = {};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(connection, "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(connection, "WM_DELETE_WINDOW", False));
  XSendEvent(connection, window, False, NoEventMask, &event);
  XSync(connection, False);
}

std::vector<uint32_t> photograph(const Area &area) {
  XImage *image = XGetImage(connection, DefaultRootWindow(connection), area.x, area.y,
                            static_cast<unsigned>(area.width), static_cast<unsigned>(area.height), AllPlanes, ZPixmap);
  if (!image) return {};
  // Depth 24: a pixel is a 32-bit word in the host's order, with a byte that means nothing.
  const auto *words = reinterpret_cast<const uint32_t *>(image->data);
  std::vector<uint32_t> pixels(words, words + static_cast<ptrdiff_t>(area.width) * area.height);
  for (uint32_t &pixel : pixels) pixel &= 0xffffff;
  XDestroyImage(image);
  return pixels;
}

void drag(int from_x, int from_y, int to_x, int to_y, unsigned button) {
  XTestFakeMotionEvent(connection, -1, from_x, from_y, CurrentTime);
  XTestFakeButtonEvent(connection, button, True, CurrentTime);
  XTestFakeMotionEvent(connection, -1, to_x, to_y, CurrentTime);
  XTestFakeButtonEvent(connection, button, False, CurrentTime);
  XSync(connection, False);
}

void click(int x, int y, unsigned button) {
  drag(x, y, x, y, button);
}

void click(Widget widget) {
  const Area area = area_of(widget);
  click(area.x + area.width / 2, area.y + area.height / 2);
}

void press_key(const std::string &name) {
  const KeySym symbol = XStringToKeysym(name.c_str());
  const unsigned code = XKeysymToKeycode(connection, symbol);
  const unsigned shift = XKeysymToKeycode(connection, XK_Shift_L);
  // The plus sign and the capitals stand on the shifted level of their key.
  const bool shifted = XkbKeycodeToKeysym(connection, static_cast<KeyCode>(code), 0, 0) != symbol;
  if (shifted) XTestFakeKeyEvent(connection, shift, True, CurrentTime);
  for (const int pressed : {True, False}) XTestFakeKeyEvent(connection, code, pressed, CurrentTime);
  if (shifted) XTestFakeKeyEvent(connection, shift, False, CurrentTime);
  XSync(connection, False);
}

void hold_control(bool pressed) {
  XTestFakeKeyEvent(connection, XKeysymToKeycode(connection, XK_Control_L), pressed, CurrentTime);
  XSync(connection, False);
}

int bells_rung() {
  XSync(connection, False);
  int count = 0;
  for (XEvent event; XCheckTypedEvent(connection, keyboard_event, &event);)
    count += reinterpret_cast<XkbAnyEvent *>(&event)->xkb_type == XkbBellNotify;
  return count;
}
