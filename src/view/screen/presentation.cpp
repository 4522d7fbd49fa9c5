// The bitmap on the screen and the window around it. The rasteriser fills the bitmap, the page cycle decides when it is
// repainted. The image passed to Xlib is a wrapper around the bitmap, with rows that may overlap: nothing here copies
// or frees the bitmap.
#include "view/screen/presentation.h"

#include "support/trace.h"
#include "ui/widgets.h"
#include "view/scales.h"
#include "view/view_state.h"

#include <memory>

#include <Xm/ScrollBar.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|presentation|9|01|1|0|0|11/22/26|21:50:00";

constexpr int32_t FULL_WIDTH = 940, FULL_HEIGHT = 717;  // of the shell at 100%, where the page scrolls
constexpr int32_t BESIDE_PICTURE = 108;                 // width of the control column and a margin of 4 pixels
constexpr int32_t BELOW_PICTURE = 4;
constexpr int32_t CENTRED_VALUE = 25;  // of the horizontal bar: scrolls the left margin of a page out of view
constexpr int TRIANGLES = 100, TRIANGLE_STEP = 15, TRIANGLE_WIDTH = 10, TRIANGLE_HEIGHT = 5;

Extents shown;

// The size of the shell at each scale: as last set by the program, and as chosen by the user. A width of 0 means none.
uint16_t own_width[SCALE_COUNT], own_height[SCALE_COUNT];
uint16_t user_width[SCALE_COUNT], user_height[SCALE_COUNT];
// The shell's size when the program last asked for another one. The event that tells of it may still be on the way:
// that of the popup comes when the first page has been set up.
Dimension replaced_width, replaced_height;

size_t scale_index() {
  return is_scale(Reduced) ? static_cast<size_t>(Reduced) : 0;
}

bool nothing_to_show() {
  return shown.Dx == 0 || shown.Dy == 0;
}

// A graphics context on the window of `drawing_area`, freed with the handle.
class Context {
 public:
  Context(int function, unsigned long foreground, unsigned long background) {
    XGCValues values;
    values.function = function;
    values.foreground = foreground;
    values.background = background;
    gc_ = XCreateGC(XtDisplay(drawing_area), XtWindow(drawing_area), GCFunction | GCForeground | GCBackground, &values);
  }
  ~Context() { XFreeGC(XtDisplay(drawing_area), gc_); }
  Context(const Context &) = delete;
  Context &operator=(const Context &) = delete;
  GC get() const { return gc_; }

 private:
  GC gc_;
};

// The image does not own the bitmap.
struct ForgetImage {
  void operator()(XImage *image) const {
    image->data = nullptr;
    XDestroyImage(image);
  }
};

using Image = std::unique_ptr<XImage, ForgetImage>;

Image wrap_bitmap(Display *display) {
  auto *const data = reinterpret_cast<char *>(bitmap) + shown.Oy * shown.Bpl;
  Image image(XCreateImage(display, DefaultVisualOfScreen(ScreenOfDisplay(display, 0)), 1, XYBitmap, shown.Offset, data,
                           static_cast<unsigned>(shown.Dx), static_cast<unsigned>(shown.Dy), 16, 0));
  if (!image) return image;
  // XCreateImage refuses rows shorter than offset and width. At 270 degrees below 100% ours are shorter: the picture
  // starts one or more rows later, and all its pixels lie within the block.
  image->bytes_per_line = shown.Bpl;
  image->bitmap_bit_order = MSBFirst;
  image->byte_order = MSBFirst;
  return image;
}

}  // namespace

int32_t last_page_pos;

void set_up_view(const Extents &extents) {
  shown = extents;
  last_page_pos = 0;
  prepare_window();
}

const Extents &shown_extents() {
  return shown;
}

void prepare_window() {
  XClearWindow(XtDisplay(drawing_area), XtWindow(drawing_area));
  set_window_size();
}

void set_window_size() {
  const size_t i = scale_index();
  if (user_width[i] == 0 && i != 0 && nothing_to_show()) return;
  int32_t width = FULL_WIDTH, height = FULL_HEIGHT;
  if (user_width[i] != 0) {
    width = user_width[i];
    height = user_height[i];
  } else if (i != 0) {
    width = shown.Dx + BESIDE_PICTURE;
    height = shown.Dy + BELOW_PICTURE;
  }
  Dimension present_width = 0, present_height = 0;
  XtVaGetValues(tn_Shell000, XmNwidth, &present_width, XmNheight, &present_height, nullptr);
  if (present_width != width || present_height != height) {
    replaced_width = present_width;
    replaced_height = present_height;
  }
  trprintf("window sized to %d x %d\n", width, height);
  XtVaSetValues(tn_Shell000, XmNwidth, width, XmNheight, height, nullptr);
  own_width[i] = static_cast<uint16_t>(width);
  own_height[i] = static_cast<uint16_t>(height);
}

void save_window_size(int32_t width, int32_t height) {
  const size_t i = scale_index();
  if (own_width[i] == 0) return;
  if (width == own_width[i] && height == own_height[i]) return;  // the echo of our own request
  if (width == replaced_width && height == replaced_height) return;
  user_width[i] = static_cast<uint16_t>(width);
  user_height[i] = static_cast<uint16_t>(height);
}

void refresh_view() {
  if (!bitmap) return;
  Display *const display = XtDisplay(drawing_area);
  const Window window = XtWindow(drawing_area);
  XMapWindow(display, window);
  if (nothing_to_show()) return;
  XtVaSetValues(drawing_area, XmNwidth, shown.Dx, XmNheight, shown.Dy, nullptr);
  const Image image = wrap_bitmap(display);
  if (!image) return;
  const int screen = DefaultScreen(display);
  const Context gc(GXcopy, BlackPixel(display, screen), WhitePixel(display, screen));
  XPutImage(display, window, gc.get(), image.get(), 0, 0, 0, 0, static_cast<unsigned>(shown.Dx),
            static_cast<unsigned>(shown.Dy));
  // Scrolling exposes the window, so that the picture has just been painted over the marker.
  if (last_page_pos != 0) draw_line_of_triangles(last_page_pos);
}

void draw_line_of_triangles(int32_t y) {
  const Context gc(GXxor, 1, 0);
  const auto base = static_cast<short>(y);
  for (int i = 0; i < TRIANGLES; i++) {
    const auto x = static_cast<short>(i * TRIANGLE_STEP);
    XPoint corners[] = {{x, base},
                        {static_cast<short>(x + TRIANGLE_WIDTH), base},
                        {static_cast<short>(x + TRIANGLE_WIDTH / 2), static_cast<short>(base - TRIANGLE_HEIGHT)}};
    XFillPolygon(XtDisplay(drawing_area), XtWindow(drawing_area), gc.get(), corners, 3, Convex, CoordModeOrigin);
  }
}

void tn_center_fax() {
  if (!tn_Shell000 || Reduced != 0) return;
  Widget horizontal = nullptr;
  XtVaGetValues(scrolled_window, XmNhorizontalScrollBar, &horizontal, nullptr);
  int value = 0, slider_size = 0, increment = 0, page_increment = 0, maximum = 0;
  XmScrollBarGetValues(horizontal, &value, &slider_size, &increment, &page_increment);
  XtVaGetValues(horizontal, XmNmaximum, &maximum, nullptr);
  if (maximum - slider_size < CENTRED_VALUE) return;
  XmScrollBarSetValues(horizontal, CENTRED_VALUE, slider_size, increment, page_increment, True);
}

}  // namespace tolvane
