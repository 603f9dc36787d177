#!/usr/bin/python3
"""TLS in front of a plain server of the loopback:  tls_front.py DIRECTORY PORT [--wants-client]

Makes certificates in DIRECTORY: server.pem (for 127.0.0.1), client.pem, both with their keys (.key), each its own trust
store. Prints the port that it listens on, serves one connection after the other, and ends with its standard input.
"""

import socket
import ssl
import subprocess
import sys
import threading
from pathlib import Path


def make_certificate(directory, name, address="127.0.0.1"):
    """NAME.pem and NAME.key, for a server at that address."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-days", "1", "-subj", f"/CN={name}", "-addext", f"subjectAltName=IP:{address}",
                    "-keyout", directory / f"{name}.key", "-out", directory / f"{name}.pem"],
                   check=True, stderr=subprocess.DEVNULL)


def pump(source, sink):
    try:
        while data := source.recv(65536):
            sink.sendall(data)
        sink.shutdown(socket.SHUT_WR)
    except OSError:
        pass  # the other direction has ended


def serve(listener, context, port):
    while True:
        connection, _ = listener.accept()
        try:
            secure = context.wrap_socket(connection, server_side=True)
        except (ssl.SSLError, OSError):
            continue  # refused by one of the two sides
        with secure, socket.create_connection(("127.0.0.1", port)) as plain:
            threading.Thread(target=pump, args=(plain, secure), daemon=True).start()
            pump(secure, plain)


def main():
    directory, port = Path(sys.argv[1]), int(sys.argv[2])
    make_certificate(directory, "server")
    make_certificate(directory, "client")
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(directory / "server.pem", directory / "server.key")
    if "--wants-client" in sys.argv:
        context.verify_mode = ssl.CERT_REQUIRED
        context.load_verify_locations(directory / "client.pem")
    with socket.create_server(("127.0.0.1", 0)) as listener:
        threading.Thread(target=serve, args=(listener, context, port), daemon=True).start()
        print(listener.getsockname()[1], flush=True)
        sys.stdin.read()


if __name__ == "__main__":
    main()
