"""Both ends of a line, with a program between them: what bench/compare measures proxies with."""
import contextlib
import os
import resource
import signal
import socket
import statistics
import struct
import threading
import time

SERIAL = 1001


def checksum(data):
    data += bytes(-len(data) % 4)
    total = sum(struct.unpack(f">{len(data) // 4}I", data))
    while total >> 32:
        total = (total & 0xFFFFFFFF) + (total >> 32)
    return ~total & 0xFFFFFFFF


def event(*objects):
    """A message of one segment: docs/protocol.md."""
    payload = b"".join(objects)
    head = struct.pack(">HBBBBHI", 0x5A57, 1, 0x0A, 3, 1, 0, len(payload))
    return head + struct.pack(">I", checksum(head + bytes(4) + payload)) + payload


def record(kind, *numbers):
    """An object of a type with tags of numbers."""
    tags = b"".join(struct.pack(">HHI", tag, 4, value) for tag, value in numbers)
    return struct.pack(">II", kind, len(tags)) + tags


DEVICE = event(record(0, (1, SERIAL)))
INPUT = record(2, (1, SERIAL), (2, 3), (7, 1))
SMALL = event(INPUT)
FULL = event(*[INPUT] * (2032 // len(INPUT)))


class Line:
    """A connection through a port to a listener of ours; the device has named itself."""

    def __init__(self, listener, port):
        self.device = socket.create_connection(("127.0.0.1", port))
        self.server, _ = listener.accept()
        for end in (self.device, self.server):
            end.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.device.sendall(DEVICE)
        self.take(len(DEVICE))

    def take(self, size):
        """Reads so many bytes at the server's end."""
        while size > 0:
            got = len(self.server.recv(min(size, 1 << 18)))
            if got == 0:
                raise ConnectionError("the line broke")
            size -= got

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.device.close()
        self.server.close()


def listen():
    listener = socket.create_server(("127.0.0.1", 0), backlog=4096)
    return listener, listener.getsockname()[1]


def cpu_seconds(process, work):
    """What the process takes of the processor for its whole life, in which work() is done."""
    with contextlib.ExitStack() as ended:
        ended.callback(process.kill)
        work()
        process.send_signal(signal.SIGTERM)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        ended.pop_all()
    return usage.ru_utime + usage.ru_stime


def send_many(listener, port, size, message=FULL):
    """Sends about so many bytes of messages one way."""
    block = message * (65536 // len(message))
    count = size // len(block)
    with Line(listener, port) as line:
        reader = threading.Thread(target=line.take, args=(count * len(block),))
        reader.start()
        for _ in range(count):
            line.device.sendall(block)
        reader.join()
    return count * len(block)


def round_trip_us(listener, port, times):
    """The median time of a message and its echo."""
    with Line(listener, port) as line:
        message = event(INPUT)

        def echo():
            for _ in range(times):
                line.server.sendall(line.server.recv(4096))

        echoing = threading.Thread(target=echo)
        echoing.start()
        took = []
        for _ in range(times):
            begun = time.perf_counter()
            line.device.sendall(message)
            line.device.recv(4096)
            took.append(time.perf_counter() - begun)
        echoing.join()
    return statistics.median(took) * 1e6


def delay_ms(listener, port, seconds, each=0.02):
    """The median time that a message is under way, one sent every `each` seconds."""
    count = int(seconds / each)
    message = event(INPUT)
    sent, came = [], []
    with Line(listener, port) as line:

        def read():
            for _ in range(count):
                line.take(len(message))
                came.append(time.perf_counter())

        reader = threading.Thread(target=read)
        reader.start()
        begun = time.perf_counter()
        for i in range(count):
            time.sleep(max(0.0, begun + i * each - time.perf_counter()))
            sent.append(time.perf_counter())
            line.device.sendall(message)
        reader.join()
    return statistics.median(later - earlier for earlier, later in zip(sent, came)) * 1000


def bytes_per_second(listener, port, rate, seconds):
    """How fast messages for so many seconds at the rate pass, from the first byte to the last."""
    message = event(INPUT)
    count = int(rate * seconds / len(message))
    with Line(listener, port) as line:
        writer = threading.Thread(target=line.device.sendall, args=(message * count,))
        begun = time.perf_counter()
        writer.start()
        line.take(count * len(message))
        took = time.perf_counter() - begun
        writer.join()
    return count * len(message) / took


def hold_connections(listener, port, count, when_all):
    """Opens so many lines, sends a message over each, and calls when_all(). The devices are another process, as one
    cannot have the descriptors of both ends. Returns how many messages came."""
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    go, ready = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(ready)
        devices = []
        for _ in range(count):
            devices.append(socket.create_connection(("127.0.0.1", port)))
            devices[-1].sendall(DEVICE)
        os.read(go, 1)  # until the parent closes its end
        os._exit(0)
    os.close(go)
    servers = [listener.accept()[0] for _ in range(count)]
    came = sum(server.recv(4096) == DEVICE for server in servers)
    when_all()
    os.close(ready)
    os.waitpid(child, 0)
    for server in servers:
        server.close()
    resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))
    return came
