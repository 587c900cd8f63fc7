set(CMAKE_C_STANDARD 99)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_C_FLAGS_RELEASE "-O2")
set(CMAKE_CXX_FLAGS_RELEASE "-O2")
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# Everything here is compiled with these: the library, the simulated module, tools and tests.
add_library(vek_warnings INTERFACE)
target_compile_options(vek_warnings INTERFACE
  -Wall -Wextra -Werror -Wno-psabi -Wconversion -Wshadow -Wformat=2 -Wcast-align -Wcast-qual -Wundef -Wvla
  -Wno-error=deprecated-declarations
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wextra-semi>
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/platform/Qualcomm/SDX12/=)

add_library(vek_sanitizers INTERFACE)
if(VEK_SANITIZE)
  target_compile_options(vek_sanitizers INTERFACE -fsanitize=${VEK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(vek_sanitizers INTERFACE -fsanitize=${VEK_SANITIZE})
endif()

# What sees the library from inside: the library itself, and the tests, fuzz targets and benchmarks that look in.
add_library(vek_inside INTERFACE)
target_compile_definitions(vek_inside INTERFACE _GNU_SOURCE)
target_include_directories(vek_inside INTERFACE
  ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include ${CMAKE_SOURCE_DIR}/platform/Qualcomm/SDX12)
target_link_libraries(vek_inside INTERFACE vek_warnings vek_sanitizers)

# All sources of the library, compiled once; the folders add theirs. C++20 without its run-time library, and no code that a
# small flash would carry for nothing.
add_library(vek_pal_objects OBJECT)
target_link_libraries(vek_pal_objects PUBLIC vek_inside)
target_compile_options(vek_pal_objects PRIVATE
  -fno-exceptions -fno-rtti -fno-threadsafe-statics
  -fPIC -fvisibility=hidden -fno-semantic-interposition -fno-plt -ffunction-sections -fdata-sections -fstack-protector)
if(NOT VEK_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL Release)
  # Small before fast; the few sources in which a daemon's time goes are named in their folders. The tables that unwind
  # foreign exceptions would take a tenth of the flash, and the 32-bit ARM build has none of them anyway.
  target_compile_options(vek_pal_objects PRIVATE
    -Os -fno-asynchronous-unwind-tables -fno-unwind-tables -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
if(VEK_FUZZ)
  target_compile_options(vek_pal_objects PRIVATE -fsanitize=fuzzer-no-link)
endif()
