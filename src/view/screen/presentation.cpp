// The bitmap on the screen and the window around it. The rasteriser fills the bitmap, the page cycle decides when it is
// repainted. The image passed to Xlib is a wrapper around the bitmap, with rows that may overlap: nothing here copies
// or frees the bitmap.
#include "view/screen/presentation.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "support/trace.h"
#include "ui/motif_values.h"
#include "ui/widgets.h"
#include "view/enlarge.h"
#include "view/scales.h"
#include "view/view_state.h"

#include <Xm/ScrollBar.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|presentation|9|01|3|0|0|11/23/26|08:52:18";

constexpr int32_t FULL_WIDTH = 940, FULL_HEIGHT = 717;  // of the shell at 100%, where the page scrolls
constexpr int32_t FULL_VIEW = 836;                      // of that width, beside the controls
constexpr int32_t BESIDE_PICTURE = 108;                 // width of the control column and a margin of 4 pixels
constexpr int32_t BELOW_PICTURE = 4;
constexpr int32_t FRAME = 64;           // left for a window manager's frame, lest it give another size than asked for
constexpr int32_t CENTRED_VALUE = 25;   // of the horizontal bar: scrolls the left margin of a page out of view
constexpr Dimension LEAST_WIDTH = 220;  // the column of controls and as much again
constexpr int LEAST_GAP = 5;            // between the labels and the buttons at the bottom of the column
constexpr int TRIANGLES = 100, TRIANGLE_STEP = 15, TRIANGLE_WIDTH = 10, TRIANGLE_HEIGHT = 5;

Extents shown;
int32_t zoom = 1;

// The size of the shell at each scale: as last set by the program, and as chosen by the user. A width of 0 means none.
uint16_t own_width[SCALE_COUNT], own_height[SCALE_COUNT];
uint16_t user_width[SCALE_COUNT], user_height[SCALE_COUNT];

// The size before the last change by the program, until another size is reported: a window manager may report a size
// repeatedly, also after the request for the next one. A width of 0 means that no such report is expected.
Dimension late_width, late_height;
unsigned long size_request;  // serial number of that change; events with a lower one are older

// The least size that window managers are asked to keep.
Dimension least_width, least_height;

size_t scale_index() {
  return is_scale(Reduced) ? static_cast<size_t>(Reduced) : 0;
}

// Whether a size is what the program asked for, or what a window manager made of it that keeps the least size.
bool is_own_size(size_t i, int32_t width, int32_t height) {
  const auto is_kept = [](int32_t given, int32_t wanted, int32_t least) {
    return given == wanted || (wanted < least && given == least);
  };
  return is_kept(width, own_width[i], least_width) && is_kept(height, own_height[i], least_height);
}

// The row of the form below a child.
int end_of(Widget child) {
  return resource<Position>(child, XmNy) + resource<Dimension>(child, XmNheight);
}

void resize_shell(Dimension width, Dimension height) {
  const auto old_width = resource<Dimension>(tn_Shell000, XmNwidth);
  const auto old_height = resource<Dimension>(tn_Shell000, XmNheight);
  if (old_width == width && old_height == height) return;
  size_request = NextRequest(XtDisplay(tn_Shell000));
  // The toolkit waits for the answer of a window manager, and takes back a size that is not confirmed by the first.
  XtVaSetValues(tn_Shell000, XmNwidth, width, XmNheight, height, nullptr);
  const bool confirmed =
      resource<Dimension>(tn_Shell000, XmNwidth) == width && resource<Dimension>(tn_Shell000, XmNheight) == height;
  late_width = confirmed ? 0 : old_width;
  late_height = old_height;
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

// Size of the picture in pixels of the screen.
int32_t picture_width() {
  return shown.Dx * zoom;
}
int32_t picture_height() {
  return shown.Dy * zoom;
}

// Wraps the bitmap, or else its enlargement, which is put into `larger`.
Image wrap_picture(Display *display, std::vector<uint8_t> &larger) {
  uint8_t *data = bitmap + shown.Oy * shown.Bpl;
  int32_t offset = shown.Offset, row_bytes = shown.Bpl;
  if (zoom > 1) {
    larger = enlarged(bitmap, shown, zoom);
    data = larger.data();
    offset = 0;
    row_bytes = enlarged_row_bytes(shown, zoom);
  }
  Image image(XCreateImage(display, DefaultVisualOfScreen(ScreenOfDisplay(display, 0)), 1, XYBitmap, offset,
                           reinterpret_cast<char *>(data), static_cast<unsigned>(picture_width()),
                           static_cast<unsigned>(picture_height()), 16, 0));
  if (!image) return image;
  // XCreateImage refuses rows shorter than offset and width. At 270 degrees below 100% ours are shorter: the picture
  // starts one or more rows later, and all its pixels lie within the block.
  image->bytes_per_line = row_bytes;
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

void set_zoom(int32_t factor) {
  zoom = std::clamp(factor, 1, MOST_ZOOM);
}

void prepare_window() {
  XClearWindow(XtDisplay(drawing_area), XtWindow(drawing_area));
  set_window_size();
}

void set_window_size() {
  const size_t i = scale_index();
  if (user_width[i] == 0 && i != 0 && nothing_to_show()) return;
  int32_t width = FULL_WIDTH + (zoom - 1) * FULL_VIEW, height = FULL_HEIGHT * zoom;
  if (user_width[i] != 0) {
    width = user_width[i];
    height = user_height[i];
  } else if (i != 0) {
    width = picture_width() + BESIDE_PICTURE;
    height = picture_height() + BELOW_PICTURE;
  }
  if (zoom > 1) {
    width = std::min(width, WidthOfScreen(XtScreen(tn_Shell000)) - FRAME);
    height = std::min(height, HeightOfScreen(XtScreen(tn_Shell000)) - FRAME);
  }
  own_width[i] = static_cast<uint16_t>(width);
  own_height[i] = static_cast<uint16_t>(height);
  trprintf("window sized to %d x %d\n", width, height);
  resize_shell(own_width[i], own_height[i]);
}

bool is_outdated(unsigned long serial) {
  return serial < size_request;
}

void save_window_size(int32_t width, int32_t height) {
  const size_t i = scale_index();
  if (own_width[i] == 0) return;
  if (width == late_width && height == late_height) return;
  late_width = 0;
  if (is_own_size(i, width, height)) return;
  user_width[i] = static_cast<uint16_t>(width);
  user_height[i] = static_cast<uint16_t>(height);
}

void set_least_size() {
  const Widget buttons = XtIsManaged(fax_ops) ? fax_ops : dismiss_print_buttons;
  least_width = LEAST_WIDTH;
  least_height = static_cast<Dimension>(end_of(lines_textfield) + LEAST_GAP + resource<Dimension>(buttons, XmNheight) +
                                        resource<int>(buttons, XmNbottomOffset));
  XtVaSetValues(tn_Shell000, XmNminWidth, least_width, XmNminHeight, least_height, nullptr);
}

void refresh_view() {
  if (!bitmap) return;
  Display *const display = XtDisplay(drawing_area);
  const Window window = XtWindow(drawing_area);
  XMapWindow(display, window);
  if (nothing_to_show()) return;
  XtVaSetValues(drawing_area, XmNwidth, picture_width(), XmNheight, picture_height(), nullptr);
  std::vector<uint8_t> larger;
  const Image image = wrap_picture(display, larger);
  if (!image) return;
  const int screen = DefaultScreen(display);
  const Context gc(GXcopy, BlackPixel(display, screen), WhitePixel(display, screen));
  XPutImage(display, window, gc.get(), image.get(), 0, 0, 0, 0, static_cast<unsigned>(picture_width()),
            static_cast<unsigned>(picture_height()));
  // Scrolling exposes the window, so that the picture has just been painted over the marker.
  if (last_page_pos != 0) draw_line_of_triangles(last_page_pos);
}

void draw_line_of_triangles(int32_t y) {
  Display *const display = XtDisplay(drawing_area);
  const int screen = DefaultScreen(display);
  // Turns black into white and white into black on displays of every depth.
  const Context gc(GXxor, BlackPixel(display, screen) ^ WhitePixel(display, screen), 0);
  const auto base = static_cast<short>(y);
  for (int i = 0; i < TRIANGLES * zoom; i++) {
    const auto x = static_cast<short>(i * TRIANGLE_STEP);
    XPoint corners[] = {{x, base},
                        {static_cast<short>(x + TRIANGLE_WIDTH), base},
                        {static_cast<short>(x + TRIANGLE_WIDTH / 2), static_cast<short>(base - TRIANGLE_HEIGHT)}};
    XFillPolygon(display, XtWindow(drawing_area), gc.get(), corners, 3, Convex, CoordModeOrigin);
  }
}

void tn_center_fax() {
  if (!tn_Shell000 || Reduced != 0) return;
  Widget horizontal = nullptr;
  XtVaGetValues(scrolled_window, XmNhorizontalScrollBar, &horizontal, nullptr);
  int value = 0, slider_size = 0, increment = 0, page_increment = 0, maximum = 0;
  XmScrollBarGetValues(horizontal, &value, &slider_size, &increment, &page_increment);
  XtVaGetValues(horizontal, XmNmaximum, &maximum, nullptr);
  const int centred = CENTRED_VALUE * zoom;
  if (maximum - slider_size < centred) return;
  XmScrollBarSetValues(horizontal, centred, slider_size, increment, page_increment, True);
}

}  // namespace tolvane
