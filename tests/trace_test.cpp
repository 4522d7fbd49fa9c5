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
  for (int32_t *guard : {&Trace_toggle, &Trace_on}) {
    *guard = 0;
    write_everything();
    trace_print_date();
    EXPECT_EQ(tr_is_toggle_on() + tr_is_trace_on(), 1);
    *guard = 1;
  }
  EXPECT_EQ(capture.take(), "");
  write_everything();
  EXPECT_EQ(capture.take(),
            "lines 12\n100%s\na.b\nkey:         [page]\ncheck_value: [-3]\n    DF = [MH]\n    VR = [1]\n");
}

TEST(Trace, DateAndTimeAreLocal) {
  setenv("TZ", "XYZ-13", 1);
  TraceCapture capture;
  std::string traced, expected[2];
  for (std::string &text : expected) {  // the second may have changed meanwhile
    char now_text[40];
    const time_t now = ::time(nullptr);
    text.assign(now_text, strftime(now_text, sizeof now_text, "%e-%b-%Y %H:%M:%S ", localtime(&now)));
    trace_print_date();
    trace_print_time();
    if (traced.empty()) traced = capture.take();
  }
  EXPECT_THAT(traced, testing::AnyOfArray(expected));
}
