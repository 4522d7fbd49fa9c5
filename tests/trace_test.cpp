#include "support/trace.h"

#include <gtest/gtest.h>

#include "helpers/trace_capture.h"

using namespace tolvane;

static void write_everything() {
  const av_attribute second{"VR", "1", nullptr}, first{"DF", "MH", &second};
  const av_record record{"page", -3, &first};
  trprintf("%s %d\n", "lines", 12);
  tr_puts("100%s\n");
  tr_write("a.b!", 3);
  tr_putc('\n');
  tr_av_printf(&record);
}

TEST(Trace, WritesLinesAndRecordsUnlessMuted) {
  TraceCapture capture;
  Trace_toggle = 0;
  write_everything();
  Trace_toggle = 1;
  EXPECT_EQ(capture.take(), "");
  write_everything();
  EXPECT_EQ(capture.take(),
            "lines 12\n100%s\na.b\nkey:         [page]\ncheck_value: [-3]\n    DF = [MH]\n    VR = [1]\n");
}
