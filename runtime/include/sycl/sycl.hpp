// The one header a SYCL program includes.
#pragma once

#include "sycl/defines.hpp"

#include "sycl/access.hpp"
#include "sycl/accessor.hpp"
#include "sycl/aspect.hpp"
#include "sycl/backend.hpp"
#include "sycl/buffer.hpp"
#include "sycl/context.hpp"
#include "sycl/device.hpp"
#include "sycl/device_selector.hpp"
#include "sycl/event.hpp"
#include "sycl/exception.hpp"
#include "sycl/handler.hpp"
#include "sycl/id.hpp"
#include "sycl/info.hpp"
#include "sycl/interop_handle.hpp"
#include "sycl/item.hpp"
#include "sycl/multi_ptr.hpp"
#include "sycl/nd_range.hpp"
#include "sycl/platform.hpp"
#include "sycl/property_list.hpp"
#include "sycl/queue.hpp"
#include "sycl/range.hpp"
#include "sycl/usm.hpp"

// Device-side API.
#if __has_include("sycl/nd_item.hpp")
#include "sycl/nd_item.hpp"
#endif
#if __has_include("sycl/group.hpp")
#include "sycl/group.hpp"
#endif
#if __has_include("sycl/group_algorithm.hpp")
#include "sycl/group_algorithm.hpp"
#endif
#if __has_include("sycl/functional.hpp")
#include "sycl/functional.hpp"
#endif
#if __has_include("sycl/device_event.hpp")
#include "sycl/device_event.hpp"
#endif
#if __has_include("sycl/local_accessor.hpp")
#include "sycl/local_accessor.hpp"
#endif
#if __has_include("sycl/math.hpp")
#include "sycl/math.hpp"
#endif
#if __has_include("sycl/atomic_fence.hpp")
#include "sycl/atomic_fence.hpp"
#endif
