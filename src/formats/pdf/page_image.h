// Pages of a PDF that are one black and white image, as scanners and fax servers make them.
#pragma once

#include <cstdint>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <string>

#include "formats/source_picture.h"
#include "formats/turning.h"

namespace tolvane {

/// A page that is one image.
struct PageImage {
  SourcePicture picture;      ///< size and density as stored; `load` makes the pixels and turns them as they are seen
  Turn placed, rotated;       ///< how they are turned: by the contents of the page first, then by its rotation
  bool needs_render = false;  ///< its filter has no decoder here (JBIG2), and there is no `load`
};

/// Takes the image of a page that shows nothing else: one of one bit per pixel in black and white, upright or turned by
/// multiples of 90 degrees, mirrored or not, that covers the page to within a point.
///
/// @param name, number  for messages about the image: the file and the number of the page
/// @param why           receives why the page is none, for a message
/// @return whether the page is one
bool take_page_image(QPDFPageObjectHelper page, const char *name, int32_t number, PageImage &image, std::string &why);

}  // namespace tolvane
