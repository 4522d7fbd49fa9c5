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
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <utility>

#include "formats/packed_rows.h"
#include "formats/page_readers.h"
#include "formats/pdf/page_image.h"
#include "formats/pdf/pdf_module.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|read_pdf|9|01|2|0|0|11/23/26|06:28:52";

constexpr double POINT = 72;  // points in an inch

// The messages of the library about the file.
struct PdfLog {
  const char *name;
  Status status = DONE;
};

void take_message(const std::string &message, void *closure) {
  auto &log = *static_cast<PdfLog *>(closure);
  report("%s: %s", log.name, message.substr(0, message.find_last_not_of('\n') + 1).c_str());
  log.status = DAMAGED;
}

// The width and height of a page in points, as displayed.
double seen_width(const poppler::page &page, double &height) {
  const poppler::rectf box = page.page_rect();
  const auto turned = page.orientation();
  const bool on_side = turned == poppler::page::landscape || turned == poppler::page::seascape;
  height = on_side ? box.width() : box.height();
  return on_side ? box.height() : box.width();
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

// A rendering of a page at a resolution, in grey.
//
// @param page  its size and density are set; receives the pixels
// @return false if poppler gives no picture
bool render(const poppler::page &source, SourcePicture &page, bool smooth) {
  poppler::page_renderer renderer;
  if (smooth)
    renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
  renderer.set_image_format(poppler::image::format_gray8);
  const poppler::image image = renderer.render_page(&source, page.x_dpi, page.y_dpi, 0, 0, page.width, page.height);
  if (!image.is_valid()) return false;
  page.width = image.width();
  page.height = image.height();
  for (int row = 0; row < image.height(); ++row) {
    const auto *pixel = reinterpret_cast<const uint8_t *>(image.const_data()) + row * image.bytes_per_row();
    page.grey.insert(page.grey.end(), pixel, pixel + image.width());
  }
  return true;
}

Status render_for_fax(const PictureFile &file, const poppler::page &source, int32_t number, const FitOptions &fit,
                      SourcePicture &page) {
  double height = 0;
  const double width = seen_width(source, height);
  const double natural = width * FAX_X_DPI / POINT;
  const bool to_width = fit.fit == FIT_SCALE || (fit.fit == FIT_CENTER && natural > FAX_WIDTH);
  const double enlarged = to_width ? FAX_WIDTH / natural : 1;
  page.x_dpi = FAX_X_DPI * enlarged;
  page.y_dpi = lines_per_inch(fit.resolution) * enlarged;
  const double pixels = std::ceil(natural * enlarged), lines = std::ceil(height * page.y_dpi / POINT);
  // Also false for NaN.
  if (!(pixels >= 1 && pixels <= WIDEST_PICTURE && lines >= 1 && lines <= LONGEST_PAGE))
    return failure("%s: page %d of %g x %g points is not a fax page", file.name, number, width, height);
  page.width = std::min(static_cast<int32_t>(pixels), to_width ? FAX_WIDTH : WIDEST_PICTURE);
  page.height = static_cast<int32_t>(lines);
  return render(source, page, true) ? DONE : failure("%s: page %d cannot be rendered", file.name, number);
}

// Renders a page that is one image at the resolution of the image, as it is seen: pixel by pixel.
bool render_image(const poppler::page &source, const PageImage &image, SourcePicture &page) {
  double height = 0;
  const double width = seen_width(source, height);
  page.width = image.picture.width;
  page.height = image.picture.height;
  if (image.placed.transpose != image.rotated.transpose) std::swap(page.width, page.height);
  // The least bit less: an image that ends where a pixel ends would be stretched over the next one.
  constexpr double LESS = 0.01;
  page.x_dpi = (page.width - LESS) / width * POINT;
  page.y_dpi = (page.height - LESS) / height * POINT;
  const int32_t pixels = page.width, lines = page.height;
  if (!render(source, page, false) || page.width != pixels || page.height != lines) return false;
  page.bits = packed(page.grey, page.width);
  page.grey.clear();
  return true;
}

// A PDF opened by libqpdf, which gives the images that pages are. One that it cannot read without a fault gives none.
class ImagePages {
 public:
  ImagePages(const PictureFile &file, int pages) : name_(file.name) {
    try {
      pdf_->setSuppressWarnings(true);
      pdf_->setAttemptRecovery(false);
      pdf_->processMemoryFile(file.name, reinterpret_cast<const char *>(file.bytes.data()), file.bytes.size());
      pages_ = QPDFPageDocumentHelper(*pdf_).getAllPages();
    } catch (const std::exception &) {
      pages_.clear();
    }
    if (pages_.size() != static_cast<size_t>(pages) || pdf_->anyWarnings()) pages_.clear();
  }

  bool take(int32_t number, PageImage &image, std::string &why) {
    why = "the file is damaged";
    if (pages_.empty()) return false;
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

 private:
  const char *name_;
  const std::shared_ptr<QPDF> pdf_ = QPDF::create();
  std::vector<QPDFPageObjectHelper> pages_;
};

// Reads a page in one of the three ways.
Status read_page(const PictureFile &file, poppler::document &document, ImagePages &images, int32_t number,
                 const FitOptions &fit, SourcePicture &page) {
  PageImage image;
  std::string why;
  const bool is_image = images.take(number, image, why);
  if (is_image && !image.needs_render) {
    page = std::move(image.picture);
    say_verbose("%s: page %d: its image is taken as it is", file.name, number);
    return DONE;
  }
  const std::unique_ptr<poppler::page> source(document.create_page(number - 1));
  if (!source) return failure("%s: page %d cannot be read", file.name, number);
  if (is_image && render_image(*source, image, page)) {
    say_verbose("%s: page %d: its image is rendered pixel by pixel", file.name, number);
    return DONE;
  }
  if (is_image) why = "its image is not rendered pixel by pixel";
  say_verbose("%s: page %d is rendered: %s", file.name, number, why.c_str());
  page = {};
  return render_for_fax(file, *source, number, fit, page);
}

}  // namespace
}  // namespace tolvane

extern "C" tolvane::Status tolvane_read_pdf(const tolvane::PictureFile &file, const tolvane::SourceOptions &options,
                                            const tolvane::page_sink &sink) {
  using namespace tolvane;
  PdfLog log = {file.name};
  poppler::set_debug_error_function(take_message, &log);
  if (file.bytes.size() > INT_MAX) return failure("%s: larger than 2 GB", file.name);
  const std::unique_ptr<poppler::document> document(poppler::document::load_from_raw_data(
      reinterpret_cast<const char *>(file.bytes.data()), static_cast<int>(file.bytes.size())));
  if (!document) return failure("%s: not a PDF file, or an unreadable one", file.name);
  if (document->is_locked()) return failure("%s: the file needs a password", file.name);
  ImagePages images(file, document->pages());
  Status status = DONE;
  for (int i = 0; i < document->pages() && (status != FAILED || options.keep_going); ++i) {
    SourcePicture page;
    Status read = read_page(file, *document, images, i + 1, options.fit, page);
    if (i == 0) page.header = metadata_of(*document);
    if (read == DONE) read = sink(std::move(page));
    status = worse(status, read);
  }
  return worse(status, log.status);
}
