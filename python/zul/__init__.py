"""Devices and a monitoring server for tests, as Python objects; see docs/python.md."""

from .bench import Bench
from .errors import ExpectationFailed, ZulError, ZulTimeout
from .fleet import Fleet
from .replies import Object, Reply
from .server import Server

__all__ = ["Bench", "ExpectationFailed", "Fleet", "Object", "Reply", "Server", "ZulError", "ZulTimeout"]
