"""The Python module against the command-line tool, and its refusals."""
import logging
import os
import subprocess

import numpy as np
import pytest

import ezossl
from conftest import TOOL, UCA, UCA_ARGS, read_wav, rows, simulate, tool_rows

METHODS = ["specified", "srp"]
# Numbered from its right corner: the module renumbers it for the library as the tool does.
SQUARE_ARGS = ["--array", "5,1 0,0 1,4 4,5"]
SQUARE = dict(array=[(5, 1), (0, 0), (1, 4), (4, 5)])
ULA = dict(array="ula", distance_cm=4)
# Two microphones that differ in double precision but not in the library's floats.
FLOAT_COINCIDENT = dict(array=[(0, 0), (4, 0), (4, 4), (4, 4.0000001)])


@pytest.mark.parametrize("method", ["specified", "srp"])
@pytest.mark.parametrize("dtype", ["int16", "float32"])
def test_random_chunk_sizes_give_the_rows_of_the_whole_file(scene, dtype, method):
    samples = read_wav(scene)
    if dtype == "float32":
        samples = (samples / 32768).astype(np.float32)
    chunk_sizes = np.random.default_rng(13).integers(0, 700, size=len(samples))
    localizer, parts, at = ezossl.Localizer(**UCA, method=method), [], 0
    for size in chunk_sizes:
        parts.append(localizer.process(samples[at:at + size]))
        at += size
        if at >= len(samples):
            break
    parts.append(localizer.flush())
    whole = ezossl.locate(scene, **UCA, method=method)
    assert np.concatenate(parts).tobytes() == whole.tobytes()
    assert whole["frames"][-1] == 23  # the short last period is voted too


@pytest.mark.parametrize("method", METHODS)
@pytest.mark.parametrize("tool_args,options", [(UCA_ARGS, UCA), (SQUARE_ARGS, SQUARE)])
def test_locate_gives_the_rows_of_the_tool(tmp_path, tool_args, options, method):
    path = simulate(tmp_path / "sweep.wav", tool_args, "--sweep", "0:360", "--duration", "4", "--snr", "-3")
    settings = ["--frames-per-vote", "20", "--temperature", "30", "--threshold", "-30"]
    expected = tool_rows(path, *tool_args, *settings, "--method", method)
    got = ezossl.locate(path, frames_per_vote=20, temperature=30, threshold_db=-30, method=method, **options)
    assert rows(got) == expected
    # The specified method abstains in some of these noisy periods; SRP answers every one.
    assert {row[1] for row in expected} == ({"OK", "NO_DIRECTION"} if method == "specified" else {"OK"})


@pytest.mark.parametrize("tool_args,options,truth", [
    (UCA_ARGS, UCA, 120), (SQUARE_ARGS, SQUARE, 120), (["--array", "ula", "--distance", "4"], ULA, 60)])
def test_srp_answers_every_period_at_the_source(tmp_path, tool_args, options, truth):
    path = simulate(tmp_path / "fixed.wav", tool_args, "--azimuth", "120", "--duration", "2", "--snr", "30")
    got = ezossl.locate(path, method="srp", **options)
    assert list(got.dtype.names) == ["start_s", "frames", "status", "direction_deg", "confidence", "level_dbfs"]
    assert set(got["status"]) == {"OK"}
    # Anechoic at 30 dB SNR the companion library lands within 0.1 deg; a line folds 120 to 60.
    assert np.abs(got["direction_deg"] - truth).max() < 1
    assert got["confidence"].min() > 0.9
    # The scene's -26 dBFS source, give or take the level of 4096 samples of white noise.
    assert np.abs(got["level_dbfs"] + 26).max() < 0.5


@pytest.mark.parametrize("call,error,message", [
    (lambda: ezossl.Localizer("uca"), ValueError, "array uca needs distance_cm, the diameter of the circle"),
    (lambda: ezossl.Localizer([(0, 0), (4, 0)]), ValueError,
     'array must be "uca", "ula" or four (x, y) positions in cm, e.g. [(0, 0), (4, 0), (4, 4), (0, 4)]'),
    (lambda: ezossl.Localizer(**UCA, method="all"), ValueError, 'method must be specified, srp or both, got "all"'),
    (lambda: ezossl.Localizer(**UCA, rate=44100), ValueError, "rate must be 8000, 16000, 32000 or 48000 Hz, got 44100"),
    (lambda: ezossl.Localizer(**UCA, threshold_db=5), ValueError, "threshold_db must lie between -80 and 0 dB, got 5"),
    (lambda: ezossl.Localizer(**UCA).process(np.zeros((8, 3), np.int16)), ValueError,
     "samples must be an (n, 4) array, one column per microphone; got shape (8, 3)"),
    (lambda: ezossl.Localizer(**UCA).process(np.zeros((8, 4), np.int32)), ValueError,
     "samples must be int16, or float32/float64 in -1 ... 1; got int32"),
    (lambda: ezossl.Localizer(**UCA).delays(np.full((8, 4), np.nan)), ValueError,
     "samples must be finite; row 0 holds nan"),
    (lambda: ezossl.locate("missing.wav", **UCA), OSError, 'cannot open "missing.wav": no such file (check the path)'),
    (lambda: ezossl.Localizer(**FLOAT_COINCIDENT), ValueError,
     "array: microphones 2 and 3 at (4, 4) and (4, 4) cm are one position in the library's single precision; "
     "give each microphone its own position"),
])
def test_bad_input_raises_what_it_should(call, error, message):
    with pytest.raises(error) as raised:
        call()
    assert str(raised.value) == message


def test_library_messages_never_reach_fd_1_and_go_to_logging_when_asked(scene, tmp_path, caplog):
    samples = read_wav(scene)
    saved = os.dup(1)
    with open(tmp_path / "fd1", "wb") as fd1, caplog.at_level(logging.INFO, logger="ezossl"):
        os.dup2(fd1.fileno(), 1)
        try:
            ezossl.Localizer(**UCA).delays(samples)
            quiet = list(caplog.records)
            ezossl.Localizer(**UCA, verbose=True).process(samples)
        finally:
            os.dup2(saved, 1)
            os.close(saved)
    assert (tmp_path / "fd1").read_bytes() == b""
    assert quiet == []
    # The lines `ezossl --verbose locate` shows for the same calls, notes at INFO, without the
    # library's trailing tabs.
    shown = subprocess.run([TOOL, "--verbose", "locate", scene, *UCA_ARGS], capture_output=True, text=True).stderr
    expected = [line.rstrip() for line in shown.splitlines() if line.startswith("[ALGO_MSG_MSG]")]
    assert expected and [(r.levelname, r.getMessage()) for r in caplog.records] == [("INFO", e) for e in expected]
