// The table of the formats that pages are written in.
#include "formats/page_writers.h"

#include <strings.h>

#include "formats/picture_code.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_writers|9|01|3|0|0|11/23/26|09:08:16";

// A writer that ignores the coding of TIFF.
template <Status (*write)(const OutputFile &, const picture_source &)>
Status without_coding(const OutputFile &output, TiffCoding, const picture_source &next) {
  return write(output, next);
}

std::vector<uint8_t> g4_code(const PagePicture &picture, TiffCoding) {
  return standard_code(picture, TiffCoding::g4);
}

const PictureFormat FORMATS[] = {
    {"tiff", {".tif", ".tiff"}, true, false, standard_code, write_tiff},
    {"pdf", {".pdf"}, true, true, g4_code, without_coding<write_pdf>},
    {"png", {".png"}, false, false, nullptr, without_coding<write_png>},
    {"pbm", {".pbm"}, true, false, nullptr, without_coding<write_pbm>},
};

const PictureFormat *format_named(const std::string &name) {
  for (const PictureFormat &format : FORMATS) {
    if (strcasecmp(name.c_str(), format.name) == 0) return &format;
  }
  return nullptr;
}

const PictureFormat *format_of_path(const std::string &path) {
  const size_t dot = path.rfind('.');
  if (dot == path.npos) return nullptr;
  for (const PictureFormat &format : FORMATS) {
    for (const char *ending : format.endings) {
      if (strcasecmp(path.c_str() + dot, ending) == 0) return &format;
    }
  }
  return nullptr;
}

}  // namespace

std::string format_names() {
  std::string names;
  for (const PictureFormat &format : FORMATS) names += (names.empty() ? "" : "|") + std::string(format.name);
  return names;
}

const PictureFormat *wanted_format(const std::string &name, const std::string &path) {
  const PictureFormat *format = name.empty() ? format_of_path(path) : format_named(name);
  if (!format && name.empty())
    report("%s: its ending says no format: use --format %s", path.c_str(), format_names().c_str());
  else if (!format)
    report("--format: \"%s\" is not one of %s", name.c_str(), format_names().c_str());
  return format;
}

Status write_picture(const PictureFormat &format, const std::string &path, PagePicture &&picture) {
  if (format.encode) picture.code = format.encode(picture, TiffCoding::g4);
  OutputFile output;
  if (output.open(path) != DONE) return FAILED;
  bool given = false;
  const auto next = [&](PagePicture &wanted) {
    if (given) return false;
    wanted = std::move(picture);
    return given = true;
  };
  return format.write(output, TiffCoding::g4, next) == DONE ? output.commit() : FAILED;
}

}  // namespace tolvane
