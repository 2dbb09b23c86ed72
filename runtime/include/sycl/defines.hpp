// Macros shared by every runtime header.
#pragma once

// Symbols of libtessel_sycl.so that headers call; everything else stays hidden.
#define TESSEL_SYCL_API __attribute__((visibility("default")))
