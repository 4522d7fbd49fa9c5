#include "support/trace.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <time.h>

#include "helpers/trace_capture.h"

using namespace tolvane;

static void write_everything() {
  const av_attribute second{"VR", "1", nullptr}, first{"DF", "MH", &second};
  const av_record record{"page", -3, &first};
  errno = ENOENT;
  trprintf("%s %d\n", "lines", 12);
  EXPECT_EQ(errno, ENOENT);
  tr_puts("100%s\n");
  tr_write("a.b!", 3);
  EXPECT_EQ(tr_putc('\n'), '\n');
  tr_av_printf(&record);
}

TEST(Trace, PutsTheTimeInFrontOfTextUnlessClosedMutedOrWithoutAStream) {
  write_everything();
  EXPECT_EQ(tr_get_file_pointer(), nullptr);
  TraceCapture capture;
  EXPECT_EQ(tr_set_toggle_on(0), 1);
  write_everything();
  trace_print_date();
  tr_set_toggle_on(1);
  Trace_on = 0;
  write_everything();
  EXPECT_EQ(capture.take() + std::to_string(tr_is_toggle_on()) + std::to_string(tr_is_trace_on()), "10");
  Trace_on = 1;
  write_everything();
  EXPECT_EQ(capture.take(),
            "lines 12\n100%s\na.b\nkey:         [page]\ncheck_value: [-3]\n    DF = [MH]\n    VR = [1]\n");
}

TEST(Trace, DateAndTimeAreLocal) {
  setenv("TZ", "XYZ-13", 1);
  const auto expected = [](time_t when) {
    char text[40];
    strftime(text, sizeof text, "%e-%b-%Y %H:%M:%S \n", localtime(&when));
    return std::string(text);
  };
  TraceCapture capture;
  const time_t before = ::time(nullptr);
  trace_print_date();
  trace_print_time();
  tr_putc('\n');
  EXPECT_THAT(capture.take(), testing::AnyOf(expected(before), expected(::time(nullptr))));
}
