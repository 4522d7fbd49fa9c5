#include "x11/display.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <X11/StringDefs.h>
#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>

namespace {

Display *connection;
int keyboard_event;  // the type under which the server tells of the bell

// Windows go while we look at them, which is no reason to end.
int ignore_error(Display *, XErrorEvent *) {
  return 0;
}

// Looks at the server from outside: errors of this connection alone are passed over, the program's own stay fatal.
XErrorHandler usual_handler;
int handle_error(Display *from, XErrorEvent *error) {
  return from == connection ? ignore_error(from, error) : usual_handler(from, error);
}

std::string title_of(Window window) {
  char *name = nullptr;
  if (!XFetchName(connection, window, &name) || !name) return {};
  std::string title = name;
  XFree(name);
  return title;
}

void collect_parts(Window window, std::vector<Window> &found) {
  Window root, parent, *children = nullptr;
  unsigned count = 0;
  if (!XQueryTree(connection, window, &root, &parent, &children, &count)) return;
  for (unsigned i = 0; i < count; i++) {
    if (!is_viewable(children[i])) continue;
    found.push_back(children[i]);
    collect_parts(children[i], found);
  }
  if (children) XFree(children);
}

bool window_manager_runs() {
  Atom type;
  int format;
  unsigned long items, left;
  unsigned char *value = nullptr;
  const Atom info = XInternAtom(connection, "_MOTIF_WM_INFO", False);
  XGetWindowProperty(connection, DefaultRootWindow(connection), info, 0, 2, False, info, &type, &format, &items, &left,
                     &value);
  if (value) XFree(value);
  return items > 0;
}

}  // namespace

bool wait_until(const std::function<bool()> &condition, Milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return condition();
    std::this_thread::sleep_for(Milliseconds(5));
  }
  return true;
}

void TestDisplay::SetUp() {
  const std::string size = std::to_string(SCREEN_WIDTH) + "x" + std::to_string(SCREEN_HEIGHT) + "x24";
  server_ = std::make_unique<ChildProcess>(
      std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", size, "-nolisten", "tcp", "-noreset"});
  const auto number = server_->read_line(Milliseconds(30000));
  ASSERT_TRUE(number) << "Xvfb did not start: " << server_->errors();
  setenv("DISPLAY", (":" + *number).c_str(), 1);
  unsetenv("XENVIRONMENT");
  connection = XOpenDisplay(nullptr);
  ASSERT_TRUE(connection);
  XkbQueryExtension(connection, nullptr, &keyboard_event, nullptr, nullptr, nullptr);
  XkbSelectEvents(connection, XkbUseCoreKbd, XkbBellNotifyMask, XkbBellNotifyMask);
  usual_handler = XSetErrorHandler(handle_error);
}

void TestDisplay::TearDown() {
  if (connection) XCloseDisplay(connection);
  connection = nullptr;
  // Asked to go, not killed, the server takes its lock file with it.
  if (server_) server_->kill(SIGTERM);
  if (server_) server_->wait();
}

Display *screen() {
  return connection;
}

WindowManager::WindowManager() : mwm_({"mwm"}) {
  EXPECT_TRUE(wait_until(window_manager_runs)) << "mwm did not start: " << mwm_.errors();
}

WindowManager::~WindowManager() {
  mwm_.kill();
  mwm_.wait();
  XDeleteProperty(connection, DefaultRootWindow(connection), XInternAtom(connection, "_MOTIF_WM_INFO", False));
  XSync(connection, False);
}

std::vector<Window> parts_of(Window window) {
  std::vector<Window> found;
  collect_parts(window, found);
  return found;
}

Window find_window(const std::string &title, Milliseconds timeout) {
  Window found = 0;
  wait_until(
      [&] {
        for (Window window : parts_of(DefaultRootWindow(connection))) {
          if (title_of(window) == title) found = window;
        }
        return found != 0;
      },
      timeout);
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

void resize_window(Window window, int width, int height) {
  XResizeWindow(connection, window, static_cast<unsigned>(width), static_cast<unsigned>(height));
  XSync(connection, False);
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

Photo photograph(Area area) {
  const int left = std::max(area.x, 0), top = std::max(area.y, 0);
  Photo picture;
  picture.width = std::max(std::min(area.x + area.width, TestDisplay::SCREEN_WIDTH) - left, 0);
  picture.height = std::max(std::min(area.y + area.height, TestDisplay::SCREEN_HEIGHT) - top, 0);
  if (picture.width == 0 || picture.height == 0) return {};
  XImage *image = XGetImage(connection, DefaultRootWindow(connection), left, top, static_cast<unsigned>(picture.width),
                            static_cast<unsigned>(picture.height), AllPlanes, ZPixmap);
  if (!image) return {};
  picture.rgb.resize(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height));
  for (int y = 0; y < picture.height; y++) {
    // Depth 24: a pixel is a 32-bit word in the host's order, with a byte that means nothing.
    uint32_t *row = &picture.rgb[static_cast<size_t>(y) * static_cast<size_t>(picture.width)];
    memcpy(row, image->data + static_cast<ptrdiff_t>(y) * image->bytes_per_line,
           static_cast<size_t>(picture.width) * sizeof *row);
    std::for_each_n(row, picture.width, [](uint32_t &pixel) { pixel &= 0xffffff; });
  }
  XDestroyImage(image);
  return picture;
}

void click(int x, int y, unsigned button) {
  drag(x, y, x, y, button);
}

void click(Widget widget) {
  const Area area = area_of(widget);
  click(area.x + area.width / 2, area.y + area.height / 2);
}

void move_pointer(int x, int y) {
  XTestFakeMotionEvent(connection, -1, x, y, CurrentTime);
  XSync(connection, False);
}

std::string cursor_name() {
  XFixesCursorImage *image = XFixesGetCursorImage(connection);
  const std::string name = image->name;
  XFree(image);
  return name;
}

int bells_rung() {
  XSync(connection, False);
  int count = 0;
  XEvent event;
  while (XCheckTypedEvent(connection, keyboard_event, &event)) {
    count += reinterpret_cast<XkbAnyEvent *>(&event)->xkb_type == XkbBellNotify;
  }
  return count;
}

void drag(int from_x, int from_y, int to_x, int to_y, unsigned button) {
  XTestFakeMotionEvent(connection, -1, from_x, from_y, CurrentTime);
  XTestFakeButtonEvent(connection, button, True, CurrentTime);
  XTestFakeMotionEvent(connection, -1, to_x, to_y, CurrentTime);
  XTestFakeButtonEvent(connection, button, False, CurrentTime);
  XSync(connection, False);
}

void press_key(const std::string &name) {
  const KeySym symbol = XStringToKeysym(name.c_str());
  const unsigned code = XKeysymToKeycode(connection, symbol);
  // The plus sign and the capitals stand on the shifted level of their key.
  const bool shifted = XkbKeycodeToKeysym(connection, static_cast<KeyCode>(code), 0, 0) != symbol;
  const unsigned shift = XKeysymToKeycode(connection, XStringToKeysym("Shift_L"));
  if (shifted) XTestFakeKeyEvent(connection, shift, True, CurrentTime);
  XTestFakeKeyEvent(connection, code, True, CurrentTime);
  XTestFakeKeyEvent(connection, code, False, CurrentTime);
  if (shifted) XTestFakeKeyEvent(connection, shift, False, CurrentTime);
  XSync(connection, False);
}
