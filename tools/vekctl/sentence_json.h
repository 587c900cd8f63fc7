#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace vekctl {

// What the library reads in one NMEA sentence: "talker", "type" and the fields by their names in vek_pal/minmea.h, with
// coordinates in degrees and null for what was empty. A sentence that is not read has only "error".
nlohmann::ordered_json sentence_json(const std::string& sentence);

}  // namespace vekctl
