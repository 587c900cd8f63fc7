# What a build can choose. The presets set the combinations that are in use.
option(VEK_TOOLS "Build the simulated module, the tools and the examples" ON)
option(VEK_TESTS "Build the tests" ON)
option(VEK_FUZZ "Build the fuzz targets (clang)" OFF)
option(VEK_BENCH "Build the benchmarks and fetch their peers' headers from the system" OFF)

set(VEK_DIAG_PROVIDER stderr CACHE STRING "Diagnostic channel: stderr, or external (the platform's libdiag)")
set(VEK_QMI_PROVIDER qmux CACHE STRING "QMI client: qmux, or external (the platform's libqmi_cci and service objects)")
set_property(CACHE VEK_DIAG_PROVIDER PROPERTY STRINGS stderr external)
set_property(CACHE VEK_QMI_PROVIDER PROPERTY STRINGS qmux external)
set(VEK_QMI_LIBRARIES qmi_cci qmi_services CACHE STRING "Libraries that the external QMI provider links by name")
set(VEK_QMI_DEVICE /dev/cdc-wdm0 CACHE STRING "Device path that the qmux provider opens")

# The access code of the feature's AT commands. Without both, authentication always fails.
set(VEK_ACCESS_CODE_EXPONENT "" CACHE STRING "Exponent of the access code, a positive integer")
set(VEK_ACCESS_CODE_MODULUS "" CACHE STRING "Modulus of the access code, 2 to 256")

set(VEK_SANITIZE "" CACHE STRING "Sanitizers of the build, as for -fsanitize=")
set(VEK_EMULATOR "" CACHE STRING "What runs this build's programs when the build machine cannot, e.g. qemu-arm;-L;/usr/arm-linux-gnueabihf")
