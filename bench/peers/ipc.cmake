set(peers_ipc gio-2.0 libsystemd)
