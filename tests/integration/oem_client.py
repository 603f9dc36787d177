"""A cimgated with a message-queue endpoint, clients of it, and the mapping of what its containers embed."""

import json
import socket

import zmq

from cimgate_host import BASE, Service, ServiceTest, children_of, member_entry, name_of, wait_until
from program import PATIENCE_S

# Every reason of an error, with its code.
CODES = {"MalformedRequest": 4, "InvalidId": 7, "UnknownContainer": 5, "NotCached": 18, "Busy": 2, "TooLate": 2,
         "WorkerEnded": 2}

TEXT = {"cim_type": "string"}

# What stands in front of a request, so that the endpoint sees where it begins.
DELIMITER = b""


# ---- The mapping

def embedded_entry(name, cim_class, properties, key="InstanceID", key_properties=None, **more):
    """The entry of a resource that containers can embed by its key."""
    entry = member_entry(name, cim_class, properties, key, **more)
    entry[name]["mappings"][cim_class]["key_properties"] = [key] if key_properties is None else key_properties
    return entry


def container_entry(name, **instances):
    """The entry of a container: each embedded resource with a pair of its expression and its query."""
    return {name: {"instances": {resource: {"KeyRegex": regex, "QueryClause": query}
                                 for resource, (regex, query) in instances.items()}}}


# The embedded instance's key is the id itself.
BY_ID = ("", "")


def embedded_data(name, key, **properties):
    """An instance as a container's answer has it."""
    return {"@odata.id": f"{BASE}/{name}/{key}", "@odata.type": f"#{name}.v1_0_0.{name}",
            "@odata.context": f"/redfish/v1/$metadata#{name}.{name}", **properties}


# ---- Clients

def request_text(container, instance_id):
    return json.dumps({"container": container, "id": instance_id}).encode("utf-8")


def new_socket(kind):
    """A socket that gives up after PATIENCE_S and forgets what it has not sent when it is closed."""
    new = zmq.Context.instance().socket(kind)
    new.setsockopt(zmq.LINGER, 0)
    for time_out in (zmq.RCVTIMEO, zmq.SNDTIMEO):
        new.setsockopt(time_out, 1000 * PATIENCE_S)
    for high_water_mark in (zmq.RCVHWM, zmq.SNDHWM):
        new.setsockopt(high_water_mark, 0)
    return new


class Client:
    """A REQ socket: one request, one answer, again and again. A context manager that closes it."""

    def __init__(self, endpoint):
        self._socket = new_socket(zmq.REQ)
        self._socket.connect(endpoint)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()

    def send(self, *frames):
        self._socket.send_multipart(frames)

    def receive(self):
        """The answer's one frame as it is."""
        [frame] = self._socket.recv_multipart()
        return frame

    def receive_json(self):
        return json.loads(self.receive())

    def ask_raw(self, *frames):
        self.send(*frames)
        return self.receive()

    def ask(self, container, instance_id):
        return json.loads(self.ask_raw(request_text(container, instance_id)))


class Dealer:
    """A DEALER socket, which sends ahead: each request has frames of its own in front, which come back with the
    answer. A context manager that closes it."""

    def __init__(self, endpoint):
        self._socket = new_socket(zmq.DEALER)
        self._events = self._socket.get_monitor_socket(zmq.EVENT_CONNECTED | zmq.EVENT_DISCONNECTED)
        self._events.setsockopt(zmq.RCVTIMEO, 1000 * PATIENCE_S)
        self._socket.connect(endpoint)
        self._await(zmq.EVENT_CONNECTED)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.disable_monitor()
        self._events.close()
        self._socket.close()

    def _await(self, event):
        # A number of the event in its first two bytes; only the events that are waited for are reported.
        number = int.from_bytes(self._events.recv_multipart()[0][:2], "little")
        if number != event:
            raise AssertionError(f"event {number} of the connection instead of {event}")

    def await_new_connection(self):
        """Waits until the connection has been lost, and is there again."""
        self._await(zmq.EVENT_DISCONNECTED)
        self._await(zmq.EVENT_CONNECTED)

    def send_raw(self, *frames):
        self._socket.send_multipart(frames)

    def receive_raw(self):
        return self._socket.recv_multipart()

    def send(self, number, container, instance_id):
        self.send_raw(str(number).encode("ascii"), DELIMITER, request_text(container, instance_id))

    def receive(self):
        """The number of a request and its answer."""
        number, delimiter, answer = self.receive_raw()
        if delimiter != DELIMITER:
            raise AssertionError(f"{delimiter!r} in front of an answer")
        return int(number), json.loads(answer)

    def ask(self, container, instance_id):
        self.send(0, container, instance_id)
        return self.receive()[1]


# ---- Clients that speak to the socket themselves (ZMTP 3.0)

# Signature, version, mechanism NULL, zeros.
GREETING = b"\xff" + bytes(8) + b"\x7f" + b"\x03\x00" + b"NULL".ljust(20, b"\0") + bytes(32)
# The flags of a frame; its length follows, in one byte or in eight, then its content.
ONE_OF_MORE, LONG_FRAME, COMMAND = b"\1", b"\2", b"\4"
READY_CONTENT = b"\x05READY\x0bSocket-Type\0\0\0\x06DEALER"
READY = COMMAND + bytes([len(READY_CONTENT)]) + READY_CONTENT


def receive_bytes(raw, count):
    received = b""
    while len(received) < count:
        more = raw.recv(count - len(received))
        if not more:
            raise ConnectionResetError("the endpoint has closed the connection")
        received += more
    return received


def connect_raw(service):
    raw = socket.socket(socket.AF_UNIX)
    raw.settimeout(PATIENCE_S)
    raw.connect(str(service.socket_path))
    return raw


def shake_hands(raw):
    """Begins the protocol: the frames of messages can follow."""
    raw.sendall(GREETING)
    receive_bytes(raw, len(GREETING))
    raw.sendall(READY)
    _, length = receive_bytes(raw, 2)
    receive_bytes(raw, length)


# ---- The service

class OemService(Service):
    """Its endpoint's socket is in its directory."""

    def __init__(self, mapping, cache=None, options=(), limits=""):
        """limits: what a shell does before it becomes the service, "umask 0" for example."""
        super().__init__(mapping, cache)
        self.socket_path = self.directory / "oem.sock"
        self.endpoint = f"ipc://{self.socket_path}"
        self.command += ["--oem-endpoint", self.endpoint, *options]
        if limits:
            self.command = ["/bin/sh", "-c", limits + '; exec "$@"', "sh", *self.command]

    def client(self):
        return Client(self.endpoint)

    def dealer(self):
        return Dealer(self.endpoint)

    def ask(self, container, instance_id):
        with self.client() as client:
            return client.ask(container, instance_id)

    def ask_raw(self, *frames):
        with self.client() as client:
            return client.ask_raw(*frames)

    def workers(self):
        return [pid for pid in super().workers() if name_of(pid) != "cimgated-oem"]

    def endpoint_processes(self):
        return [pid for pid in children_of(self.spawner()) if name_of(pid) == "cimgated-oem"]

    def endpoint_process(self):
        [pid] = self.endpoint_processes()
        return pid

    def await_new_endpoint_process(self, former):
        """The process that has taken the place of a former one, and its socket that one's."""
        return wait_until(lambda: self.socket_path.exists()
                          and next((pid for pid in self.endpoint_processes() if pid != former), None),
                          "a new process at the endpoint")

    def pids(self):
        return [self.process.pid, self.spawner(), *super().workers()]


class OemTest(ServiceTest):
    def check_error(self, answer, reason, *hints):
        """The answer is an error of this reason, and its message has all the hints."""
        self.assertEqual(list(answer), ["error"])
        error = answer["error"]
        self.assertEqual((error.get("reason"), error.get("code")), (reason, CODES[reason]), error)
        self.assertEqual(sorted(error), ["code", "message", "reason"])
        for hint in hints:
            self.assertIn(hint, error["message"])
        self.assertGreater(len(error["message"].split()), 3)
