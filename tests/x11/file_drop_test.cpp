// Files dropped onto the real program's window by a source in this process, and which of a list of URIs is taken.

#include "x11/viewer.h"
#include "app/file_drop.h"
#include "helpers/temp_dir.h"

#include <X11/Xatom.h>

namespace {

Atom atom(const char *name) {
  return XInternAtom(screen(), name, False);
}

// The other program: a window that speaks the source's side of the protocol.
struct Source {
  Window target, window = XCreateSimpleWindow(screen(), DefaultRootWindow(screen()), 0, 0, 1, 1, 0, 0, 0);

  void send(const char *type, long a = 0, long b = 0, long c = 0, long d = 0) const {
    XEvent event = {};
    event.xclient = {ClientMessage, 0, True, screen(), target, atom(type), 32, {}};
    const long words[] = {static_cast<long>(window), a, b, c, d};
    std::copy_n(words, 5, event.xclient.data.l);
    XSendEvent(screen(), target, False, NoEventMask, &event);
    XSync(screen(), False);
  }
  // The second word of the answer of this type, its lowest bit: accepted, or done.
  bool answered(const char *type) const {
    XEvent event;
    EXPECT_TRUE(wait_until([&] { return XCheckTypedWindowEvent(screen(), window, ClientMessage, &event); })) << type;
    EXPECT_EQ(event.xclient.message_type, atom(type));
    EXPECT_EQ(event.xclient.data.l[0], static_cast<long>(target));
    return event.xclient.data.l[1] & 1;
  }
  // Moves over the target with these types, three of them in the first message and all in a list.
  bool is_welcome(const std::vector<Atom> &types) const {
    XChangeProperty(screen(), window, atom("XdndTypeList"), XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(types.data()), static_cast<int>(types.size()));
    send("XdndEnter", 5L << 24 | (types.size() > 3), static_cast<long>(types[0]), static_cast<long>(types[1]),
         static_cast<long>(types[2]));
    send("XdndPosition", 0, 300 << 16 | 300, CurrentTime, static_cast<long>(atom("XdndActionCopy")));
    return answered("XdndStatus");
  }
  // Drops, and does something else until the data is fetched.
  bool drops(
      const std::string &list, const std::function<void()> &meanwhile = [] {}) const {
    XSetSelectionOwner(screen(), atom("XdndSelection"), window, CurrentTime);
    send("XdndDrop", 0, CurrentTime);
    XEvent event;
    if (!wait_until([&] { return XCheckTypedWindowEvent(screen(), window, SelectionRequest, &event); })) return false;
    meanwhile();
    const XSelectionRequestEvent &request = event.xselectionrequest;
    XChangeProperty(screen(), request.requestor, request.property, request.target, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(list.data()), static_cast<int>(list.size()));
    XEvent done = {};
    done.xselection = {
        SelectionNotify,  0,           True, screen(), request.requestor, request.selection, request.target,
        request.property, request.time};
    XSendEvent(screen(), request.requestor, False, NoEventMask, &done);
    XSync(screen(), False);
    return answered("XdndFinished");
  }
};

}  // namespace

TEST(FileDrop, ShowsTheFirstLocalFileAndOutlivesTheSource) {
  const TempDir dir;
  dir.write("a two.fax", marked_document(2, 2));
  const std::string here = "file://" + dir.string() + "/", one = dir.write("one.fax", marked_document(1, 1));
  Viewer viewer({one});
  viewer.command("reduced");
  const Source source{viewer.window};
  const Atom text = atom("text/plain"), image = atom("image/png"), list = atom("text/uri-list");
  EXPECT_FALSE(source.is_welcome({text, image, text}));
  source.send("XdndDrop");
  EXPECT_FALSE(source.answered("XdndFinished"));
  EXPECT_TRUE(source.is_welcome({list, text, image}));
  source.send("XdndLeave");
  EXPECT_TRUE(source.is_welcome({image, text, text, list}));
  EXPECT_TRUE(source.drops("# dropped\r\nfile://elsewhere/x\r\n" + here + "a%20two.fax\r\n" + here + "one.fax\r\n"));
  viewer.press("n 2 75% 0 top");
  EXPECT_TRUE(source.is_welcome({text, image, list}));
  const Source other{viewer.window};
  EXPECT_FALSE(source.drops("http://elsewhere/one.fax\r\n", [&] {
    EXPECT_TRUE(other.is_welcome({list, text, image}));
  }));
  EXPECT_TRUE(other.drops(here + "a%20two.fax\r\n"));
  EXPECT_TRUE(wait_until([&] { return viewer.program.errors().ends_with("dropped is no file of this host\n"); }));
  EXPECT_TRUE(wait_until([] { return bells_rung() > 0; }));

  XDestroyWindow(screen(), source.window);
  for (const char *type : {"XdndEnter", "XdndPosition", "XdndDrop"}) source.send(type, 1, 0, 0);
  viewer.press("n 2 75% 0 top");
}

TEST(FileDrop, TakesOnlyFilesOfThisHost) {
  const struct {
    std::string list, path;
  } rows[] = {
      {"file:///a/b.fax", "/a/b.fax"},
      {"file:/a%2Fb%c3%A9\n", "/a/b\xc3\xa9"},
      {"FILE://localhost/a%20b\r\n", "/a b"},
      {"file://here/a\r\nfile:///b", "/a"},
      {"file://there/a\r\n\r\nfile:///b\r\n", "/b"},
      {std::string("file:///a\0file:///b", 19), "/a"},
      {"file:///a%00b file:a ftp:///a", ""},
      {"file:///a%2\nfile:///a%\nfile:///%+1\nfile://here\nfile:\n#file:///a", ""},
      {"", ""},
  };
  for (const auto &[list, path] : rows) EXPECT_EQ(tolvane::first_local_file(list, "here"), path) << list;
}
