// Build tool: reads the symbol tables of the library's object files and writes the linker's
// view of the library's boundary, so that no mangled name is ever maintained by hand:
//   - a version script that exports the public entries and what the exception classes need,
//     and hides everything else;
//   - a response file for the compiler driver, of -Wl,--defsym options that give each
//     plain-form method::fast entry of the statistics named by --method2-alias a
//     method::estimator twin at the same address. (The driver reads it: clang expands a
//     response file even behind -Xlinker, so it must hold driver options.)
//
// Symbols are recognised by the library's own names only: a SYCL implementation may spell its types
// in a namespace of its own (the queue, the event, the buffer's allocator), and nothing here
// depends on that. Functions outside the statistics are exported by their qualified name (--export
// NAME: a C name, or a C++ function of any overload).
//
// usage: generate_exports --version-script FILE --defsym FILE [--method2-alias NAME]...
//                         [--export NAME]... OBJECT...
#include <cxxabi.h>
#include <elf.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct options {
  std::string version_script;
  std::string defsym;
  std::set<std::string> method2_aliases;
  std::set<std::string> functions;
  std::vector<std::string> objects;
};

options parse_options(int argc, char** argv) {
  options result;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    const bool has_value = i + 1 < argc;
    if (arg == "--version-script" && has_value) {
      result.version_script = argv[++i];
    } else if (arg == "--defsym" && has_value) {
      result.defsym = argv[++i];
    } else if (arg == "--method2-alias" && has_value) {
      result.method2_aliases.insert(argv[++i]);
    } else if (arg == "--export" && has_value) {
      result.functions.insert(argv[++i]);
    } else if (arg.rfind("--", 0) == 0) {
      throw std::runtime_error("unknown option " + arg);
    } else {
      result.objects.push_back(arg);
    }
  }
  if (result.version_script.empty() || result.defsym.empty() || result.objects.empty()) {
    throw std::runtime_error(
        "usage: generate_exports --version-script FILE --defsym FILE [--method2-alias NAME]... "
        "[--export NAME]... OBJECT...");
  }
  return result;
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = in ? static_cast<std::streamoff>(in.tellg()) : -1;
  std::string image(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  if (size < 0 || !in.seekg(0).read(image.data(), size)) {
    throw std::runtime_error("cannot read " + path);
  }
  return image;
}

template <typename Record>
Record record_at(const std::string& image, std::size_t offset, const std::string& path) {
  if (offset > image.size() || image.size() - offset < sizeof(Record)) {
    throw std::runtime_error(path + ": truncated ELF file");
  }
  Record record;
  std::memcpy(&record, image.data() + offset, sizeof(Record));
  return record;
}

// Symbols that an object defines with default visibility, global or weak: the only ones that a
// version script can export.
std::vector<std::string> visible_definitions(const std::string& path) {
  const std::string image = read_file(path);
  const auto header = record_at<Elf64_Ehdr>(image, 0, path);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64) {
    throw std::runtime_error(path + ": not a 64-bit ELF object");
  }
  auto section = [&](std::size_t index) {
    return record_at<Elf64_Shdr>(image, header.e_shoff + index * header.e_shentsize, path);
  };
  std::vector<std::string> names;
  for (std::size_t s = 0; s < header.e_shnum; ++s) {
    const Elf64_Shdr symtab = section(s);
    if (symtab.sh_type != SHT_SYMTAB) {
      continue;
    }
    const Elf64_Shdr strtab = section(symtab.sh_link);
    for (std::size_t k = 1; k < symtab.sh_size / sizeof(Elf64_Sym); ++k) {
      const auto sym = record_at<Elf64_Sym>(image, symtab.sh_offset + k * sizeof(Elf64_Sym), path);
      const unsigned bind = ELF64_ST_BIND(sym.st_info);
      if (sym.st_shndx == SHN_UNDEF || (bind != STB_GLOBAL && bind != STB_WEAK) ||
          ELF64_ST_VISIBILITY(sym.st_other) != STV_DEFAULT || sym.st_name >= strtab.sh_size) {
        continue;
      }
      names.emplace_back(image.c_str() + strtab.sh_offset + sym.st_name);
    }
  }
  return names;
}

std::string demangle(const std::string& mangled) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 && text ? std::string(text.get()) : mangled;
}

// A demangled function name taken apart: "RETURN NAME<ARGS>(PARAMETERS)TRAILING". A template
// instance starts with its return type; a function nested in another (a lambda, a local static)
// continues after the parameter list.
struct signature {
  std::string name;  // qualified, with template arguments
  std::vector<std::string> parameters;
  std::string trailing;
};

std::optional<signature> split_signature(const std::string& demangled) {
  int angles = 0;
  std::size_t name_start = 0;
  for (std::size_t i = 0; i < demangled.size(); ++i) {
    const char c = demangled[i];
    if (c == '<') {
      ++angles;
    } else if (c == '>') {
      --angles;
    } else if (c == ' ' && angles == 0) {
      name_start = i + 1;
    } else if (c == '(' && angles == 0) {
      signature result;
      result.name = demangled.substr(name_start, i - name_start);
      int depth = 0;
      std::size_t parameter_start = i + 1;
      for (std::size_t j = i + 1; j < demangled.size(); ++j) {
        const char d = demangled[j];
        if (d == '<' || d == '(') {
          ++depth;
        } else if ((d == '>' || d == ')') && depth > 0) {
          --depth;
        } else if (d == ')' || (d == ',' && depth == 0)) {
          const std::string parameter = demangled.substr(parameter_start, j - parameter_start);
          if (!parameter.empty()) {
            result.parameters.push_back(parameter);
          }
          parameter_start = j + 2;  // past ", "
          if (d == ')') {
            result.trailing = demangled.substr(j + 1);
            return result;
          }
        }
      }
      return std::nullopt;
    }
  }
  return std::nullopt;
}

// The name without template arguments.
std::string plain_name(const std::string& name) {
  return name.substr(0, name.find('<'));
}

// A statistics entry: stat<method, T, layout>(queue, ...) of the statistics namespace.
const std::regex entry_name_pattern(
    R"(^vorlex::orv::stats::([a-z_]+)<\(vorlex::orv::stats::method\)([12]), (float|double), )"
    R"(\(vorlex::orv::stats::layout\)[0-9]+>$)");
const std::regex exception_pattern(
    R"(^((typeinfo|typeinfo name|vtable) for )?vorlex::orv::)"
    R"((exception|invalid_argument|unimplemented|unsupported_device|device_bad_alloc|)"
    R"(computation_error)(::.*)?$)");

// The plain form takes the dataset right after the queue; the forms with the caller's mean, which
// exist for method 1 only, take the mean there.
bool is_plain_form(const signature& entry) {
  return entry.parameters.size() > 1 &&
         entry.parameters[1].rfind("vorlex::orv::stats::dataset<", 0) == 0;
}

const std::string method1_text = "(vorlex::orv::stats::method)1";
const std::string method2_text = "(vorlex::orv::stats::method)2";

// The method 2 twin of a method 1 entry's mangled name: the first template argument's value changes
// from 1 to 2. The result is checked by demangling it.
std::string method2_twin(const std::string& mangled, const std::string& stat,
                         const std::string& demangled) {
  const std::string args_start = std::to_string(stat.size()) + stat + "IL";
  const std::size_t at = mangled.find(args_start);
  const std::size_t value = at == std::string::npos ? at : mangled.find("E1E", at);
  std::string expected = demangled;
  const std::size_t method_at = expected.find(method1_text);
  if (value == std::string::npos || method_at == std::string::npos ||
      expected.find(method1_text, method_at + 1) != std::string::npos) {
    throw std::runtime_error("cannot derive the method 2 twin of " + demangled);
  }
  expected.replace(method_at, method1_text.size(), method2_text);
  std::string twin = mangled;
  twin[value + 1] = '2';
  if (demangle(twin) != expected) {
    throw std::runtime_error("derived twin " + twin + " does not demangle to " + expected);
  }
  return twin;
}

struct export_table {
  std::map<std::string, std::string> exported;  // mangled -> demangled
  std::map<std::string, std::string> aliases;   // method 2 mangled -> method 1 mangled
};

export_table build_table(const options& opts) {
  export_table table;
  std::set<std::string> aliased_stats_seen;
  std::set<std::string> method2_defined;
  std::set<std::string> functions_seen;
  std::smatch match;
  for (const std::string& object : opts.objects) {
    for (const std::string& name : visible_definitions(object)) {
      const std::string demangled = demangle(name);
      const std::optional<signature> function = split_signature(demangled);
      const bool plain_function = function && function->trailing.empty();
      if (opts.functions.count(plain_function ? plain_name(function->name) : demangled) != 0) {
        functions_seen.insert(plain_function ? plain_name(function->name) : demangled);
        table.exported.emplace(name, demangled);
      } else if (plain_function && std::regex_match(function->name, match, entry_name_pattern)) {
        const std::string stat = match[1];
        table.exported.emplace(name, demangled);
        if (match[2] == "2") {
          method2_defined.insert(name);
        } else if (opts.method2_aliases.count(stat) != 0 && is_plain_form(*function)) {
          aliased_stats_seen.insert(stat);
          const std::string twin = method2_twin(name, stat, demangled);
          table.aliases.emplace(twin, name);
          table.exported.emplace(twin, demangle(twin));
        }
      } else if (std::regex_match(demangled, exception_pattern)) {
        table.exported.emplace(name, demangled);
      }
    }
  }
  for (const std::string& stat : opts.method2_aliases) {
    if (aliased_stats_seen.count(stat) == 0) {
      throw std::runtime_error("no method 1 entry of " + stat + " to alias");
    }
  }
  for (const std::string& function : opts.functions) {
    if (functions_seen.count(function) == 0) {
      throw std::runtime_error("no definition of " + function + " to export");
    }
  }
  for (const auto& [twin, target] : table.aliases) {
    if (method2_defined.count(twin) != 0) {
      throw std::runtime_error(table.exported[twin] + " is compiled although it is an alias");
    }
  }
  return table;
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const options opts = parse_options(argc, argv);
    const export_table table = build_table(opts);
    std::string script =
        "/* Generated by generate_exports from the library's objects. */\n{\n  global:\n";
    for (const auto& [mangled, demangled] : table.exported) {
      script += "    " + mangled + ";  /* " + demangled + " */\n";
    }
    script += "  local:\n    *;\n};\n";
    std::string defsym;
    for (const auto& [twin, target] : table.aliases) {
      defsym += "-Wl,--defsym=" + twin + "=" + target + "\n";
    }
    write_file(opts.version_script, script);
    write_file(opts.defsym, defsym);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "generate_exports: %s\n", e.what());
    return 1;
  }
  return 0;
}
