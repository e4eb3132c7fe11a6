"""Compares the package with the library and the tool, whose paths are in IMAGEFILE_LIBRARY and ZSIMAGE."""

import errno
import io
import json
import os
import pickle
import resource
import shutil
import struct
import subprocess
from collections.abc import Callable, Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

import imagefile
from imagefile import _library

SAMPLES = Path(__file__).parents[3] / "samples/images"
IMAGES = ["album.cue", "bridge.cue", "cdplus.nrg", "dvd.mds", "inline.mds", "mixed.cue", "native.zsi", "plain.iso",
          "sessions.ccd", "tao.nrg", "pregap.cue", "postgap.zsi", "apart.nrg", "sizes.mds"]


@pytest.fixture(autouse=True)
def work(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Iterator[None]:
    """Runs each test in a folder of images. Fails if the test leaves an open or a temporary file."""
    shutil.copytree(SAMPLES, tmp_path, dirs_exist_ok=True)
    monkeypatch.chdir(tmp_path)
    make_images()
    opened = os.listdir("/proc/self/fd")
    yield
    assert os.listdir("/proc/self/fd") == opened
    assert list(tmp_path.rglob(".imagefile-*")) == []


def make_images() -> None:
    """Makes images whose tracks have other offsets in the file than on the disc."""
    Path("pregap.cue").write_text('FILE "album.bin" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n'
                                  'TRACK 02 AUDIO\nPREGAP 00:00:10\nINDEX 01 00:00:20\n')
    imagefile.open("sessions.ccd").to_zsi("postgap.zsi")
    toc = Path("postgap.zsi").read_text().replace("<PREGAP>0", "<PREGAP>1").replace("<POSTGAP>0", "<POSTGAP>2", 1)
    Path("postgap.zsi").write_text(toc)
    Path("postgap.bin").write_bytes(Path("sessions.img").read_bytes() * 2)
    Path("apart.nrg").write_bytes(Path("tao.nrg").read_bytes().replace(b"\7\0\0\0\x14", b"\7\0\0\0\xaa", 1))
    stated = Path("inline.mds").read_bytes().replace(struct.pack("<Q", 24 * 2448), struct.pack("<Q", 23 * 2448))
    Path("sizes.mds").write_bytes(stated.replace(struct.pack("<H", 2448), struct.pack("<H", 2352), 1))
    shutil.copy("inline.mdf", "sizes.mdf")


def tool(*arguments: str) -> str:
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    command = [os.environ["ZSIMAGE"], *arguments]
    return subprocess.run(command, check=True, env=environment, stdout=subprocess.PIPE, text=True).stdout


@pytest.mark.parametrize("image", IMAGES)
def test_disc_is_the_record_and_tracks_are_extracted_as_by_the_tool(image: str) -> None:
    disc, record = imagefile.open(image), json.loads(tool("info", "--json", image))
    assert [record[name] for name in ("ZSImageFormat", "ZSTYPEPROJECT", "lMask", "dwDiscID", "dwSeekEnd64")] == [
        disc.format, disc.kind, disc.mask, disc.disc_id, disc.seek_end]
    for number, (session, sheet) in enumerate(zip(disc.sessions, record["pZSCueSheet"], strict=True), 1):
        assert [sheet["ZSCDTEXT"][name] for name in ("bstrMCN", "bstrTitle", "bstrPerformer", "CDTextPresent")] == [
            session.mcn, session.title, session.performer, session.cdtext_present]
        for track_number, (track, row) in enumerate(zip(session.tracks, sheet["pZSTracks"], strict=True), 1):
            assert [row[name] for name in ("TNO", "dwLBA", "dwEndLBA", "Pregap", "Mode", "Flags", "bstrISRC")] == [
                track.number, track.start, track.end, track.pregap, track.mode, track.flags, track.isrc]
            assert (row["pdwIndex"] or []) == [
                0xFFFFFFFF if index is None else index % 2**32 for index in track.indexes]
            assert all(index is None or index < 2**31 for index in track.indexes)
            for size in {track.block_size, 2048 if track.mode else track.block_size}:
                tool("extract", image, f"--session={number}", f"--track={track_number}", f"--block-size={size}",
                     "-o", "tool", "--force")
                disc.extract(track, Path("own"), size)
                assert Path("own").read_bytes() == Path("tool").read_bytes() != b""


@pytest.mark.parametrize("image", ["album.cue", "mixed.cue", "cdplus.nrg", "native.zsi"])
def test_descriptions_and_cdtext_are_the_tool_s(image: str) -> None:
    disc = imagefile.open(image)
    os.mkdir("own"), os.mkdir("tool")
    disc.to_cue("own/new.cue")  # The second time, the sheet and its companion are replaced.
    for name, write in (("new.cue", disc.to_cue), ("new.zsi", disc.to_zsi), ("Ünïß.cue", disc.to_cue)):
        write("own/" + name)
        tool("convert", image, "tool/" + name)
    own, other = ({path.name: path.read_bytes() for path in Path(folder).iterdir()} for folder in ("own", "tool"))
    assert own == other
    title, *titles = [text.title for text in imagefile.decode_cdtext(disc.encode_cdtext(), len(disc.tracks))]
    assert title == disc.sessions[0].title
    assert titles == [track.title if track.mode is imagefile.Mode.AUDIO else None for track in disc.tracks]


@pytest.mark.parametrize("error", [KeyboardInterrupt(), BrokenPipeError(errno.EPIPE, "closed")])
def test_exception_in_progress_stops_and_comes_out(error: BaseException) -> None:
    def progress(done: int, total: int) -> None:
        assert 0 < done <= total == 20 * 2352
        raise error

    disc = imagefile.open("album.cue")
    Path("old").write_text("old")
    for target in ("old", "new"):
        with pytest.raises(type(error)) as caught:
            disc.extract(disc.tracks[1], target, progress=progress)
        assert caught.value is error
    assert Path("old").read_text() == "old" and not Path("new").exists()


def extract(image: str, target: str, length: int | None = None) -> None:
    disc = imagefile.open(image)
    os.truncate(disc.data_file, length or os.path.getsize(disc.data_file))
    disc.extract(disc.tracks[-1], target)


def convert_beside(stale: str, image: str) -> None:
    shutil.copy("album.cdt", stale)
    imagefile.open(image).to_cue("néw.cue" if "\udcc9" in stale else "new.cue")


def limited(size: int, act: Callable[[], None]) -> None:
    """Runs a function while no file can grow, as on a full disk."""
    limits = resource.getrlimit(resource.RLIMIT_FSIZE)
    resource.setrlimit(resource.RLIMIT_FSIZE, (size, limits[1]))
    try:
        act()
    finally:
        resource.setrlimit(resource.RLIMIT_FSIZE, limits)


@pytest.mark.parametrize("name, path, act", [
    ("ZSE_CANNOTOPENIMAGE", "none.cue", lambda: imagefile.open("none.cue")),
    ("ZSE_BADIMAGE", "album.bin", lambda: imagefile.open("album.bin")),
    ("ERROR_HANDLE_EOF", "album.bin", lambda: extract("album.cue", "new", 60000)),
    ("ZSE_FILENOTFOUND", "lone.ccd", lambda: (shutil.copy("sessions.ccd", "lone.ccd"), extract("lone.ccd", "new"))),
    ("E_INVALIDARG", "Album.BIN", lambda: extract("album.cue", "Album.BIN")),
    ("E_INVALIDARG", "link", lambda: (os.symlink("album.cdt", "link"), extract("album.cue", "link"))),
    *(("ERROR_FILE_EXISTS", stale, lambda stale=stale, image=image: convert_beside(stale, image))
      for stale in ("New.cdt", "nEw.CdT", "n\udcc9w.cdt") for image in ("album.cue", "tao.nrg")),
    ("ENOENT", "none/new", lambda: extract("album.cue", "none/new")),
    ("EFBIG", "new", lambda: limited(9999, lambda: extract("album.cue", "new"))),
    ("E_FAIL", "new.cue", lambda: limited(50, lambda: imagefile.open("tao.nrg").to_cue("new.cue"))),
])
def test_failure_names_code_and_file_and_leaves_nothing(name: str, path: str, act: Callable[[], object]) -> None:
    with pytest.raises(OSError) as caught:
        act()
    error = pickle.loads(pickle.dumps(caught.value))
    assert error.filename == path and path in str(error) and not list(Path().glob("n[eé]w*"))
    if isinstance(error, imagefile.ImageFileError):
        assert (error.name, error.path) == (name, path) and f"{name}, 0x{error.code:08X}" in str(error)
    else:
        assert errno.errorcode[error.errno] == name


@pytest.mark.parametrize("name", ['a"b.cue', "a\nb.cue", "a\rb.cue", "a\\b.cue", "a<b.zsi", "a>b.zsi", "a\\b.zsi"])
def test_name_that_a_description_cannot_hold_is_refused(name: str) -> None:
    disc, files = imagefile.open("album.cue"), os.listdir()
    with pytest.raises(ValueError) as caught:
        (disc.to_cue if name.endswith(".cue") else disc.to_zsi)(name)
    assert str(caught.value).startswith(f"{name}: ") and repr(name[1])[1:-1] in str(caught.value)
    assert os.listdir() == files


def test_missing_library_is_explained(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("IMAGEFILE_LIBRARY", "./none.so")
    with pytest.raises(imagefile.ImageFileError, match=r"^\./none\.so: .*install libimagefile1.*CO_E_DLLNOTFOUND"):
        _library.functions.__wrapped__()


def test_stream_is_a_raw_stream_and_wrong_arguments_are_refused() -> None:
    disc, album = imagefile.open("plain.iso"), imagefile.open("album.cue")
    with disc.stream(disc.tracks[0]) as stream:
        assert io.BufferedReader(stream, 1000).read() == Path("plain.iso").read_bytes()
    for act in (lambda: stream.read(1), lambda: disc.stream(album.tracks[0]),
                lambda: disc.stream(disc.tracks[0], 2049), lambda: disc.stream(disc.tracks[0], 0),
                lambda: album.stream(album.tracks[0], 2048), lambda: album.extract(album.tracks[0], "new", 2048),
                lambda: disc.to_cue("new.zsi"), lambda: imagefile.open("\0")):
        pytest.raises(ValueError, act)


def test_threads_share_a_disc_and_pipes_are_written_directly() -> None:
    disc = imagefile.open("album.cue")
    with ThreadPoolExecutor(8) as threads:
        list(threads.map(lambda i: (disc.extract(disc.tracks[1], f"{i}"), disc.to_cue(f"{i}.cue")), range(64)))
    os.mkfifo("pipe")
    with open(os.open("pipe", os.O_RDONLY | os.O_NONBLOCK), "rb", buffering=0) as pipe:
        disc.extract(disc.tracks[1], "pipe")
        assert {pipe.read(), *(Path(str(i)).read_bytes() for i in range(64))} == {Path("0").read_bytes()}


@pytest.mark.parametrize("path", [os.fsdecode(b"caf\xe9.iso"), "café.iso", "CAFÉ.ISO"])
def test_image_is_found_in_any_case_and_encoding(path: str) -> None:
    os.rename("plain.iso", b"caf\xe9.iso")
    assert imagefile.open(path).kind is imagefile.Kind.DATA
