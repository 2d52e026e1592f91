"""A monitoring server for tests, as a Python object."""

from .errors import ExpectationFailed, ZulError, ZulTimeout
from .replies import Object, Reply
from .server import Server

__all__ = ["ExpectationFailed", "Object", "Reply", "Server", "ZulError", "ZulTimeout"]
