"""A CIM object manager that answers each request as a test wants it, down to the bytes."""

import contextlib
import re
import socket
import ssl
import threading
from xml.sax.saxutils import escape

from own_address import own_address
from program import PATIENCE_S


def response(method, content):
    """The CIM-XML of an answer to an intrinsic operation (DSP0201)."""
    return ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
            '<MESSAGE ID="4711" PROTOCOLVERSION="1.0"><SIMPLERSP>'
            f'<IMETHODRESPONSE NAME="{method}">{content}</IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>')


def method_response(method, content):
    """The same for the call of a method."""
    return response(method, content).replace("IMETHODRESPONSE", "METHODRESPONSE")


def instance(cim_class, **properties):
    """An instance with texts for properties."""
    values = "".join(f'<PROPERTY NAME="{name}" TYPE="string"><VALUE>{escape(text)}</VALUE></PROPERTY>'
                     for name, text in properties.items())
    return f'<INSTANCE CLASSNAME="{cim_class}">{values}</INSTANCE>'


def found(cim_class, **properties):
    """The answer to GetInstance."""
    return http(response("GetInstance", f"<IRETURNVALUE>{instance(cim_class, **properties)}</IRETURNVALUE>"))


def parameter(name, cim_type, value):
    """An output: a text, a list of texts and None, None, or the XML of another value."""
    if value is None:
        inner = ""
    elif isinstance(value, list):
        inner = "".join("<VALUE.NULL/>" if one is None else f"<VALUE>{escape(one)}</VALUE>" for one in value)
        inner = f"<VALUE.ARRAY>{inner}</VALUE.ARRAY>"
    else:
        inner = value if value.startswith("<VALUE") else f"<VALUE>{escape(value)}</VALUE>"
    return f'<PARAMVALUE NAME="{name}" PARAMTYPE="{cim_type}">{inner}</PARAMVALUE>'


def method_result(method, *outputs, returns="0", return_type="uint32"):
    """The answer to the call of a method; outputs are made by parameter(); returns is a text, or None for a method that
    returns nothing."""
    value = f'<RETURNVALUE PARAMTYPE="{return_type}"><VALUE>{returns}</VALUE></RETURNVALUE>' if returns else ""
    return http(method_response(method, value + "".join(outputs)))


def method_error(method, code, description=""):
    return http(method_response(method, f'<ERROR CODE="{code}" DESCRIPTION="{escape(description)}"/>'))


def cim_error(code, description="", method="GetInstance"):
    return http(response(method, f'<ERROR CODE="{code}" DESCRIPTION="{escape(description)}"/>'))


def http(body, status="200 OK", content_type='application/xml; charset="utf-8"', headers=""):
    body = body.encode("utf-8")
    head = f"HTTP/1.1 {status}\r\nContent-Type: {content_type}\r\nContent-Length: {len(body)}\r\n{headers}\r\n"
    return head.encode("ascii") + body


class ScriptedObjectManager:
    """answer: what every request gets, bytes to send or a function of the request that gives them; None keeps it
    waiting for release(). May be changed at any time. close: whether the connection is closed after it. port: that of
    one that has ended, to be there again. certificate: of one over https, its file without .pem and .key. A context
    manager."""

    def __init__(self, answer, close=False, port=0, certificate=None):
        self.answer = answer
        self.requests = []  # that came, head and body as text
        self._close = close
        self._changed = threading.Condition()
        self._connections = []
        self._listener = socket.create_server((own_address(), port))
        self.port = self._listener.getsockname()[1]
        self.url = f"http://{own_address()}:{self.port}"
        if certificate:
            self.url = self.url.replace("http:", "https:")
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(f"{certificate}.pem", f"{certificate}.key")
            # Hands are shaken when a request is read, beside those of other connections.
            self._listener = context.wrap_socket(self._listener, server_side=True, do_handshake_on_connect=False)

    def __enter__(self):
        threading.Thread(target=self._accept, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        self.release(b"")
        self.close_connections()

    def connection_count(self):
        """How many connections have been opened so far."""
        return len(self._connections)

    def close_connections(self):
        for connection in self._connections:
            try:
                connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass  # its other end has gone

    def await_request(self, count=1):
        """Waits until so many requests have come."""
        with self._changed:
            if not self._changed.wait_for(lambda: len(self.requests) >= count, PATIENCE_S):
                raise AssertionError(f"no request number {count} came")

    def release(self, answer):
        """Answers what waits, and what comes."""
        with self._changed:
            self.answer = answer
            self._changed.notify_all()

    @contextlib.contextmanager
    def stalled(self):
        """Answers nothing meanwhile."""
        answer, self.answer = self.answer, None
        try:
            yield
        finally:
            self.release(answer)

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._connections.append(connection)
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        with connection, connection.makefile("rb") as stream:
            while request := read_request(stream):
                with self._changed:
                    self.requests.append(request)
                    self._changed.notify_all()
                    self._changed.wait_for(lambda: self.answer is not None)
                    answer = self.answer
                try:
                    connection.sendall(answer(request) if callable(answer) else answer)
                except OSError:
                    return
                if self._close:
                    return


def read_request(stream):
    """The next request, headers and body; empty when there is none."""
    head = b""
    try:
        while not head.endswith(b"\r\n\r\n"):
            line = stream.readline()
            if not line:
                return ""
            head += line
        length = re.search(rb"(?i)^content-length: *(\d+)", head, re.MULTILINE)
        return (head + stream.read(int(length[1]) if length else 0)).decode("utf-8")
    except OSError:
        return ""
