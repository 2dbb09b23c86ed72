// Macros shared by every runtime header.
#pragma once

// Marks functions that kernels call: empty for host compilers, host and device
// functions when the CUDA backend's nvcc compiles the code.
#if defined(__CUDACC__) && defined(TESSEL_SYCL_CUDA_BACKEND)
#define TESSEL_DEVICE_CALLABLE __host__ __device__
#else
#define TESSEL_DEVICE_CALLABLE
#endif

// Symbols of libtessel_sycl.so that headers call; everything else stays hidden.
#define TESSEL_SYCL_API __attribute__((visibility("default")))
