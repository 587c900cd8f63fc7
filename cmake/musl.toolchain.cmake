# The library against musl, OpenWrt's C library: Debian's musl-gcc for C and for linking, and the host's g++ with its header-only
# parts on musl's headers. Builds the library, which needs no C++ run-time library; nothing in C++ that needs one.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_CXX_COMPILER_WORKS TRUE)  # it makes no programs here
set(CMAKE_CXX_ABI_COMPILED TRUE)
set(CMAKE_CXX_SIZEOF_DATA_PTR 8)

# musl brings no kernel headers: the system's, without the C library's beside them.
set(kernel_headers ${CMAKE_BINARY_DIR}/kernel-headers)
execute_process(COMMAND g++ -print-multiarch OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -print-file-name=include OUTPUT_VARIABLE compiler_headers OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
file(MAKE_DIRECTORY ${kernel_headers})
foreach(headers linux asm-generic ${multiarch}/asm)
  get_filename_component(name ${headers} NAME)
  file(CREATE_LINK /usr/include/${headers} ${kernel_headers}/${name} SYMBOLIC)
endforeach()

set(CMAKE_C_FLAGS_INIT "-isystem ${kernel_headers}")
set(CMAKE_CXX_FLAGS_INIT "-nostdinc -isystem /usr/include/c++/${version} -isystem /usr/include/${multiarch}/c++/${version} \
-isystem /usr/include/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-musl -isystem ${compiler_headers} -isystem ${kernel_headers} \
-include ${CMAKE_CURRENT_LIST_DIR}/musl/names.h")
