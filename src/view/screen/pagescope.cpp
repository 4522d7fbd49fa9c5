// The page cycle: file, coded page, bitmap, extents, screen. Painting is in presentation, the decoding into bits in the
// rasteriser. Nothing is cached: every change of page, scale or orientation reads and decodes the page again. A page
// that cannot be read changes nothing.
#include "view/screen/pagescope.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "faxfile/fax_header.h"
#include "faxfile/pages.h"
#include "faxfile/usorbport.h"
#include "support/handle.h"
#include "support/printable.h"
#include "support/trace.h"
#include "support/trace_config.h"
#include "ui/motif_utils.h"
#include "ui/notice.h"
#include "ui/widgets.h"
#include "view/rasteriser.h"
#include "view/screen/presentation.h"
#include "view/small_database.h"
#include "view/view_state.h"

#include <Xm/Scale.h>
#include <Xm/Xm.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|pagescope|9|01|4|0|0|11/23/26|11:32:38";

Descriptor t4fd;            // the open fax file
char Local_filename[4096];  // its name, which the page reader needs to find included files
int32_t comp_type;

bool allocate_bitmap() {
  if (!bitmap) bitmap = static_cast<uint8_t *>(calloc(BITMAP_SIZE, 1));
  if (!bitmap) fprintf(stderr, "No memory for the picture of a page\n");
  return bitmap;
}

bool store_local_filename(const char *name) {
  if (strlen(name) >= sizeof Local_filename) {
    fprintf(stderr, "The name of the fax file is longer than %zu bytes\n", sizeof Local_filename - 1);
    return false;
  }
  strcpy(Local_filename, name);
  return true;
}

// Shows a load that failed in the window; standard error has its own texts.
void notify_load_fault(const char *name, const std::string &fault) {
  notify_user("The file " + std::string(name) + "\n" + fault);
}

// Opens the file and checks its first word. False, after a message, if it is no fax.
bool open_fax(const char *name) {
  t4fd.reset();
  t4fd.reset(open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));  // a FIFO must not block the window
  if (!t4fd) {
    const int fault = errno;
    fprintf(stderr, "%s: %s\n", printable(Fullpath_fax_filename).c_str(), strerror(fault));
    notify_load_fault(name, std::string("cannot be opened: ") + strerror(fault) + ".");
    return false;
  }
  uint32_t magic = 0;
  if (readLongFlipped(t4fd.get(), &magic) != sizeof magic) {
    empty_file(name);
    return false;
  }
  if (magic != FAXFILE_MAGIC) {
    not_a_fax_file(name);
    return false;
  }
  return true;
}

// Reads the coding of the pages from the header. On failure the file is closed; the header reader has reported why.
bool read_coding() {
  const OwnedFaxHeader list(read_fax_header(t4fd.get()));
  if (!list) {
    notify_load_fault(Local_filename, "has a damaged header. \"tolvane-fax check\" describes the damage.");
    t4fd.reset();
    return false;
  }
  comp_type = get_compression_mode(list.get());
  return true;
}

void show_page_count() {
  const bool several = Total_pages > 1;
  XtVaSetValues(scale, XmNvalue, 1, nullptr);
  XtVaSetValues(scale, XmNminimum, several ? 1 : 0, XmNmaximum, several ? Total_pages : 1, nullptr);
  XtVaSetValues(scale, XmNsensitive, several ? True : False, nullptr);
  char text[32];
  snprintf(text, sizeof text, "Pages: %d", Total_pages);
  set_label(pages_label, text);
}

// Opens the file and shows its page count. False, after a message, if that fails.
bool open_document(const char *name) {
  tn_extract_header_info(name);
  High_res = decimal_value(Resolution);
  if (!open_fax(name) || !read_coding()) return false;
  show_page_count();
  return true;
}

// Whether the file has this page, counted from 1: it can contain more pages than its header states.
bool is_readable(int32_t page) {
  uint8_t *coded = nullptr;
  int32_t length = 0;
  const int16_t result = FaxFileReadSpecificPage(t4fd.get(), Local_filename, page, &coded, &length);
  const Block<uint8_t> owner(coded);
  return result == FAXFILE_OK;
}

void report_file_fault(const char *format, const char *name) {
  char message[sizeof Local_filename + 32];
  snprintf(message, sizeof message, format, name);
  TellUser(tolvane_form, message);
}

void show_page_labels(int32_t lines) {
  display_fax_info1(High_res ? "Fine Res" : "Norm Res");
  char text[32];
  snprintf(text, sizeof text, "%d Lines", lines);
  display_fax_info2(text);
}

double milliseconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

void (*before_page_turn)();

int generate_view() {
  return common(Fullpath_fax_filename);
}

int common(const char *name) {
  if (!allocate_bitmap()) return 1;
  if (*name == '\0' || !store_local_filename(name)) return 1;
  page_number = 0;
  struct stat status;
  if (stat(name, &status) != 0) {
    const int fault = errno;
    printf("Problem with file \"%s\"\n", printable(name).c_str());
    notify_load_fault(name, std::string("cannot be read: ") + strerror(fault) + ".");
    return 1;
  }
  if (!open_document(name)) return 1;
  if (do_this_page() == 0)
    generate_page();
  else if (shown_extents().Dx == 0)
    show_page_labels(0);  // no earlier page: the labels still have the texts of an empty window
  return 0;
}

void view_arbitrary_fax(const char *name) {
  char saved[FAX_FILENAME_SIZE];
  strcpy(saved, Fullpath_fax_filename);
  if (!set_fax_filename(name)) {
    fprintf(stderr, "The name of the fax file is longer than %zu bytes\n", FAX_FILENAME_SIZE - 1);
    return;
  }
  display_page_number(1);
  if (generate_view() != 0) return;
  refresh_view();
  set_fax_filename(saved);
}

bool reopen_view() {
  const Descriptor file(open(Local_filename, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  uint32_t magic = 0;
  if (!file || readLongFlipped(file.get(), &magic) != sizeof magic || magic != FAXFILE_MAGIC) return false;
  return open_document(Local_filename);
}

void reload_view() {
  if (!reopen_view()) return;
  const int32_t shown = page_number + 1;
  random_page(shown <= Total_pages || is_readable(shown) ? shown : std::max(Total_pages, 1));
}

int do_this_page() {
  if (!allocate_bitmap()) return 1;      // dismissing an embedded window freed it
  if (!Api) open_trace_file("tolvane");  // TRACES may have been edited since the last page; a parent has its own trace
  uint8_t *coded = nullptr;
  int32_t length = 0;
  const int16_t result = FaxFileReadSpecificPage(t4fd.get(), Local_filename, page_number + 1, &coded, &length);
  const Block<uint8_t> data(coded);
  if (result != FAXFILE_OK) {
    trprintf("page %d of %s cannot be read: code %d\n", page_number + 1, Local_filename, result);
    bell();
    // Past the last page the bell says it all.
    if (page_number >= 0 && page_number < Total_pages)
      notify_user("Page " + std::to_string(page_number + 1) + " of the file " + Local_filename +
                  "\ncannot be read. \"tolvane-fax check\" describes the damage.");
    return 1;
  }
  trprintf("read page %d of %s: %d bytes\n", page_number + 1, Local_filename, length);
  if (Tn_trace_on) printf("read %d bytes of t4 data\n", length);
  const bool first = shown_extents().Dx == 0;  // the window has just come up: loading a cursor would delay the page
  if (!first) show_clock_cursor(tolvane_form);
  const ScaleSizes sizes = scale_sizes(Reduced);
  process_t4(data.get(), length, bitmap, sizes.Xsize, sizes.Ysize);
  if (!first) restore_cursor(tolvane_form);
  if (Tn_trace_on) printf("finished a page\n");
  return 0;
}

void generate_page() {
  display_page_number(page_number + 1);
  set_up_view(page_extents(picture_lines(), shown_extents()));
}

int random_page(int32_t n) {
  if (before_page_turn) before_page_turn();
  const int32_t page_before = page_number;
  if (n != -1) page_number = n - 1;
  if (do_this_page() != 0) {
    page_number = page_before;
    display_page_number(page_number + 1);  // the user may have moved the slider
    return 1;
  }
  generate_page();
  refresh_view();
  return 0;
}

void process_t4(const uint8_t *data, int32_t length, uint8_t *bits, int32_t Xsize, int32_t Ysize) {
  const auto start = std::chrono::steady_clock::now();
  decode_picture(data, static_cast<uint32_t>(length), comp_type, bits, Xsize, Ysize);
  trprintf("decoded page %d: %d lines in %.1f ms\n", page_number + 1, picture_lines(), milliseconds_since(start));
  show_page_labels(picture_lines());
}

void free_bitmap() {
  free(bitmap);
  bitmap = nullptr;
}

void display_page_number(int32_t n) {
  int minimum = 0, maximum = 0;
  XtVaGetValues(scale, XmNminimum, &minimum, XmNmaximum, &maximum, nullptr);
  // A file can contain more pages than its header states; the toolkit would print a warning for each of them.
  XmScaleSetValue(scale, std::clamp(n, minimum, maximum));
}

void display_fax_info1(const char *text) {
  set_label(res_textfield, text);
}

void display_fax_info2(const char *text) {
  set_label(lines_textfield, text);
}

void not_a_fax_file(const char *name) {
  report_file_fault("File '%s' is not a fax !", name);
  notify_load_fault(name, "is not a fax. \"tolvane-fax create\" makes a fax of TIFF, PNG, PBM and PDF files.");
}

void empty_file(const char *name) {
  report_file_fault("File '%s' is empty !", name);
  notify_load_fault(name, "is empty.");
}

void TellUser(Widget, const char *message) {
  fprintf(stderr, "%s\n", printable(message, "\n\t").c_str());
}

}  // namespace tolvane
