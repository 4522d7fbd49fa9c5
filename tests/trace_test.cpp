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

TEST(Trace, PutsTheLocalTimeInFrontOfTextUnlessClosedMutedOrWithoutAStream) {
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
  setenv("TZ", "XYZ-13", 1);
  const auto now_text = [] {
    char text[40];
    const time_t now = ::time(nullptr);
    return std::string(text, strftime(text, sizeof text, "%e-%b-%Y %H:%M:%S ", localtime(&now)));
  };
  const std::string before = now_text();
  trace_print_date();
  trace_print_time();
  EXPECT_THAT(capture.take(), testing::AnyOf(before, now_text()));
}
