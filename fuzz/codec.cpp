// The decoders under all choices of callbacks, the encoder on lines of all kinds, the converter over both, and the
// picture.
#include <string.h>

#include <algorithm>
#include <cstdlib>

#include "faxfile/fax_header.h"
#include "fuzz.h"
#include "helpers/coded_page.h"
#include "support/handle.h"
#include "t4/bitmanip.h"
#include "t4/codes.h"
#include "t4/damage.h"
#include "t4/decoder.h"
#include "t4/encoder.h"
#include "t4/enct4.h"
#include "t4/t4dec.h"
#include "t4/t4dec_2d.h"
#include "t4/t4dec_convert.h"
#include "view/rasteriser.h"
#include "view/view_state.h"

using namespace tolvane;

namespace {

constexpr int32_t WIDTH = 1728;
constexpr size_t LINE_SIZE = WIDTH / 8;
constexpr size_t MOST_LINES = 300;  // kept of a page
constexpr int32_t CODINGS[] = {COMP_MH, COMP_MR, COMP_MMR};

// What came of a decode. The checks are on the way: a line that no damage was reported of has all its pixels, and no
// line has others than its runs paint, but one that was given up, in whose place another comes.
struct Decoded {
  std::string lines;
  std::vector<int32_t> runs;
  size_t eols = 0;
  size_t damaged = 0;

  std::string painted;  // of the line in hand
  int32_t position = 0;
  bool whole = true, replaced = false;
};
Decoded decoded;

template <bool with_eols>
void take_run(int32_t run) {
  if (decoded.runs.size() < MOST_LINES) decoded.runs.push_back(run);
  if (!with_eols) return;
  require(std::abs(int64_t{run}) <= Pix_width - decoded.position, "runs within the line");
  for (int32_t x = decoded.position; x < decoded.position - run; ++x)
    decoded.painted[static_cast<size_t>(x) / 8] |= static_cast<char>(0x80 >> x % 8);
  decoded.position += std::abs(run);
}

template <bool with_runs>
void take_line(const uint8_t *line, uint32_t size) {
  require(size == static_cast<uint32_t>(Pix_width) / 8, "the size of a line");
  const std::string_view bytes(reinterpret_cast<const char *>(line), size);
  if (with_runs && !decoded.replaced) require(bytes == decoded.painted, "the pixels that the runs paint");
  if (decoded.lines.size() < MOST_LINES * LINE_SIZE) decoded.lines += bytes;
}

template <bool with_runs>
void take_eol() {
  ++decoded.eols;
  if (with_runs && decoded.whole)
    require(decoded.position == Pix_width || decoded.position == 0, "runs that sum to the width");
  decoded.painted.assign(static_cast<size_t>(Pix_width) / 8, '\0');
  decoded.position = 0;
  decoded.whole = true;
  decoded.replaced = false;
}

void take_damage(Damage kind) {
  ++decoded.damaged;
  decoded.whole = false;
  decoded.replaced = decoded.replaced || kind == Damage::overflow || kind == Damage::stopped;
}

// Make-up codes at the end of a page wait for the next one. A page that ends in order takes them.
void forget_sums() {
  static const std::vector<uint8_t> mr = coded("E1 w8 b8 w8 00000000 00000000"),
                                    mmr = coded("H w8 b8 H w8 b8 00000000");
  putrunlen(1, 0, nullptr, nullptr, nullptr);
  t4dec_MR(mr.data(), static_cast<uint32_t>(mr.size()), nullptr, nullptr, [] {});
  t4dec_MMR(mmr.data(), static_cast<uint32_t>(mmr.size()), WIDTH, nullptr, nullptr, [] {});
}

Decoded decode(std::string_view record, int32_t coding, bool runs, bool lines, bool eols) {
  const std::vector<uint8_t> data(record.begin(), record.end());
  forget_sums();
  decoded = {};
  decoded.painted.assign(static_cast<size_t>(Pix_width) / 8, '\0');
  const bool checked = runs && eols;
  t4dec_set_damage_callback(take_damage);
  t4dec(data.data(), static_cast<uint32_t>(data.size()), coding,
        !runs  ? nullptr
        : eols ? take_run<true>
               : take_run<false>,
        !lines    ? nullptr
        : checked ? take_line<true>
                  : take_line<false>,
        !eols     ? nullptr
        : checked ? take_eol<true>
                  : take_eol<false>);
  t4dec_set_damage_callback(nullptr);
  return decoded;
}

// The same through the codec core, whose pages know nothing of each other.
Decoded decode_anew(std::string_view record, int32_t coding, const DecodeOptions &options) {
  decoded = {};
  decoded.painted.assign(static_cast<size_t>(Pix_width) / 8, '\0');
  const LineSink sink = {nullptr, [](void *, int32_t run) { take_run<true>(run); },
                         [](void *, const uint8_t *line, uint32_t size) { take_line<true>(line, size); },
                         [](void *) { take_eol<true>(); }, [](void *, Damage kind) { take_damage(kind); }};
  const std::vector<uint8_t> data(record.begin(), record.end());
  Decoder().decode(data, coding, Pix_width, sink, options);
  return decoded;
}

std::string_view lines_to_code;
std::string record_coded;

std::string encode(std::string_view lines, int32_t coding, int32_t resolution) {
  lines_to_code = lines;
  record_coded.clear();
  encode_g3_fax(
      [](const uint8_t **batch, int32_t *count) {
        if (lines_to_code.empty()) return -1;
        *batch = reinterpret_cast<const uint8_t *>(lines_to_code.data());
        *count = static_cast<int32_t>(lines_to_code.size() / LINE_SIZE);
        lines_to_code = {};
        return static_cast<int32_t>(LINE_SIZE);
      },
      [](const uint16_t *words, int32_t count) {
        for (; count > 0; --count, ++words) record_coded += {static_cast<char>(*words), static_cast<char>(*words >> 8)};
        return 0;
      },
      coding, resolution);
  return record_coded;
}

// Lines that are coded and decoded are the same lines, but for those that a coding adds to a page or that only the
// next page's EOL would end.
void require_identity(std::string_view lines, int32_t coding, int32_t resolution) {
  const std::string blank(LINE_SIZE, '\0');
  std::string expected(lines);
  if (lines.empty() && coding != COMP_MMR) return;
  if (coding == COMP_MH) expected = blank + expected.substr(0, expected.size() - LINE_SIZE);
  if (coding == COMP_MMR) expected += blank;
  expected.resize(std::min(expected.size(), MOST_LINES * LINE_SIZE));
  // A byte of fill: a code that takes the very last bit of MR is not acted on.
  const Decoded page = decode(encode(lines, coding, resolution) + '\0', coding, true, true, true);
  require(page.lines == expected, "decoded as encoded");
  require(page.damaged == 0, "no damage in what was encoded");

  const LineSource source = {&lines, [](void *context, const uint8_t **batch, int32_t *count) {
                               auto &rest = *static_cast<std::string_view *>(context);
                               if (rest.empty()) return -1;
                               *batch = reinterpret_cast<const uint8_t *>(rest.data());
                               *count = static_cast<int32_t>(rest.size() / LINE_SIZE);
                               rest = {};
                               return static_cast<int32_t>(LINE_SIZE);
                             }};
  const CodeSink sink = {&record_coded, [](void *context, const uint8_t *bytes, size_t count) {
                           static_cast<std::string *>(context)->append(bytes, bytes + count);
                           return true;
                         }};
  record_coded.clear();
  require(Encoder().encode(source, coding, resolution, sink, CodeForm::standard) == EncodeResult::done, "a coded page");
  const Decoded other = decode_anew(record_coded, coding, {CodeForm::standard});
  require(other.lines == expected && other.damaged == 0, "decoded as encoded by the letter of the standard");
}

std::string turned(std::string picture) {
  std::reverse(picture.begin(), picture.end());
  bit_flip_bits(reinterpret_cast<uint8_t *>(picture.data()), static_cast<int32_t>(picture.size()));
  return picture;
}

}  // namespace

void fuzz_decoders(Input input) {
  const int32_t coding = CODINGS[input.pick(3)];
  t4dec_set_pixel_width(input.pick(2) == 0 ? WIDTH : 8 * (1 + static_cast<int32_t>(input.pick(250))));
  const uint32_t callbacks = input.pick(8);
  const std::string record = input.text();
  const Decoded all = decode(record, coding, true, true, true);
  const Decoded anew = decode_anew(record, coding, {CodeForm::stored, false});
  require(anew.lines == all.lines && anew.runs == all.runs && anew.eols == all.eols && anew.damaged == all.damaged,
          "the same page from the codec core");
  decode_anew(record, coding, {CodeForm::standard});
  const bool runs = callbacks & 1, lines = callbacks & 2, eols = callbacks & 4;
  const Decoded some = decode(record, coding, runs, lines, eols);
  require(some.eols == (eols ? all.eols : 0), "the same number of lines");
  require(!lines || some.lines == all.lines, "the same lines");
  require(!runs || some.runs == all.runs, "the same runs");
  if (Pix_width == WIDTH) require_identity(all.lines, CODINGS[callbacks % 3], static_cast<int32_t>(callbacks % 2));
}

// Lines of runs whose lengths are the bytes, so that close to every byte counts; an odd byte at the end of a line, a
// line like the last one, shifted.
void fuzz_encoder(Input input) {
  t4dec_set_pixel_width(WIDTH);
  const int32_t resolution = static_cast<int32_t>(input.pick(5));
  std::string lines, line(LINE_SIZE, '\0');
  size_t position = 0;
  for (const uint8_t byte : input.bytes) {
    const size_t end = std::min<size_t>(position + (byte < 0xc0 ? byte / 2 : 8 * (byte - 0xbf)), WIDTH);
    for (; byte % 2 == 1 && position < end; ++position) line[position / 8] |= static_cast<char>(0x80 >> position % 8);
    position = end;
    if (position < WIDTH && byte != 0) continue;
    lines += line;
    if (byte % 4 != 3) line.assign(LINE_SIZE, '\0');
    position = 0;
    if (lines.size() >= MOST_LINES * LINE_SIZE / 4) break;
  }
  for (const int32_t coding : CODINGS) require_identity(lines, coding, resolution);
}

void fuzz_converter(Input input) {
  const int32_t coding = CODINGS[input.pick(3)];
  const std::string before = input.text();
  const std::string path = scratch().write("converted.fax", before);
  forget_sums();
  const int result = t4dec_change_format(path.c_str(), coding, 0, nullptr);
  require(scratch().entries() == 1, "nothing left over");
  const std::string after = read_file(path);
  if (result != 1 || after == before) {
    require(after == before, "a failure that leaves the file");
    return;
  }
  const MemoryFile file(after);
  const OwnedFaxHeader header(read_fax_header(file.fd()));
  require(get_compression_mode(header.get()) == coding, "the coding that was asked for");
  const std::vector<size_t> records = record_offsets(after);
  require(records.back() == after.size() && records.size() <= record_offsets(before).size(), "whole records");
  for (size_t i = 0; i + 1 < records.size() && i < 4; ++i) {
    const std::string record = after.substr(records[i] + 4, records[i + 1] - records[i] - 4) + '\0';
    require(decode(record, coding, true, true, true).damaged == 0, "pages without damage");
  }
}

void fuzz_picture(Input input) {
  const int32_t coding = CODINGS[input.pick(3)];
  High_res = static_cast<int32_t>(input.pick(2));
  const Block<uint8_t> block(static_cast<uint8_t *>(malloc(BITMAP_SIZE)));
  Reduced = static_cast<int32_t>(input.pick(3));
  const ScaleSizes sizes = scale_sizes(Reduced);
  std::string upright;
  for (orientation = 0; orientation < 360; orientation += 90) {
    forget_sums();
    decode_picture(input.bytes.data(), static_cast<uint32_t>(input.bytes.size()), coding, block.get(), sizes.Xsize,
                   sizes.Ysize);
    const Extents extents = page_extents(picture_lines());
    std::vector<uint8_t> row(static_cast<size_t>(extents.Dx + 7) / 8);
    std::string picture;  // a row is a whole number of bytes
    for (int32_t y = 0; y < extents.Dy; ++y) {
      copy_picture_row(block.get(), extents, y, row.data());
      picture.append(row.begin(), row.end());
    }
    if (orientation == 0) upright = picture;
    // Upside down, the first row of the page is one past the end of the picture.
    if (orientation == 180 && !picture.empty())
      require(turned(picture.substr(row.size())) == upright.substr(row.size()), "the upright picture upside down");
  }
}
