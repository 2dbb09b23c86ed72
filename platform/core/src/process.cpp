#include "orv/orv_serv.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

extern "C" int orv_serv_getenv(const char* name, char* buffer, int size) {
  if (name == nullptr || buffer == nullptr || size < 1) {
    return 0;
  }
  const char* value = std::getenv(name);
  if (value == nullptr) {
    value = "";
  }
  const std::size_t length = strnlen(value, static_cast<std::size_t>(size) - 1);
  std::memcpy(buffer, value, length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}

extern "C" void orv_serv_exit(int code) {
  _exit(code);
}
