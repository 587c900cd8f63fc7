set(peers_at glib-2.0 libsystemd)
