"""Overwrites the file of a data cache."""

import struct

PAGE_BYTES = 4096
# Where a database file counts its changes (its readers keep what they have read otherwise).
CHANGE_COUNTER = slice(24, 28)


def overwrite(path, content):
    """Writes a database, or what has been one, in place; as one more change than those that are there."""
    changes = struct.unpack(">I", path.read_bytes()[CHANGE_COUNTER])[0] + 1
    path.write_bytes(content[:CHANGE_COUNTER.start] + struct.pack(">I", changes) + content[CHANGE_COUNTER.stop:])
