# find_package(vek_pal), then target_link_libraries(... vek_pal::vek_pal)
include("${CMAKE_CURRENT_LIST_DIR}/vek_pal-targets.cmake")
