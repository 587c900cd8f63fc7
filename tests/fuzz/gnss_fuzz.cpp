// An AT answer of any content, through the extraction and the reading of what it found.
#include <stdint.h>
#include <string.h>

#include "exact.h"
#include "vek_pal/gnss.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // As the acquisition does it: one byte of room behind the answer.
  const Exact room = Exact::terminated(data, size);
  char* const answer = room.text();
  char* start = answer;
  int length = -1;
  const int result = vek_pal_gnss_extract_nmea_data(answer, static_cast<int>(size), &start, &length);
  const void* const dollar = memchr(data, '$', size);
  require((result == 0) == (dollar != nullptr));
  if (result == 0) {
    require(start == answer + (static_cast<const uint8_t*>(dollar) - data));
    require(length >= 1 && start + length <= answer + size);
    start[length] = '\0';

    vek_pal_gnss_location_t location;
    memset(&location, 0x55, sizeof location);
    require(vek_pal_parse_gnss_nmea_data(start, &location) == 0);
    require(location.IsValid == 0 || location.IsValid == 1);
    require(location.SatType >= VEK_PAL_GNSS_SAT_NONE && location.SatType <= VEK_PAL_GNSS_SAT_SEVERAL);
    require(location.SatType != VEK_PAL_GNSS_SAT_NONE || location.Satellite_num == 0);
  }
  return 0;
}
