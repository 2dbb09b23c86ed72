// Work spread over the cores this process may run on.
#pragma once

#include <cstddef>
#include <functional>

namespace tessel {

// The cores the scheduler lets this process use; at least 1.
unsigned available_cores();

// Calls task(index, worker) for every index in [0, count) on up to `workers` threads, the calling
// thread being worker 0; indices go out in increasing order as threads become free. When a task
// throws, no further index is started, and the first exception thrown is rethrown once every thread
// has stopped.
void parallel_for(std::size_t count, unsigned workers,
                  const std::function<void(std::size_t index, unsigned worker)>& task);

}  // namespace tessel
