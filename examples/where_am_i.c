/* One fix: where_am_i [SECONDS]. On a laptop: module-box --with-module -- where_am_i */
#include <stdio.h>
#include <stdlib.h>
#include <vek_pal.h>

int main(int argc, char** argv) {
  unsigned seconds = argc > 1 ? (unsigned)strtoul(argv[1], NULL, 10) : 60;
  vek_pal_gnss_location_t location = {0};

  vek_pal_log_set_level(VEK_PAL_LOG_FATAL);
  if (vek_pal_gnss_info_acquire(seconds, &location) != 0) {
    /* The record still says how far the receiver came. */
    fprintf(stderr, "no fix, %d satellites in view\n", (int)location.Satellite_num);
    return 1;
  }
  printf("%.6f %.6f, %.1f m\n", (double)location.Latitude, (double)location.Longitude, (double)location.Altitude);
  return 0;
}
