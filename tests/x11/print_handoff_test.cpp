// Print scripts and programs that record what they are given. None of the names may start anything.

#include <cstring>
#include <filesystem>

#include "x11/viewer.h"
#include "app/app_state.h"
#include "app/print_handoff.h"
#include "helpers/temp_dir.h"
#include "view/view_state.h"

using namespace tolvane;

namespace {

// Makes a script that writes its own path and its arguments, each in angle brackets, to the file RECORD.
void write_recorder(const TempDir &dir, const std::string &name, const std::string &more = {}) {
  const std::string path = dir.write(
      name, "#!/bin/sh\nprintf '%s' \"$0\" > \"$RECORD\"\nprintf '<%s>' \"$@\" >> \"$RECORD\"\n" + more + "exit 3\n");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

struct PrintHandOff : testing::Test {
  void SetUp() override {
    setenv("RECORD", record.c_str(), 1);
    setenv("SORBEXHOME", home.string().c_str(), 1);
    setenv("PATH", (elsewhere.string() + ":" + old_path).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", old_path.c_str(), 1); }

  // What the print program was called by and given, or what was said instead.
  std::string print(const std::string &file, const std::string &server, const std::string &printer) const {
    std::filesystem::remove(record);
    set_fax_filename(file.c_str());
    strcpy(Server_name, server.c_str());
    strcpy(Printer_name, printer.c_str());
    testing::internal::CaptureStderr();
    const int result = tn_call_ormbrix();
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, errors.empty() ? 0 : 1);
    return read_file(record) + errors;
  }

  const TempDir home, elsewhere, notes;
  const std::string record = notes.path("record"), old_path = getenv("PATH");
};

}  // namespace

TEST_F(PrintHandOff, TheScriptComesBeforeTheProgramAndEachHasItsLine) {
  EXPECT_EQ(print("a.fax", "host", "lp"), "\aCouldn't find script 'tolvane_print' or executable 'ormbrix2'\n");
  write_recorder(elsewhere, "ormbrix2");
  EXPECT_EQ(print("a.fax", "host", "lp"), elsewhere.path("ormbrix2") + "<-s><host><-pr><lp><a.fax>");
  write_recorder(home, "ormbrix2");
  EXPECT_EQ(print("a.fax", "host", ""), home.path("ormbrix2") + "<-s><host><a.fax>");
  write_recorder(elsewhere, "tolvane_print");
  EXPECT_EQ(print("a.fax", "host", "lp"), elsewhere.path("tolvane_print") + "<a.fax><host><lp>");
}

TEST_F(PrintHandOff, NamesArriveAsTheyAreAndStartNothing) {
  const std::string trap = "touch " + notes.path("started");
  const std::string files[] = {"two  blanks.fax",    "a\"b\".fax",        "it's.fax",   "$HOME.fax",
                               "`" + trap + "`.fax", "back\\slash\\",     "a\nb.fax",   "x & " + trap,
                               "*?[a]!~#",           "\\$(" + trap + ")", "\"; " + trap};
  const std::string server = "h-1.example:631", printer = "lp@a/b_c+d%e,f=g", names = server + "><" + printer;
  for (const std::string &file : files) {
    std::filesystem::remove(elsewhere.path("tolvane_print"));
    write_recorder(elsewhere, "ormbrix2");
    EXPECT_EQ(print(file, server, printer),
              elsewhere.path("ormbrix2") + "<-s><" + server + "><-pr><" + printer + "><" + file + ">");
    write_recorder(elsewhere, "tolvane_print");
    EXPECT_EQ(print(file, server, printer), elsewhere.path("tolvane_print") + "<" + file + "><" + names + ">");
  }
  for (const auto &[bad, shown] : {std::pair<const char *, std::string>{"a b", "a b"},
                                   {"a;b", "a;b"},
                                   {"$(id)", "$(id)"},
                                   {"a\"b", "a\"b"},
                                   {"\xE4\x1b", "\\xe4\\x1b"}}) {
    const std::string refusal = " name '" + shown +
                                "' cannot be passed to the print program: it may contain only "
                                "letters, digits and ._:@/-+%,=\n";
    EXPECT_EQ(print("a.fax", bad, ""), "tolvane: server" + refusal);
    EXPECT_EQ(print("a.fax", "host", bad), "tolvane: printer" + refusal);
  }
  EXPECT_FALSE(std::filesystem::exists(notes.path("started")));
}

TEST_F(PrintHandOff, AProgramInAnOddOrDeepDirectory) {
  const std::string odd = home.path("my $(touch started) \"prints\"");
  // The second makes a command of 4096 bytes, one too many.
  std::string deep = home.string();
  const size_t size = 4096 - strlen("/tolvane_print \"a.fax\" \"host\" \"lp\"");
  while (deep.size() < size) deep += "/" + std::string(std::min<size_t>(200, size - deep.size() - 1), 'd');
  const std::pair<std::string, std::string> rows[] = {{odd, odd + "/tolvane_print<a.fax><host><lp>"},
                                                      {deep, "tolvane: print command longer than 4095 bytes\n"}};
  write_recorder(home, "tolvane_print");
  for (const auto &[directory, said] : rows) {
    std::filesystem::create_directories(directory);
    std::filesystem::copy(home.path("tolvane_print"), directory + "/tolvane_print");
    setenv("SORBEXHOME", directory.c_str(), 1);
    EXPECT_EQ(print("a.fax", "host", "lp"), said);
  }
}

TEST_F(PrintHandOff, AFailureIsShownWhateverDescriptorsTheViewerInherits) {
  write_recorder(notes, "tolvane_print", "echo jammed; ");
  const std::string document = notes.write("one.fax", marked_document(1, 1));
  ChildProcess program(
      {"sh", "-c",
       "exec 3<&0 4<&0 5<&0 6<&0 7<&0 8<&0 9<&0 " + viewer_command({})[0] + " -xrm '*showMessages: True' \"$0\"",
       document},
      {}, notes.string());
  const Area area = area_of(find_window("TolVane"));
  click(area.x + 300, area.y + 100, 2);
  press_key("p");
  EXPECT_NE(find_window("TolVane: Message"), 0u);
  EXPECT_TRUE(wait_until([&] { return program.errors().ends_with("jammed\n"); })) << program.errors();
}

TEST_F(PrintHandOff, TheButtonAndTheKeyPrintTheFileShown) {
  write_recorder(notes, "tolvane_print", "cat >> \"$RECORD\"; echo printed; ");
  notes.write("one.fax", marked_document(1, 1));
  notes.write("two.fax", marked_document(2, 2));
  Viewer viewer({"-s", "host", "-p", "lp", "one.fax"}, {}, notes.string());
  const auto expect = [&](const std::string &printed) {
    EXPECT_TRUE(wait_until([&] { return read_file(record) == notes.path("tolvane_print") + printed; }));
  };
  viewer.command("x");  // answered once the start is over
  press_button(viewer.window, 0);
  viewer.program.write("saypage\n");  // not the input of the script, and not its output
  expect("<one.fax><host><lp>");
  EXPECT_EQ(viewer.replies(2), "page==1\nOK\n");
  viewer.program.write("newfile two.fax\n");
  EXPECT_EQ(viewer.replies(1), "OK\n");
  viewer.press("p 1 100% 0 top");
  expect("<two.fax><host><lp>");
}
