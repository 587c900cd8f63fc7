"""A feature daemon that answers as badly as its commands ask for. Runs in the box.

AT+GTVYRCNT=TEXT answers TEXT; with "wait,S,TEXT" S seconds late, with "silent" never, with "stub" with a datagram too short to
be an answer, with "long,N" with N characters, with "error,TEXT" with the error; "die" ends it. A datagram with another id
than 4 means nothing to it. It handles one message after another, as daemons do.
"""
import os
import socket
import struct
import time

SERVER, CLIENT = "/data/vek_pal_ipc_server.sock", "/data/vek_pal_at_client.sock"


def main():
    if os.path.exists(SERVER):
        os.unlink(SERVER)
    server = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    server.bind(SERVER)
    print("running", flush=True)
    while True:
        message = server.recv(1024)
        if struct.unpack("i", message[:4])[0] != 4:
            continue
        print(message[4:].decode(errors="replace"), flush=True)
        words = message[4:].decode(errors="replace").partition("=")[2].split(",", 2)
        answer = struct.pack("i", 0) + words[-1].encode()
        if words[0] == "die":
            return
        if words[0] == "silent":
            continue
        if words[0] == "wait":
            time.sleep(float(words[1]))
        elif words[0] == "stub":
            answer = b"ab"
        elif words[0] == "long":
            answer = struct.pack("i", 0) + b"x" * int(words[1])
        elif words[0] == "error":
            answer = struct.pack("i", 1) + words[-1].encode()
        server.sendto(answer, CLIENT)


main()
