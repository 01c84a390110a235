#!/usr/bin/env python3
"""Measures the tool's accuracy beyond white noise and prints the README's accuracy tables.

Every cell is one `ezossl simulate` scene run through `ezossl locate --summary`: the share of
voting periods with a direction, and the mean absolute error of those periods. Scenes are seeded,
so a re-run prints the same tables.

    scripts/accuracy_tables.py [--ezossl build/tool/ezossl] [--quick]
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile

UCA = ["--array", "uca", "--distance", "6.5"]


class Bench:
    def __init__(self, binary, folder, seconds):
        self.binary, self.folder, self.seconds = binary, folder, seconds

    def run(self, *args):
        result = subprocess.run([self.binary, *args], cwd=self.folder, capture_output=True, text=True)
        if result.returncode != 0:
            sys.exit("ezossl %s failed: %s" % (" ".join(args), result.stderr.strip()))

    def cell(self, azimuth, signal="speech", array=UCA, scene=(), locate=()):
        """'with a direction % / mean error deg' of one scene."""
        self.run("simulate", "scene.wav", *array, "--signal", signal, "--azimuth", str(azimuth),
                 "--duration", str(self.seconds), *scene)
        self.run("locate", "scene.wav", *array, "--truth", "scene.truth.csv", "--summary", "summary.json",
                 "--format", "csv", *locate)
        with open(os.path.join(self.folder, "summary.json")) as handle:
            summary = json.load(handle)
        accuracy = summary["accuracy"]
        # Held periods count as periods with a direction: that is what the user sees.
        shown = accuracy["scored_periods"] / summary["periods"]
        if accuracy["scored_periods"] == 0:
            return "0 %"
        return "%d %% / %.1f°" % (round(100 * shown), accuracy["mean_abs_error_deg"])


def table(title, header, rows):
    print("\n" + title + "\n")
    print("| " + " | ".join(header) + " |")
    print("|" + "---|" * len(header))
    for row in rows:
        print("| " + " | ".join(row) + " |")
    sys.stdout.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--ezossl", default=os.path.join(os.path.dirname(__file__), "..", "build", "tool", "ezossl"))
    parser.add_argument("--quick", action="store_true", help="1 s scenes instead of 3 s, and fewer azimuths")
    options = parser.parse_args()
    binary = os.path.abspath(options.ezossl)
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(binary, folder, 1 if options.quick else 3)
        step = 90 if options.quick else 30
        room = ["--rt60", "0.4", "--snr", "20"]

        rows = []
        for azimuth in range(0, 360, step):
            rows.append([str(azimuth), bench.cell(azimuth, "white"), bench.cell(azimuth),
                         bench.cell(azimuth, locate=["--hold", "4"]),
                         bench.cell(azimuth, array=["--array", "0,0 4.6,0 4.6,4.6 0,4.6"])])
        table("Anechoic, no sensor noise, 6.5 cm circle at 16 kHz unless noted (with a direction / mean error):",
              ["azimuth", "white noise", "speech band", "speech band, `--hold 4`", "speech band, 4.6 cm square"],
              rows)

        rows = []
        for rt60 in ("0.2", "0.4", "0.6"):
            rows.append(["RT60 %s s" % rt60] +
                        [bench.cell(azimuth, scene=["--rt60", rt60, "--snr", "20"]) for azimuth in (0, 30, 60, 90)])
        rows.append(["RT60 0.4 s, `--smooth 5`"] +
                    [bench.cell(azimuth, scene=room, locate=["--smooth", "5"]) for azimuth in (0, 30, 60, 90)])
        rows.append(["RT60 0.4 s, source at 0.75 m"] +
                    [bench.cell(azimuth, scene=room + ["--source-distance", "0.75"]) for azimuth in (0, 30, 60, 90)])
        table("Speech band in a 5 x 4 x 3 m room, source at 1.5 m unless noted, SNR 20 dB, 6.5 cm circle at 16 kHz:",
              ["room", "0°", "30°", "60°", "90°"], rows)

        rows = []
        for snr in ("20", "10", "5", "0", "-5"):
            rows.append(["%s dB" % snr] +
                        [bench.cell(30, signal, scene=["--snr", snr]) for signal in ("white", "speech")])
        table("Sensor noise, anechoic, source at 30°, 6.5 cm circle at 16 kHz:",
              ["SNR", "white noise", "speech band"], rows)


if __name__ == "__main__":
    main()
