#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The bundle in a workstation: Ardour scans it, plays through it, automates, stores and restores it.

A session without a window, driven by ardour.lua, has one track with a sound. First without the plug-in: the export must
be the sound itself, and what Ardour says meanwhile is what it says anyway. Then with the plug-in, set and automated:
exported, saved, opened by another process and exported again. Both exports must be the same to the last bit, and what
`morvahost render` makes of the same sound with the same settings, up to the resolution of single-precision samples.
Bypassed, the export is the sound again. The comparison itself is put to the test with a changed setting and with
changes that come one sample late.

All of it happens in a folder of its own, which also is the user's home meanwhile, and which goes in the end.

usage: ardour.py --bundle MorvaEQ.vst3 --morvahost PROGRAM [--keep]
"""

import argparse
import array
import dataclasses
import glob
import json
import math
import os
import pathlib
import random
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import zlib

RATE = 48000
LEAD = RATE                             # silence that the sound begins with: the host runs for a while before it
                                        # starts, and dynamic bands remember what they heard then
FRAMES = LEAD + 4 * RATE + 123          # no multiple of any block
TOLERANCE = 1e-6                        # of full scale
NAME = "song"
PRESET = "5f0c7f0e-57b5-4d6c-9d3c-64e3bb0e1a01"     # of ours, put among the user's export presets
FLOAT_WAVE = "20b4ab09-6452-4cb3-bd66-b921cdbd2942"  # a format of Ardour's own
SUPERCLOCK = 282240000 // RATE          # Ardour's units of time a sample
CALL_SECONDS = 60                       # the longest that one program may take


class Failure(Exception):
    pass


def require(condition, text):
    if not condition:
        raise Failure(text)


# What the host is told, in its own numbers (0 to 1), beside what a user would type for it. Quarters, eighths and so on
# are the same number in single and in double precision, so that Ardour, which stores single precision, changes nothing;
# a mode is rounded to the nearest anyway.
def mode(number, text):
    return number / 20, text            # of 0 to 20


def frequency(x):
    return x, f"{20 * 4800 ** x:.9f}"   # 20 Hz to 96 kHz, in octaves


def gain(x, most=30):
    return x, f"{most * (2 * x - 1):.9f}"


def width(x):
    return x, f"{0.01 + 6.99 * x * x:.9f}"


def dynamics(x):
    return x, f"{250 * x:.9f}"


SETTINGS = {
    "1OGain": gain(0.625, 12),
    "1Mode1": mode(5, "Lo-shelf"), "1Freq1": frequency(0.25), "1BW1": width(0.5), "1Gain1": gain(0.75),
    "1Dyn1": dynamics(0.625),
    "1Mode2": mode(1, "Peaking"), "1Freq2": frequency(0.375), "1BW2": width(0.25), "1Gain2": gain(0.375),
    "1Mode3": mode(4, "Peaking Plain"), "1Freq3": frequency(0.5), "1Gain3": gain(0.375),
    "1Mode5": mode(9, "Lo-pass 24"), "1Freq5": frequency(0.75),
}

# (sample, value): Ardour keeps the times of these lanes in 1920ths of a beat, 12.5 samples here, so that only multiples
# of 25 are exact. None lies on the border of a block; two are closer together than any fade takes.
AUTOMATION = {
    "1Gain2": [(0, gain(0.375)), (78025, gain(0.8125)), (108000, gain(0.25)), (108025, gain(0.6875)),
               (198075, gain(0.375))],
    "1Freq3": [(0, frequency(0.5)), (93675, frequency(0.625)), (148025, frequency(0.4375))],
    "1Mode4": [(0, mode(0, "Off")), (123025, mode(11, "Notch")), (168350, mode(6, "Hi-shelf"))],
    "1Gain4": [(0, gain(0.625)), (178075, gain(0.5625))],
}


@dataclasses.dataclass
class Case:
    name: str
    settings: dict                      # beside SETTINGS
    shared: dict                        # settings of all instances
    latency: int                        # samples that the plug-in is to report


# Without the noise against denormals, which no two runs have in common.
CASES = [
    Case("plain", {}, {"denorm-enable": 0}, 0),
    # Twice the rate by filters that look ahead: the host has to make up for what the plug-in reports.
    Case("late", {"Oversmp": (0.5, "2x")}, {"denorm-enable": 0, "lp-oversampling-enable": 1}, 502),
]


def make_sound():
    """Interleaved stereo: behind the silence noise that swells and a tone, different on both sides, loud at once."""
    dice = random.Random(20261123)
    samples = array.array("f", [0.0] * (2 * LEAD))
    for n in range(FRAMES - LEAD):
        swell = 0.15 * (1 + math.cos(2 * math.pi * 1.5 * n / RATE))
        samples.append(swell * (dice.random() - 0.5))
        samples.append(0.2 * math.sin(2 * math.pi * 1000 * n / RATE) + 0.3 * swell * (dice.random() - 0.5))
    return samples


def write_wave(path, samples):
    data = samples.tobytes()
    form = struct.pack("<HHIIHH", 3, 2, RATE, RATE * 8, 8, 32)
    path.write_bytes(b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " + struct.pack("<I", len(form)) + form +
                     b"data" + struct.pack("<I", len(data)) + data)


def read_wave(path):
    """The samples of a stereo wave file of single-precision numbers at our rate, as long as our sound."""
    require(path.is_file(), f"no file '{path.name}' came out")
    content = path.read_bytes()
    require(content[:4] == b"RIFF" and content[8:12] == b"WAVE", f"'{path.name}' is no wave file")
    samples, at = None, 12
    while at + 8 <= len(content):
        kind, size = content[at:at + 4], struct.unpack_from("<I", content, at + 4)[0]
        if kind == b"fmt ":
            code, channels, rate, _, _, bits = struct.unpack_from("<HHIIHH", content, at + 8)
            if code == 0xFFFE:          # says in its extension what it is
                code = struct.unpack_from("<H", content, at + 32)[0]
            require((code, channels, rate, bits) == (3, 2, RATE, 32),
                    f"'{path.name}' has format {code}, {channels} channels, {rate} Hz, {bits} bits")
        elif kind == b"data":
            samples = array.array("f", content[at + 8:at + 8 + size])
        at += 8 + size + size % 2
    require(samples is not None and len(samples) == 2 * FRAMES, f"'{path.name}' has not the length of the sound")
    return samples


def difference(a, b):
    """The largest difference of two sounds, and the frame where it is; a sample that is no number is infinitely off."""
    largest, where = 0.0, 0
    for i, (x, y) in enumerate(zip(a, b)):
        apart = abs(x - y)
        if not apart <= largest:
            largest, where = (apart, i // 2) if apart == apart else (math.inf, i // 2)
    return largest, where


def require_same(a, b, tolerance, what):
    apart, frame = difference(a, b)
    require(apart <= tolerance, f"{what}: {apart:.3g} apart at sample {frame}")
    return apart


def require_apart(a, b, least, what):
    apart, _ = difference(a, b)
    require(apart >= least, f"{what}: only {apart:.3g} apart")
    return apart


def lua(value):
    """A value in Lua's own notation."""
    if isinstance(value, dict):
        return "{" + ", ".join(f"[{json.dumps(key)}] = {lua(item)}" for key, item in value.items()) + "}"
    if isinstance(value, (list, tuple)):
        return "{" + ", ".join(lua(item) for item in value) + "}"
    return json.dumps(str(value) if isinstance(value, os.PathLike) else value, ensure_ascii=False)


class Programs:
    """Runs programs with a home of their own."""

    def __init__(self, home):
        self.home = home
        self.environment = {key: value for key, value in os.environ.items()
                            if not key.startswith(("XDG_", "ARDOUR", "VST", "LV2", "LADSPA")) and key != "DISPLAY"}
        for key, folder in (("HOME", ""), ("XDG_CONFIG_HOME", "config"), ("XDG_CACHE_HOME", "cache"),
                            ("XDG_RUNTIME_DIR", "run"), ("XDG_DATA_HOME", "data"), ("TMPDIR", "tmp")):
            path = home / folder
            path.mkdir(parents=True, exist_ok=True, mode=0o700)
            self.environment[key] = str(path)

    def run(self, what, command):
        """What the program said, both streams as one; fails when it fails or takes too long."""
        process = subprocess.Popen([str(word) for word in command], env=self.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   encoding="utf-8", errors="replace", start_new_session=True)
        try:
            said, _ = process.communicate(timeout=CALL_SECONDS)
        except BaseException as reason:
            os.killpg(process.pid, signal.SIGKILL)
            said, _ = process.communicate()
            if not isinstance(reason, subprocess.TimeoutExpired):
                raise
            raise Failure(f"{what}: not done after {CALL_SECONDS} s\n{said}") from None
        require(process.returncode == 0, f"{what}: exit code {process.returncode}\n{said}")
        return said


class Ardour:
    def __init__(self, programs, scratch):
        self.programs = programs
        self.scratch = scratch
        scanners = sorted(glob.glob("/usr/lib/ardour[0-9]*/ardour-vst3-scanner"))
        require(scanners, "Ardour is not installed; `Tools/install-deps hosts` does it")
        self.library = pathlib.Path(scanners[-1]).parent
        version = self.library.name
        # All of Ardour's data but the names of synthesizers' sounds, which a thread of its own reads for seconds and
        # has its word about when it is interrupted.
        data = scratch / "ardour"
        data.mkdir()
        for item in pathlib.Path("/usr/share", version).iterdir():
            if item.name != "patchfiles":
                (data / item.name).symlink_to(item)
        programs.environment.update(LD_LIBRARY_PATH=str(self.library), ARDOUR_DLL_PATH=str(self.library),
                                    ARDOUR_DATA_PATH=str(data), ARDOUR_CONFIG_PATH=f"/etc/{version}")
        self.said_anyway = set()
        presets = programs.home / "config" / version / "export"
        presets.mkdir(parents=True)
        (presets / "float.preset").write_text(
            f'<ExportPreset id="{PRESET}" name="float"><ExportFormat id="{FLOAT_WAVE}"/><ExportFilename>'
            '<Folder relative="1" path="export"/><Field name="timespan" enabled="1"/>'
            '</ExportFilename></ExportPreset>')

    def scan(self, bundle):
        """Copies the bundle to where hosts look and has it scanned; returns the id of its class."""
        place = self.programs.home / ".vst3" / bundle.name
        shutil.copytree(bundle, place)
        for file in place.rglob("*.so"):
            os.utime(file, (0, 0))      # what is not older than its scan counts as changed since, to the second
        said = self.programs.run("the scan", [self.library / "ardour-vst3-scanner", "-f", "-v", place])
        info = json.loads((bundle / "Contents/Resources/moduleinfo.json").read_text(encoding="utf-8"))
        require(f"Found Plugin: {info['Name']}\n" in said, f"the scan finds no plug-in '{info['Name']}':\n{said}")
        found = re.findall(r'<VST3Info uid="([0-9A-F]{32})" name="([^"]*)"', said)
        told = [(one["CID"], one["Name"]) for one in info["Classes"]]
        require(found == told, f"the scan finds {found}, moduleinfo.json tells {told}")
        odd = [line for line in said.splitlines() if not re.match(r"\[Info\]: |\s*</?VST3", line)]
        require(not odd, "the scan says: " + "; ".join(odd))
        return found[0][0]

    def do(self, folder, steps, **job):
        """Has Ardour take the steps; returns their own lines as lists of words, and all others."""
        path = self.scratch / "job.lua"
        job = {"folder": folder, "name": NAME, "rate": RATE, "frames": FRAMES, "preset": PRESET,
               "exports": self.scratch, "steps": steps, **job}
        path.write_text("return " + lua(job), encoding="utf-8")
        script = pathlib.Path(__file__).with_name("ardour.lua")
        said = self.programs.run("Ardour, to " + ", ".join(steps), [self.library / "luasession", script, path])
        lines = [line.strip() for line in said.splitlines() if line.strip()]
        own = [line.split("\t")[1:] for line in lines if line.startswith("step\t")]
        require(own and own[-1] == ["done"], f"Ardour ended early:\n{said}")
        return own, {re.sub(r"0x[0-9a-f]+", "0x", line) for line in lines if not line.startswith("step\t")}

    def do_quietly(self, folder, steps, **job):
        """The same; fails when Ardour says what it does not say without the plug-in."""
        own, others = self.do(folder, steps, **job)
        complaints = sorted(others - self.said_anyway)
        require(not complaints, "Ardour says: " + "; ".join(complaints))
        return own


def add_sound(folder, samples):
    """Puts the sound on the only track of a session file, from its start, without fades, and past the panner."""
    sounds = next(folder.glob("interchange/*/audiofiles"), None)
    require(sounds is not None, "Ardour made no folder for sounds")
    write_wave(sounds / "sound.wav", samples)
    end = f"a{FRAMES * SUPERCLOCK}"
    sources = "".join(f'<Source name="sound.wav" take-id="" type="audio" flags="" id="{id}" channel="{channel}" '
                      'origin=""/>' for channel, id in enumerate((9001, 9002)))
    region = ('<Region name="sound" id="9010" type="audio" muted="0" opaque="1" locked="0" automatic="0" '
              f'whole-file="0" import="0" external="0" hidden="0" start="a0" length="{end}@a0" position="a0" '
              'sync-position="a0" channels="2" source-0="9001" source-1="9002" master-source-0="9001" '
              'master-source-1="9002" scale-amplitude="1" default-fade-in="0" default-fade-out="0" '
              'fade-in-active="0" fade-out-active="0" envelope-active="0"/>')
    location = f'<Location id="9020" name="session" start="a0" end="{end}" flags="IsSessionRange" locked="0"/>'
    path = folder / f"{NAME}.ardour"
    text = path.read_text(encoding="utf-8")
    for pattern, new, count in ((r"<Sources/>", f"<Sources>{sources}</Sources>", 1),
                                (r"<Locations/>", f"<Locations>{location}</Locations>", 1),
                                (r"(<Playlist [^>]*)/>", rf"\1>{region}</Playlist>", 1),
                                (r'<PannerShell bypassed="0"', '<PannerShell bypassed="1"', 2)):
        text, found = re.subn(pattern, new, text)
        require(found == count, f"Ardour's session file has {found} of '{pattern}'")
    path.write_text(text, encoding="utf-8")


def share(programs, settings):
    """Stores what all instances share, as the equalizer's own window would."""
    folder = programs.home / "data/Tenvaro/Audio Plug-Ins"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for name, value in settings.items():
        text = str(value).encode()
        body = struct.pack("<I", len(text)) + text
        size = struct.pack("<I", len(body))
        (folder / name).write_bytes(b"dstr" + size + struct.pack("<I", zlib.adler32(size)) + zlib.compress(body))


class Yardstick:
    """What `morvahost render` makes of the sound."""

    def __init__(self, programs, program, bundle, sound, scratch):
        self.programs = programs
        self.command = [program, "render", "--plugin", bundle, "--in", sound]
        self.scratch = scratch

    def render(self, case, automation, late=0):
        settings = {**SETTINGS, **case.settings}
        table = self.scratch / "automation.csv"
        rows = [f"{(frame + late) / RATE if frame > 0 else 0:.9f},{name},{text}"
                for name, points in automation.items() for frame, (_, text) in points]
        table.write_text("seconds,key,value\n" + "\n".join(rows) + "\n", encoding="utf-8")
        result = self.scratch / "yardstick.wav"
        command = self.command + ["--out", result, "--force", "--automate", table]
        for name, (_, text) in settings.items():
            command += ["--ext", f"{name}={text}"]
        for key, value in case.shared.items():
            command += ["--set", f"{key}={value}"]
        self.programs.run("morvahost render", command)
        return read_wave(result)


def check_case(case, ardour, yardstick, session, class_id, sound):
    folder = ardour.scratch / case.name
    shutil.copytree(session, folder)
    share(ardour.programs, case.shared)
    settings = {name: x for name, (x, _) in {**SETTINGS, **case.settings}.items()}
    job = {"class": class_id, "settings": list(settings.items()),
           "automation": [(name, [(frame, x) for frame, (x, _) in points]) for name, points in AUTOMATION.items()]}

    first, second, bypassed = (f"{case.name}-{which}" for which in ("first", "second", "bypassed"))
    ardour.do_quietly(folder, ["open", "insert", "automate", "export", "save"], names=[first], **job)
    told = ardour.do_quietly(folder, ["open", "tell", "export", "bypass", "export"], names=[second, bypassed], **job)

    values = {words[1]: float(words[2]) for words in told if words[0] == "value"}
    for name, x in settings.items():
        stored = struct.unpack("<f", struct.pack("<f", x))[0]
        if name not in AUTOMATION:      # an automated one stands where its lane left it
            require(abs(values[name] - stored) < 1e-7, f"{name} came back as {values[name]}, not as {stored}")
    for name, points in AUTOMATION.items():
        require(["points", name, str(len(points))] in told, f"the automation of {name} did not come back whole")
    latency = next(int(words[1]) for words in told if words[0] == "latency")
    require(latency == case.latency, f"Ardour knows a latency of {latency} samples, not of {case.latency}")

    wet, again, dry = (read_wave(ardour.scratch / f"{name}.wav") for name in (first, second, bypassed))
    require_same(wet, again, 0.0, "the export of the reopened session is another one")
    require_same(dry, sound, 0.0, "bypassed, the export is not the sound")
    # Ardour counts a lane's time at the output of the plug-in: its changes come to the input by the latency later.
    expected = yardstick.render(case, AUTOMATION, latency)
    error = require_same(wet, expected, TOLERANCE, "the export is not what `morvahost render` makes")
    effect = require_apart(wet, sound, 0.1, "the plug-in does nothing")

    # The comparison sees a gain that is half a decibel off, and changes that come one sample late.
    louder = dataclasses.replace(case, settings={**case.settings, "1Gain1": (0.0, "15.5")})
    require_apart(wet, yardstick.render(louder, AUTOMATION, latency), 100 * TOLERANCE, "another gain looks the same")
    require_apart(wet, yardstick.render(case, AUTOMATION, latency + 1), 3 * TOLERANCE, "late changes look the same")
    print(f"{case.name}: {error:.2g} from the yardstick, {effect:.2g} from the sound, latency {latency} samples")


def check(bundle, program, scratch):
    require(bundle.is_dir(), f"there is no bundle '{bundle}'; build MorvaEQ_vst3")
    require(program.is_file(), f"there is no program '{program}'; build morvahost")
    programs = Programs(scratch / "home")
    ardour = Ardour(programs, scratch)
    class_id = ardour.scan(bundle)

    sound = make_sound()
    session = scratch / "session"
    ardour.do(session, ["create", "save"])
    add_sound(session, sound)
    write_wave(scratch / "sound.wav", sound)
    _, ardour.said_anyway = ardour.do(session, ["open", "export", "save"], names=["control"])
    require_same(read_wave(scratch / "control.wav"), sound, 0.0, "without the plug-in, the export is not the sound")

    yardstick = Yardstick(programs, program, bundle, scratch / "sound.wav", scratch)
    for case in CASES:
        check_case(case, ardour, yardstick, session, class_id, sound)


def main():
    parser = argparse.ArgumentParser(description="The bundle in Ardour, without a window.")
    parser.add_argument("--bundle", type=pathlib.Path, required=True, help="the built MorvaEQ.vst3")
    parser.add_argument("--morvahost", type=pathlib.Path, required=True, help="the built program, for the yardstick")
    parser.add_argument("--keep", action="store_true", help="leave sessions and exports where they are, and say where")
    arguments = parser.parse_args()
    start = time.monotonic()
    scratch = pathlib.Path(tempfile.mkdtemp(prefix="morva-ardour-"))
    try:
        check(arguments.bundle.resolve(), arguments.morvahost.resolve(), scratch)
    except (Failure, OSError) as failure:
        print(f"ardour.py: {failure}", file=sys.stderr)
        return 1
    finally:
        if arguments.keep:
            print(f"kept: {scratch}")
        else:
            shutil.rmtree(scratch, ignore_errors=True)
    print(f"Ardour is content, after {time.monotonic() - start:.0f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
