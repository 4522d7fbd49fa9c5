// Print scripts and programs that record what they are given. None of the names may start anything.

#include "x11/viewer.h"

#include <cstring>
#include <filesystem>

#include "app/app_state.h"
#include "app/print_handoff.h"
#include "helpers/temp_dir.h"
#include "view/view_state.h"

using namespace tolvane;

namespace {

/// Makes a script that writes its own path and its arguments, each in angle brackets, to the file RECORD.
void write_recorder(const TempDir &dir, const std::string &name, const std::string &last = "exit 3\n") {
  const std::string path =
      dir.write(name, "#!/bin/sh\nprintf '%s' \"$0\" > \"$RECORD\"\nprintf '<%s>' \"$@\" >> \"$RECORD\"\n" + last);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

class PrintHandOff : public testing::Test {
 protected:
  void SetUp() override {
    setenv("RECORD", record.c_str(), 1);
    setenv("SORBEXHOME", home.string().c_str(), 1);
    setenv("PATH", (elsewhere.string() + ":" + old_path).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", old_path.c_str(), 1); }

  int print(const std::string &file, const char *server, const char *printer) {
    std::filesystem::remove(record);
    set_fax_filename(file.c_str());
    strcpy(Server_name, server);
    strcpy(Printer_name, printer);
    testing::internal::CaptureStderr();
    const int result = tn_call_ormbrix();
    errors = testing::internal::GetCapturedStderr();
    return result;
  }

  const TempDir home, elsewhere, notes;
  const std::string record = notes.path("record"), old_path = getenv("PATH");
  std::string errors;
};

}  // namespace

TEST_F(PrintHandOff, TheScriptComesBeforeTheProgramAndEachHasItsLine) {
  EXPECT_EQ(print("a.fax", "host", "lp"), 1);
  EXPECT_EQ(errors, "\aCouldn't find script 'tolvane_print' or executable 'ormbrix2'\n");

  write_recorder(elsewhere, "ormbrix2");
  EXPECT_EQ(print("a.fax", "host", "lp"), 0);
  EXPECT_EQ(read_file(record), elsewhere.path("ormbrix2") + "<-s><host><-pr><lp><a.fax>");
  EXPECT_EQ(print("a b.fax", "host", ""), 0);
  EXPECT_EQ(read_file(record), elsewhere.path("ormbrix2") + "<-s><host><a b.fax>");

  write_recorder(home, "ormbrix2", "kill -9 $$\n");
  EXPECT_EQ(print("a.fax", "host", ""), 0);
  EXPECT_EQ(read_file(record), home.path("ormbrix2") + "<-s><host><a.fax>");

  write_recorder(elsewhere, "tolvane_print");
  EXPECT_EQ(print("a.fax", "host", "lp"), 0);
  EXPECT_EQ(read_file(record), elsewhere.path("tolvane_print") + "<a.fax><host><lp>");
  EXPECT_EQ(print("a.fax", "", ""), 0);
  EXPECT_EQ(read_file(record), elsewhere.path("tolvane_print") + "<a.fax><><>");
  EXPECT_EQ(errors, "");
}

TEST_F(PrintHandOff, NamesArriveAsTheyAreAndStartNothing) {
  const std::string trap = "touch " + notes.path("started");
  const std::string files[] = {
      "two  blanks.fax", "a\"b\".fax",  "it's.fax", "$HOME.fax",   "$(" + trap + ").fax", "`" + trap + "`.fax",
      "back\\slash\\",   "\"; " + trap, "a\nb.fax", "x & " + trap, "\\$(" + trap + ")",   "*?[a]!~#",
  };
  for (const char *name : {"ormbrix2", "tolvane_print"}) {
    write_recorder(elsewhere, name);
    const bool program = std::string(name) == "ormbrix2";
    for (const std::string &file : files) {
      EXPECT_EQ(print(file, "h-1.example:631", "lp@a/b_c+d%e,f=g"), 0);
      const std::string others[] = {"<-s><h-1.example:631><-pr><lp@a/b_c+d%e,f=g>",
                                    "<h-1.example:631><lp@a/b_c+d%e,f=g>"};
      EXPECT_EQ(read_file(record),
                elsewhere.path(name) + (program ? others[0] + "<" + file + ">" : "<" + file + ">" + others[1]));
    }
    for (const char *bad : {"a b", "a;b", "$(id)", "`id`", "a\"b", "a\\b", "a|b", "a\nb", "\xE4"}) {
      EXPECT_EQ(print("a.fax", bad, ""), 1);
      EXPECT_EQ(errors, std::string("tolvane: server name '") + bad + "' cannot be given to the print program\n");
      EXPECT_EQ(print("a.fax", "host", bad), 1);
      EXPECT_EQ(errors, std::string("tolvane: printer name '") + bad + "' cannot be given to the print program\n");
      EXPECT_FALSE(std::filesystem::exists(record));
    }
  }
  EXPECT_FALSE(std::filesystem::exists(notes.path("started")));
}

TEST_F(PrintHandOff, AProgramInAnOddOrDeepDirectory) {
  std::string path = home.string();
  std::filesystem::create_directory(path += "/my $(touch started) prints");
  setenv("SORBEXHOME", path.c_str(), 1);
  write_recorder(home, "tolvane_print");
  std::filesystem::rename(home.path("tolvane_print"), path + "/tolvane_print");
  EXPECT_EQ(print("a.fax", "host", "lp"), 0);
  EXPECT_EQ(read_file(record), path + "/tolvane_print<a.fax><host><lp>");

  // 4095 bytes are the longest command.
  for (const int excess : {0, 1}) {
    path = home.string();
    const size_t wanted = 4095 - strlen("/tolvane_print \"a.fax\" \"host\" \"lp\"") + static_cast<size_t>(excess);
    while (path.size() < wanted) path += "/" + std::string(std::min<size_t>(200, wanted - path.size() - 1), 'd');
    std::filesystem::create_directories(path);
    write_recorder(home, "tolvane_print");
    std::filesystem::rename(home.path("tolvane_print"), path + "/tolvane_print");
    setenv("SORBEXHOME", path.c_str(), 1);
    EXPECT_EQ(print("a.fax", "host", "lp"), excess);
    EXPECT_EQ(errors, excess ? "tolvane: print command longer than 4095 bytes\n" : "");
  }
}

TEST_F(PrintHandOff, TheButtonAndTheKeyPrintTheFileShown) {
  write_recorder(notes, "tolvane_print");
  notes.write("one.fax", marked_document(1, 1));
  notes.write("two.fax", marked_document(2, 2));
  Viewer viewer({"-s", "host", "-p", "lp", "one.fax"}, {"XKEYSYMDB=none"}, notes.string());
  EXPECT_EQ(viewer.shows("1 100% 0 top"), "1 100% 0 top");
  const Area area = area_of(viewer.window());
  click(area.x + 55, area.y + area.height - 52);
  const std::string first = notes.path("tolvane_print") + "<one.fax><host><lp>";
  EXPECT_TRUE(wait_until([&] { return read_file(record) == first; })) << read_file(record);
  viewer.program.write("newfile two.fax\n");
  EXPECT_EQ(viewer.replies(1), "OK\n");
  viewer.point();
  press_key("p");
  const std::string second = notes.path("tolvane_print") + "<two.fax><host><lp>";
  EXPECT_TRUE(wait_until([&] { return read_file(record) == second; })) << read_file(record);
}
