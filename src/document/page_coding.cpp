// Lines to record and back, through the codec core: every page from a fresh state.
#include "document/page_coding.h"

#include <nettle/base16.h>
#include <nettle/sha2.h>

#include <algorithm>

#include "formats/fax_lines.h"
#include "t4/codec.h"
#include "t4/line.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|page_coding|9|01|4|0|0|11/23/26|12:24:21";

// The longest page, and the line that the decoders of MH and MMR add. Beyond them the last line is kept.
constexpr size_t MOST_DELIVERED = LONGEST_DECODED + 1;

// Whether the decoder returns nothing in place of such a line.
bool is_missing(Damage kind) {
  return kind == Damage::skipped_line || kind == Damage::lost_start;
}

// A decode in progress. Of a page that is only counted, `lines` has the last line, or none.
struct Decoding {
  DecodedPage &page;
  bool keep_lines;
  int32_t runs = 0;     // since the last end of line
  int32_t missing = 0;  // lines that the decoder passed over
  DecodeResult result = DecodeResult::done;
};

Decoding &decoding_of(void *context) {
  return *static_cast<Decoding *>(context);
}

void take_run(void *context, int32_t) {
  ++decoding_of(context).runs;
}

void take_line(void *context, const uint8_t *line, uint32_t size) {
  Decoding &decoding = decoding_of(context);
  std::vector<uint8_t> &lines = decoding.page.lines;
  const size_t most = decoding.keep_lines ? MOST_DELIVERED : 1;
  if (lines.size() == most * size) lines.resize(lines.size() - size);
  lines.insert(lines.end(), line, line + size);
  ++decoding.page.count;
  decoding.runs = 0;
}

void count_line(void *context) {
  Decoding &decoding = decoding_of(context);
  ++decoding.page.count;
  decoding.runs = 0;
}

void take_damage(void *context, Damage kind) {
  Decoding &decoding = decoding_of(context);
  decoding.page.damage.push_back({decoding.page.count + decoding.missing + 1, kind});
  if (is_missing(kind)) ++decoding.missing;
}

bool bit_at(std::span<const uint8_t> record, size_t bit) {
  return record[bit / 8] >> bit % 8 & 1;
}

// Removes an RTC from an MH record: consecutive EOLs, which the decoder would return as white lines. The rest of the
// last byte becomes zeros; a single EOL at the end, which ends the last line, stays.
std::vector<uint8_t> without_rtc(std::span<const uint8_t> record) {
  size_t end = record.size() * 8, eols = 0, cut = 0;
  while (end > 0 && !bit_at(record, end - 1)) --end;
  for (; end > EOL_ZEROS; ++eols) {
    size_t zeros = 0;
    while (zeros + 1 < end && !bit_at(record, end - 2 - zeros)) ++zeros;
    if (zeros < EOL_ZEROS) break;
    if (eols > 0) cut = end;
    end -= zeros + 1;
    // Only an EOL directly after another one belongs to the RTC.
    if (zeros > EOL_ZEROS) break;
  }
  std::vector<uint8_t> kept(record.begin(), record.end());
  if (cut == 0) return kept;
  kept.resize((cut + 7) / 8);
  if (cut % 8) kept.back() = static_cast<uint8_t>(kept.back() & ((1U << cut % 8) - 1));
  return kept;
}

LineSink sink_of(Decoding &decoding) {
  return {&decoding, nullptr, take_line, nullptr, take_damage};
}

// Counts lines, which then need not be painted. Not for MR, where an EOL of an RTC ends no line.
LineSink counting_sink_of(Decoding &decoding) {
  return {&decoding, nullptr, nullptr, count_line, take_damage};
}

// The decoder returns a white line for the EOL that starts a page, and does not end the line after the last EOL.
void decode_MH(Decoder &decoder, std::span<const uint8_t> record, Decoding &decoding) {
  DecodedPage &page = decoding.page;
  LineSink sink = decoding.keep_lines ? sink_of(decoding) : counting_sink_of(decoding);
  sink.found_run = take_run;
  decoding.result = decoder.decode(without_rtc(record), COMP_MH, FAX_WIDTH, sink);
  if (decoding.runs > 0) decoder.end_line(sink);
  if (page.count == 0) return;
  --page.count;
  if (decoding.keep_lines) page.lines.erase(page.lines.begin(), page.lines.begin() + LINE_BYTES);
  for (LineDamage &damage : page.damage) damage.line = std::max(damage.line - 1, 1);
}

// The decoder drops runs whose codes end in the last byte, and pages of other encoders need not end in fill: a byte of
// fill is appended.
void decode_MR(Decoder &decoder, std::span<const uint8_t> record, Decoding &decoding) {
  std::vector<uint8_t> data(record.begin(), record.end());
  data.push_back(0);
  decoding.result = decoder.decode(data, COMP_MR, FAX_WIDTH, sink_of(decoding));
}

// Counts the lines of an MMR page. False if its last line is unfinished: then the pixels decide whether it counts.
bool count_MMR(Decoder &decoder, std::span<const uint8_t> record, Decoding &decoding) {
  DecodedPage &page = decoding.page;
  decoding.result = decoder.decode(record, COMP_MMR, FAX_WIDTH, counting_sink_of(decoding));
  const Damage last = page.damage.empty() ? Damage::stopped : page.damage.back().kind;
  if (last == Damage::short_line || last == Damage::data_ends) return false;
  if (decoding.result == DecodeResult::done && page.count > 0) --page.count;
  return true;
}

// The decoder returns a white line after the last one, or the beginning of an unfinished line in its place.
void decode_MMR(Decoder &decoder, std::span<const uint8_t> record, Decoding &decoding) {
  DecodedPage &page = decoding.page;
  if (!decoding.keep_lines && count_MMR(decoder, record, decoding)) return;
  page = {};
  decoding.missing = 0;
  decoding.result = decoder.decode(record, COMP_MMR, FAX_WIDTH, sink_of(decoding));
  const auto last = page.lines.end() - std::min<ptrdiff_t>(LINE_BYTES, std::ssize(page.lines));
  const bool white = std::all_of(last, page.lines.end(), [](uint8_t byte) { return byte == 0; });
  if (decoding.result != DecodeResult::done || page.count == 0 || !white) return;
  --page.count;
  page.lines.erase(last, page.lines.end());
}

// Decodes a page and reports its damage.
Status decode(const char *name, int32_t number, std::span<const uint8_t> record, int32_t coding, Decoding &&decoding) {
  DecodedPage &page = decoding.page;
  page = {};
  if (coding != COMP_MH && coding != COMP_MR && coding != COMP_MMR)
    return failure("%s: page %d: pages in %s cannot be decoded", name, number, coding_name(coding));
  if (record.empty()) return DONE;
  Decoder decoder;
  if (coding == COMP_MH) decode_MH(decoder, record, decoding);
  if (coding == COMP_MMR) decode_MMR(decoder, record, decoding);
  if (coding == COMP_MR) decode_MR(decoder, record, decoding);
  page.out_of_memory = decoding.result == DecodeResult::no_memory;
  if (page.out_of_memory) return failure("%s: page %d: out of memory", name, number);
  if (decoding.keep_lines && page.count > LONGEST_DECODED)
    return failure("%s: page %d: %d lines are more than %d, and are not decoded", name, number, page.count,
                   LONGEST_DECODED);
  return report_damage(name, number, page.damage.size(), [&](size_t i) {
    return "line " + std::to_string(page.damage[i].line) + ": " + damage_text(page.damage[i].kind);
  });
}

}  // namespace

int32_t DecodedPage::coded_lines() const {
  const auto missing = [](const LineDamage &place) { return is_missing(place.kind); };
  return count + static_cast<int32_t>(std::count_if(damage.begin(), damage.end(), missing));
}

int32_t DecodedPage::damaged_lines() const {
  int32_t damaged = 0, last = 0;
  for (const LineDamage &place : damage) {
    if (place.line != last) ++damaged;
    last = place.line;
  }
  return damaged;
}

Status encode_page(const std::string &what, std::span<const uint8_t> lines, int32_t coding, int32_t resolution,
                   std::vector<uint8_t> &record) {
  record.clear();
  const CodeSink sink = {&record, [](void *context, const uint8_t *bytes, size_t count) {
                           auto &code = *static_cast<std::vector<uint8_t> *>(context);
                           code.insert(code.end(), bytes, bytes + count);
                           return true;
                         }};
  Encoder encoder;
  const auto line_count = static_cast<int32_t>(lines.size() / LINE_BYTES);
  EncodeResult result = encoder.begin(coding, resolution, sink);
  if (result == EncodeResult::done && line_count > 0) result = encoder.add(lines.data(), LINE_BYTES, line_count);
  if (result == EncodeResult::done) result = encoder.end();
  if (result != EncodeResult::done) return failure("%s cannot be coded: out of memory", what.c_str());
  if (coding == COMP_MR) record.insert(record.end(), {0, 0});
  return DONE;
}

Status decode_page(const char *name, int32_t number, std::span<const uint8_t> record, int32_t coding,
                   DecodedPage &page) {
  return decode(name, number, record, coding, {page, true});
}

Status count_lines(const char *name, int32_t number, std::span<const uint8_t> record, int32_t coding,
                   DecodedPage &page) {
  const Status status = decode(name, number, record, coding, {page, false});
  page.lines.clear();
  return status;
}

std::string page_checksum(const DecodedPage &page) {
  const std::string head = "P4\n" + std::to_string(FAX_WIDTH) + " " + std::to_string(page.count) + "\n";
  sha256_ctx state;
  sha256_init(&state);
  sha256_update(&state, head.size(), reinterpret_cast<const uint8_t *>(head.data()));
  sha256_update(&state, page.lines.size(), page.lines.data());
  uint8_t digest[SHA256_DIGEST_SIZE];
  sha256_digest(&state, sizeof digest, digest);
  char text[BASE16_ENCODE_LENGTH(SHA256_DIGEST_SIZE)];
  base16_encode_update(text, sizeof digest, digest);
  return {text, sizeof text};
}

const char *damage_text(Damage kind) {
  switch (kind) {
    case Damage::overflow:
      return "longer than 1728 pixels";
    case Damage::short_line:
      return "ends before 1728 pixels";
    case Damage::invalid_code:
      return "an invalid code";
    case Damage::skipped_line:
      return "cannot be decoded without the one before it";
    case Damage::stopped:
      return "damaged, and nothing after it can be decoded";
    case Damage::data_ends:
      return "the data end within it";
    case Damage::lost_start:
      return "lost: no EOL before it";
  }
  return "damaged";
}

const char *coding_name(int32_t coding) {
  constexpr const char *NAMES[] = {"MH", "MR", "UMMR", "MMR"};
  return coding >= 0 && coding < 4 ? NAMES[coding] : "unknown";
}

}  // namespace tolvane
