// From grey to black and white.
#pragma once

#include <cstdint>
#include <vector>

namespace tolvane {

constexpr int32_t MIDDLE_GREY = 128;  ///< the threshold of pages that are no text

/// The threshold of a page: the one that parts ink from paper best (Otsu) where the page is text, that is mostly paper
/// with greys around two values, and parts it otherwise than MIDDLE_GREY; else MIDDLE_GREY.
int32_t page_threshold(const std::vector<uint8_t> &grey);

/// Error diffusion in place (Floyd and Steinberg), every other row from right to left so that no pattern leans to one
/// side.
void diffuse(std::vector<uint8_t> &grey, int32_t width, int32_t threshold);

/// Makes each pixel black or white by the grey around it (Sauvola), in place: for pages in uneven light.
void threshold_locally(std::vector<uint8_t> &grey, int32_t width);

}  // namespace tolvane
