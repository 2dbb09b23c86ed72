#include "csv_cursor.hpp"

#include <array>

#include "errors.hpp"

namespace tessel {

csv_cursor::csv_cursor(std::string_view text, std::string_view file_name, char delimiter,
                       std::size_t position, std::int64_t line)
    : text_(text),
      file_name_(file_name),
      delimiter_(delimiter),
      pos_(position),
      line_start_(position),
      line_(line) {}

csv_cell csv_cursor::next() {
  skip_blanks();
  csv_cell cell;
  cell.line = line_;
  cell.column = column();
  if (pos_ < text_.size() && text_[pos_] == '"') {
    read_quoted(cell);
  } else {
    read_plain(cell);
  }
  end_cell(cell);
  return cell;
}

void csv_cursor::read_quoted(csv_cell& cell) {
  cell.quoted = true;
  const std::size_t start = ++pos_;
  for (;;) {
    const std::size_t quote = text_.find('"', pos_);
    // Rows inside a quoted cell still count as lines of the file.
    const std::string_view inside = text_.substr(0, quote);
    for (std::size_t k = inside.find('\n', pos_); k != std::string_view::npos;
         k = inside.find('\n', k + 1)) {
      ++line_;
      line_start_ = k + 1;
    }
    if (quote == std::string_view::npos) {
      throw data_error_at(file_name_, cell.line, cell.column, "unterminated quoted cell");
    }
    if (quote + 1 < text_.size() && text_[quote + 1] == '"') {
      cell.escaped = true;
      pos_ = quote + 2;
      continue;
    }
    cell.text = text_.substr(start, quote - start);
    pos_ = quote + 1;
    break;
  }
  skip_blanks();
  if (pos_ < text_.size() && text_[pos_] != delimiter_ && text_[pos_] != '\n') {
    throw data_error_at(
        file_name_, line_, column(),
        "unexpected " + quoted_excerpt(text_.substr(pos_, 1)) + " after a closing quote");
  }
}

void csv_cursor::read_plain(csv_cell& cell) {
  const std::size_t start = pos_;
  while (pos_ < text_.size() && text_[pos_] != delimiter_ && text_[pos_] != '\n') {
    ++pos_;
  }
  std::size_t end = pos_;
  while (end > start && is_blank(text_[end - 1])) {
    --end;
  }
  cell.text = text_.substr(start, end - start);
}

void csv_cursor::end_cell(csv_cell& cell) {
  if (pos_ < text_.size() && text_[pos_] == delimiter_) {
    ++pos_;
    return;
  }
  cell.last_in_row = true;
  if (pos_ < text_.size()) {  // at '\n'
    ++pos_;
    ++line_;
    line_start_ = pos_;
  }
}

void csv_cursor::skip_row() {
  for (csv_cell cell = next(); !cell.last_in_row; cell = next()) {
  }
}

std::string unescape(const csv_cell& cell) {
  if (!cell.escaped) {
    return std::string(cell.text);
  }
  std::string out;
  out.reserve(cell.text.size());
  for (std::size_t k = 0; k < cell.text.size(); ++k) {
    out += cell.text[k];
    if (cell.text[k] == '"') {
      ++k;  // the second quote of a "" pair
    }
  }
  return out;
}

char detect_delimiter(std::string_view text) {
  constexpr std::array<char, 3> candidates = {',', ';', '\t'};
  std::array<std::size_t, 3> counts{};
  bool in_quotes = false;
  for (const char c : text) {
    if (c == '"') {
      in_quotes = !in_quotes;
    }
    if (in_quotes) {
      continue;
    }
    if (c == '\n') {
      break;
    }
    for (std::size_t k = 0; k < candidates.size(); ++k) {
      counts[k] += c == candidates[k];
    }
  }
  std::size_t best = 0;
  for (std::size_t k = 1; k < candidates.size(); ++k) {
    if (counts[k] > counts[best]) {
      best = k;
    }
  }
  return candidates[best];
}

}  // namespace tessel
