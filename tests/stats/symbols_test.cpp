// The library's boundary as its dynamic symbol table shows it: the 192 statistics entries with
// their signatures, the 48 method 2 entries that are their method 1 twins at the same address, the
// 8 offload entries and the 3 cache look-ups (203 exports), and nothing else but what the exception
// classes need. Given a reference library (a build with another SYCL implementation), the same
// exports as that one, twins included.
//
// usage: tessel_stats_symbols_test NM LIBRARY [REFERENCE_LIBRARY]
#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

std::string nm_program;
std::string library_path;
std::string reference_path;

struct dynamic_symbol {
  std::string name;       // demangled
  char type;              // as nm reports it
  unsigned long address;  // NOLINT(google-runtime-int): nm's %lx
};

std::string demangle(const std::string& mangled) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 && text ? std::string(text.get()) : mangled;
}

// An implementation may place sycl inside a namespace of its own: X::sycl::event is sycl::event.
std::string without_implementation_namespace(const std::string& name) {
  static const std::regex enclosing(R"(\b[A-Za-z_][A-Za-z0-9_]*::sycl::)");
  return std::regex_replace(name, enclosing, "sycl::");
}

// sycl::buffer<T, 1, Allocator...> as sycl::buffer<T, 1>: the allocator is the runtime's default,
// spelled as the runtime declares it.
std::string without_buffer_defaults(std::string name) {
  const std::string opening = "sycl::buffer<";
  for (std::size_t at = name.find(opening); at != std::string::npos;
       at = name.find(opening, at + 1)) {
    const std::size_t begin = at + opening.size();
    int depth = 1;
    std::size_t second_comma = std::string::npos;
    int commas = 0;
    std::size_t end = begin;
    for (; end < name.size() && depth > 0; ++end) {
      const char c = name[end];
      depth += c == '<' ? 1 : c == '>' ? -1 : 0;
      if (c == ',' && depth == 1 && ++commas == 2) {
        second_comma = end;
      }
    }
    if (second_comma != std::string::npos) {
      name.replace(second_comma, end - 1 - second_comma, "");
    }
  }
  return name;
}

std::vector<dynamic_symbol> defined_dynamic_symbols(const std::string& path = library_path) {
  const std::string command = nm_program + " -D --defined-only -P '" + path + "'";
  std::unique_ptr<FILE, decltype(&pclose)> pipe(popen(command.c_str(), "r"), &pclose);
  std::vector<dynamic_symbol> symbols;
  if (!pipe) {
    return symbols;
  }
  char line[8192];
  while (std::fgets(line, sizeof line, pipe.get()) != nullptr) {
    std::istringstream fields(line);
    std::string name, type, address;
    fields >> name >> type >> address;
    if (!type.empty()) {
      symbols.push_back({without_buffer_defaults(without_implementation_namespace(demangle(name))),
                         type[0], std::stoul(address.empty() ? "0" : address, nullptr, 16)});
    }
  }
  return symbols;
}

// stat, method, element type, layout, form
using entry_key = std::tuple<std::string, int, std::string, std::string, std::string>;

struct statistic_row {
  const char* name;
  int outputs;
  bool user_mean;
  bool method2;
  bool method2_is_alias;
};

constexpr statistic_row table[] = {
    {"raw_sum", 4, false, true, true},        {"raw_moment", 4, false, true, true},
    {"mean", 1, false, true, true},           {"central_sum", 3, true, true, false},
    {"central_moment", 3, true, true, false}, {"variation", 1, true, true, true},
    {"skewness", 1, true, true, true},        {"kurtosis", 1, true, true, true},
    {"min", 1, false, false, false},          {"max", 1, false, false, false},
    {"min_max", 2, false, false, false}};

// The exact demangled name of an entry.
std::string signature(const statistic_row& row, int method, const std::string& type,
                      const std::string& layout, const std::string& form) {
  const std::string L =
      "(vorlex::orv::stats::layout)" + std::string(layout == "row" ? "65536" : "131072");
  const std::string buffer = "sycl::buffer<" + type + ", 1>";
  const bool usm = form.rfind("usm", 0) == 0;
  const bool user_mean = form.find("mean") != std::string::npos;
  const std::string handle = usm ? type + "*" : buffer;
  std::string text = usm ? "sycl::event " : "void ";
  text += "vorlex::orv::stats::" + std::string(row.name) + "<(vorlex::orv::stats::method)" +
          std::to_string(method) + ", " + type + ", " + L + ">(sycl::queue&, ";
  if (user_mean) {
    text += handle + ", ";
  }
  // The demangler separates closing brackets: "> >".
  text += "vorlex::orv::stats::dataset<" + L + ", " + handle + (usm ? "" : " ") + "> const&";
  for (int k = 0; k < row.outputs; ++k) {
    text += ", " + handle;
  }
  if (usm) {
    text += ", std::vector<sycl::event, std::allocator<sycl::event> > const&";
  }
  return text + ")";
}

struct expected_entry {
  statistic_row row;
  int method;
  std::string type, layout, form;
};

std::vector<expected_entry> expected_entries() {
  std::vector<expected_entry> entries;
  for (const statistic_row& row : table) {
    for (const char* type : {"float", "double"}) {
      for (const char* layout : {"row", "col"}) {
        for (const char* form : {"usm", "buffer"}) {
          entries.push_back({row, 1, type, layout, form});
          if (row.method2) {
            entries.push_back({row, 2, type, layout, form});
          }
          if (row.user_mean) {
            entries.push_back({row, 1, type, layout, std::string(form) + " mean"});
          }
        }
      }
    }
  }
  return entries;
}

TEST(Symbols, ExactlyTheStatisticsEntriesWithTheirSignatures) {
  std::map<std::string, unsigned long> entries;  // NOLINT(google-runtime-int)
  for (const dynamic_symbol& s : defined_dynamic_symbols()) {
    if (s.name.find("vorlex::orv::stats::") != std::string::npos) {
      EXPECT_TRUE(s.type == 'T' || s.type == 'W') << "not code: " << s.name;
      EXPECT_TRUE(entries.emplace(s.name, s.address).second) << "twice: " << s.name;
    }
  }
  const std::vector<expected_entry> expected = expected_entries();
  ASSERT_EQ(expected.size(), 192U);
  EXPECT_EQ(entries.size(), 192U);
  std::set<unsigned long> own_addresses;  // NOLINT(google-runtime-int)
  int aliases = 0;
  for (const expected_entry& e : expected) {
    const std::string name = signature(e.row, e.method, e.type, e.layout, e.form);
    const auto found = entries.find(name);
    if (found == entries.end()) {
      ADD_FAILURE() << "missing: " << name;
      continue;
    }
    if (e.method == 2 && e.row.method2_is_alias) {
      const auto twin = entries.find(signature(e.row, 1, e.type, e.layout, e.form));
      ASSERT_NE(twin, entries.end());
      EXPECT_EQ(found->second, twin->second) << name << " is not its method 1 twin";
      ++aliases;
    } else {
      EXPECT_TRUE(own_addresses.insert(found->second).second)
          << name << " shares its address with another entry";
    }
  }
  EXPECT_EQ(aliases, 48);
  EXPECT_EQ(own_addresses.size(), 144U);
}

const std::set<std::string> offload_exports = {
    "orv_ksu_sSSCompute_omp_offload_lp64",
    "orv_ksu_dSSCompute_omp_offload_lp64",
    "orv_ksu_sSSCompute_omp_offload_ilp64",
    "orv_ksu_dSSCompute_omp_offload_ilp64",
    "orv_ksu_ssscompute_omp_offload",
    "orv_ksu_dsscompute_omp_offload",
    "orv_ksu_ssscompute_omp_offload_lp64",
    "orv_ksu_dsscompute_omp_offload_lp64",
    "vorlex::orv::gpu::lookup_and_cache_kelpa_context(void*, void*, "
    "vorlex::orv::gpu::orv_gpu_backend_t, sycl::device*)",
    "vorlex::orv::gpu::lookup_and_cache_kelpa_queue(void*, vorlex::orv::gpu::orv_gpu_backend_t, "
    "sycl::context, void*)",
    "vorlex::orv::gpu::lookup_and_cache_kelpa_queue_and_context(void*)"};

// Apart from the statistics, the library exports the offload entries and cache look-ups, and what a
// caller needs to construct, copy, destroy and catch the exception classes: nothing of its
// internals.
TEST(Symbols, OffloadEntriesExceptionClassesAndNothingElse) {
  const std::regex exception_support(
      R"(^((typeinfo|typeinfo name|vtable) for )?vorlex::orv::)"
      R"((exception|invalid_argument|unimplemented|unsupported_device|device_bad_alloc|)"
      R"(computation_error)(::.*)?$)");
  std::set<std::string> offload, classes_with_typeinfo;
  int statistics = 0, functions = 0;
  for (const dynamic_symbol& s : defined_dynamic_symbols()) {
    std::smatch match;
    if (s.name.find("vorlex::orv::stats::") != std::string::npos) {
      ++statistics;
    } else if (offload_exports.count(s.name) != 0) {
      EXPECT_EQ(s.type, 'T') << s.name;
      EXPECT_TRUE(offload.insert(s.name).second) << "twice: " << s.name;
    } else if (!std::regex_match(s.name, match, exception_support)) {
      ADD_FAILURE() << "exported: " << s.name;
    } else {
      if (match[2] == "typeinfo") {
        classes_with_typeinfo.insert(match[3]);
      }
      functions += s.type == 'T' || s.type == 'W';
    }
  }
  EXPECT_EQ(offload, offload_exports);
  EXPECT_EQ(statistics + offload.size(), 203U);
  EXPECT_EQ(classes_with_typeinfo.size(), 6U);
  // Per class two constructors and three destructors; what() once, in the base.
  EXPECT_EQ(functions, 6 * 5 + 1);
}

// Each exported name, and the names that share its address (itself included): the same names and
// the same twins in both libraries.
std::map<std::string, std::set<std::string>> names_with_their_twins(const std::string& path) {
  std::map<unsigned long, std::set<std::string>> at;  // NOLINT(google-runtime-int)
  for (const dynamic_symbol& s : defined_dynamic_symbols(path)) {
    at[s.address].insert(s.name);
  }
  std::map<std::string, std::set<std::string>> result;
  for (const auto& [address, names] : at) {
    for (const std::string& name : names) {
      result[name] = names;
    }
  }
  return result;
}

TEST(Symbols, SameAsTheReferenceLibrary) {
  if (reference_path.empty()) {
    GTEST_SKIP() << "no reference library given";
  }
  const auto exported = names_with_their_twins(library_path);
  const auto reference = names_with_their_twins(reference_path);
  ASSERT_FALSE(reference.empty());
  EXPECT_EQ(exported, reference);
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc != 3 && argc != 4) {
    std::fprintf(stderr, "usage: %s NM LIBRARY [REFERENCE_LIBRARY]\n", argv[0]);
    return 2;
  }
  nm_program = argv[1];
  library_path = argv[2];
  reference_path = argc == 4 ? argv[3] : "";
  return RUN_ALL_TESTS();
}
