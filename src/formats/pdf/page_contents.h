// What a page of a PDF shows, as far as it matters here: one image and nothing else, or more.
#pragma once

#include <qpdf/QPDFMatrix.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <string>

namespace tolvane {

/// The one image that a page shows.
struct ShownImage {
  QPDFObjectHandle image;
  QPDFMatrix place;         ///< from the unit square of the image to the page, in points
  bool black_paint = true;  ///< a stencil mask would be painted in black
};

/// Examines the contents of a page and its annotations. Text that is invisible, as text recognition adds it, does not
/// count.
///
/// @param page  its box; anything outside is not seen
/// @param why   receives what the page shows instead, for a message
/// @return whether the page shows nothing but one image, whole
bool find_shown_image(QPDFPageObjectHelper &page, const QPDFObjectHandle::Rectangle &box, ShownImage &shown,
                      std::string &why);

/// Decodes a stream.
///
/// @param most   bytes that are kept at most: a small stream may decode to any number
/// @param bytes  receives them, after those that it contains
/// @return false if the stream has a filter without a decoder, is damaged, or has more bytes
bool decode_stream(QPDFObjectHandle stream, size_t most, std::string &bytes);

}  // namespace tolvane
