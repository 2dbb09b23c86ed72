// How a CSV text's data rows are cut for reading in parallel: into chunks of about equal size that
// each start at a row. A row starts after a line break outside quotes, so a chunk's start is found
// from a byte offset by the parity of the quotes before it; the line breaks before it give its line
// number and bound the rows of the chunks before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tessel {

struct csv_chunk {
  std::size_t begin = 0;      // the start of a row
  std::size_t end = 0;        // the next chunk's begin, or the end of the text
  std::int64_t line = 1;      // line number at begin
  std::size_t first_row = 0;  // where the chunk's first row goes in the table
  std::size_t max_rows = 0;   // no more rows can start in [begin, end)
};

// The chunks of text[begin, end of text), line `line` at begin, for rows of n_file_columns cells,
// in pieces of about chunk_bytes; the line breaks and quotes are counted on up to `workers`
// threads. Rows are placed one after the other up to each chunk's bound, so a chunk whose rows fall
// short of it leaves a gap that the reader closes. Quote parity is right for a text whose quotes
// all open or close quoted cells; a stray quote makes the rows after it land elsewhere, but it is
// an error in the row that holds it, which the reader meets first.
std::vector<csv_chunk> plan_chunks(std::string_view text, std::size_t begin, std::int64_t line,
                                   std::size_t n_file_columns, std::size_t chunk_bytes,
                                   unsigned workers);

// How many bytes of text are `byte`.
std::size_t count_byte(std::string_view text, char byte);

}  // namespace tessel
