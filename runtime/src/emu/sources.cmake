# The emulated devices' sources, relative to runtime/src; they need
# Boost.Context (fcontext) linked to the runtime.
set(TESSEL_EMU_SOURCES
  emu/collective.cpp
  emu/collectives.cpp
  emu/devices.cpp
  emu/executor.cpp
  emu/fiber.cpp
  emu/group_runner.cpp
  emu/settings.cpp
)
