# What `cmake --install` puts where. Everything finds the rest relative to itself: a prefix may be moved. Components: library
# (what a module needs), dev (what a daemon is built with), tools (the command lines and the simulated module).
include(CMakePackageConfigHelpers)

file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/vek_pal.pc.in ${CMAKE_BINARY_DIR}/vek_pal.pc @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/vek_palConfigVersion.cmake COMPATIBILITY SameMajorVersion)

install(TARGETS vek_pal EXPORT vek_pal
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT dev)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION include COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(FILES ${CMAKE_BINARY_DIR}/vek_pal.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(FILES ${CMAKE_SOURCE_DIR}/cmake/vek_palConfig.cmake ${CMAKE_BINARY_DIR}/vek_palConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vek_pal COMPONENT dev)
install(EXPORT vek_pal FILE vek_pal-targets.cmake NAMESPACE vek_pal::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vek_pal COMPONENT dev)

if(VEK_TOOLS)
  set(box_dir libexec/vek_pal/box)
  set(box ${CMAKE_SOURCE_DIR}/simulator/box)
  set_target_properties(vekctl vyreld PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS vekctl modulectl module-sim vyreld RUNTIME DESTINATION bin COMPONENT tools)
  install(PROGRAMS ${box}/module-box ${box}/with-module ${box}/with-vyreld DESTINATION ${box_dir} COMPONENT tools)
  install(DIRECTORY ${box}/bin DESTINATION ${box_dir} COMPONENT tools USE_SOURCE_PERMISSIONS)
  file(CREATE_LINK ../${box_dir}/module-box ${CMAKE_BINARY_DIR}/module-box SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/module-box DESTINATION bin COMPONENT tools)
  foreach(program vekctl modulectl)
    install(FILES ${CMAKE_SOURCE_DIR}/packaging/completion/vekctl DESTINATION share/bash-completion/completions
      RENAME ${program} COMPONENT tools)
  endforeach()
endif()

# Rendered by docs/render, for which the tools must be built and a box must start.
set(VEK_MANUALS ${CMAKE_SOURCE_DIR}/build/docs/man CACHE PATH "Rendered manual pages; those that are there are installed")
install(DIRECTORY ${VEK_MANUALS}/man3 ${VEK_MANUALS}/man7 DESTINATION share/man COMPONENT dev OPTIONAL)
install(DIRECTORY ${VEK_MANUALS}/man1 DESTINATION share/man COMPONENT tools OPTIONAL)
