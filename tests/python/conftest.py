"""Scenes simulated and located by the built tool, to hold the module against."""
import json
import os
import subprocess
import wave

import numpy as np
import pytest

TOOL = os.environ["EZOSSL_BINARY"]
UCA_ARGS = ["--array", "uca", "--distance", "6.5"]
UCA = dict(array="uca", distance_cm=6.5)


def simulate(path, array_args, *scene_args):
    subprocess.run([TOOL, "simulate", str(path), *array_args, *scene_args], check=True, capture_output=True)
    return str(path)


# The columns the module shares with the tool, in the tool's order; the SRP's level is its
# own, the specified method's level and accepted shares are the tool's trust columns.
SHARED_COLUMNS = {False: ("start_s", "status", "direction_deg"),
                  True: ("start_s", "status", "direction_deg", "confidence", "level_dbfs")}


def tool_rows(path, *args):
    """Every period `ezossl locate --format json` prints, the values of the shared columns."""
    out = subprocess.run([TOOL, "locate", path, *args, "--format", "json"], check=True, capture_output=True, text=True)
    rows = [json.loads(line) for line in out.stdout.splitlines()]
    return [tuple(row[name] for name in SHARED_COLUMNS["confidence" in row]) for row in rows]


def rows(records):
    """The module's records as the tool prints them: start_s to the millisecond, None for no
    direction; SRP directions to 0.1 degree, confidences to 0.01 and levels to 0.1 dB."""
    srp = "confidence" in records.dtype.names
    def direction(value):
        return None if np.isnan(value) else round(float(value), 1) if srp else int(value)
    return [(round(float(r["start_s"]), 3), str(r["status"]), direction(r["direction_deg"]))
            + ((round(float(r["confidence"]), 2), round(float(r["level_dbfs"]), 1)) if srp else ())
            for r in records]


def read_wav(path):
    with wave.open(path) as recording:
        frames = recording.readframes(recording.getnframes())
        return np.frombuffer(frames, dtype="<i2").reshape(-1, recording.getnchannels())


@pytest.fixture(scope="session")
def scene(tmp_path_factory):
    """A source at 30 then 200 degrees, 3 s with a short last period, reverberant and noisy."""
    path = tmp_path_factory.mktemp("scene") / "scene.wav"
    return simulate(path, UCA_ARGS, "--path", "0:30,1.5:200", "--duration", "3", "--snr", "20", "--rt60", "0.3")
