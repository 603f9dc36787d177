"""An address for whoever gives a port back and wants it again: nobody else is given it meanwhile."""

import os


def own_address():
    """A loopback address (127.0.0.0/8) that no other process takes while this one lives; it is made of its id."""
    pid = os.getpid()
    return f"127.{64 + (pid >> 16)}.{pid >> 8 & 255}.{pid & 255}"
