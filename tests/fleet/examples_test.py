#!/usr/bin/env python3
"""The manifests and the unit of examples/fleet start shards that play one fleet, and merge their reports.

There is no cluster here: this does with the files what Kubernetes and systemd do with them.

usage: examples_test.py ZULFLEET ZULSERVER
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import time

import yaml

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples/fleet"
SHARDS = 4
DEVICES = 40
OF_EVERY_DEBIAN = ("libc.", "libm.", "ld-", "libgcc_s.", "libstdc++.", "libasan.", "libubsan.", "libtsan.")
# Less than the examples have, so that it takes a second.
SMALL = {"--count": str(DEVICES), "--duration": "1", "--connect-rate": "1000"}


class Fleet:
    """Runs shards in a folder, against a server."""

    def __init__(self, program, folder, server):
        self.program = program
        self.folder = folder
        self.server = server

    def words(self, words):
        """The words of an example with what is different here."""
        words = [self.program if word.endswith("zulfleet") else self.placed(word) for word in words]
        for option, value in SMALL.items():
            if option in words:
                words[words.index(option) + 1] = value
        return words

    def placed(self, text):
        return re.sub("/reports|/var/lib/zulfleet", str(self.folder), text.replace("monitor:50000", self.server))

    def run(self, words, environment):
        """Runs shards at the same time: words and environment of each."""
        clean = {name: value for name, value in os.environ.items() if not name.startswith(("SLURM_", "ZUL_"))}
        shards = [
            subprocess.Popen(self.words(each), env=clean | environment(index), stdout=subprocess.DEVNULL)
            for index, each in enumerate(words)
        ]
        assert [shard.wait(60) for shard in shards] == [0] * len(words)

    def check(self, name, run):
        report = json.loads((self.folder / name).read_text())
        assert report["shard"] is None and report["run"] == run, report
        assert report["devices"]["asked"] == report["devices"]["in"] == DEVICES, report


def container(name):
    document = yaml.safe_load((EXAMPLES / name).read_text())
    (found,) = document["spec"]["template"]["spec"]["containers"]
    return document["spec"], found


def pods_play_a_fleet(fleet):
    job, pod = container("job.yaml")
    environment = {each["name"]: each.get("value") for each in pod["env"]}
    assert job["completionMode"] == "Indexed"
    assert job["completions"] == job["parallelism"] == int(environment["ZUL_SHARDS"]) == SHARDS
    environment["ZUL_RUN_ID"] = "fleet-x2f7q"  # from the name of the Job
    assert pod["env"][-1]["valueFrom"]["fieldRef"]["fieldPath"] == "metadata.labels['batch.kubernetes.io/job-name']"

    def expanded(index):
        variables = environment | {"JOB_COMPLETION_INDEX": str(index)}
        words = ["zulfleet"]
        for argument in pod["args"]:
            words.append(re.sub(r"\$\((\w+)\)", lambda found: variables[found[1]], argument))
        return words

    fleet.run(
        [expanded(index) for index in range(SHARDS)],
        lambda index: environment | {"JOB_COMPLETION_INDEX": str(index)},
    )
    _, merge = container("merge.yaml")
    path = f"{pathlib.Path(fleet.program).parent}:{os.environ['PATH']}"
    subprocess.run(
        [fleet.placed(word) for word in merge["command"]], env={"PATH": path}, stdout=subprocess.DEVNULL, check=True
    )
    fleet.check("fleet.json", "fleet-x2f7q")


def units_play_a_fleet(fleet):
    text = (EXAMPLES / "zulfleet@.service").read_text()
    settings = dict(re.findall(r"^#   ([A-Z]+)=(.*)$", text, re.MULTILINE))
    (line,) = re.findall("^ExecStart=(.*)$", text, re.MULTILINE)
    assert int(settings["SHARDS"]) == SHARDS

    def expanded(index):
        shown = line.replace("%i", str(index)).replace("%S", "/var/lib").replace("${SHARDS}", settings["SHARDS"])
        return shlex.split(shown.replace("$OPTIONS", settings["OPTIONS"]))

    fleet.run([expanded(index) for index in range(SHARDS)], lambda index: {})
    (merge,) = re.findall("^#   (zulfleet --merge .*)$", text, re.MULTILINE)
    merge = fleet.placed(merge).replace("zulfleet", fleet.program, 1)
    subprocess.run(f"{merge} --report {fleet.folder}/all", shell=True, stdout=subprocess.DEVNULL, check=True)
    fleet.check("all", "night")


def image_has_the_libraries(fleet):
    """The image installs the packages of the libraries that the program is linked with."""
    needed = subprocess.run(["readelf", "-d", fleet.program], capture_output=True, text=True, check=True).stdout
    found = subprocess.run(["ldd", fleet.program], capture_output=True, text=True, check=True).stdout
    packages = set()
    for name in re.findall(r"NEEDED.*\[(.*)\]", needed):
        if name.startswith(OF_EVERY_DEBIAN):
            continue
        for file in re.findall(rf"{re.escape(name)} => (\S+)", found):
            owner = subprocess.run(["dpkg", "-S", os.path.realpath(file)], capture_output=True, text=True, check=True)
            packages.add(owner.stdout.partition(":")[0])
    (installed,) = re.findall("install -y --no-install-recommends (.*?) *[\\\\]", (EXAMPLES / "Containerfile").read_text())
    assert packages == set(installed.split()), packages


def wait_for(path):
    end = time.monotonic() + 60
    while not path.exists() or not path.read_text():
        assert time.monotonic() < end, "the server does not listen"
        time.sleep(0.02)
    return path.read_text().strip()


def main():
    program, server = sys.argv[1:]
    for check in (pods_play_a_fleet, units_play_a_fleet, image_has_the_libraries):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            port = folder / "port"
            listening = subprocess.Popen(
                [server, "--port", "0", "--port-file", port], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL
            )
            try:
                check(Fleet(program, folder, f"127.0.0.1:{wait_for(port)}"))
            finally:
                listening.terminate()
                listening.wait()


if __name__ == "__main__":
    main()
