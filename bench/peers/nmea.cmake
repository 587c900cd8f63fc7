set(peer_libraries_nmea RTKLib)
