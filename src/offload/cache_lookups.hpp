// The two process-wide caches behind the exported look-ups of vorlex::orv::gpu.
#pragma once

#include <sycl/sycl.hpp>

#include "offload/native_cache.hpp"

namespace vorlex::orv::stats::detail::offload {

using context_cache_t = native_cache<context_key, sycl::context, context_key_hash>;
using queue_cache_t = native_cache<queue_key, sycl::queue, queue_key_hash>;

// Never held together: a lookup leaves one before it enters the other.
extern context_cache_t context_cache;
extern queue_cache_t queue_cache;

}  // namespace vorlex::orv::stats::detail::offload
