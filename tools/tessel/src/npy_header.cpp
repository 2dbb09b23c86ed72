#include "npy_header.hpp"

#include <bit>
#include <cctype>
#include <limits>
#include <map>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "errors.hpp"

namespace tessel {
namespace {

constexpr std::string_view magic = "\x93NUMPY";

// A value of the header's dictionary: a string, a boolean or a tuple of integers.
struct literal {
  enum class kind { string, boolean, tuple } what = kind::string;
  std::string text;
  bool flag = false;
  std::vector<std::int64_t> numbers;
};

// Reads the Python dictionary literal that numpy writes, e.g. {'descr': '<f8', 'fortran_order':
// False, 'shape': (3, 4), }
class dictionary_parser {
 public:
  dictionary_parser(std::string_view text, std::string_view file_name)
      : text_(text), file_name_(file_name) {}

  std::map<std::string, literal> parse() {
    std::map<std::string, literal> entries;
    expect('{');
    while (!accept('}')) {
      std::string key = parse_string();
      expect(':');
      if (entries.contains(key)) {
        fail(fmt::format("key '{}' appears twice", key));
      }
      entries[std::move(key)] = parse_value();
      if (!accept(',')) {
        expect('}');
        break;
      }
    }
    return entries;
  }

 private:
  [[noreturn]] void fail(std::string_view reason) const {
    throw data_error(fmt::format("{}: malformed .npy header: {}", file_name_, reason));
  }

  void skip_space() {
    while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_]))) {
      ++pos_;
    }
  }
  bool accept(char c) {
    skip_space();
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  void expect(char c) {
    if (!accept(c)) {
      fail(pos_ < text_.size() ? fmt::format("expected '{}' at byte {} of the header", c, pos_)
                               : fmt::format("expected '{}' before its end", c));
    }
  }
  bool accept_word(std::string_view word) {
    skip_space();
    if (text_.substr(pos_).starts_with(word)) {
      pos_ += word.size();
      return true;
    }
    return false;
  }

  std::string parse_string() {
    skip_space();
    if (pos_ >= text_.size() || (text_[pos_] != '\'' && text_[pos_] != '"')) {
      fail(fmt::format("expected a quoted string at byte {} of the header", pos_));
    }
    const char quote = text_[pos_++];
    const std::size_t end = text_.find(quote, pos_);
    if (end == std::string_view::npos) {
      fail("unterminated string");
    }
    std::string value(text_.substr(pos_, end - pos_));
    pos_ = end + 1;
    return value;
  }

  literal parse_value() {
    skip_space();
    literal value;
    if (pos_ < text_.size() && (text_[pos_] == '\'' || text_[pos_] == '"')) {
      value.text = parse_string();
    } else if (accept_word("True")) {
      value.what = literal::kind::boolean;
      value.flag = true;
    } else if (accept_word("False")) {
      value.what = literal::kind::boolean;
    } else if (accept('(')) {
      value.what = literal::kind::tuple;
      while (!accept(')')) {
        value.numbers.push_back(parse_integer());
        if (!accept(',')) {
          expect(')');
          break;
        }
      }
    } else if (accept('[')) {
      fail("a structured dtype (a list of fields); tessel reads plain float32 or float64 arrays");
    } else {
      fail(fmt::format("unexpected value at byte {} of the header", pos_));
    }
    return value;
  }

  std::int64_t parse_integer() {
    skip_space();
    std::int64_t value = 0;
    const std::size_t start = pos_;
    for (; pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_])); ++pos_) {
      const int digit = text_[pos_] - '0';
      if (value > (std::numeric_limits<std::int64_t>::max() - digit) / 10) {
        fail("an extent of the shape is too large");
      }
      value = value * 10 + digit;
    }
    if (pos_ == start) {
      fail(fmt::format("expected an integer at byte {} of the header", pos_));
    }
    if (pos_ < text_.size() && text_[pos_] == 'L') {
      ++pos_;  // Python 2 wrote long integers so
    }
    return value;
  }

  std::string_view text_;
  std::string_view file_name_;
  std::size_t pos_ = 0;
};

std::uint32_t read_little_endian(std::string_view bytes, std::size_t offset, std::size_t size) {
  std::uint32_t value = 0;
  for (std::size_t k = size; k-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(bytes[offset + k]);
  }
  return value;
}

void read_descr(npy_header& header, const std::string& descr, std::string_view file_name) {
  std::string_view type = descr;
  char order = '=';
  if (!type.empty() && std::string_view("<>=|").find(type.front()) != std::string_view::npos) {
    order = type.front();
    type.remove_prefix(1);
  }
  if (type == "f4" || type == "f8") {
    header.stored = type == "f4" ? element_type::f32 : element_type::f64;
    header.big_endian = order == '>' || (order == '=' && std::endian::native == std::endian::big);
    return;
  }
  throw data_error(
      fmt::format("{}: unsupported .npy element type '{}' (tessel reads float32 and "
                  "float64: '<f4', '>f4', '<f8', '>f8')",
                  file_name, descr));
}

std::string shape_text(const std::vector<std::int64_t>& shape) {
  return shape.size() == 1 ? fmt::format("({},)", shape[0])
                           : fmt::format("({})", fmt::join(shape, ", "));
}

void read_shape(npy_header& header, std::vector<std::int64_t> shape, std::string_view file_name) {
  if (shape.empty() || shape.size() > 2) {
    throw data_error(fmt::format("{}: unsupported .npy shape {}: tessel reads 1-D and 2-D arrays",
                                 file_name, shape_text(shape)));
  }
  std::size_t count = 1;
  for (const std::int64_t extent : shape) {
    const auto e = static_cast<std::size_t>(extent);
    if (e != 0 && count > std::numeric_limits<std::size_t>::max() / 8 / e) {
      throw data_error(fmt::format("{}: .npy shape {} is too large", file_name, shape_text(shape)));
    }
    count *= e;
  }
  if (count == 0) {
    throw data_error(fmt::format("{}: empty .npy array (shape {})", file_name, shape_text(shape)));
  }
  header.element_count = count;
  header.shape = std::move(shape);
}

const literal& entry(const std::map<std::string, literal>& entries, const std::string& key,
                     literal::kind what, std::string_view file_name) {
  const auto found = entries.find(key);
  if (found == entries.end() || found->second.what != what) {
    throw data_error(fmt::format("{}: malformed .npy header: no valid '{}' entry", file_name, key));
  }
  return found->second;
}

}  // namespace

bool has_npy_magic(std::string_view bytes) {
  return bytes.starts_with(magic);
}

npy_header parse_npy_header(std::string_view bytes, std::string_view file_name) {
  if (!has_npy_magic(bytes)) {
    throw data_error(
        fmt::format("{}: not a .npy file (it does not start with \\x93NUMPY)", file_name));
  }
  if (bytes.size() < magic.size() + 2) {
    throw data_error(fmt::format("{}: truncated .npy header", file_name));
  }
  const auto major = static_cast<unsigned char>(bytes[6]);
  const auto minor = static_cast<unsigned char>(bytes[7]);
  if (major < 1 || major > 3 || minor != 0) {
    throw data_error(
        fmt::format("{}: unsupported .npy format version {}.{} (tessel reads 1.0, "
                    "2.0 and 3.0)",
                    file_name, major, minor));
  }
  const std::size_t length_size = major == 1 ? 2 : 4;
  const std::size_t header_start = magic.size() + 2 + length_size;
  if (bytes.size() < header_start) {
    throw data_error(fmt::format("{}: truncated .npy header", file_name));
  }
  const std::size_t header_length = read_little_endian(bytes, magic.size() + 2, length_size);
  if (bytes.size() - header_start < header_length) {
    throw data_error(fmt::format("{}: truncated .npy header: it announces {} bytes, {} are there",
                                 file_name, header_length, bytes.size() - header_start));
  }

  const auto entries =
      dictionary_parser(bytes.substr(header_start, header_length), file_name).parse();
  npy_header header;
  read_descr(header, entry(entries, "descr", literal::kind::string, file_name).text, file_name);
  header.fortran_order = entry(entries, "fortran_order", literal::kind::boolean, file_name).flag;
  read_shape(header, entry(entries, "shape", literal::kind::tuple, file_name).numbers, file_name);
  header.data_offset = header_start + header_length;

  const std::size_t data_bytes = header.element_count * size_of(header.stored);
  if (bytes.size() - header.data_offset < data_bytes) {
    throw data_error(fmt::format("{}: truncated .npy data: shape {} needs {} bytes, {} are there",
                                 file_name, shape_text(header.shape), data_bytes,
                                 bytes.size() - header.data_offset));
  }
  return header;
}

}  // namespace tessel
