// Lines to record and back, through the library's one encoder and one decoder. Both take plain functions and keep
// process-wide state, hence the file-local variables: one page at a time.
#include "document/page_coding.h"

#include <algorithm>

#include "formats/fax_lines.h"
#include "t4/damage.h"
#include "t4/enct4.h"
#include "t4/line.h"
#include "t4/t4dec.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_coding|9|01|1|0|0|11/22/26|22:10:00";

constexpr int32_t DEC_EOL = 9999;  // the token that ends a line of MH
constexpr size_t EOL_ZEROS = 11;   // zeros in front of the one of an EOL (ITU-T T.4, 4.1.2)

std::span<const uint8_t> lines_to_code;  // given to the encoder in one batch, then empty
std::vector<uint8_t> *coded;

DecodedPage *decoding;
int32_t runs_of_line;   // runs since the last end of line
int32_t lines_missing;  // that the decoder passed over

int32_t give_lines(const uint8_t **lines, int32_t *count) {
  if (lines_to_code.empty()) return -1;
  *lines = lines_to_code.data();
  *count = static_cast<int32_t>(lines_to_code.size() / LINE_BYTES);
  lines_to_code = {};
  return LINE_BYTES;
}

int32_t take_words(const uint16_t *words, int32_t count) {
  for (const uint16_t word : std::span(words, static_cast<size_t>(count))) {
    coded->push_back(static_cast<uint8_t>(word & 0xFF));
    coded->push_back(static_cast<uint8_t>(word >> 8));
  }
  return count;
}

void take_run(int32_t) {
  ++runs_of_line;
}

void take_line(const uint8_t *line, uint32_t size) {
  decoding->lines.insert(decoding->lines.end(), line, line + size);
  runs_of_line = 0;
}

/// Whether the decoder gives nothing in place of such a line.
bool is_missing(Damage kind) {
  return kind == Damage::skipped_line || kind == Damage::lost_start;
}

void take_damage(Damage kind) {
  decoding->damage.push_back({decoding->line_count() + lines_missing + 1, kind});
  if (is_missing(kind)) ++lines_missing;
}

bool bit_at(std::span<const uint8_t> record, size_t bit) {
  return record[bit / 8] >> bit % 8 & 1;
}

/// Takes an RTC off an MH record: EOLs with nothing between them, which the decoder would give as white lines. What is
/// left of the last byte is zeros, and a single EOL at the end, which ends the last line, stays.
std::vector<uint8_t> without_rtc(std::span<const uint8_t> record) {
  size_t end = record.size() * 8, eols = 0, cut = 0;
  while (end > 0 && !bit_at(record, end - 1)) --end;
  for (; end > EOL_ZEROS; ++eols) {
    size_t zeros = 0;
    while (zeros + 1 < end && !bit_at(record, end - 2 - zeros)) ++zeros;
    if (zeros < EOL_ZEROS) break;
    if (eols > 0) cut = end;
    end -= zeros + 1;
    // Only an EOL that follows another one directly is of the RTC.
    if (zeros > EOL_ZEROS) break;
  }
  std::vector<uint8_t> kept(record.begin(), record.end());
  if (cut == 0) return kept;
  kept.resize((cut + 7) / 8);
  if (cut % 8) kept.back() = static_cast<uint8_t>(kept.back() & ((1U << cut % 8) - 1));
  return kept;
}

/// The decoder gives a white line for the EOL at the head of a page and keeps the line behind the last EOL back.
void decode_MH(std::span<const uint8_t> record) {
  const std::vector<uint8_t> data = without_rtc(record);
  t4dec(data.data(), static_cast<uint32_t>(data.size()), COMP_MH, take_run, take_line, nullptr);
  if (runs_of_line > 0) putrunlen(0, DEC_EOL, take_run, take_line, nullptr);
  if (decoding->lines.empty()) return;
  decoding->lines.erase(decoding->lines.begin(), decoding->lines.begin() + LINE_BYTES);
  for (LineDamage &damage : decoding->damage) damage.line = std::max(damage.line - 1, 1);
}

/// The decoder leaves the runs undone whose codes end in the last byte, and pages that were not made here need not have
/// fill behind them: that byte of fill is put there.
void decode_MR(std::span<const uint8_t> record) {
  std::vector<uint8_t> data(record.begin(), record.end());
  data.push_back(0);
  t4dec(data.data(), static_cast<uint32_t>(data.size()), COMP_MR, nullptr, take_line, nullptr);
}

/// The decoder gives a white line after the last one, or in its place what there is of an unfinished line.
void decode_MMR(std::span<const uint8_t> record) {
  const int done = t4dec(record.data(), static_cast<uint32_t>(record.size()), COMP_MMR, nullptr, take_line, nullptr);
  const auto &lines = decoding->lines;
  const bool white = std::all_of(lines.end() - std::min<ptrdiff_t>(LINE_BYTES, std::ssize(lines)), lines.end(),
                                 [](uint8_t byte) { return byte == 0; });
  if (done && !lines.empty() && white) decoding->lines.resize(lines.size() - LINE_BYTES);
}

void decode_record(std::span<const uint8_t> record, int32_t coding, DecodedPage &page) {
  decoding = &page;
  runs_of_line = lines_missing = 0;
  t4dec_set_pixel_width(FAX_WIDTH);
  t4dec_set_damage_callback(take_damage);
  if (coding == COMP_MH) decode_MH(record);
  if (coding == COMP_MMR) decode_MMR(record);
  if (coding == COMP_MR) decode_MR(record);
  t4dec_set_damage_callback(nullptr);
}

}  // namespace

int32_t DecodedPage::line_count() const {
  return static_cast<int32_t>(lines.size() / LINE_BYTES);
}

int32_t DecodedPage::coded_lines() const {
  const auto missing = [](const LineDamage &place) { return is_missing(place.kind); };
  return line_count() + static_cast<int32_t>(std::count_if(damage.begin(), damage.end(), missing));
}

int32_t DecodedPage::damaged_lines() const {
  int32_t count = 0, last = 0;
  for (const LineDamage &place : damage) {
    if (place.line != last) ++count;
    last = place.line;
  }
  return count;
}

std::vector<uint8_t> encode_page(std::span<const uint8_t> lines, int32_t coding, int32_t resolution) {
  std::vector<uint8_t> record;
  coded = &record;
  lines_to_code = lines;
  encode_g3_fax(give_lines, take_words, coding, resolution);
  if (coding == COMP_MR) record.insert(record.end(), {0, 0});
  return record;
}

Status decode_page(const char *name, int32_t page, std::span<const uint8_t> record, int32_t coding,
                   DecodedPage &decoded) {
  decoded.lines.clear();
  decoded.damage.clear();
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR)
    return failure("%s: page %d: pages in %s cannot be decoded", name, page, coding_name(coding));
  if (record.empty()) return DONE;
  decode_record(record, coding, decoded);
  return report_damage(name, page, decoded.damage.size(), [&](size_t i) {
    return "line " + std::to_string(decoded.damage[i].line) + ": " + damage_text(decoded.damage[i].kind);
  });
}

const char *damage_text(Damage kind) {
  switch (kind) {
    case Damage::overflow:
      return "longer than 1728 pixels";
    case Damage::short_line:
      return "ends before 1728 pixels";
    case Damage::invalid_code:
      return "a code that does not exist";
    case Damage::skipped_line:
      return "cannot be decoded without the one before it";
    case Damage::stopped:
      return "damaged, and nothing after it can be decoded";
    case Damage::data_ends:
      return "the data end in the middle of it";
    case Damage::lost_start:
      return "lost, since no EOL begins it";
  }
  return "damaged";
}

const char *coding_name(int32_t coding) {
  constexpr const char *NAMES[] = {"MH", "MR", "UMMR", "MMR"};
  return coding >= 0 && coding < 4 ? NAMES[coding] : "unknown";
}

}  // namespace tolvane
