// The target's side of X drag and drop: the source announces its types, then positions, each of which is answered, then
// the drop, after which the data is fetched as a selection and the end reported. The source is another program's
// window, which may vanish at any time.
#include "app/file_drop.h"

#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "app/other_file.h"
#include "ui/motif_utils.h"
#include "ui/notice.h"
#include "view/view_state.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace tolvane {
namespace {

[[gnu::used]] const char SCCS_ID[] = "@(#)|file_drop|9|01|3|0|0|11/23/26|11:25:01";

constexpr long VERSION = 5;
constexpr std::string_view SCHEME = "file:";

enum Name { AWARE, ENTER, POSITION, STATUS, LEAVE, DROP, FINISHED, SELECTION, TYPE_LIST, ACTION_COPY, URI_LIST, NAMES };
constexpr const char *NAME_TEXTS[NAMES] = {"XdndAware",    "XdndEnter",      "XdndPosition", "XdndStatus",
                                           "XdndLeave",    "XdndDrop",       "XdndFinished", "XdndSelection",
                                           "XdndTypeList", "XdndActionCopy", "text/uri-list"};
Atom atoms[NAMES];

Window source;       // of the drag that is over the window; None without one, and once it has dropped
bool offers_a_file;  // its types include text/uri-list

// Errors of requests on the source's window are passed over while this lives.
class PassErrors {
 public:
  explicit PassErrors(Display *display)
      : display_(display), usual_(XSetErrorHandler([](Display *, XErrorEvent *) { return 0; })) {}
  ~PassErrors() {
    XSync(display_, False);
    XSetErrorHandler(usual_);
  }
  PassErrors(const PassErrors &) = delete;
  PassErrors &operator=(const PassErrors &) = delete;

 private:
  Display *display_;
  XErrorHandler usual_;
};

void send(Widget shell, Window receiver, Name type, long flags, Atom action, int action_at) {
  Display *const display = XtDisplay(shell);
  XEvent event = {};
  event.xclient.type = ClientMessage;
  event.xclient.window = receiver;
  event.xclient.message_type = atoms[type];
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XtWindow(shell));
  event.xclient.data.l[1] = flags;
  event.xclient.data.l[action_at] = static_cast<long>(action);
  const PassErrors quiet(display);
  XSendEvent(display, receiver, False, NoEventMask, &event);
}

void answer_position(Widget shell) {
  send(shell, source, STATUS, offers_a_file, offers_a_file ? atoms[ACTION_COPY] : None, 4);
}

void finish(Widget shell, Window dropper, bool done) {
  send(shell, dropper, FINISHED, done, done ? atoms[ACTION_COPY] : None, 2);
}

// Whether a source with more types than its first message can name lists text/uri-list.
bool lists_files(Display *display) {
  const PassErrors quiet(display);
  Atom type = None;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char *data = nullptr;
  const int result = XGetWindowProperty(display, source, atoms[TYPE_LIST], 0, 1000, False, XA_ATOM, &type, &format,
                                        &count, &left, &data);
  const std::unique_ptr<unsigned char, int (*)(void *)> owner(data, XFree);
  if (result != Success || type != XA_ATOM || format != 32) return false;
  const auto *const types = reinterpret_cast<const Atom *>(data);
  return std::find(types, types + count, atoms[URI_LIST]) != types + count;
}

void enter(Widget shell, const long *data) {
  source = static_cast<Window>(data[0]);
  const bool more = data[1] & 1;
  offers_a_file = more ? lists_files(XtDisplay(shell))
                       : std::find(data + 2, data + 5, static_cast<long>(atoms[URI_LIST])) != data + 5;
}

// Shows what has been dropped. @return whether it was a file that could be looked at
bool show_dropped(const std::string &list) {
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  const std::string path = first_local_file(list, host);
  std::string fault;
  if (path.empty())
    fault = "what was dropped is no file of this host";
  else if (!show_other_file(path.c_str()))
    fault = "the name of the file dropped is longer than " + std::to_string(FAX_FILENAME_SIZE - 1) + " bytes";
  if (fault.empty()) return true;
  fprintf(stderr, "tolvane: %s\n", fault.c_str());
  bell();
  notify_user("The file cannot be shown: " + fault + ".");
  return false;
}

void take_data(Widget shell, XtPointer dropper, Atom *, Atom *type, XtPointer data, unsigned long *length,
               int *format) {
  const std::unique_ptr<void, void (*)(void *)> owner(data, [](void *block) { XtFree(static_cast<char *>(block)); });
  const bool is_text = data && *type != None && *type != XT_CONVERT_FAIL && *format == 8;
  finish(shell, reinterpret_cast<Window>(dropper),
         is_text && show_dropped(std::string(static_cast<const char *>(data), *length)));
}

void take_message(Widget shell, XtPointer, XEvent *event, Boolean *) {
  if (event->type != ClientMessage || event->xclient.format != 32) return;
  const Atom type = event->xclient.message_type;
  const long *const data = event->xclient.data.l;
  if (type == atoms[ENTER]) return enter(shell, data);
  if (source == None || static_cast<Window>(data[0]) != source) return;
  if (type == atoms[LEAVE]) source = None;
  if (type == atoms[POSITION]) answer_position(shell);
  if (type != atoms[DROP]) return;
  const Window dropper = std::exchange(source, None);  // another drag may enter while the data is fetched
  if (!offers_a_file) return finish(shell, dropper, false);
  XtGetSelectionValue(shell, atoms[SELECTION], atoms[URI_LIST], take_data, reinterpret_cast<XtPointer>(dropper),
                      static_cast<Time>(data[2]));
}

// The text with each %XX replaced by its byte; empty if one is no byte of a path.
std::string decoded(std::string_view text) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      result += text[i];
      continue;
    }
    const std::string digits(text.substr(i + 1, 2));
    char *end = nullptr;
    const long byte = strtol(digits.c_str(), &end, 16);
    if (digits.size() != 2 || !isxdigit(static_cast<unsigned char>(digits[0])) || *end || byte == 0) return {};
    result += static_cast<char>(byte);
    i += 2;
  }
  return result;
}

// The path of a file URI; empty for any other, and for a file of another host.
std::string path_of(std::string_view uri, std::string_view host) {
  if (uri.size() < SCHEME.size() || strncasecmp(uri.data(), SCHEME.data(), SCHEME.size()) != 0) return {};
  uri.remove_prefix(SCHEME.size());
  if (uri.starts_with("//")) {
    uri.remove_prefix(2);
    const std::string_view authority = uri.substr(0, uri.find('/'));
    if (!authority.empty() && authority != "localhost" && authority != host) return {};
    uri.remove_prefix(authority.size());
  }
  return uri.starts_with('/') ? decoded(uri) : std::string();
}

}  // namespace

std::string first_local_file(const std::string &list, const std::string &host) {
  for (std::string_view rest = list; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find_first_of(std::string_view("\r\n\0", 3)));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    if (const std::string path = path_of(line, host); !path.empty()) return path;
  }
  return {};
}

void accept_dropped_files(Widget shell) {
  Display *const display = XtDisplay(shell);
  XInternAtoms(display, const_cast<char **>(NAME_TEXTS), NAMES, False, atoms);
  XChangeProperty(display, XtWindow(shell), atoms[AWARE], XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<const unsigned char *>(&VERSION), 1);
  XtAddEventHandler(shell, NoEventMask, True, take_message, nullptr);
}

}  // namespace tolvane
