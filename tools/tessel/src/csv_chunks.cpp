#include "csv_chunks.hpp"

#include <algorithm>

#include "parallel.hpp"

namespace tessel {
namespace {

struct byte_counts {
  std::size_t line_breaks = 0;
  std::size_t quotes = 0;
};

// Byte-wide counters over runs of 255 bytes, which the compiler turns into vector code.
byte_counts count_line_breaks_and_quotes(std::string_view text) {
  byte_counts counts;
  for (std::size_t k = 0; k < text.size();) {
    const std::size_t run_end = std::min(text.size(), k + 255);
    unsigned char line_breaks = 0, quotes = 0;
    for (; k < run_end; ++k) {
      line_breaks = static_cast<unsigned char>(line_breaks + (text[k] == '\n'));
      quotes = static_cast<unsigned char>(quotes + (text[k] == '"'));
    }
    counts.line_breaks += line_breaks;
    counts.quotes += quotes;
  }
  return counts;
}

// The first row start in [from, limit), given whether text[data_begin, from) holds an odd number of
// quotes; `limit` when there is none. A row starts after a line break outside quotes.
std::size_t first_row_start(std::string_view text, std::size_t from, std::size_t limit,
                            bool odd_quotes_before) {
  bool inside = odd_quotes_before != (text[from - 1] == '"');
  for (std::size_t k = from - 1; k + 1 < limit; ++k) {
    if (text[k] == '"') {
      inside = !inside;
    } else if (text[k] == '\n' && !inside) {
      return k + 1;
    }
  }
  return limit;
}

}  // namespace

std::size_t count_byte(std::string_view text, char byte) {
  std::size_t count = 0;
  for (std::size_t k = 0; k < text.size();) {
    const std::size_t run_end = std::min(text.size(), k + 255);
    unsigned char run = 0;
    for (; k < run_end; ++k) {
      run = static_cast<unsigned char>(run + (text[k] == byte));
    }
    count += run;
  }
  return count;
}

std::vector<csv_chunk> plan_chunks(std::string_view text, std::size_t begin, std::int64_t line,
                                   std::size_t n_file_columns, std::size_t chunk_bytes,
                                   unsigned workers) {
  const std::size_t data = text.size() - begin;
  if (data == 0) {
    return {};
  }
  const std::size_t pieces = std::clamp<std::size_t>(
      (data + std::max<std::size_t>(chunk_bytes, 1) - 1) / std::max<std::size_t>(chunk_bytes, 1), 1,
      data);
  std::vector<std::size_t> bounds(pieces + 1);
  for (std::size_t j = 0; j <= pieces; ++j) {
    bounds[j] = begin + data / pieces * j + std::min(j, data % pieces);
  }

  std::vector<byte_counts> counts(pieces);
  parallel_for(pieces, workers, [&](std::size_t j, unsigned) {
    counts[j] = count_line_breaks_and_quotes(text.substr(bounds[j], bounds[j + 1] - bounds[j]));
  });

  // Line breaks and quotes before each piece.
  std::vector<std::size_t> breaks_before(pieces + 1, 0);
  std::vector<bool> odd_before(pieces + 1, false);
  for (std::size_t j = 0; j < pieces; ++j) {
    breaks_before[j + 1] = breaks_before[j] + counts[j].line_breaks;
    odd_before[j + 1] = odd_before[j] != (counts[j].quotes % 2 == 1);
  }

  // Row starts, from the last piece down, so that a piece with none shares the next one's.
  std::vector<std::size_t> starts(pieces + 1, text.size());
  starts[0] = begin;
  for (std::size_t j = pieces - 1; j >= 1; --j) {
    const std::size_t found = first_row_start(text, bounds[j], bounds[j + 1], odd_before[j]);
    starts[j] = found < bounds[j + 1] ? found : starts[j + 1];
  }
  // Line breaks before the row start of piece j.
  const auto breaks_until = [&](std::size_t j) {
    if (j == pieces) {
      return breaks_before[pieces];
    }
    return breaks_before[j] + count_byte(text.substr(bounds[j], starts[j] - bounds[j]), '\n');
  };

  const bool ends_in_line_break = text.back() == '\n';
  const std::size_t min_row_bytes = std::max<std::size_t>(n_file_columns, 2);
  std::vector<csv_chunk> chunks;
  std::size_t rows_before = 0;
  std::size_t breaks_at_begin = 0;
  for (std::size_t j = 0; j < pieces; ++j) {
    if (starts[j] == starts[j + 1]) {
      continue;
    }
    const std::size_t breaks_at_end = breaks_until(j + 1);
    csv_chunk chunk;
    chunk.begin = starts[j];
    chunk.end = starts[j + 1];
    chunk.line = line + static_cast<std::int64_t>(breaks_at_begin);
    chunk.first_row = rows_before;
    // Every row but the text's last ends in a line break, and a row of n cells holds n - 1
    // delimiters (a row of one cell is not blank, so it holds at least one byte).
    const std::size_t by_lines =
        breaks_at_end - breaks_at_begin + (chunk.end == text.size() && !ends_in_line_break ? 1 : 0);
    const std::size_t by_bytes = (chunk.end - chunk.begin + 1) / min_row_bytes;
    chunk.max_rows = std::min(by_lines, by_bytes);
    rows_before += chunk.max_rows;
    breaks_at_begin = breaks_at_end;
    chunks.push_back(chunk);
  }
  return chunks;
}

}  // namespace tessel
