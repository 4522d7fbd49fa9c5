// The start and every way out: the real program's arguments, texts, channels and statuses, and the steps on their own.

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "x11/viewer.h"
#include "helpers/fax_bytes.h"
#include "helpers/places.h"
#include "helpers/temp_dir.h"

namespace {

const std::string USAGE =
    "\nTolvane Version  9.2     Release 9.01 syntax:\n\n"
    "tolvane [-r100 | -r75 | -r50]   /* view full size, 75%, 50% */ \n"
    "        [-s server] \n        [-p printer_name] \n        fax_filename\n\n";

using Words = std::vector<std::string>;

std::string host_name() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

}  // namespace

TEST(Start, EndsThatNeedNoWindow) {
  const TempDir dir;
  dir.write("empty", "abc");
  dir.write("text", "no fax");
  dir.write("cut", fax_bytes("#PAGES:1\n").substr(0, 12));
  mkfifo(dir.path("fifo").c_str(), 0600);
  const std::string corrupted = "read_fax_header: Bad fax file: Corrupted header\n";
  const struct {
    Words arguments;
    int status;
    std::string errors, display = getenv("DISPLAY"), output = "";
  } rows[] = {
      {{"-rev"}, 0, "\nTolvane Version  9.2     Release 9.01\n\n", ":4711"},
      {{"-help"}, 1, USAGE, ":4711"},
      {{"-help2"}, 0, "\nTolvane Version  9.2     Release 9.01:\nThe date of this version: 07/26/99\n\n", ":4711"},
      {{"text"}, 1, "Warning: cannot open display\n", ":4711"},
      {{}, 1, USAGE},
      {{"text", "-r50", "-s"}, 1, USAGE},
      {{"my-good.fax", "text"}, 1, USAGE},
      {{"text", "-unknown", "none"}, 1, "Can't find file 'none'.\n"},
      {{"\x1b[2J\xe4"}, 1, "Can't find file '\\x1b[2J\\xe4'.\n"},
      {{std::string(199, 'n')}, 1, "Can't find file '" + std::string(199, 'n') + "'.\n"},
      {{std::string(200, 'n')}, 1, "tolvane: fax file name longer than 199 bytes\n"},
      {{"-p", std::string(100, 'n'), "text"}, 1, "tolvane: printer name longer than 99 bytes\n"},
      {{"-s", std::string(100, 'n'), "text"}, 1, "tolvane: server name longer than 99 bytes\n"},
      {{"empty"}, 1, "File 'empty' is empty !\n"},
      {{"fifo"}, 1, "File 'fifo' is empty !\n"},
      {{"cut"}, 1, corrupted, getenv("DISPLAY"), corrupted},
      {{"text"}, 1, "File 'text' is not a fax !\n"},
  };
  for (const auto &[arguments, status, errors, display, output] : rows) {
    ChildProcess program(viewer_command(arguments), {"XKEYSYMDB=none", "DISPLAY=" + display}, dir.string());
    EXPECT_EQ(program.wait(PATIENCE), status) << testing::PrintToString(arguments);
    EXPECT_EQ(program.output(), output);
    EXPECT_EQ(program.errors(), errors);
  }
}

TEST(Start, EndsOfARunningViewer) {
  const TempDir dir;
  const std::string document = dir.write("one.fax", marked_document(1, 1));
  for (const int end : {0, 1, SIGINT, SIGSEGV, SIGBUS}) {
    Viewer viewer({document}, {"XKEYSYMDB=none"});
    viewer.command("x");  // answered once the start is over
    if (end == 0) close_window(viewer.window);
    if (end == 1) press_button(viewer.window, 1);  // "Dismiss"
    if (end > 1) viewer.program.kill(end);
    const bool fault = end > SIGINT;
    EXPECT_EQ(viewer.program.wait(PATIENCE), fault ? end : 0);
    EXPECT_EQ(viewer.program.errors(), fault ? "Exiting with error code " + std::to_string(end) + "\n" : "");
  }
}

TEST(Start, OpensWithTheLastScaleAndTheLastFile) {
  const TempDir dir;
  dir.write("one.fax", marked_document(1, 1));
  dir.write("two.fax", marked_document(2, 2));
  struct {
    Words arguments;
    const char *shown;
  } const rows[] = {
      {{"none", "two.fax"}, "1 100% 0 top"},
      {{"-r50", "-r100", "-r75", "two.fax"}, "1 75% 0 top"},
      {{"two.fax", "-r100", "-r50"}, "1 50% 0 top"},
      {{"-s", "-r75", "-p", "-r50", "my-good.fax", "none", "two.fax"}, "1 100% 0 top"},
  };
  for (const auto &[arguments, shown] : rows) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Viewer viewer(arguments, {"FAXTRACE="}, dir.string());
    ChildProcess properties({"xprop", "-id", std::to_string(viewer.window), "_NET_WM_PID", "WM_CLIENT_MACHINE"});
    properties.wait(PATIENCE);
    EXPECT_EQ(properties.output(), "_NET_WM_PID(CARDINAL) = " + std::to_string(viewer.program.pid()) +
                                       "\nWM_CLIENT_MACHINE(STRING) = \"" + host_name() + "\"\n");
    viewer.expect(shown);
    const bool installed = std::filesystem::exists("/usr/lib/X11/XKeysymDB");
    EXPECT_EQ(viewer.program.errors(),
              installed ? "" : "\nWarning! Couldn't find file 'XKeysymDB' in any of the usual locations.\n\n");
    EXPECT_TRUE(viewer.replies(1).starts_with("read "));
    viewer.program.write("nextpage\n");
    EXPECT_EQ(viewer.replies(4).substr(0, 21), "finished a page\nread ");
  }
}

TEST(Start, TheTraceOfARunningViewerIsSwitchedByAFile) {
  const TempDir dir;
  dir.write("one.fax", marked_document(1, 1));
  Viewer viewer({"one.fax"}, {"XKEYSYMDB=none", "SORBEXHOME=" + dir.string(), "SORBEXTMP=" + dir.string()},
                dir.string());
  viewer.expect("1 100% 0 top");
  dir.write("TRACES", "tolvane\n");
  viewer.program.write("rotate_90\nsaypage\n");
  EXPECT_EQ(viewer.replies(3), "OK\npage==1\nOK\n");
  const std::string trace = read_file(dir.path("trace_tolvane"));
  for (const char *line : {"read page 1 of one.fax", "decoded page 1: 2101 lines", "command 'saypage'"})
    EXPECT_NE(trace.find(line), std::string::npos) << line << " is not in\n" << trace;
}

TEST(Start, AFailureIsShownInTheWindowWhereNobodyReadsStandardError) {
  const TempDir dir;
  dir.write("text", "no fax");
  const std::string whole = fax_bytes("#PAGES:1\n", {"page"});
  dir.write("cut.fax", whole.substr(0, whole.size() - 1));
  const struct {
    const char *arguments;
    int status;
  } rows[] = {{"none", 1}, {"text", 1}, {"", 1}, {"-xrm '*showMessages: true' text 2>&-", 1}, {"cut.fax", -1}};
  for (const auto &[arguments, status] : rows) {
    SCOPED_TRACE(arguments);
    ChildProcess program({"sh", "-c", "exec " + viewer_command({})[0] + " " + arguments + " </dev/null 2>/dev/null"},
                         {}, dir.string());
    const Window message = find_window("TolVane: Message");
    ASSERT_NE(message, 0u);
    EXPECT_EQ(program.wait(Milliseconds(50)), -1);  // not before the user has seen it
    close_window(message);
    EXPECT_TRUE(wait_until([&] { return !is_viewable(message); }));
    EXPECT_EQ(program.wait(Milliseconds(status < 0 ? 200 : 10000)), status);
  }
  ChildProcess quiet(
      {"sh", "-c", "exec " + viewer_command({})[0] + " -xrm '*showMessages: false' none </dev/null 2>/dev/null"});
  EXPECT_EQ(quiet.wait(PATIENCE), 1);
}

TEST(Start, AFileThatChangesIsOpenedAgainWithTheNextPageWithoutInotify) {
  const TempDir dir;
  const std::string document = dir.write("one.fax", marked_document(2, 2));
  const Viewer viewer({document}, {"LD_PRELOAD=" + in_build("tests/libno_inotify.so"),
                                   "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0"});
  viewer.press("n 2 100% 0 top");
  std::filesystem::rename(dir.write("new", marked_document(4, 4)), document);
  viewer.press("n 3 100% 0 top  End 4 100% 0 top");
  std::filesystem::remove(document);
  viewer.press("N 3 100% 0 top");
  dir.write("one.fax", marked_document(1, 1));
  viewer.press("minus 3 100% 0 top  Home 1 75% 0 top  End 1 75% 0 top");
}

TEST(Start, AFileThatChangesIsShownAgain) {
  const TempDir dir, links;
  const std::string document = dir.write("one.fax", marked_document(2, 1)), link = links.path("link.fax");
  std::filesystem::create_symlink(document, link);
  const struct {
    bool watched;
    std::string name;
  } rows[] = {{true, document}, {true, link}, {false, link}};
  for (const auto &[watched, name] : rows) {
    Viewer viewer({"-xrm", watched ? "*watchFile: True" : "*watchFile: False", name}, {"FAXTRACE="});
    const auto pages_read = [&] {
      size_t count = 0;
      const std::string &lines = viewer.program.output();
      for (size_t at = 0; (at = lines.find("finished a page\n", at)) != std::string::npos; ++at) ++count;
      return count;
    };
    const auto replace = [&](const std::string &bytes) {
      const size_t before = pages_read();
      std::filesystem::rename(dir.write("new", bytes), document);
      wait_until([&] { return pages_read() > before; }, watched ? PATIENCE : Milliseconds(800));
    };
    viewer.press("n 2 100% 0 top");  // a page more than the header states, as in the next one
    replace(marked_document(3, 1));
    viewer.expect("2 100% 0 top");
    replace(marked_document(4, 4));
    viewer.press(watched ? "End 4 100% 0 top" : "End 1 100% 0 top");
    std::filesystem::remove(document);  // without a word
    dir.write("one.fax", marked_document(1, 1));
    if (watched) viewer.expect("1 100% 0 top");  // a page that is no longer there
    dir.write("one.fax", "no fax");
    std::this_thread::sleep_for(Milliseconds(500));
    EXPECT_EQ(viewer.program.errors().find("fax !"), std::string::npos);
    dir.write("one.fax", marked_document(2, 1));
  }
}
