// Splits CSV text into cells, one at a time, and knows where each cell stands.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tessel {

struct csv_cell {
  std::string_view text;  // without quotes and surrounding blanks; "" escapes left as they are
  bool quoted = false;
  bool escaped = false;  // a quoted cell that holds "" escapes
  bool last_in_row = false;
  std::int64_t line = 0;
  std::int64_t column = 0;
};

class csv_cursor {
 public:
  // Reads from `position`, the start of line `line`. Throws data_error for an unterminated quote
  // and for text after a closing quote.
  csv_cursor(std::string_view text, std::string_view file_name, char delimiter,
             std::size_t position = 0, std::int64_t line = 1);

  bool at_end() const { return pos_ >= text_.size(); }
  std::size_t position() const { return pos_; }
  std::int64_t line() const { return line_; }
  std::int64_t column() const { return static_cast<std::int64_t>(pos_ - line_start_) + 1; }

  csv_cell next();
  // Moves to the start of the next row.
  void skip_row();

 private:
  bool is_blank(char c) const { return c == ' ' || c == '\r' || (c == '\t' && delimiter_ != '\t'); }
  void skip_blanks() {
    while (pos_ < text_.size() && is_blank(text_[pos_])) {
      ++pos_;
    }
  }
  void read_quoted(csv_cell& cell);
  void read_plain(csv_cell& cell);
  void end_cell(csv_cell& cell);

  std::string_view text_;
  std::string_view file_name_;
  char delimiter_;
  std::size_t pos_;
  std::size_t line_start_;
  std::int64_t line_;
};

// The text of a quoted cell with its "" escapes undone.
std::string unescape(const csv_cell& cell);

// The most frequent of ',', ';' and '\t' outside quotes in the first line; ',' when none.
char detect_delimiter(std::string_view text);

}  // namespace tessel
