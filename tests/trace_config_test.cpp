#include "support/trace_config.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "helpers/temp_dir.h"
#include "helpers/trace_capture.h"
#include "support/file.h"
#include "support/trace.h"

using namespace tolvane;

// A program that stands in a directory of its own, with "exec" and "work" for its two directories.
class TraceConfig : public testing::Test {
 protected:
  TraceConfig() {
    unsetenv("SORBEXHOME");
    umask(022);
    for (const char *name : {"exec", "work", "home"}) mkdir(dir_.path(name).c_str(), 0755);
    EXPECT_EQ(chdir(dir_.string().c_str()), 0);
    EXPECT_EQ(tr_init("exec", "work"), 1);
  }
  ~TraceConfig() override {
    tr_close();
    Trace_on = 0;
  }
  // Writes TRACES, newer by a second than any before.
  void edit(const std::string &text, const std::string &path = "TRACES") {
    dir_.write(path, text);
    const timespec times[] = {{++now_, 0}, {now_, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  TempDir dir_;
  static inline time_t now_ = 1000000000;
};

TEST_F(TraceConfig, AnEditedFileSwitchesTheTraceOfARunningProgram) {
  const std::string first = "one\nthree\nopen_trace_file: Closing trace file before rescaning\n";
  // The program's name, TRACES, whether it traces, a line written then, and a file with what is in it.
  const std::tuple<const char *, const char *, int, const char *, const char *, std::string> steps[] = {
      {"p.", "other\n", 0, "lost", "p.", ""},
      {"p.", "p.\n", 1, "one", "p.", "one\n"},
      {"p.", "p. on - overwrite\n", 1, "three", "p.", "one\nthree\n"},  // the same file goes on
      {"p.", "p. oFF\n", 0, "lost", "p.", first},
      {"p.", "p. - second\n", 1, "a", "second", "a\n"},
      {"p.", "p. - - Over\n", 1, "new", "p.", "new\n"},
      {"./x/y", "./x/y on /tmp/no\n", 1, "e", "._x_y", "e\n"}};  // its path in the output gives way, too
  for (const auto &[name, traces, on, line, file, holds] : steps) {
    edit(traces);
    EXPECT_EQ(open_trace_file(name), 1);
    EXPECT_EQ(tr_is_trace_on(), on);
    trprintf("%s\n", line);
    EXPECT_EQ(without_times(read_file(dir_.path("work/trace_") + file)), holds) << traces;
  }
  --now_;
  edit("./x/y off\n");  // no newer than the one before: not read
  EXPECT_EQ(open_trace_file("./x/y"), 1);
  EXPECT_EQ(tr_is_trace_on(), 1);
}

TEST_F(TraceConfig, FieldsAndTheirDefaults) {
  const std::string word(200, 'w'), cut(127, 'w'), long_word(300, 'w'), defaults = "yes|p.|append|";
  const std::tuple<std::string, const char *, std::string> cases[] = {
      {"p.", "p.", ""},  // no line of that name: the last character is cut off, newline or not
      {"p. \t-  - -  -\n", "p.", defaults},
      {"  p. off /tmp/t.log o five six\n", "p.", "off|/tmp/t.log|o|five"},
      {"p. " + word + " " + long_word + " " + word + " " + word + "\n", "p.",
       cut + "|" + long_word.substr(0, 255) + "|" + cut + "|" + cut},
      {std::string(1200, '#') + "\np." + std::string(1200, ' ') + "off\n", "p.", defaults}};
  char on_off[TRACE_FIELD_SIZE], output[TRACE_OUTPUT_SIZE], mode[TRACE_FIELD_SIZE], fifth[TRACE_FIELD_SIZE];
  for (const auto &[text, name, fields] : cases) {
    SCOPED_TRACE(text);
    edit(text);
    const int result = check_trace_config_file(name, on_off, output, mode, fifth);
    EXPECT_EQ(result == 0 ? std::string(on_off) + "|" + output + "|" + mode + "|" + fifth : "", fields);
  }
}

TEST_F(TraceConfig, LooksAtHomeThenByTheProgramThenHere) {
  setenv("SORBEXHOME", "home", 1);
  char path[PATH_LIMIT];
  struct stat status;
  for (const std::string each : {"TRACES", "exec/TRACES", "home/TRACES"}) {
    edit("tolvane on\n", each);
    EXPECT_EQ(find_trace_config_file(path, &status) ? path : "", each);
  }
  setenv("SORBEXHOME", std::string(PATH_LIMIT - 1, '/').c_str(), 1);  // would lead to /T if it were cut
  EXPECT_EQ(find_trace_config_file(path, &status) ? std::string(path) : "", "exec/TRACES");
}

TEST_F(TraceConfig, StandardStreamsAndTheFallback) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const auto &[traces, result] :
       {std::pair("t. on stdout\n", 1), {"t. on stderr\n", 1}, {"t. on /no/dir/x\n", 0}, {"t. off\n", 1}}) {
    edit(traces);
    EXPECT_EQ(open_trace_file("t."), result);
    tr_puts(traces);
  }
  EXPECT_EQ(without_times(testing::internal::GetCapturedStdout()), "t. on stdout\nt. on /no/dir/x\n");
  EXPECT_EQ(without_times(testing::internal::GetCapturedStderr()),
            "t. on stderr\nopen_trace_file:  Couldn't open trace file '/no/dir/x', using stdout, errno=2\n");
}

// In directories that others can write, neither TRACES nor a trace file is what somebody else has put there.
TEST_F(TraceConfig, WhatOthersPutThereIsNotFollowed) {
  const auto traces = [&](const char *text) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    edit(text);
    open_trace_file("p.");
    tr_puts("line");
    open_trace_file("p.");
    const bool refused = testing::internal::GetCapturedStderr().find("Couldn't open") != std::string::npos;
    testing::internal::GetCapturedStdout();
    return refused;
  };
  dir_.write("mine", "mine");
  EXPECT_EQ(symlink("../mine", "work/trace_link"), 0);
  EXPECT_EQ(link("mine", "work/trace_hard"), 0);
  EXPECT_EQ(mkfifo("work/trace_fifo", 0666), 0);
  for (const mode_t mode : {0775, 0777}) {
    chmod("work", mode);
    for (const char *text : {"p. - link over\n", "p. - hard over\n", "p. - fifo\n"}) EXPECT_TRUE(traces(text)) << text;
  }
  EXPECT_EQ(read_file("mine"), "mine");
  EXPECT_FALSE(traces("p. - plain\n"));

  char path[PATH_LIMIT];
  struct stat status;
  chmod("TRACES", 0666);
  EXPECT_EQ(find_trace_config_file(path, &status), 0);
  std::filesystem::rename("TRACES", "received");
  EXPECT_EQ(chmod("received", 0600) + symlink("received", "TRACES"), 0);
  EXPECT_EQ(find_trace_config_file(path, &status), 1);
  if (geteuid() == 0) {
    EXPECT_EQ(lchown("TRACES", 65534, 65534), 0);
    EXPECT_EQ(find_trace_config_file(path, &status), 0);
  }
  std::filesystem::remove("TRACES");
  EXPECT_EQ(mkfifo("exec/TRACES", 0600), 0);
  EXPECT_EQ(open_trace_file("p."), 1);
  EXPECT_EQ(tr_is_trace_on(), 0);
}
