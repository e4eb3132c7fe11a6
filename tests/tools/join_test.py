#!/usr/bin/env python3
"""Joins albums, saves tracks as sound files, and asks other programs about both: join_test.py ZSIMAGE."""
import json
import os
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

ZSIMAGE = os.path.abspath(sys.argv[1])
SECTOR = 2352
SMALL_FILES = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))}
TOOLS = all(map(shutil.which, ["sox", "flac", "metaflac", "cueprint", "cuebreakpoints", "cd-info"]))


def run(*words, timeout=60, **options):
    return subprocess.run([ZSIMAGE, *words], capture_output=True, text=True, timeout=timeout, **options)


def output_of(*words):
    return subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=True, timeout=60).stdout


def noise(sectors, seed=1, size=SECTOR):
    """Returns bytes that are not silence and differ from sector to sector."""
    return b"".join((seed * 7919 + i * 104729 | 1).to_bytes(8, "little") * (size // 8) for i in range(sectors))


def wave(data, rate=44100, bits=16, channels=2):
    size = channels * bits // 8
    form = struct.pack("<4sIHHIIHH4sI3000s4sI", b"fmt ", 16, 1, channels, rate, rate * size, size, bits,
                       b"LIST", 2999, b"INFO", b"data", len(data))  # Chunks have an even number of bytes.
    return struct.pack("<4sI4s", b"RIFF", 4 + len(form) + len(data), b"WAVE") + form + data


def track(number, kind="AUDIO", *lines):
    return f"TRACK {number:02} {kind}\n" + "".join(line + "\n" for line in lines or ["INDEX 01 00:00:00"])


def file(name, kind="BINARY"):
    return f'FILE "{name}" {kind}\n'


def edc(data):
    """Divides by (x^16 + x^15 + x^2 + 1)(x^16 + x^2 + x + 1), a bit at a time."""
    rest = 0
    for byte in data:
        rest ^= byte
        for _ in range(8):
            rest = rest >> 1 ^ (0xD8018001 if rest & 1 else 0)
    return rest.to_bytes(4, "little")


def is_code_word(word):
    """Evaluates a polynomial over GF(2^8) at 1 and at a, which are the roots of the generator (ECMA-130, annex A)."""
    at_1 = at_a = 0
    for byte in word:
        at_1 ^= byte
        at_a = at_a << 1 ^ (0x11D if at_a & 0x80 else 0) ^ byte
    return at_1 == at_a == 0


def has_good_codes(sector):
    words = sector[12:]
    vectors = [[2 * (43 * row + column) + plane for row in range(26)] for column in range(43) for plane in (0, 1)]
    vectors += [[2 * ((44 * i + 43 * row) % 1118) + plane for i in range(43)] +
                [2 * (1118 + row) + plane, 2 * (1144 + row) + plane] for row in range(26) for plane in (0, 1)]
    return edc(sector[:2064]) == sector[2064:2068] and all(is_code_word([words[i] for i in v]) for v in vectors)


class Case(unittest.TestCase):
    def setUp(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder)
        os.environ["IMAGEFILE_REGISTRY"] = folder + "/registry.reg"

    def write(self, sheet, **files):
        Path("in.cue").write_text(sheet) if isinstance(sheet, str) else Path("in.cue").write_bytes(sheet)
        for name, data in files.items():
            Path(name.replace("_", ".")).write_bytes(data)

    def join(self, *options):
        """Returns the report of --json and the bytes of the new data file."""
        result = run("join", "in.cue", "out.cue", "--json", *options)
        self.assertEqual(result.returncode, 0, result.stderr)
        return json.loads(result.stdout), Path("OUT.BIN").read_bytes()

    def expect_refusal(self, *words, options=(), command=("join", "in.cue", "out.cue"), **process):
        before = sorted(os.listdir())
        result = run(*command, *options, timeout=20, **process)
        self.assertEqual(result.returncode, 1, result.stderr)
        for word in words:
            self.assertIn(word, result.stderr)
        self.assertEqual(sorted(os.listdir()), before)


class Join(Case):
    def test_positions_and_bytes(self):
        a, b, c, silence = noise(300, 1), noise(400, 2), noise(500, 3), bytes(30 * SECTOR)
        swapped = bytes(x for pair in zip(b[1::2], b[::2]) for x in pair)
        for name, sheet, data, tracks in [  # Of each track the start and the pregap.
            ("a file for each track", file("A.bin") + track(1) + file("b.bin") + track(2), a + b, [(0, 0), (300, 0)]),
            ("one file, named twice", file("a.bin") + track(1) + file("./A.bin") +
             track(2, "AUDIO", "INDEX 00 00:01:00", "INDEX 01 00:02:00"), a, [(0, 0), (150, 75)]),
            ("a pregap in the file before", file("a.bin") + track(1) + track(2, "AUDIO", "INDEX 00 00:03:00") +
             file("b.bin") + "INDEX 01 00:00:00\n" + file("c.bin") + track(3), a + b + c,
             [(0, 0), (300, 75), (700, 0)]),
            ("silence", file("a.bin") + track(1, "AUDIO", "INDEX 01 00:00:00", "POSTGAP 00:00:10") + file("b.bin") +
             track(2, "AUDIO", "PREGAP 00:00:20", "INDEX 01 00:00:00"), a + silence + b, [(0, 0), (330, 20)]),
            ("bytes in the other order", file("b.mot", "MOTOROLA") + track(1) + file("c.wav", "WAVE") + track(2), b + c,
             [(0, 0), (400, 0)]),
            ("a hidden track", file("a.bin") + track(1, "AUDIO", "INDEX 01 00:01:00"), a, [(75, 0)]),
            ("a path of another machine, without quotes", "FILE D:\\Music\\C.WAV WAVE\n" + track(1), c, [(0, 0)]),
        ]:
            with self.subTest(name):
                self.write(sheet, a_bin=a, b_bin=b, c_bin=c, b_mot=swapped, c_wav=wave(c))
                report, found = self.join("--force")
                self.assertTrue(found == data)
                self.assertEqual([(track["start"], track["pregap"]) for track in report["tracks"]], tracks)

    def test_widened_sectors(self):
        user = noise(20, 1, 2048)
        form = b"".join(b"\1\2\x08\3" * 2 + noise(1, i, 2328) for i in range(5))
        self.write(file("d.iso") + track(1, "MODE1/2048", "INDEX 01 00:00:00", "POSTGAP 00:00:02") + file("x.bin") +
                   track(2, "MODE2/2336") + file("a.bin") + track(3), d_iso=user + b"end", x_bin=form, a_bin=noise(3))
        report, data = self.join("--pad")
        self.assertIn("widened", " ".join(report["notes"]))
        sectors = [data[i:i + SECTOR] for i in range(0, len(data), SECTOR)]
        for i, sector in enumerate(sectors[:23]):
            self.assertEqual(sector[:16], bytes([0] + 10 * [255] + [0, 0, 2, i // 10 * 16 + i % 10, 1]))
            self.assertTrue(has_good_codes(sector), i)
        self.assertEqual(b"".join(sector[16:2064] for sector in sectors[:23]), user + b"end" + bytes(3 * 2048 - 3))
        self.assertEqual([sector[15:] for sector in sectors[23:28]], [b"\2" + form[i * 2336:][:2336] for i in range(5)])
        self.write(file("d.iso") + track(1, "MODE1/2048"), d_iso=user)
        self.assertEqual(self.join("--force")[1], user)  # Sectors are not widened if all have one size.

    def test_texts(self):
        title, performer = 'Bonus Track 12" Mix', "Björk \\ Ørsted"
        for coding in ["utf-8", "cp1252"]:
            self.write(("\ufeff" * (coding == "utf-8") + f'CATALOG 0123456789012\nTITLE "{title}"\n' + file("a.bin") +
                        track(1, "AUDIO", f'PERFORMER "{performer}"', "ISRC US-RC1-76-07839", "FLAGS DCP PRE",
                              "index 01 00:00:00") + track(2, "AUDIO", 'TITLE "Two"', "INDEX 01 00:00:04")
                        ).replace("\n", "\r\n").encode(coding), a_bin=noise(9))
            self.join("--force")
            sheet = json.loads(run("info", "--json", "out.cue").stdout)["pZSCueSheet"][0]
            disc, (first, second) = sheet["ZSCDTEXT"], sheet["pZSTracks"]
            self.assertEqual((disc["bstrTitle"], disc["bstrMCN"], second["bstrTitle"]), (title, "0123456789012", "Two"))
            self.assertEqual((first["bstrPerformer"], first["bstrISRC"]), (performer, "USRC17607839"))
        self.assertIn("FLAGS DCP PRE", Path("out.cue").read_text())

    def test_ends_inside_a_sector(self):
        sheet = file("a.bin") + track(1) + file("b.bin") + track(2)
        self.write(sheet, a_bin=noise(2) + b"rest", b_bin=noise(2) + b"rest")
        self.expect_refusal("a.bin", "track 1", "track 2", "4 of 2352 bytes", "--pad")
        self.assertEqual(self.join("--pad")[1], 2 * (noise(2) + b"rest" + bytes(SECTOR - 4)))
        self.write(sheet, a_bin=noise(2))
        self.assertEqual(len(self.join("--force")[1]), 5 * SECTOR)

    def test_refusals(self):
        Path("folder").mkdir()
        os.mkfifo("fifo")
        one = noise(1)
        for sheet, words, files in [
            (file("no.bin") + track(1), ["no.bin", "no such file", "line 1"], {}),
            (file("folder") + track(1), ["folder", "this is no file"], {}),
            (file("fifo", "WAVE") + track(1), ["fifo", "this is no file"], {}),
            (file("a.bin") + track(1), ["track 1 has no sectors"], {"a_bin": b""}),
            (file("a.wav", "WAVE") + track(1), ["48 kHz, 24 bits, mono"], {"a_wav": wave(one[:2400], 48000, 24, 1)}),
            (file("a.wav", "WAVE") + track(1), ["a.wav", "cut off"], {"a_wav": wave(one)[:-4]}),
            (file("a.wav", "WAVE") + track(1), ["a.wav", "9408 bytes", "2352 follow"],
             {"a_wav": wave(one).replace(struct.pack("<I", 2352), struct.pack("<I", 9408), 1)}),
            (file("a.mp3", "MP3") + track(1), ["a.mp3", "WAVE, AIFF or FLAC"], {"a_mp3": one}),
            (file("a.wav", "WAVE") + track(1, "MODE1/2352"), ["a.wav", "track 1 as data"], {"a_wav": wave(one)}),
            (file("a.bin") + track(1, "AUDIO", "INDEX 01 00:09:00"), ["index 1 of track 1"], {"a_bin": one}),
            (file("a.bin") + track(1, "MODE2/2324"), ["line 2", "MODE2/2324"], {}),
            (file("a.bin") + track(1, "MODE2/2048") + file("b.bin") + track(2), ["track 1", "sub-headers"],
             {"a_bin": noise(1, 1, 2048), "b_bin": one}),
            (file("a.bin") + track(1, "MODE2/2336") + file("b.bin") + track(2), ["track 1", "sub-headers"],
             {"a_bin": b"abcdefgh" * 292, "b_bin": one}),
            (file("a.bin") + track(1, "AUDIO", "PREGAP 9999:59:74", "INDEX 01 00:00:00"), ["89:59:74"], {"a_bin": one}),
            (file("a.bin") + track(1, "AUDIO", "INDEX 01 99999999999999999999:00:00"), ["line 3"], {"a_bin": one}),
            (file("a.bin") + track(1) + "PREGAP 00:00:01\n", ["line 4, PREGAP", "before the INDEX"], {"a_bin": one}),
            (file("a.bin") + track(1, "AUDIO", "POSTGAP 00:00:01"), ["POSTGAP", "after the INDEX"], {"a_bin": one}),
            (file("a.bin") + "".join(track(i + 1, "AUDIO", f"INDEX 01 00:00:{i:02}") for i in range(100)),
             ["99 tracks"], {"a_bin": noise(100)}),
            (file("a.bin") + track(1, "AUDIO", "TITLE X"), ["no INDEX line"], {"a_bin": one}),
            (20000 * (file("a.bin") + file("b.bin")), ["line 1, FILE: no INDEX line"], {}),
            (90000 * file("a.bin"), ["too large"], {}),
            ("FILE\0", ["Windows-1252"], {}),
        ]:
            with self.subTest(words=words):
                self.write(sheet, **files)
                self.expect_refusal(*words)

    def test_inputs_are_kept(self):
        self.write(file("in.bin") + track(1), in_bin=noise(2))
        self.expect_refusal("belongs to the album", command=("join", "in.cue", "in.cue", "--force"))
        for make_link in [os.link, os.symlink]:
            make_link("in.bin", "OUT.BIN")
            self.expect_refusal("belongs to the album", options=["--force"])
            os.unlink("OUT.BIN")
        self.assertEqual(Path("in.bin").read_bytes(), noise(2))

    def test_nothing_is_left(self):
        self.write(file("in.bin") + track(1), in_bin=noise(2000))
        before = sorted(os.listdir())
        self.expect_refusal("OUT.BIN", **SMALL_FILES)
        os.truncate("in.bin", 440000 * SECTOR)  # Sparse, and too long to copy before the signal.
        process = subprocess.Popen([ZSIMAGE, "join", "in.cue", "out.cue"], stderr=subprocess.DEVNULL)
        while process.poll() is None and not any(name.startswith(".zsimage") for name in os.listdir()):
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        self.assertEqual((process.wait(60), sorted(os.listdir())), (130, before))

    @unittest.skipUnless(TOOLS, "sox, flac, cuetools or libcdio-utils is missing")
    def test_other_programs_agree(self):
        names = ["t0.wav", "t1.aiff", "t2.flac"]
        for i, name in enumerate(names):
            output_of("sox", "-n", "-r", "44100", "-b", "16", "-c", "2", name, "synth", str(4 + i), "sine", "440")
        self.write("".join(file(name.upper(), "WAVE") + track(i + 1) for i, name in enumerate(names)))
        self.assertTrue(self.join()[1] == output_of("sox", *names, "-t", "raw", "-L", "-"))
        self.write(file("cut.flac") + track(1), cut_flac=Path("t2.flac").read_bytes()[:-3000])
        self.expect_refusal("cut.flac", "damaged", options=["--force"])
        self.assertEqual(output_of("cueprint", "-d", "%N", "out.cue"), b"3")
        self.assertEqual(output_of("cuebreakpoints", "out.cue").split(), [b"0:04.00", b"0:09.00"])
        Path("out.bin").symlink_to("OUT.BIN")  # libcdio looks for this name.
        shown = subprocess.run(["cd-info", "--no-cddb", "--cue-file", "out.cue"], stdout=subprocess.PIPE).stdout
        for line in [b"1: 00:02:00  000000", b"2: 00:06:00  000300", b"3: 00:11:00  000675", b"170: 00:17:00  001125"]:
            self.assertIn(line, shown)


class Extract(Case):
    def test_sound_and_iso(self):
        data, user = noise(400), noise(20, 2, 2048)
        self.write('TITLE "Album"\nPERFORMER "Band"\n' + file("d.iso") + track(1, "MODE1/2048") + file("a.bin") +
                   track(2, "AUDIO", 'TITLE "A/B: C?"', "INDEX 01 00:00:00"), d_iso=user, a_bin=data)
        self.join()
        for kind in ["wav", "aiff", "flac"]:
            result = run("extract", "out.cue", "--all", "tracks", "--format", kind)
            self.assertEqual(result.returncode, 1)
            self.assertIn("track 1 is data", result.stderr)
            name = f"tracks/02 A_B_ C_.{kind}"
            self.assertTrue(Path(name).exists())
            if TOOLS:
                self.assertTrue(output_of("sox", name, "-t", "raw", "-L", "-") == data)
                self.assertEqual(output_of("soxi", "-s", name).strip(), b"235200")
        if TOOLS:
            output_of("flac", "-st", name)
            tags = output_of("metaflac", "--export-tags-to=-", name).decode().lower().split("\n")
            self.assertEqual(sorted(tags), ["", "album=album", "artist=band", "title=a/b: c?", "tracknumber=02"])
        run("extract", "out.cue", "--track", "1", "-o", "files.iso")
        self.assertEqual(Path("files.iso").read_bytes(), user)
        run("extract", "out.cue", "--track", "2", "-o", "swapped.bin", "--swap")
        self.assertEqual(Path("swapped.bin").read_bytes()[:4], bytes([data[1], data[0], data[3], data[2]]))
        for words, command in [("track 2 is audio", ["--track", "2", "-o", "x.iso"]),
                               ("track 1 is data", ["--track", "1", "-o", "x.flac"]),
                               ("name of a file", ["--track", "2", "-o", "-", "--format", "wav"])]:
            self.expect_refusal(words, command=("extract", "out.cue", *command))
        command = ("extract", "out.cue", "--track", "2", "-o", "x.wav")
        self.expect_refusal("cannot be written", command=command, **SMALL_FILES)


class WaysIn(Case):
    def test_join_is_named(self):
        join = "'zsimage join \"in.cue\" OUT.cue'"
        self.write(file("a.bin") + track(1) + file("b.bin") + track(2), a_bin=noise(9), b_bin=noise(9))
        for command in ["info", "check"]:
            self.assertIn(join, run(command, "in.cue").stdout)
        Path("a.bin").unlink()
        self.assertIn(join, run("info", "in.cue").stderr)
        self.write(file("a.wav", "WAVE") + track(1), a_wav=wave(noise(9)))
        self.assertIn(join, run("info", "in.cue").stderr)
        self.write(file("a.bin") + track(1), a_bin=noise(9))
        self.assertNotIn("join", run("check", "in.cue").stdout)

    def test_lost_texts_are_reported(self):
        texts = ['TITLE "Bonus Track"', 'PERFORMER "Index"', 'TITLE "The Performer"']
        self.write(file("a.bin") + track(1, "AUDIO", *texts, "INDEX 01 00:00:00"), a_bin=noise(400))
        found = run("check", "in.cue").stdout
        self.assertIn("line 3: the text of this TITLE line contains TRACK", found)
        self.assertIn("line 4: the text of this PERFORMER line contains INDEX", found)
        self.assertNotIn("line 5", found)  # The component looks for TITLE before PERFORMER.
        self.assertIn("2 lines", run("info", "in.cue").stdout)

    def test_tables_fit_terminals(self):
        self.write('TITLE "Album"\n' + file("a.bin") + track(1, "AUDIO", f'TITLE "{"é" * 100}"', "INDEX 01 00:00:00"),
                   a_bin=noise(400))
        self.assertIn("É" * 100, run("info", "in.cue").stdout)
        shown = output_of("script", "-qec", f"TERM=xterm NO_COLOR=1 {ZSIMAGE} info in.cue", "/dev/null").decode()
        self.assertRegex(shown, r"(?m)^ .{,78}\u2026\r$")


unittest.main(argv=sys.argv[:1])
