// From the runs of a decoded page to the bits of the one bitmap, at the scale and orientation in force. No X here.
#pragma once

#include <cstddef>
#include <cstdint>

#include "view_state.h"

namespace tolvane {

/// The picture of one page, painted run by run into a block of the caller. Distinct objects may be used by distinct
/// threads at the same time.
class FaxPicture {
 public:
  /// A picture that shows nothing.
  FaxPicture() = default;

  /// Begins at line 0, pixel 0.
  ///
  /// @param block    BITMAP_SIZE bytes, cleared; written by `found_run`
  /// @param sizes    of the scale, from `scale_sizes`
  /// @param degrees  orientation: 0, 90, 180 or 270; any other shows nothing
  /// @param fine     the page has fine resolution: only its even lines are painted
  FaxPicture(uint8_t *block, const ScaleSizes &sizes, int32_t degrees, bool fine);

  /// Takes the next run of the line: 0 or above is white, below 0 black. Paints the pixels that the picture shows.
  /// Lines that the block cannot hold are not painted.
  void found_run(int32_t run);

  /// Ends the line. Every line counts, painted or not.
  void found_eol();

  /// The number of lines ended.
  int32_t lines() const { return cy_; }

  /// Clears the block, decodes a coded page and paints it.
  ///
  /// An odd last byte of `data` is not decoded. A page that decodes badly shows what came before the damage.
  /// @param data       coded page, `length` bytes; may be null if `length` is 0
  /// @param comp_type  coding of the page: 0 MH, 1 MR, 3 MMR; any other gives a blank page of 0 lines
  /// @return false without memory
  bool decode(const uint8_t *data, uint32_t length, int32_t comp_type);

 private:
  int32_t place_of(int32_t x) const;
  int32_t in_fine_lines(int32_t lines) const { return fine_ ? lines : 2 * lines; }
  void start_line();
  void paint(int32_t first, int32_t last);

  uint8_t *block_ = nullptr;
  ScaleSizes sizes_ = {};
  int32_t degrees_ = 0;
  bool fine_ = false;
  bool upright_ = true;      // a fax line is a picture row, not a column
  int32_t origin_ = 0;       // where fax pixel 0 falls in the row or, in steps, down the column,
  int32_t step_ = 0;         // and how far it is to the next one, below 0 if lines are mirrored: both in 65536ths
  int32_t stride_ = 0;       // bytes of such a step
  int32_t last_line_ = -1;   // the last line that the block holds
  int32_t cx_ = 0, cy_ = 0;  // fax pixel and line reached
  bool painted_ = false;     // the line in hand; a line that is not painted moves nothing, not even `cx_`
  uint8_t *base_ = nullptr;  // its row, or the first byte of its column
  uint8_t mask_ = 0;         // the bit of the column
};

/// Begins the one picture of the process, with `Reduced`, `orientation` and `High_res` as they are now.
///
/// @param block   BITMAP_SIZE bytes, cleared
/// @param Xsize   picture width in pixels at that scale
/// @param Ysize   most picture rows at that scale; both as `scale_sizes` gives them
void start_picture(uint8_t *block, int32_t Xsize, int32_t Ysize);

/// `FaxPicture::found_run`, `found_eol` and `lines` of that picture: the callbacks of `t4dec`.
void found_run(int32_t run);
void found_eol();
int32_t picture_lines();

/// `start_picture`, then `FaxPicture::decode`; returns as that.
bool decode_picture(const uint8_t *data, uint32_t length, int32_t comp_type, uint8_t *block, int32_t Xsize,
                    int32_t Ysize);

/// Copies one row out of the bitmap as it is shown.
///
/// @param block    BITMAP_SIZE bytes
/// @param extents  of the page, from `page_extents`
/// @param row      0 to extents.Dy - 1
/// @param pixels   receives (extents.Dx + 7) / 8 bytes: 0x80 of the first is the leftmost pixel, 1 is black; the bits
///                 after the last pixel are 0
void copy_picture_row(const uint8_t *block, const Extents &extents, int32_t row, uint8_t *pixels);

}  // namespace tolvane
