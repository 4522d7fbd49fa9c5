#include "helpers/encoded_page.h"

using namespace tolvane;

namespace {
std::vector<Batch> input;
size_t batches_read;
int puts_to_refusal;
Encoded output;
}  // namespace

Encoded encode_batches(const std::function<int32_t(getdata_fn, putdata_fn)> &coder, std::vector<Batch> batches,
                       int refused_put) {
  input = std::move(batches);
  batches_read = 0;
  puts_to_refusal = refused_put;
  output = {};
  const getdata_fn get = [](const uint8_t **lines, int32_t *count) {
    if (batches_read == input.size()) return -7;
    const Batch &batch = input[batches_read++];
    *lines = reinterpret_cast<const uint8_t *>(batch.lines.data());
    *count = batch.count;
    return batch.size;
  };
  const putdata_fn put = [](const uint16_t *words, int32_t count) {
    if (--puts_to_refusal == 0) return -3;
    output.words.insert(output.words.end(), words, words + count);
    return count;
  };
  output.result = coder(get, put);
  return output;
}

std::string encoded_page(const Picture &picture, int32_t comp_type) {
  const std::string lines(picture.pixels.begin(), picture.pixels.end());
  const auto coder = [&](getdata_fn get, putdata_fn put) { return encode_g3_fax(get, put, comp_type, 1); };
  const int32_t height = static_cast<int32_t>(picture.height), size = static_cast<int32_t>(picture.stride());
  std::string bytes;
  for (const uint16_t word : encode_batches(coder, {{lines, height, size}}).words)
    bytes += {static_cast<char>(word), static_cast<char>(word >> 8)};
  return bytes;
}

Picture rows_of(const Picture &picture, uint32_t first, uint32_t count) {
  return {picture.width, count, {picture.row(first), picture.row(first + count)}};
}
