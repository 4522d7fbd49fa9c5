// TIFF. The code of the pictures comes from our own encoder, in the form of the standard; libtiff writes the file.
#include <errno.h>

#include <charconv>

#include "formats/page_writers.h"
#include "formats/tiff_file.h"
#include "io/output_file.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|write_tiff|9|01|3|0|0|11/23/26|09:17:01";

bool set_text(TIFF *tiff, uint32_t tag, const std::string &text) {
  return text.empty() || TIFFSetField(tiff, tag, text.c_str());
}

// Writes what a fax server has written about the reception, as `create` keeps it.
bool write_reception(TIFF *tiff, const std::string &facts) {
  constexpr std::pair<uint32_t, const char *> NUMBERS[] = {
      {TIFFTAG_FAXRECVTIME, "received-in"}, {TIFFTAG_FAXRECVPARAMS, "parameters"}, {TIFFTAG_BADFAXLINES, "bad-lines"}};
  for (const auto &[tag, name] : NUMBERS) {
    const std::string text = listed_fact(facts, name);
    uint32_t number = 0;
    const bool is_number = std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
    if (is_number && !TIFFSetField(tiff, tag, number)) return false;
  }
  return set_text(tiff, TIFFTAG_FAXDCS, listed_fact(facts, "dcs")) &&
         set_text(tiff, TIFFTAG_FAXSUBADDRESS, listed_fact(facts, "subaddress"));
}

// Writes what is known of a page: the tags of documents (TIFF 6.0, class F), and for the first page those of its
// reception. Then the description is the number of the sender, as in the spool files of fax servers.
bool write_metadata(TIFF *tiff, const PagePicture &picture, bool is_first) {
  constexpr std::pair<uint32_t, const char *> TAGS[] = {{TIFFTAG_IMAGEDESCRIPTION, "SUBJECT"},
                                                        {TIFFTAG_ARTIST, "SENDER_NAME"},
                                                        {TIFFTAG_MODEL, "SENDER_EQUIPMENT"},
                                                        {TIFFTAG_HOSTCOMPUTER, "FAX_ID"}};
  for (const auto &[tag, keyword] : TAGS) {
    if (!set_text(tiff, tag, header_value(picture.header, keyword))) return false;
  }
  const std::string facts = header_value(picture.header, "KEYWORDS");
  if (is_first && !write_reception(tiff, facts)) return false;
  if (is_first && !listed_fact(facts, "received-in").empty() &&
      !set_text(tiff, TIFFTAG_IMAGEDESCRIPTION, header_value(picture.header, "SENDER_FAX#")))
    return false;
  std::tm date;
  if (parse_date(header_value(picture.header, "DATE"), date) &&
      !set_text(tiff, TIFFTAG_DATETIME, format_date(date, "%Y:%m:%d %H:%M:%S")))
    return false;
  return picture.bad_lines == 0 ||
         (TIFFSetField(tiff, TIFFTAG_BADFAXLINES, static_cast<uint32_t>(picture.bad_lines)) &&
          TIFFSetField(tiff, TIFFTAG_CLEANFAXDATA, CLEANFAXDATA_UNCLEAN) &&
          TIFFSetField(tiff, TIFFTAG_CONSECUTIVEBADFAXLINES, static_cast<uint32_t>(picture.consecutive_bad_lines)));
}

// Writes a picture as one strip of a new directory.
bool write_directory(TIFF *tiff, PagePicture &picture, TiffCoding coding, uint16_t page) {
  return set_fax_tags(tiff, picture, coding) && TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page, 0) &&
         TIFFSetField(tiff, TIFFTAG_SOFTWARE, "tolvane-fax") && write_metadata(tiff, picture, page == 0) &&
         TIFFWriteRawStrip(tiff, 0, picture.code.data(), static_cast<tmsize_t>(picture.code.size())) >= 0 &&
         TIFFWriteDirectory(tiff) == 1;
}

}  // namespace

Status write_tiff(const OutputFile &output, TiffCoding coding, const picture_source &next) {
  TiffLog log;
  TiffHandle tiff = create_tiff(output.fd(), output.name(), log);
  PagePicture picture;
  uint16_t page = 0;
  while (tiff && next(picture)) {
    if (picture.code.empty()) return failure("%s: a page cannot be coded: out of memory", output.name());
    if (!write_directory(tiff.get(), picture, coding, page++)) tiff.reset();
  }
  const bool written = static_cast<bool>(tiff);
  // Closing writes what is still buffered, and reports failure by a message only.
  if (written) log.error.clear();
  tiff.reset();
  if (log.io_error != 0) {
    errno = log.io_error == EFAULT ? ENOMEM : log.io_error;  // libtiff writes a block that it could not allocate
    return system_failure(output.name(), "cannot be written");
  }
  return written && log.error.empty() ? DONE : failure("%s: cannot be written: %s", output.name(), log.error.c_str());
}

}  // namespace tolvane
