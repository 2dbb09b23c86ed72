# Installs every target registered with tessel_install_target() in one
# export set, so that find_package(TesselStats) gives TesselStats::<name>.
include(CMakePackageConfigHelpers)
get_property(_tessel_targets GLOBAL PROPERTY TESSEL_INSTALL_TARGETS)
if(_tessel_targets)
  install(TARGETS ${_tessel_targets} EXPORT TesselStatsTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT TesselStatsTargets NAMESPACE TesselStats::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TesselStats)
endif()
configure_package_config_file(cmake/TesselStatsConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/TesselStatsConfig.cmake"
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TesselStats)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/TesselStatsConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/TesselStatsConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/TesselStatsConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/TesselSyclTarget.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TesselStats)
