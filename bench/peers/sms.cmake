set(peers_sms gammu)
