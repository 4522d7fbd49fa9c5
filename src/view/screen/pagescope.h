// The page cycle: opens a fax file, and brings one page at a time from the file into the bitmap and onto the screen.
#pragma once

#include <cstdint>

#include <X11/Intrinsic.h>

namespace tolvane {

/// Loads `Fullpath_fax_filename` without painting it. Result of `common`.
int generate_view();

/// Loads the fax file `name`: checks it, sets the slider and the labels, decodes the first page. Paints nothing.
///
/// The header is read three times: first by the quick reader, which takes the page count and the resolution from any
/// file; then the magic number alone, so that each fault has its message; last as a list, for the coding of the pages.
/// A failed load has reported why and does not restore the earlier file.
/// @return 0 done, also if the first page could not be read (the bell has rung); 1 failed
int common(const char *name);

/// Loads and paints another file. `Fullpath_fax_filename` keeps its value if the load succeeds, and holds `name` if it
/// fails. A name that does not fit there is refused with a message on standard error; nothing changes.
void view_arbitrary_fax(const char *name);

/// Opens the file shown again after it has changed, and shows its page count, but no page.
/// @return false if the file has gone or is no fax: the old one stays as far as it can be read
bool reopen_view();

/// Opens the file shown again and shows the page of the same number, or the last one if there are fewer now.
void reload_view();

/// Called by `random_page` before it reads the page; null for nothing.
extern void (*before_page_turn)();

/// Reads the page `page_number` and decodes it into the bitmap.
///
/// @return 0 done; 1 if the page cannot be read: the bell has rung, and nothing has changed
int do_this_page();

/// After a decode: shows the page number and sets up the view with the extents of the page.
void generate_page();

/// Shows a page: reads, decodes, sets up and paints it. Every change of page goes through here.
///
/// @param n  page number, from 1; -1 shows the current page again
/// @return 0 shown; 1 if the page cannot be read: the bell has rung, and the current page stays
int random_page(int32_t n);

/// Decodes a coded page into `bits` (BITMAP_SIZE bytes) and sets the labels of the resolution and the number of lines.
///
/// @param data    `length` coded bytes; may be null if `length` is 0
/// @param Xsize   picture width and maximum number of rows at the current scale, from `scale_sizes`
void process_t4(const uint8_t *data, int32_t length, uint8_t *bits, int32_t Xsize, int32_t Ysize);

/// Frees the bitmap, if there is one. The next load allocates it again.
void free_bitmap();

/// Moves the slider to a page number, from 1. A page outside its range moves it to its end.
void display_page_number(int32_t n);

/// Set the labels of the resolution and of the number of lines.
void display_fax_info1(const char *text);
void display_fax_info2(const char *text);

/// Report that the file is not a fax, or has fewer than four bytes.
void not_a_fax_file(const char *name);
void empty_file(const char *name);

/// Writes the message and a line feed to standard error. The widget is not used.
void TellUser(Widget parent, const char *message);

}  // namespace tolvane
