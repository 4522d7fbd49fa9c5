// PDF pages through poppler, rendered directly at the size and resolution of the fax page: scaling the result would
// blur it.
#include <poppler-document.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <utility>

#include "formats/page_readers.h"

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

Status render(const PictureFile &file, const poppler::page &source, int32_t number, const FitOptions &fit,
              HeaderValues &&header, const page_sink &sink) {
  double height = 0;
  const double width = seen_width(source, height);
  const double natural = width * FAX_X_DPI / POINT;
  const bool to_width = fit.fit == FIT_SCALE || (fit.fit == FIT_CENTER && natural > FAX_WIDTH);
  const double enlarged = to_width ? FAX_WIDTH / natural : 1;
  const double x_dpi = FAX_X_DPI * enlarged, y_dpi = lines_per_inch(fit.resolution) * enlarged;
  SourcePicture page = {0, 0, x_dpi, y_dpi, {}, {}, std::move(header)};
  const double pixels = std::ceil(natural * enlarged), lines = std::ceil(height * y_dpi / POINT);
  // Also false for NaN.
  if (!(pixels >= 1 && pixels <= WIDEST_PICTURE && lines >= 1 && lines <= LONGEST_PAGE))
    return failure("%s: page %d of %g x %g points is not a fax page", file.name, number, width, height);

  poppler::page_renderer renderer;
  renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
  renderer.set_image_format(poppler::image::format_gray8);
  const auto wanted_width = std::min(static_cast<int>(pixels), to_width ? FAX_WIDTH : WIDEST_PICTURE);
  const poppler::image image = renderer.render_page(&source, x_dpi, y_dpi, 0, 0, wanted_width, static_cast<int>(lines));
  if (!image.is_valid()) return failure("%s: page %d cannot be rendered", file.name, number);
  page.width = image.width();
  page.height = image.height();
  for (int row = 0; row < image.height(); ++row) {
    const auto *pixel = reinterpret_cast<const uint8_t *>(image.const_data()) + row * image.bytes_per_row();
    page.grey.insert(page.grey.end(), pixel, pixel + image.width());
  }
  return sink(std::move(page));
}

}  // namespace

Status read_pdf(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  PdfLog log = {file.name};
  poppler::set_debug_error_function(take_message, &log);
  if (file.bytes.size() > INT_MAX) return failure("%s: larger than 2 GB", file.name);
  const std::unique_ptr<poppler::document> document(poppler::document::load_from_raw_data(
      reinterpret_cast<const char *>(file.bytes.data()), static_cast<int>(file.bytes.size())));
  if (!document) return failure("%s: not a PDF file, or an unreadable one", file.name);
  if (document->is_locked()) return failure("%s: the file needs a password", file.name);
  Status status = DONE;
  for (int i = 0; i < document->pages() && (status != FAILED || options.keep_going); ++i) {
    const std::unique_ptr<poppler::page> page(document->create_page(i));
    status = worse(
        status, page ? render(file, *page, i + 1, options.fit, i == 0 ? metadata_of(*document) : HeaderValues(), sink)
                     : failure("%s: page %d cannot be read", file.name, i + 1));
  }
  return worse(status, log.status);
}

}  // namespace tolvane
