# Not by libqmi's pkg-config module: it asks for libmbim's, which libqmi's users do not need.
set(peers_qmi qrtr-glib)
set(peer_libraries_qmi qmi-glib)
