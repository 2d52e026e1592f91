"""Devices, a monitoring server and faults between them for tests, as Python objects; see docs/python.md."""

from .bench import Bench
from .capture import Capture
from .errors import ExpectationFailed, ZulError, ZulTimeout
from .fleet import Fleet
from .proxy import Proxy
from .replies import Object, Reply
from .server import Server

__all__ = [
    "Bench",
    "Capture",
    "ExpectationFailed",
    "Fleet",
    "Object",
    "Proxy",
    "Reply",
    "Server",
    "ZulError",
    "ZulTimeout",
]
