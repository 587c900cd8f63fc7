set(peers_encoding libcrypto gammu)
set(peer_libraries_encoding modpbase64)
