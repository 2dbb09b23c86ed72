#pragma once
#include <sycl/sycl.hpp>
#ifndef TESSEL_DEVICE_CALLABLE
#define TESSEL_DEVICE_CALLABLE
#endif
