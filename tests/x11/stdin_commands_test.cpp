// A parent process drives the real program through pipes: the replies, the messages, and the page on the screen.
#include <sys/wait.h>

#include <cstdio>
#include <cstring>
#include <thread>

#include "x11/viewer.h"
#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

namespace {

struct Step {
  std::string input, output, errors, shown;
};

const std::string MISSING = "tolvane, gopage: missing page number\n", BAD = "tolvane, gopage: bad page number\n";

std::string unknown(const std::string &word) {
  return "tolvane: unknown command '" + word + "'\n";
}

// Runs the steps one after the other; what a step says is complete when the next one has been answered.
void take_steps(Viewer &viewer, const std::vector<Step> &steps) {
  size_t said = viewer.program.output().size(), complained = viewer.program.errors().size();
  for (const Step &step : steps) {
    SCOPED_TRACE(step.input);
    viewer.program.write(step.input);
    const auto answered = [&] {
      return viewer.program.output().size() >= said + step.output.size() &&
             viewer.program.errors().size() >= complained + step.errors.size();
    };
    wait_until(answered);
    EXPECT_TRUE(wait_until([&] { return viewer.program.input_is_read(); }));
    if (step.output.empty()) std::this_thread::sleep_for(Milliseconds(100));  // and no reply comes
    EXPECT_EQ(viewer.program.output().substr(said), step.output);
    EXPECT_EQ(viewer.program.errors().substr(complained), step.errors);
    viewer.expect(step.shown);
    said = viewer.program.output().size();
    complained = viewer.program.errors().size();
  }
}

// Processor time that a process has used, in ticks of the system.
long ticks_of(pid_t pid) {
  long user = 0, system = 0;
  sscanf(read_file("/proc/" + std::to_string(pid) + "/stat").c_str(),
         "%*d %*s %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld", &user, &system);
  return user + system;
}

struct StdinCommands : testing::Test {
  const TempDir dir;
  // The header promises one page less than there is: only the chunk steps believe it.
  const std::string document = dir.write("four.fax", marked_document(4, 3));
};

}  // namespace

TEST_F(StdinCommands, EachWordIsCarriedOutAndAnswered) {
  Viewer viewer({document});
  take_steps(viewer, {{"nextpage\nnextpage\n", "OK\nOK\n", "", "3 100% 0 top"},
                      {" \t nextpage saypage\n", "OK\npage==4\nOK\n", "", "4 100% 0 top"},
                      {"prevpage prevpage\tprevpage\r\nprevpage\n", "OK\nOK\nOK\nOK\n", "", "1 100% 0 top"},
                      {"\n", "", "", "1 100% 0 top"},
                      {"x", "", "", "1 100% 0 top"},
                      {"xy saypages\n", "", unknown("xy") + unknown("saypages"), "1 100% 0 top"},
                      {"gopage 3 4 5\n", "OK\n", "", "3 100% 0 top"},
                      {"gopage\n2\n", "OK\n", "", "2 100% 0 top"},
                      {"gopage abc\n", "", MISSING + unknown("abc"), "2 100% 0 top"},
                      {"gopage 0\ngopage -2\ngopage 5\ngopage 99999999999 saypage\n", "", BAD + BAD + BAD + BAD,
                       "2 100% 0 top"},
                      {"gopage +3x nextpage\nsaypage\n", "OK\npage==3\nOK\n", "", "3 100% 0 top"},
                      {"rotate_270\n", "OK\n", "", "3 100% 270 top"},
                      {"rotate_0 rotate_45\n", "OK\n", unknown("rotate_45"), "3 100% 0 top"},
                      {"fullsize reduced\n", "OK\nOK\n", "", "3 75% 0 top"},
                      {"reduced reduced\n", "OK\nOK\n", "", "3 50% 0 top"},
                      {"fullsize fullsize chunkdown\n", "OK\nOK\nOK\n", "", "3 100% 0 bottom"},
                      {"chunkdown saypage\n", "OK\npage==3\nOK\n", "", "3 100% 0 bottom"},  // the last that is promised
                      {"chunkup chunkup saypage\n", "OK\nOK\npage==2\nOK\n", "", "2 100% 0 bottom"},
                      {"scrolldown chunkup\n", "OK\nOK\n", "", "2 100% 0 top"}});
  viewer.press("n 3 100% 0 top");  // the interpreter's own number stays behind
  take_steps(viewer, {{"saypage\n", "page==2\nOK\n", "", "3 100% 0 top"}});
}

TEST_F(StdinCommands, AReadIsTakenForWhatItIs) {
  Viewer viewer({document});
  const std::string cut_at_1000 = std::string(994, ' ') + "nextpage\n";
  take_steps(viewer, {{"next", "", unknown("next"), "1 100% 0 top"},
                      {"page\n", "", unknown("page"), "1 100% 0 top"},
                      {cut_at_1000, "", unknown("nextpa") + unknown("ge"), "1 100% 0 top"},
                      {std::string(992, ' ') + "nextpage", "OK\n", "", "2 100% 0 top"},
                      {std::string(1000, 'w'), "", unknown(std::string(1000, 'w')), "2 100% 0 top"},
                      {std::string("saypage\0saypage\n", 16), "page==2\nOK\npage==2\nOK\n", "", "2 100% 0 top"}});
  // Whole lines in one write: no read takes a part of one for another command.
  std::string lines, replies;
  for (int i = 0; i < 200; ++i) {
    lines += i % 7 ? "gopage 0000000003\n" : "newfile " + dir.path("four.fax") + "\n";
    replies += "OK\n";
  }
  take_steps(viewer, {{lines + "gopage 000000004\nsaypage\n", replies + "OK\npage==4\nOK\n", "", "4 100% 0 top"},
                      {lines + "gopage 2", replies + "OK\n", "", "2 100% 0 top"}});
  viewer.program.close_input();
  std::this_thread::sleep_for(Milliseconds(100));
  const long before = ticks_of(viewer.program.pid());
  std::this_thread::sleep_for(Milliseconds(500));
  EXPECT_LT(ticks_of(viewer.program.pid()) - before, 10) << "the end of the input keeps the loop spinning";
  viewer.press("n 3 100% 0 top q");
  EXPECT_EQ(viewer.program.wait(PATIENCE), 0);
}

TEST_F(StdinCommands, AnotherFileKeepsScaleAndOrientation) {
  const std::string longest(199, 'n');
  dir.write("two.fax", marked_document(2, 2));
  dir.write("text", "no fax at all");
  dir.write(longest, marked_document(3, 3));
  Viewer viewer({document}, {}, dir.string());
  const std::string bad_fax = "File 'text' is not a fax !\n", no_file = "Problem with file \"none\"\n";
  take_steps(viewer,
             {
                 {"reduced rotate_270 gopage 4\n", "OK\nOK\nOK\n", "", "4 75% 270 top"},
                 {"newfile two.fax four.fax saypage\nsaypage nextpage\n", "OK\npage==1\nOK\nOK\n", "", "2 75% 270 top"},
                 {"newfile\n" + longest + "\nnextpage nextpage\n", "OK\nOK\nOK\n", "", "3 75% 270 top"},
                 {"newfile " + longest + "n\nsaypage\n", "page==3\nOK\n",
                  "tolvane, newfile: filename longer than 199 bytes\n", "3 75% 270 top"},
                 {"newfile", "", "tolvane, newfile: missing filename\n", "3 75% 270 top"},
                 {"newfile none\nsaypage\n", no_file + "OK\npage==1\nOK\n", "", "3 75% 270 top"},
                 {"newfile text saypage\nnextpage\n", "OK\nOK\n", bad_fax, "3 75% 270 top"},
             });
}

TEST_F(StdinCommands, ABackgroundJobLeavesTheTerminalAloneUntilItIsInTheForeground) {
  const std::string job = viewer_command({document})[0] + " " + document;
  ChildProcess terminal(
      {"script", "-qec", "bash -mc '" + job + " & until [ -e go ]; do sleep 0.1; done; fg'", "/dev/null"}, {},
      dir.string());
  const auto window = [] { return find_window("TolVane", Milliseconds(0)); };
  ASSERT_TRUE(wait_until([&] { return window() != 0; }));
  expect_shown(window, "1 100% 0 top");
  terminal.write("gopage 4\n");
  std::this_thread::sleep_for(Milliseconds(200));
  const Area area = area_of(window());
  click(area.x + 300, area.y + 100);
  press_key("n");
  expect_shown(window, "2 100% 0 top");
  dir.write("go", "");
  expect_shown(window, "4 100% 0 top");
  terminal.kill();  // the terminal is gone, and the viewer with it
  EXPECT_TRUE(wait_until([&] { return window() == 0; }));
}

TEST_F(StdinCommands, TheWindowOutlivesTheReaderOfTheReplies) {
  const std::string job = viewer_command({document})[0] + " " + document;
  ChildProcess program({"sh", "-c", job + " | true"});
  const auto window = [] { return find_window("TolVane", Milliseconds(0)); };
  for (const auto &[command, shown] : {std::pair{"saypage\n", "1 100% 0 top"}, {"gopage 3\n", "3 100% 0 top"}}) {
    program.write(command);
    expect_shown(window, shown);
  }
  close_window(window());
}

TEST_F(StdinCommands, ManyCommandsInOneWriteTakeNoMemory) {
  const auto resident_pages = [](pid_t pid) {
    long pages = 0;
    sscanf(read_file("/proc/" + std::to_string(pid) + "/statm").c_str(), "%*d %ld", &pages);
    return pages;
  };
  Viewer viewer({dir.write("one.fax", fax_bytes("#PAGES:1\n", {blank_page(40)}))});
  viewer.command("rotate_90");
  [[maybe_unused]] const long before = resident_pages(viewer.program.pid());
  std::string commands;
  for (int i = 0; i < 2500; ++i) commands += "rotate_0\nrotate_90\nx x x x x x x x x x x x x x x x x x\n";
  std::thread writer([&] { viewer.program.write(commands); });  // the replies are more than a pipe holds
  EXPECT_EQ(viewer.replies(50000).size(), 50000 * strlen("OK\n"));
  writer.join();
#ifndef __SANITIZE_ADDRESS__                                      // which keeps what was freed for a while
  EXPECT_LT(resident_pages(viewer.program.pid()) - before, 500);  // 2 MB
#endif
}

TEST_F(StdinCommands, KeysWorkWhileNobodyReadsRepliesOrMessages) {
  const std::string fax = dir.write("one.fax", fax_bytes("#PAGES:1\n", {blank_page(40)}));
  for (const std::string word : {"saypage\n\n\n", "what-is-this\n"}) {  // on standard output, and on standard error
    Viewer viewer({fax});
    std::string waiting;  // what comes of it is more than a pipe holds
    while (waiting.size() < 60000) waiting += word;
    viewer.program.write(waiting);
    std::this_thread::sleep_for(Milliseconds(300));
    const Area area = area_of(viewer.window);
    click(area.x + 200, area.y + 100);
    press_key("q");
    siginfo_t ended = {};
    const auto pid = static_cast<id_t>(viewer.program.pid());
    for (int i = 0; i < 500 && ended.si_pid == 0; ++i) {  // `wait` would read
      waitid(P_PID, pid, &ended, WEXITED | WNOHANG | WNOWAIT);
      std::this_thread::sleep_for(Milliseconds(10));
    }
    EXPECT_NE(ended.si_pid, 0) << word;
    EXPECT_EQ(viewer.program.wait(PATIENCE), 0) << word;
  }
}
