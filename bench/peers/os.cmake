set(peers_os glib-2.0)
set(peer_libraries_os lmdb)
