#!/usr/bin/env python3
"""A real Prometheus scrapes the server, the fleet and the proxy, and promtool finds nothing wrong.

usage: metrics_test.py ZULSERVER ZULFLEET ZULPROXY EXAMPLES
"""

import contextlib
import json
import pathlib
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.parse
import urllib.request

DEVICES = 3


@contextlib.contextmanager
def running(*words):
    """A program with pipes, which ends with the block."""
    with subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as program:
        try:
            yield program
        finally:
            program.terminate()


def line_of(program, event):
    for text in program.stdout:
        line = json.loads(text)
        if line["event"] == event:
            return line
    sys.exit(f"no line {event}")


def get(port, path):
    with urllib.request.urlopen(f"http://127.0.0.1:{port}{path}") as answer:
        return answer.read().decode(), answer.headers


def check_metrics(port):
    """promtool has nothing to say, and each metric has its help."""
    text, headers = get(port, "/metrics")
    assert headers["Content-Type"].startswith("text/plain; version=0.0.4"), headers
    checked = subprocess.run(["promtool", "check", "metrics"], input=text, text=True, capture_output=True, check=False)
    assert checked.returncode == 0 and not checked.stderr, checked
    assert "# HELP " in text and "port=" not in text, text


def check_page(port, program):
    assert json.loads(get(port, "/version")[0])["program"] == program
    assert get(port, "/healthz")[0] == "ok\n"
    for path in ("/", "/figures.js", "/figures.css"):
        assert get(port, path)[0]


def check_devices(port):
    """The list is told in parts, each with where the next one begins."""
    serials = []
    after = ""
    while True:
        part = json.loads(get(port, f"/devices?limit=2{after}")[0])
        serials += [device["deviceSerial"] for device in part["devices"]]
        assert all(device["peer"] and device["deviceLabel"] for device in part["devices"])
        if part["next"] is None:
            break
        after = f"&after={part['next']}"
    assert serials == list(range(1, DEVICES + 1)), serials
    try:
        get(port, "/devices?limit=none")
        sys.exit("a wrong limit is taken")
    except urllib.error.HTTPError as error:
        assert error.code == 400


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def query(port, text):
    """What Prometheus answers, as values by instance."""
    try:
        answer = json.loads(get(port, "/api/v1/query?query=" + urllib.parse.quote(text))[0])
    except OSError:
        return {}
    return {result["metric"].get("job"): float(result["value"][1]) for result in answer["data"]["result"]}


def wait_for(condition, what):
    deadline = time.monotonic() + 60
    while not condition():
        if time.monotonic() > deadline:
            sys.exit(f"not within a minute: {what}")
        time.sleep(0.05)


def check_prometheus(ports, folder):
    """Prometheus, with the configuration of the examples but for addresses and pace, has the figures of all three."""
    configuration = folder / "prometheus.yml"
    configuration.write_text("global: {scrape_interval: 1s}\nscrape_configs:\n" + "".join(
        f"  - job_name: {name}\n    static_configs: [{{targets: ['127.0.0.1:{port}']}}]\n"
        for name, port in ports.items()))
    port = free_port()
    with running("prometheus", f"--config.file={configuration}", f"--storage.tsdb.path={folder}/data",
                 f"--web.listen-address=127.0.0.1:{port}", "--log.level=error"):
        wait_for(lambda: query(port, "up") == dict.fromkeys(ports, 1.0), "all three are scraped")
        wait_for(lambda: query(port, 'zul_devices_identified{job="zulserver"}') == {"zulserver": DEVICES}, "devices")
        wait_for(lambda: query(port, "sum by (job) (zul_connects_total)") == {"zulserver": DEVICES, "zulproxy": DEVICES},
                 "connects")


def check_examples(examples):
    subprocess.run(["promtool", "check", "config", examples / "prometheus.yml"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["promtool", "check", "rules", examples / "alerts.yml"], check=True, stdout=subprocess.DEVNULL)
    json.loads((examples / "dashboard.json").read_text())


def main(zulserver, zulfleet, zulproxy, examples):
    check_examples(pathlib.Path(examples))
    http = ("--http", "127.0.0.1:0")
    with running(zulserver, "--port", "0", *http, "--quiet", "message") as server:
        listening = line_of(server, "listening")["port"]
        ports = {"zulserver": line_of(server, "http")["port"]}
        with running(zulproxy, "--listen", "127.0.0.1:0", "--server", f"127.0.0.1:{listening}", *http) as proxy:
            entrance = line_of(proxy, "listening")["port"]
            ports["zulproxy"] = line_of(proxy, "http")["port"]
            with running(zulfleet, "--server", f"127.0.0.1:{entrance}", "--count", str(DEVICES), "--events", "50",
                         *http) as fleet:
                ports["zulfleet"] = line_of(fleet, "http")["port"]
                wait_for(lambda: f"zul_devices_identified {DEVICES}\n" in get(ports["zulserver"], "/metrics")[0], "devices")
                for program, port in ports.items():
                    check_metrics(port)
                    check_page(port, program)
                check_devices(ports["zulserver"])
                with tempfile.TemporaryDirectory() as folder:
                    check_prometheus(ports, pathlib.Path(folder))


if __name__ == "__main__":
    main(*sys.argv[1:])
