// Our encoder works on lines of whole bytes; pictures of other widths, as `render` and turning pages make them, are
// left to libtiff.
#include "formats/picture_code.h"

#include "formats/tiff_file.h"
#include "t4/encoder.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|picture_code|9|01|3|0|0|11/23/26|12:42:19";

// What it keeps between pictures is memory alone.
thread_local Encoder encoder;

bool put_code(void *context, const uint8_t *bytes, size_t count) {
  auto &code = *static_cast<std::vector<uint8_t> *>(context);
  code.insert(code.end(), bytes, bytes + count);
  return true;
}

std::vector<uint8_t> own_code(const PagePicture &picture, TiffCoding coding) {
  std::vector<uint8_t> code;
  const CodeSink sink = {&code, put_code};
  const auto size = static_cast<int32_t>(picture.row_bytes());
  if (encoder.begin(coding == TiffCoding::g3 ? COMP_MH : COMP_MMR, 0, sink, CodeForm::standard) != EncodeResult::done ||
      encoder.add(picture.rows.data(), size, picture.height) != EncodeResult::done ||
      encoder.end() != EncodeResult::done)
    return {};
  TIFFReverseBits(code.data(), static_cast<tmsize_t>(code.size()));
  return code;
}

std::vector<uint8_t> code_of_libtiff(const PagePicture &picture, TiffCoding coding) {
  std::vector<uint8_t> memory;
  TiffLog log;
  {
    const TiffHandle written = create_tiff(memory, "page", log);
    if (!written || !set_fax_tags(written.get(), picture, coding)) return {};
    std::vector<uint8_t> rows = picture.rows;  // libtiff takes them without const
    if (TIFFWriteEncodedStrip(written.get(), 0, rows.data(), static_cast<tmsize_t>(rows.size())) < 0 ||
        TIFFWriteDirectory(written.get()) != 1)
      return {};
  }
  const TiffHandle read = open_tiff(memory, "page", log);
  if (!read) return {};
  std::vector<uint8_t> strip(static_cast<size_t>(TIFFRawStripSize(read.get(), 0)));
  const tmsize_t size = TIFFReadRawStrip(read.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size()));
  strip.resize(size < 0 ? 0 : static_cast<size_t>(size));
  return strip;
}

}  // namespace

std::vector<uint8_t> standard_code(const PagePicture &picture, TiffCoding coding) {
  return picture.width % 8 == 0 ? own_code(picture, coding) : code_of_libtiff(picture, coding);
}

}  // namespace tolvane
