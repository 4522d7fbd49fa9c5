#include "helpers/coded_page.h"

#include <map>
#include <sstream>
#include <utility>

#include "t4/enctbls.h"
#include "t4/t4dec.h"

using namespace tolvane;

namespace {

std::string words;
std::vector<uint8_t> lines;

void say(const std::string &word) {
  words += (words.empty() ? "" : " ") + word;
}

const std::map<std::string, size_t> modes = {{"P", 0},   {"H", 1},   {"V0", 2},  {"VL1", 3}, {"VL2", 4}, {"VL3", 5},
                                             {"VR1", 6}, {"VR2", 7}, {"VR3", 8}, {"E1", 9},  {"E0", 10}};

std::string code_bits(const std::string &word) {
  EncCode code;
  if (modes.contains(word)) {
    code = enc2D[modes.at(word)];
  } else if (word == "EOL") {
    code = encwhite[104];
  } else if (word[0] == 'w' || word[0] == 'b') {
    const size_t run = std::stoul(word.substr(1));
    code = (word[0] == 'w' ? encwhite : encblack)[run < 64 ? run : 63 + run / 64];
  } else {
    return word;
  }
  std::string bits;
  for (uint32_t n = 0; n < code.length; n++) bits += (code.code >> n & 1) != 0 ? '1' : '0';
  return bits;
}

void tell_line(const uint8_t *line, uint32_t size) {
  std::string runs;
  const auto black = [&](uint32_t n) { return n < 8 * size && (line[n / 8] & 0x80 >> n % 8) != 0; };
  for (uint32_t n = 0; n < 8 * size; n++) {
    if (!black(n)) continue;
    runs += (runs.empty() ? "" : " ") + std::to_string(n);
    while (black(n + 1)) n++;
    runs += "-" + std::to_string(n);
  }
  say("[" + runs + "]");
}

}  // namespace

std::vector<uint8_t> coded(const std::string &text) {
  std::istringstream in(text);
  std::string bits;
  for (std::string word; in >> word;) bits += code_bits(word);
  std::vector<uint8_t> data((bits.size() + 7) / 8);
  for (size_t n = 0; n < bits.size(); n++) data[n / 8] = static_cast<uint8_t>(data[n / 8] | (bits[n] - '0') << n % 8);
  return data;
}

std::string decoded(const std::vector<uint8_t> &data, int32_t comp_type, int32_t width) {
  words.clear();
  t4dec_set_pixel_width(width);
  t4dec_set_damage_callback([](Damage kind) { say("!" + std::to_string(static_cast<int>(kind))); });
  const auto tell_run = [](int32_t run) { say((run > 0 ? "+" : "") + std::to_string(run)); };
  const auto tell_eol = [] { say("/"); };
  const int result = t4dec(data.data(), static_cast<uint32_t>(data.size()), comp_type, tell_run, tell_line, tell_eol);
  t4dec_set_damage_callback(nullptr);
  say("=" + std::to_string(result));
  return std::exchange(words, "");
}

std::vector<uint8_t> decoded_lines(const std::vector<uint8_t> &data, int32_t comp_type, int32_t width) {
  lines.clear();
  t4dec_set_pixel_width(width);
  const auto keep = [](const uint8_t *line, uint32_t size) { lines.insert(lines.end(), line, line + size); };
  t4dec(data.data(), static_cast<uint32_t>(data.size()), comp_type, nullptr, keep, nullptr);
  return std::exchange(lines, {});
}
