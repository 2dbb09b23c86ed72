// The log of recording.hpp, fed by the recording module and by link-time wrappers (ld --wrap)
// around what the engine calls: the module's load, dlsym, and sycl::malloc_shared and sycl::free,
// by their mangled names (sycl::detail::typed_alloc is behind every typed malloc_shared). The
// wrappers forward to the real functions.
#include "recording.hpp"

#include <dlfcn.h>

#include <sycl/sycl.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace tessel::test {
namespace {

struct recording_state {
  std::mutex mutex;
  std::vector<recorded_call> log;
  std::map<std::string, std::int32_t> statuses;
};

recording_state& state() {
  static recording_state s;
  return s;
}

std::int32_t add(recorded_call call) {
  recording_state& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  const auto programmed = s.statuses.find(call.name);
  s.log.push_back(std::move(call));
  return programmed == s.statuses.end() ? 0 : programmed->second;
}

std::string hex(std::int64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace

std::vector<recorded_call> recorded() {
  std::lock_guard<std::mutex> lock(state().mutex);
  return state().log;
}

void clear_recording() {
  std::lock_guard<std::mutex> lock(state().mutex);
  state().log.clear();
  state().statuses.clear();
}

void program_status(const std::string& entry, std::int32_t status) {
  std::lock_guard<std::mutex> lock(state().mutex);
  state().statuses[entry] = status;
}

std::vector<std::string> recorded_names() {
  std::vector<std::string> names;
  for (const recorded_call& c : recorded()) {
    if (c.name != "alloc" && c.name != "free") {
      names.push_back(c.name);
    }
  }
  return names;
}

std::vector<std::string> describe_calls(pointer_names names) {
  int blocks = 0, others = 0;
  const auto name_of = [&](const void* p) -> std::string {
    if (p == nullptr) {
      return "-";
    }
    auto [at, added] = names.emplace(p, "");
    if (added) {
      at->second = "#" + std::to_string(++others);
    }
    return at->second;
  };
  const auto list = [&](const recorded_call& c, int first, int count) {
    std::string text;
    for (int k = first; k < first + count; ++k) {
      text += (k == first ? "" : ", ") + name_of(c.pointers[k]);
    }
    return text;
  };
  std::vector<std::string> lines;
  for (const recorded_call& c : recorded()) {
    if (c.name == "load" || c.name.rfind("lookup", 0) == 0) {
      continue;
    }
    const std::size_t at = c.name.find("SS");
    const std::string entry = at == std::string::npos ? c.name : c.name.substr(at + 2);
    if (entry == "alloc") {
      names[c.pointers[0]] = "s" + std::to_string(++blocks);
      lines.push_back("alloc " + name_of(c.pointers[0]) + " " + std::to_string(c.numbers[0]) + "x" +
                      std::to_string(c.numbers[1]));
    } else if (entry == "free") {
      lines.push_back("free " + name_of(c.pointers[0]));
    } else if (entry == "NewTask") {
      lines.push_back("NewTask(" + list(c, 4, 3) + ") " + std::to_string(c.numbers[0]) + "x" +
                      std::to_string(c.numbers[1]) + " " + hex(c.numbers[2]) +
                      (c.numbers[3] == 1 ? "" : " width " + std::to_string(c.numbers[3])));
    } else if (entry == "EditTask") {
      lines.push_back("EditTask(" + std::to_string(c.numbers[0]) + ", " + list(c, 0, 1) + ")");
    } else if (entry == "EditMoments" || entry == "EditSums") {
      lines.push_back(entry + "(" + list(c, 0, 7) + ")");
    } else if (entry == "DeleteTask") {
      lines.push_back(entry);
    } else {
      lines.push_back(entry + "(" + hex(c.numbers[0]) + ", " + std::to_string(c.numbers[1]) + ")");
    }
  }
  return lines;
}

}  // namespace tessel::test

using tessel::test::add;
using tessel::test::recorded_call;

// Exported from the executable for the recording module (see CMakeLists.txt).
extern "C" __attribute__((visibility("default"))) std::int32_t tessel_recording_note(
    const char* name, const void* task, const void* const* pointers, const std::int64_t* numbers) {
  recorded_call c{name, task};
  std::memcpy(c.pointers, pointers, sizeof c.pointers);
  std::memcpy(c.numbers, numbers, sizeof c.numbers);
  return add(std::move(c));
}

#define WRAPPER extern "C" __attribute__((visibility("default")))
#define TYPED_ALLOC _ZN4sycl6detail11typed_allocEmmmPKNS_6deviceERKNS_7contextENS_3usm5allocE
#define FREE _ZN4sycl4freeEPvRKNS_5queueE
#define WRAPPED(prefix, name) WRAPPED_(prefix, name)
#define WRAPPED_(prefix, name) prefix##name

extern "C" void* WRAPPED(__real_, TYPED_ALLOC)(std::size_t alignment, std::size_t count,
                                               std::size_t size, const sycl::device* device,
                                               const sycl::context& context, sycl::usm::alloc kind);
extern "C" void WRAPPED(__real_, FREE)(void* pointer, const sycl::queue& queue);
extern "C" void* __real_dlsym(void* handle, const char* name);
extern "C" void* __real_orv_serv_load_qdn(void);

WRAPPER void* WRAPPED(__wrap_, TYPED_ALLOC)(std::size_t alignment, std::size_t count,
                                            std::size_t size, const sycl::device* device,
                                            const sycl::context& context, sycl::usm::alloc kind) {
  void* pointer = WRAPPED(__real_, TYPED_ALLOC)(alignment, count, size, device, context, kind);
  if (kind == sycl::usm::alloc::shared) {
    add({"alloc",
         nullptr,
         {pointer},
         {static_cast<std::int64_t>(count), static_cast<std::int64_t>(size)}});
  }
  return pointer;
}

WRAPPER void WRAPPED(__wrap_, FREE)(void* pointer, const sycl::queue& queue) {
  add({"free", nullptr, {pointer}});
  WRAPPED(__real_, FREE)(pointer, queue);
}

WRAPPER void* __wrap_orv_serv_load_qdn(void) {
  add({"load"});
  return __real_orv_serv_load_qdn();
}

WRAPPER void* __wrap_dlsym(void* handle, const char* name) {
  if (std::strncmp(name, "_ksu", 4) == 0 || std::strncmp(name, "__ksu", 5) == 0) {
    add({std::string("lookup ") + name});
  }
  return __real_dlsym(handle, name);
}

// Every test binds the engine to the recording module: the core service reads the variable on its
// first load, and each death test's process runs this main again.
int main(int argc, char** argv) {
  setenv("TESSEL_ESTIMATOR_MODULE", TESSEL_RECORDING_MODULE_PATH, 1);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
