set(peers_log spdlog)
