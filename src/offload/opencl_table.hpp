// The proof that a complete OpenCL library is there: libOpenCL.so.1 is loaded once per process and
// every name of opencl_entry_names.hpp is resolved into a table. Nothing calls through the table;
// its status is what the offload road reads.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorlex::orv::stats::detail::offload {

inline constexpr std::size_t opencl_entry_count = 98;
inline constexpr std::size_t opencl_message_size = 260;

// 0 when the library and all names were found; -1 otherwise, from the first failure on, for the
// life of the process.
std::int32_t load_opencl_table();

// The table's slots in the order of the names, and the loader's reason for the failure of the first
// attempt followed by the library name. Written under the table's lock only.
extern void* opencl_table[opencl_entry_count];
extern char opencl_load_message[opencl_message_size];

}  // namespace vorlex::orv::stats::detail::offload
