# libvek_pal.so.1 for its users, and the same objects as an archive for tests that look inside.

set(VEK_EXPORTS ${CMAKE_SOURCE_DIR}/include/exports.txt)
set(VEK_VERSION_SCRIPT ${CMAKE_BINARY_DIR}/vek_pal.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${VEK_EXPORTS})
file(STRINGS ${VEK_EXPORTS} exported_names REGEX "^[A-Za-z]")
list(JOIN exported_names "@\n    " exported_names)
string(REPLACE "@" ";" exported_names "${exported_names}@")
file(CONFIGURE OUTPUT ${VEK_VERSION_SCRIPT} CONTENT "VEK_PAL_1 {\n  global:\n    @exported_names@\n  local: *;\n};\n" @ONLY)

# Linked by the C driver, without the C++ run-time library that CMake would add for C++ objects.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
add_library(vek_pal SHARED $<TARGET_OBJECTS:vek_pal_objects>)
set_target_properties(vek_pal PROPERTIES
  OUTPUT_NAME vek_pal
  VERSION 1
  SOVERSION 1
  LINKER_LANGUAGE C
  LINK_DEPENDS ${VEK_VERSION_SCRIPT}
  BUILD_WITH_INSTALL_RPATH ON
  INSTALL_RPATH ""
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
target_include_directories(vek_pal PUBLIC $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
target_link_libraries(vek_pal PRIVATE vek_sanitizers ${VEK_PROVIDER_LIBRARIES})
target_link_options(vek_pal PRIVATE
  -static-libgcc
  -Wl,--version-script=${VEK_VERSION_SCRIPT} -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,noseparate-code -Wl,--gc-sections -Wl,--as-needed
  -Wl,-Bsymbolic-functions -Wl,--hash-style=gnu)
if(NOT VEK_SANITIZE)
  target_link_options(vek_pal PRIVATE -Wl,-z,defs)
endif()

add_library(vek_pal_inside STATIC $<TARGET_OBJECTS:vek_pal_objects>)
target_link_libraries(vek_pal_inside PUBLIC vek_inside ${VEK_PROVIDER_LIBRARIES})
