// tolvane-fax render: writes the picture of a page that the viewer shows, by the viewer's own code. Unlike extract it
// decodes a page in the coding and resolution of the document, at a scale of the viewer, with every line that the
// decoder returns.
#include <climits>
#include <string_view>

#include "cli/commands.h"
#include "cli/file_work.h"
#include "cli/options.h"
#include "cli/output_names.h"
#include "document/page_coding.h"
#include "document/page_sources.h"
#include "document/page_survey.h"
#include "formats/fax_lines.h"
#include "formats/page_writers.h"
#include "formats/thumbnail.h"
#include "view/rasteriser.h"
#include "view/scales.h"
#include "view/small_database.h"
#include "view/view_state.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|cmd_render|9|01|4|0|0|11/23/26|12:34:48";

constexpr int32_t LARGEST_THUMBNAIL = 1728;  // pixels

FileList input;
std::string out;
OutputNames outputs;
std::string format_name;
int32_t page_wanted = 1;
int32_t scale_index;
int32_t degrees;
int32_t thumbnail_size;

std::vector<std::pair<std::string, int32_t>> scale_choices() {
  std::vector<std::pair<std::string, int32_t>> choices;
  for (int32_t i = 0; i < SCALE_COUNT; ++i) choices.emplace_back(std::to_string(SCALES[i].percent), i);
  return choices;
}

void declare(Usage &usage) {
  add_files_and_output(
      usage, input, out,
      "the new file; - is standard output; {name} and {dir} are name, without ending, and directory of "
      "FILE, {page} is the page");
  add_number(usage, "-p,--page", page_wanted, 1, INT_MAX, "page to render");
  const Option scale = add_choice(usage, "--scale", scale_index, scale_choices(), "percent, as in the viewer");
  const Option turn =
      add_choice<int32_t>(usage, "--orientation", degrees, {{"0", 0}, {"90", 90}, {"180", 180}, {"270", 270}},
                          "degrees; at 90 the top of the page is at the left");
  add_number(usage, "--size", thumbnail_size, 1, LARGEST_THUMBNAIL,
             "a picture in grey, its longer side of N pixels, as PNG")
      .excludes(scale)
      .excludes(turn);
  usage.add_option("-f,--format", format_name, "output format (default: by the ending of OUT)")
      .type_name(format_names());
  add_no_clobber(usage);
}

// Sets what the rasteriser reads: the resolution as the viewer's own header reader finds it.
Status set_view(const FaxDocument &document) {
  if (!tn_extract_header_info(("/dev/fd/" + std::to_string(document.fd.get())).c_str()))
    return failure("%s: the viewer cannot read its header", document.name());
  High_res = decimal_value(Resolution);
  Reduced = scale_index;
  orientation = degrees;
  return DONE;
}

// Decodes the page into a picture as the viewer does. DONE, or FAILED after a message.
Status render_page(const FaxDocument &document, const FaxPage &page, PagePicture &picture) {
  const ScaleSizes sizes = scale_sizes(Reduced);
  std::vector<uint8_t> block(BITMAP_SIZE);
  if (!decode_picture(page.record.data(), static_cast<uint32_t>(page.record.size()), document.coding, block.data(),
                      sizes.Xsize, sizes.Ysize))
    return failure("%s: page %d: out of memory", document.name(), page_wanted);
  const Extents extents = page_extents(picture_lines());
  // At 100% a picture pixel is two fax pixels across and one line of normal resolution down.
  const bool upright = orientation == 0 || orientation == 180;
  const double across = FAX_X_DPI / sizes.divisor, down = 2 * lines_per_inch(0) / sizes.divisor;
  picture = {extents.Dx, extents.Dy, upright ? across : down, upright ? down : across};
  picture.rows.resize(static_cast<size_t>(picture.height) * picture.row_bytes());
  for (int32_t row = 0; row < picture.height; ++row)
    copy_picture_row(block.data(), extents, row, &picture.rows[static_cast<size_t>(row) * picture.row_bytes()]);
  return DONE;
}

Status render_file(const std::string &file, const PictureFormat &format) {
  FaxDocument document;
  FaxPage page;
  std::string path;
  if (open_fax(file, document) != DONE) return FAILED;
  const Status invalid = report_invalid_inclusions(document);
  if (page_wanted > readable_pages(document)) {
    report("%s: no page %d: the document has %d", document.name(), page_wanted, readable_pages(document));
    return worse(invalid, report_lost_bytes(document)) == DONE ? outputs.misfit() : FAILED;
  }
  report_outside(document);
  if (read_fax_page(document, page_wanted, page) != DONE) return FAILED;
  DecodedPage decoded;
  PagePicture picture;
  const auto decode = thumbnail_size > 0 ? decode_page : count_lines;
  const Status damage = decode(document.name(), page_wanted, page.record, document.coding, decoded);
  if (damage == FAILED) return FAILED;
  if (thumbnail_size > 0 && decoded.count > 0)
    picture = make_thumbnail(decoded.lines, lines_per_inch(document.resolution), thumbnail_size);
  if (thumbnail_size == 0 && (set_view(document) != DONE || render_page(document, page, picture) != DONE))
    return FAILED;
  if (picture.width == 0 || picture.height == 0)
    return failure("%s: page %d has no lines to show", document.name(), page_wanted);
  if (outputs.take(file, page_wanted, path) != DONE || check_not_source(path, document) != DONE) return FAILED;
  return write_picture(format, path, std::move(picture)) == DONE ? worse(invalid, damage) : FAILED;
}

Status run() {
  if (const Status status = input.complete(); status != DONE) return status;
  const PictureFormat *format = wanted_format(format_name, out);
  if (!format) return USAGE;
  if (const Status status = outputs.plan(out, input.files, page_wanted); status != DONE) return status;
  if (thumbnail_size > 0 && format->name != std::string_view("png"))
    return usage_fault("--size makes pictures in grey, which are PNG here");
  if (thumbnail_size > 0) {
    return for_each_file(input.files, [&](size_t index) -> FileReport {
      return [status = render_file(input.files[index], *format)] { return status; };
    });
  }
  // The viewer's rasteriser has one page at a time.
  Progress progress("files", static_cast<int32_t>(input.files.size()));
  Status status = DONE;
  for (const std::string &file : input.files) {
    status = worse(status, render_file(file, *format));
    progress.step();
  }
  return status;
}

}  // namespace

const Command render_command = {"render", "Render the picture of a page that the viewer shows", declare, run};

}  // namespace tolvane
