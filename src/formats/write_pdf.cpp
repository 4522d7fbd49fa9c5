// PDF: each page is one picture in G4 that fills it, in its true size on paper. Written through qpdf's C interface: the
// headers of the other one are not C++20 to every compiler.
#include <qpdf/qpdf-c.h>
#include <stdio.h>

#include <cmath>
#include <cstdarg>
#include <memory>
#include <utility>

#include "formats/page_writers.h"
#include "io/output_file.h"
#include "support/handle.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_pdf|9|01|1|0|0|11/22/26|21:40:00";

constexpr double POINTS = 72;  // in an inch

// Formats a text as printf does.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

// The size of pixels in points, cut after the fourth decimal: a page slightly larger than its pixels would be rendered
// with one more, and all of them blurred.
double paper_size(int32_t pixels, double dpi) {
  return std::floor(pixels / dpi * POINTS * 1e4) / 1e4;
}

struct CloseQpdf {
  void operator()(_qpdf_data *pdf) const { qpdf_cleanup(&pdf); }
};
using QpdfHandle = std::unique_ptr<_qpdf_data, CloseQpdf>;

// A stream object. The bytes are copied.
qpdf_oh new_stream(qpdf_data pdf, const std::string &bytes, const char *filter, const std::string &parameters) {
  const qpdf_oh stream = qpdf_oh_new_stream(pdf);
  qpdf_oh_replace_stream_data(pdf, stream, reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(),
                              qpdf_oh_parse(pdf, filter), qpdf_oh_parse(pdf, parameters.c_str()));
  return stream;
}

qpdf_oh picture_object(qpdf_data pdf, const PagePicture &picture, const std::string &g4) {
  const int width = picture.width, height = picture.height;
  const qpdf_oh image =
      new_stream(pdf, g4, "/CCITTFaxDecode", formatted("<< /K -1 /Columns %d /Rows %d >>", width, height));
  const std::pair<const char *, std::string> keys[] = {{"/Type", "/XObject"},
                                                       {"/Subtype", "/Image"},
                                                       {"/Width", std::to_string(width)},
                                                       {"/Height", std::to_string(height)},
                                                       {"/ColorSpace", "/DeviceGray"},
                                                       {"/BitsPerComponent", "1"}};
  for (const auto &[key, value] : keys)
    qpdf_oh_replace_key(pdf, qpdf_oh_get_dict(pdf, image), key, qpdf_oh_parse(pdf, value.c_str()));
  return image;
}

void add_page(qpdf_data pdf, const PagePicture &picture, const std::string &g4) {
  const double width = paper_size(picture.width, picture.x_dpi);
  const double height = paper_size(picture.height, picture.y_dpi);
  const qpdf_oh page =
      qpdf_oh_parse(pdf, formatted("<< /Type /Page /MediaBox [ 0 0 %.4f %.4f ] >>", width, height).c_str());
  const qpdf_oh resources = qpdf_oh_parse(pdf, "<< /XObject << >> >>");
  qpdf_oh_replace_key(pdf, qpdf_oh_get_key(pdf, resources, "/XObject"), "/Page", picture_object(pdf, picture, g4));
  qpdf_oh_replace_key(pdf, page, "/Resources", resources);
  const std::string drawing = formatted("%.4f 0 0 %.4f 0 0 cm /Page Do\n", width, height);
  qpdf_oh_replace_key(pdf, page, "/Contents", new_stream(pdf, drawing, "null", "null"));
  qpdf_add_page(pdf, pdf, qpdf_make_indirect_object(pdf, page), QPDF_FALSE);
}

}  // namespace

Status write_pdf(const OutputFile &output, const picture_source &next) {
  const QpdfHandle pdf(qpdf_init());
  qpdf_silence_errors(pdf.get());
  qpdf_empty_pdf(pdf.get());
  PagePicture picture;
  while (next(picture)) {
    const std::string g4 = g4_data(picture);
    if (g4.empty()) return failure("%s: a page cannot be coded", output.name());
    add_page(pdf.get(), picture, g4);
  }
  qpdf_init_write_memory(pdf.get());
  qpdf_set_stream_data_mode(pdf.get(), qpdf_s_preserve);
  qpdf_set_deterministic_ID(pdf.get(), QPDF_TRUE);
  qpdf_write(pdf.get());
  if (qpdf_has_error(pdf.get()))
    return failure("%s: %s", output.name(), qpdf_get_error_full_text(pdf.get(), qpdf_get_error(pdf.get())));
  const unsigned char *bytes = qpdf_get_buffer(pdf.get());
  return write_fully(output.fd(), bytes, qpdf_get_buffer_length(pdf.get())) ? DONE : system_failure(output.name());
}

}  // namespace tolvane
