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
using std::filesystem::exists;

// A program that stands in a directory of its own, with "exec" and "work" for its two directories.
class TraceConfig : public testing::Test {
 protected:
  TraceConfig() {
    for (const char *name : {"SORBEXHOME", "TRACECONFIG"}) unsetenv(name);
    for (const char *name : {"exec", "work", "home"}) mkdir(dir_.path(name).c_str(), 0755);
    EXPECT_EQ(chdir(dir_.string().c_str()), 0);
    EXPECT_EQ(tr_init("exec", "work"), 1);
  }
  // Writes TRACES, newer by a second than any before; null leaves it as it is.
  void edit(const char *text, const std::string &path = "TRACES") {
    if (!text) return;
    dir_.write(path, text);
    const timespec times[] = {{++now_, 0}, {now_, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  TempDir dir_;
  time_t now_ = 1000000000;
};

static const std::string CLOSING = "open_trace_file: Closing trace file before rescaning\n";
static const std::string CLOSING_OLD = "open_trace_file: Closing old trace file before rescaning\n";

TEST_F(TraceConfig, IsRefusedUntilItIsReadyAndTwice) {
  EXPECT_EQ(tr_init("home", "home"), 0);
  edit("tolvane\n");
  EXPECT_EQ(open_trace_file("tolvane") + exists("work/trace_tolvane"), 2);
  EXPECT_TRUE(tr_close() && tr_is_trace_on() && !tr_get_file_pointer());
  EXPECT_EQ(tr_init("exec", "work"), 0) << "an open trace that was closed is the end of all traces";
  Trace_on = 0;
  EXPECT_EQ(tr_init("", "work") + tr_init("exec", "") + tr_init(nullptr, "work") + tr_init("exec", nullptr), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(open_trace_file("tolvane"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "open_trace_file:  Traces have not been properly initialized\n");
}

TEST_F(TraceConfig, AnEditedFileSwitchesTheTraceOfARunningProgram) {
  const std::string first = "one\ntwo\nthree\n" + CLOSING, second = "a\nb\n" + CLOSING_OLD + "c\n";
  // The program's name, TRACES, whether it traces, a line written then, and a file with what is in it.
  const std::tuple<const char *, const char *, int, const char *, const char *, std::string> steps[] = {
      {"p.", nullptr, 0, "lost", "p.", ""},
      {"p.", "other\n", 0, "lost", "p.", ""},
      {"p.", "p.\n", 1, "one", "p.", "one\n"},
      {"p.", nullptr, 1, "two", "p.", "one\ntwo\n"},
      {"p.", "p. on - overwrite\n", 1, "three", "p.", "one\ntwo\nthree\n"},  // the same file goes on
      {"p.", "p. oFF\n", 0, "lost", "p.", first},
      {"p.", "p. yes - -\n", 1, "four", "p.", first + "four\n"},
      {"p.", "p. - second\n", 1, "a", "second", "a\n"},
      {"p.", nullptr, 1, "b", "p.", first + "four\n" + CLOSING_OLD},
      {"p.", "p. - - Over\n", 1, "new", "p.", "new\n"},
      {"p.", "p. - second a x\np. off\n", 1, "c", "second", second},
      {"p.", "#p.\n", 0, "lost", "second", second + CLOSING},
      {"_a/b", "_a/b\n", 1, "f", "a_b", "f\n"},
      {"/opt/bin/tool", "/opt/bin/tool\n", 1, "d", "opt_bin_tool", "d\n"},
      {"./x/y", "./x/y on /tmp/no\n", 1, "e", "._x_y", "e\n"}};  // its path in the output gives way, too
  for (const auto &[name, traces, on, line, file, holds] : steps) {
    edit(traces);
    EXPECT_EQ(open_trace_file(name), 1);
    EXPECT_EQ(tr_is_trace_on(), on);
    trprintf("%s\n", line);
    EXPECT_EQ(without_times(read_file(dir_.path("work/trace_") + file)), holds) << traces;
  }
  tr_set_toggle_on(0);
  edit("./x/y yes\n");
  EXPECT_EQ(open_trace_file("./x/y") + tr_is_toggle_on(), 1) << "no change of the trace leaves it muted";
  unlink("TRACES");
  EXPECT_EQ(open_trace_file("./x/y") + tr_is_toggle_on() + tr_is_trace_on(), 2);
  EXPECT_EQ(without_times(read_file("work/trace_._x_y")), "e\n") << "a muted trace took its own farewell";
}

TEST_F(TraceConfig, FieldsAndTheirDefaults) {
  const std::string word(200, 'w'), cut(127, 'w'), long_word(300, 'w'), defaults = "yes|p.|append|";
  const std::tuple<std::string, const char *, std::string> cases[] = {
      {"p.", "p.", ""},  // no line of that name: the last character is cut off, newline or not
      {"p.x", "p.", defaults},
      {"p. \t-  - -  -\n", "p.", defaults},
      {"  p. off /tmp/t.log o five six\n", "p.", "off|/tmp/t.log|o|five"},
      {"t\nP.\n#p.\n\n  \np. on\n", "p.", "on|p.|append|"},
      {"t\n", "t", ""},  // too short a line
      {"\n", "", ""},
      {"/bin/tool x\n", "/bin/tool", "x|/bin/tool|append|"},
      {"p. " + word + " " + long_word + " " + word + " " + word + "\n", "p.",
       cut + "|" + long_word.substr(0, 255) + "|" + cut + "|" + cut},
      {std::string(1200, '#') + "\np." + std::string(1200, ' ') + "off\n", "p.", defaults}};
  char on_off[TRACE_FIELD_SIZE], output[TRACE_OUTPUT_SIZE], mode[TRACE_FIELD_SIZE], fifth[TRACE_FIELD_SIZE];
  for (const auto &[text, name, fields] : cases) {
    SCOPED_TRACE(text);
    edit(text.c_str());
    const int result = check_trace_config_file(name, on_off, output, mode, fifth);
    EXPECT_EQ(result == 0 ? std::string(on_off) + "|" + output + "|" + mode + "|" + fifth : "", fields);
    EXPECT_TRUE(result == 0 || result == 2);
    EXPECT_EQ(check_trace_config_file(name, on_off, output, mode, fifth), 3);
  }
}

TEST_F(TraceConfig, LooksAtHomeThenByTheProgramThenHere) {
  setenv("SORBEXHOME", "home", 1);
  char path[PATH_LIMIT];
  struct stat status;
  EXPECT_EQ(find_trace_config_file(nullptr, &status) + find_trace_config_file(path, &status), 0);
  for (const std::string each : {"TRACES", "exec/TRACES", "home/TRACES"}) {
    const std::string output = std::to_string(now_);
    edit(("tolvane on " + output + "\n").c_str(), each);
    EXPECT_EQ(find_trace_config_file(path, &status) ? path : "", each);
    EXPECT_EQ(open_trace_file("tolvane") + exists("work/trace_" + output), 2);
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

TEST_F(TraceConfig, TheEnvironmentMakesItTellItsWay) {
  setenv("TRACECONFIG", "", 1);
  const std::string self = "open_trace_file(a_b): ", found = "found trace config line '/a/b ",
                    on = self + "Trace_on\ntrace file is 'work/trace_",
                    looked =
                        "check_trace_config_file('/a/b')\nlooking for file 'exec/TRACES'\nlooking for file 'TRACES'\n";
  // TRACES, what is told of it, the result of that, and what is told then.
  const std::tuple<const char *, std::string, int, std::string> steps[] = {
      {nullptr, "couldn't find a TRACES file\n", 1, ""},
      {"q\n", "no trace config line for '/a/b'\n", 2, ""},
      {"/a/b on\n", found + "on'\n", 0, self + "1 on_off=\"on\"\n" + on + "a_b'\n"},
      {nullptr, "", 3, self + "no change\n"},
      {"/a/b no\n", found + "no'\n", 0, self + "1 on_off=\"no\"\n" + self + "Same config file\n"},
      {"/a/b on r\n", found + "on r'\n", 0, self + "1 on_off=\"on\"\n" + CLOSING_OLD + on + "r'\n"},
      {"/a/b off\n", found + "off'\n", 0, self + "1 on_off=\"off\"\n" + CLOSING + self + "turn off\n"}};
  for (const auto &[traces, of_file, ret, then] : steps) {
    edit(traces);
    testing::internal::CaptureStdout();
    EXPECT_EQ(open_trace_file("/a/b"), 1);
    // The variable is seen behind the very first line.
    EXPECT_EQ(testing::internal::GetCapturedStdout(), (ret == 1 ? "" : "open_trace_file(a_b)\n") + looked + of_file +
                                                          self + "ret=" + std::to_string(ret) + "\n" + then);
  }
}
