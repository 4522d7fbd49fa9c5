// PDF. A page that is one fax image is taken as that image (libqpdf). All others go through poppler, rendered directly
// at the size and resolution of the fax page: scaling the result would blur it.
#include <poppler-document.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <exception>
#include <memory>
#include <mutex>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <utility>

#include "formats/grey_rows.h"
#include "formats/page_readers.h"
#include "formats/pdf/page_image.h"
#include "formats/pdf/pdf_module.h"
#include "formats/with_memory.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_pdf|9|01|4|0|0|11/23/26|12:12:28";

constexpr double POINT = 72;  // points in an inch

constexpr int64_t MOST_PIXELS = 8 << 20;  // rendered at a time: two fine pages

// A PDF and what poppler reports about it. Pages are rendered in any thread, one at a time.
struct PdfFile {
  PictureFile file;
  std::unique_ptr<poppler::document> document;
  std::mutex busy;       // with the document and the status
  Status status = DONE;  // of what was reported since it was last taken

  Status take_status() { return std::exchange(status, DONE); }
};

void take_message(const std::string &message, void *closure) {
  auto &pdf = *static_cast<PdfFile *>(closure);
  report("%s: %s", pdf.file.name, message.substr(0, message.find_last_not_of('\n') + 1).c_str());
  pdf.status = DAMAGED;
}

// A size in points.
struct Size {
  double width, height;

  Size on_side() const { return {height, width}; }
};

// The size of a page as displayed.
Size seen_size(const poppler::page &page) {
  const poppler::rectf box = page.page_rect();
  const auto turned = page.orientation();
  const Size size = {box.width(), box.height()};
  return turned == poppler::page::landscape || turned == poppler::page::seascape ? size.on_side() : size;
}

std::string utf8(const poppler::ustring &text) {
  const poppler::byte_array bytes = text.to_utf8();
  return {bytes.begin(), bytes.end()};
}

HeaderValues metadata_of(const poppler::document &document) {
  HeaderValues values;
  for (const TextName &row : TEXT_NAMES) {
    if (row.pdf) add_header_value(values, row.keyword, utf8(document.info_key(row.pdf + 1)));
  }
  const time_t made = document.info_date_t("CreationDate");
  std::tm date;
  if (made != static_cast<time_t>(-1) && gmtime_r(&made, &date))
    add_header_value(values, "DATE", format_date(date, "%Y-%m-%d %H:%M:%S"));
  return values;
}

// Opens a page; none if poppler cannot read it. The caller holds the document.
std::unique_ptr<poppler::page> open_page(const PdfFile &pdf, int32_t number) {
  return with_memory([&] { return std::unique_ptr<poppler::page>(pdf.document->create_page(number - 1)); });
}

// How a page is rendered.
struct Rendering {
  int32_t width, height;  // in pixels
  double x_dpi, y_dpi;
  bool smooth;
  int32_t degrees;  // to the right from how it is displayed: 0, 90 or 270
};

// Renders a page and passes on its rows. FAILED after a message if poppler gives no picture of that size.
Status render(PdfFile &pdf, int32_t number, const Rendering &page, const row_sink &sink) {
  const std::lock_guard lock(pdf.busy);
  poppler::set_debug_error_function(take_message, &pdf);
  const std::unique_ptr<poppler::page> source = open_page(pdf, number);
  poppler::page_renderer renderer;
  if (page.smooth)
    renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
  renderer.set_image_format(poppler::image::format_gray8);
  const auto turn = static_cast<poppler::rotation_enum>(page.degrees / 90);
  const auto band = static_cast<int32_t>(std::max<int64_t>(MOST_PIXELS / page.width, 1));
  bool rendered(source);
  for (int32_t first = 0; rendered && first < page.height; first += band) {
    const int32_t rows = std::min(band, page.height - first);
    const poppler::image image = with_memory(
        [&] { return renderer.render_page(source.get(), page.x_dpi, page.y_dpi, 0, first, page.width, rows, turn); });
    rendered = image.is_valid() && image.width() == page.width && image.height() == rows;
    for (int32_t row = 0; rendered && row < rows; ++row)
      sink(reinterpret_cast<const uint8_t *>(image.const_data()) + row * image.bytes_per_row());
  }
  const Status status = pdf.take_status();
  return rendered ? status : failure("%s: page %d cannot be rendered", pdf.file.name, number);
}

// A page at the resolution of the fax, to be rendered later.
//
// @param seen     its size as displayed
// @param degrees  to the right: 0, 90 or 270
Status describe_rendering(const std::shared_ptr<PdfFile> &pdf, int32_t number, const Size &seen, int32_t degrees,
                          const FitOptions &fit, SourcePicture &page) {
  const auto [width, height] = degrees == 0 ? seen : seen.on_side();
  const double natural = width * FAX_X_DPI / POINT;
  const bool to_width = fit.fit == FIT_SCALE || (fit.fit == FIT_CENTER && natural > FAX_WIDTH);
  const double enlarged = to_width ? FAX_WIDTH / natural : 1;
  page.x_dpi = FAX_X_DPI * enlarged;
  page.y_dpi = lines_per_inch(fit.resolution) * enlarged;
  const double pixels = std::ceil(natural * enlarged), lines = std::ceil(height * page.y_dpi / POINT);
  // Also false for NaN.
  if (!(pixels >= 1 && pixels <= WIDEST_PICTURE && lines >= 1 && lines <= LONGEST_PAGE))
    return failure("%s: page %d of %g x %g points is not a fax page", pdf->file.name, number, width, height);
  page.width = std::min(static_cast<int32_t>(pixels), to_width ? FAX_WIDTH : WIDEST_PICTURE);
  page.height = static_cast<int32_t>(lines);
  page.rotated = degrees != 0;
  const Rendering rendering = {page.width, page.height, page.x_dpi, page.y_dpi, true, degrees};
  page.grey = [=](const row_sink &sink) { return render(*pdf, number, rendering, sink); };
  return DONE;
}

// A page that is looked at before it is rendered for its pixels: one whose text runs up or down is rendered turned.
Status describe_upright(const std::shared_ptr<PdfFile> &pdf, int32_t number, const Size &seen, const FitOptions &fit,
                        SourcePicture &page) {
  page.load = [=](SourcePicture &picture) {
    Turn turn;
    find_turn(ROTATE_AUTO, picture, turn);  // what is wrong with the page is reported later
    const Status status = turn.is_none() ? DONE : describe_rendering(pdf, number, seen, 90, fit, picture);
    picture.rotated = true;
    return status;
  };
  return describe_rendering(pdf, number, seen, 0, fit, page);
}

// A page that is one image at the resolution of the image, as it is seen, to be rendered later: pixel by pixel.
void describe_image(const std::shared_ptr<PdfFile> &pdf, const Size &seen, int32_t number, const PageImage &image,
                    SourcePicture &page) {
  // The least bit less: an image that ends where a pixel ends would be stretched over the next one.
  constexpr double LESS = 0.01;
  page.width = image.picture.width;
  page.height = image.picture.height;
  if (image.placed.transpose != image.rotated.transpose) std::swap(page.width, page.height);
  page.x_dpi = (page.width - LESS) / seen.width * POINT;
  page.y_dpi = (page.height - LESS) / seen.height * POINT;
  const Rendering rendering = {page.width, page.height, page.x_dpi, page.y_dpi, false, 0};
  page.load = [=](SourcePicture &picture) {
    const auto rows = [&](const row_sink &sink) { return render(*pdf, number, rendering, sink); };
    std::vector<uint8_t> bits;
    const Status status = pack_rows(rows, rendering.width, bits);
    picture.bits = std::move(bits);
    return status;
  };
}

// A PDF opened by libqpdf, which gives the images that pages are. One that it cannot read without a fault gives none.
class ImagePages {
 public:
  ImagePages(const PictureFile &file, int pages) : name_(file.name) {
    if (!with_memory([&] { return open(file); }) || pages_.size() != static_cast<size_t>(pages)) pages_.clear();
  }

  // False with the reason.
  bool take(int32_t number, PageImage &image, std::string &why) {
    why = "the file is damaged";
    return !pages_.empty() && with_memory([&] { return find(number, image, why); });
  }

 private:
  bool open(const PictureFile &file) {
    try {
      pdf_->setSuppressWarnings(true);
      pdf_->setAttemptRecovery(false);
      pdf_->processMemoryFile(file.name, reinterpret_cast<const char *>(file.bytes.data()), file.bytes.size());
      pages_ = QPDFPageDocumentHelper(*pdf_).getAllPages();
    } catch (const std::exception &) {
      return false;
    }
    return !pdf_->anyWarnings();
  }

  bool find(int32_t number, PageImage &image, std::string &why) {
    try {
      why.clear();
      const bool taken = take_page_image(pages_[static_cast<size_t>(number) - 1], name_, number, image, why);
      if (!pdf_->anyWarnings()) return taken;
      pdf_->getWarnings();  // and forget them
      why = "its objects are damaged";
    } catch (const std::exception &error) {
      why = error.what();
    }
    return false;
  }

  const char *name_;
  const std::shared_ptr<QPDF> pdf_ = QPDF::create();
  std::vector<QPDFPageObjectHelper> pages_;
};

// Takes a page in one of the three ways. The pixels are made later.
Status take_page(const std::shared_ptr<PdfFile> &pdf, ImagePages &images, int32_t number, const SourceOptions &options,
                 SourcePicture &page) {
  const char *name = pdf->file.name;
  PageImage image;
  std::string why;
  const bool is_image = images.take(number, image, why);
  if (is_image && !image.needs_render) {
    page = std::move(image.picture);
    say_verbose("%s: page %d: its image is taken as it is", name, number);
    return DONE;
  }
  const std::lock_guard lock(pdf->busy);
  poppler::set_debug_error_function(take_message, pdf.get());
  const std::unique_ptr<poppler::page> source = open_page(*pdf, number);
  const Status status = pdf->take_status();
  if (!source) return failure("%s: page %d cannot be read", name, number);
  if (is_image) {
    describe_image(pdf, seen_size(*source), number, image, page);
    say_verbose("%s: page %d: its image is rendered pixel by pixel", name, number);
    return status;
  }
  say_verbose("%s: page %d is rendered: %s", name, number, why.c_str());
  // A density that the user gives is that of the page before it is turned.
  const int32_t degrees = options.x_dpi > 0 || options.rotate == 180 ? 0 : options.rotate;
  const Size seen = seen_size(*source);
  return worse(status, degrees == ROTATE_AUTO ? describe_upright(pdf, number, seen, options.fit, page)
                                              : describe_rendering(pdf, number, seen, degrees, options.fit, page));
}

}  // namespace
}  // namespace tolvane

extern "C" tolvane::Status tolvane_read_pdf(const tolvane::PictureFile &file, const tolvane::SourceOptions &options,
                                            const tolvane::page_sink &sink) {
  using namespace tolvane;
  const auto pdf = std::make_shared<PdfFile>();
  pdf->file = file;
  poppler::set_debug_error_function(take_message, pdf.get());
  if (file.bytes.size() > INT_MAX) return failure("%s: larger than 2 GB", file.name);
  pdf->document = with_memory([&] {
    return std::unique_ptr<poppler::document>(poppler::document::load_from_raw_data(
        reinterpret_cast<const char *>(file.bytes.data()), static_cast<int>(file.bytes.size())));
  });
  if (!pdf->document) return failure("%s: not a PDF file, or an unreadable one", file.name);
  if (pdf->document->is_locked()) return failure("%s: the file needs a password", file.name);
  const int pages = with_memory([&] { return pdf->document->pages(); });
  HeaderValues header = with_memory([&] { return metadata_of(*pdf->document); });
  Status status = pdf->take_status();
  ImagePages images(file, pages);
  for (int i = 0; i < pages && (status != FAILED || options.keep_going); ++i) {
    SourcePicture page;
    const Status taken = take_page(pdf, images, i + 1, options, page);
    page.number = i + 1;
    if (i == 0) page.header = std::move(header);
    status = worse(status, taken == FAILED ? FAILED : worse(taken, sink(std::move(page))));
  }
  return status;
}
