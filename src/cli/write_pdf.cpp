// PDF: each page is one picture in G4 that fills it. Its size is that of the paper, by the pixels an inch.
#include <stdio.h>
#include <unistd.h>

#include <cstdarg>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include "cli/page_writers.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_pdf|9|01|1|0|0|11/22/26|21:40:00";

constexpr double POINTS = 72;  // in an inch

/// A text made as printf makes it.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

QPDFObjectHandle picture_object(QPDF &pdf, const PagePicture &picture, const std::string &g4) {
  QPDFObjectHandle image = QPDFObjectHandle::newStream(&pdf, g4);
  image.replaceDict(QPDFObjectHandle::parse(
      formatted("<< /Type /XObject /Subtype /Image /Width %d /Height %d /ColorSpace /DeviceGray /BitsPerComponent 1 "
                "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns %d /Rows %d >> >>",
                picture.width, picture.height, picture.width, picture.height)));
  return pdf.makeIndirectObject(image);
}

void add_page(QPDF &pdf, const PagePicture &picture, const std::string &g4) {
  const double width = picture.width / picture.x_dpi * POINTS;
  const double height = picture.height / picture.y_dpi * POINTS;
  QPDFObjectHandle page = QPDFObjectHandle::parse(
      formatted("<< /Type /Page /MediaBox [ 0 0 %.2f %.2f ] /Resources << /XObject << >> >> >>", width, height));
  page.getKey("/Resources").getKey("/XObject").replaceKey("/Page", picture_object(pdf, picture, g4));
  page.replaceKey("/Contents",
                  QPDFObjectHandle::newStream(&pdf, formatted("%.2f 0 0 %.2f 0 0 cm /Page Do\n", width, height)));
  QPDFPageDocumentHelper(pdf).addPage(pdf.makeIndirectObject(page), false);
}

}  // namespace

Status write_pdf(const OutputFile &output, const picture_source &next) {
  QPDF pdf;
  pdf.emptyPDF();
  PagePicture picture;
  while (next(picture)) {
    const std::string g4 = g4_data(picture);
    if (g4.empty()) return failure("%s: a page cannot be coded", output.name());
    add_page(pdf, picture, g4);
  }
  FILE *stream = fdopen(dup(output.fd()), "w");
  if (!stream) return system_failure(output.name());
  QPDFWriter writer(pdf, output.name(), stream, true);
  writer.setStreamDataMode(qpdf_s_preserve);
  writer.setDeterministicID(true);
  writer.write();
  return DONE;
}

}  // namespace tolvane
