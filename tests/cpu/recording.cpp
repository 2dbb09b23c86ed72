#include "recording.hpp"

#include <dlfcn.h>

#include <cstdio>
#include <stdexcept>

namespace tessel::test {
namespace {

template <typename Fn>
Fn entry_of(void* handle, const char* name) {
  void* address = dlsym(handle, name);
  if (address == nullptr) {
    throw std::runtime_error(std::string("the recording module lacks ") + name);
  }
  return reinterpret_cast<Fn>(address);
}

}  // namespace

recording::recording() {
  void* handle = dlopen(TESSEL_RECORDING_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    throw std::runtime_error(std::string("cannot load the recording module: ") + dlerror());
  }
  clear_ = entry_of<recording_clear_fn>(handle, "recording_clear");
  count_ = entry_of<recording_count_fn>(handle, "recording_count");
  read_ = entry_of<recording_read_fn>(handle, "recording_read");
  program_ = entry_of<recording_program_fn>(handle, "recording_program");
}

recording& recording::module() {
  static recording instance;
  return instance;
}

std::vector<recorded_call> recording::log() const {
  std::vector<recorded_call> result;
  recorded_call r{};
  for (std::int32_t k = 0; read_(k, &r); ++k) {
    result.push_back(r);
  }
  return result;
}

std::vector<std::string> recording::calls() const {
  std::vector<std::string> names;
  for (const recorded_call& r : log()) {
    if (r.kind == record_kind::call) {
      names.emplace_back(r.name);
    }
  }
  return names;
}

std::vector<std::string> recording::lookups() const {
  std::vector<std::string> names;
  for (const recorded_call& r : log()) {
    if (r.kind == record_kind::lookup) {
      names.emplace_back(r.name);
    }
  }
  return names;
}

std::vector<std::string> recording::events() const {
  std::vector<std::string> lines;
  for (const recorded_call& r : log()) {
    lines.push_back(std::string(r.kind == record_kind::call ? "call " : "lookup ") + r.name);
  }
  return lines;
}

namespace {

// "__ksusSSEditTask" -> "EditTask", "_ksudSSBasic" -> "Basic".
std::string short_name(const std::string& name) {
  const std::size_t at = name.find("SS");
  return at == std::string::npos ? name : name.substr(at + 2);
}

class pointer_namer {
 public:
  explicit pointer_namer(const pointer_names& names) : names_(names) {}
  std::string operator()(const void* pointer) {
    if (pointer == nullptr) {
      return "-";
    }
    if (const auto known = names_.find(pointer); known != names_.end()) {
      return known->second;
    }
    const auto [found, added] =
        unknown_.emplace(pointer, "#" + std::to_string(unknown_.size() + 1));
    return found->second;
  }

 private:
  const pointer_names& names_;
  std::map<const void*, std::string> unknown_;
};

std::string hex(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace

std::vector<std::string> describe_calls(const std::vector<recorded_call>& log,
                                        const pointer_names& names) {
  pointer_namer name_of(names);
  std::vector<std::string> lines;
  for (const recorded_call& r : log) {
    if (r.kind != record_kind::call) {
      continue;
    }
    const std::string entry = short_name(r.name);
    std::string line = entry;
    if (entry == "NewTask") {
      line += "(" + name_of(r.pointers[3]) + ", " + name_of(r.pointers[4]) + ", " +
              name_of(r.pointers[5]) + ") " + std::to_string(r.words[0]) + "x" +
              std::to_string(r.words[1]) + " " + hex(static_cast<std::uint64_t>(r.words[2]));
    } else if (entry == "EditTask") {
      line += "(" + std::to_string(r.field) + ", " + name_of(r.pointers[0]) + ")";
    } else if (entry == "EditMoments" || entry == "EditSums") {
      line += "(";
      for (int k = 0; k < 7; ++k) {
        line += (k == 0 ? "" : ", ") + name_of(r.pointers[k]);
      }
      line += ")";
    } else if (entry != "DeleteTask") {
      line += "(" + hex(r.mask) + ", " + std::to_string(r.method) + ")";
    }
    lines.push_back(line);
  }
  return lines;
}

bool calls_have_letter(const std::vector<recorded_call>& log, char letter) {
  for (const recorded_call& r : log) {
    const std::string name = r.name;
    if (r.kind == record_kind::call && name != "__ksuSSDeleteTask" &&
        name.find(std::string("ksu") + letter + "SS") == std::string::npos) {
      return false;
    }
  }
  return true;
}

bool same_list(const std::vector<std::string>& got, const std::vector<std::string>& expected) {
  if (got == expected) {
    return true;
  }
  auto print = [](const char* title, const std::vector<std::string>& list) {
    std::fprintf(stderr, "%s:", title);
    for (const std::string& item : list) {
      std::fprintf(stderr, " %s", item.c_str());
    }
    std::fprintf(stderr, "\n");
  };
  print("got", got);
  print("expected", expected);
  return false;
}

}  // namespace tessel::test
