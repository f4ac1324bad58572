"""Files: whole or not there, whatever happens to the disk, the process or the folder."""
import os
import secrets
import signal
import stat
import subprocess
import sys
import threading

import numpy as np
import pytest
import trvil

rng = np.random.default_rng(20261124)


def names(folder):
    return sorted(p.name for p in folder.iterdir())


def test_files_hold_the_picture_whole_or_are_not_there(tmp_path):
    wide = rng.integers(0, 256, (6, 9, 3)).astype(np.uint8)
    picture = wide[:, 2:7]
    trvil.write(picture, tmp_path / "a.raw", "BGR24")
    assert (tmp_path / "a.raw").read_bytes() == picture.tobytes()
    trvil.write(picture, str(tmp_path / "a.tif"), "BGR24")
    content = (tmp_path / "a.tif").read_bytes()
    assert content[:4] == b"MM\0*" and picture[..., ::-1].tobytes() in content
    trvil.write(picture, tmp_path / "a.dat", "BGR24", kind="raw")
    with pytest.raises(trvil.Error, match="cannot hold BGRX32") as caught:
        trvil.write(np.zeros((2, 2, 4), np.uint8), tmp_path / "a.tif", "BGRX32")
    assert caught.value.status == trvil.STATUS_TIFF_FORMAT and (tmp_path / "a.tif").read_bytes() == content
    with pytest.raises(FileNotFoundError):
        trvil.write(picture, tmp_path / "none" / "a.raw", "BGR24")
    with pytest.raises(ValueError, match="cannot tell the kind"):
        trvil.write(picture, tmp_path / "a.xyz", "BGR24")
    with pytest.raises(OSError, match="Not a regular file"):
        trvil.write(picture, "/dev/null", "BGR24", kind="raw")
    assert names(tmp_path) == ["a.dat", "a.raw", "a.tif"]


# Arguments: folder, and "lines,kind,limit of file sizes" of each write; -1 is no limit. Tells the
# status of each, or "whole".
WRITES = """
import os, resource, sys, numpy as np, trvil
folder, path = sys.argv[1], sys.argv[1] + "/new"
for lines, kind, limit in (write.split(",") for write in sys.argv[2:]):
    picture = np.full((int(lines), 256), 7, np.uint8)
    resource.setrlimit(resource.RLIMIT_FSIZE, (int(limit), -1))
    try:
        trvil.write(picture, path, "Mono8", kind=kind)
        content = open(path, "rb").read()
        os.unlink(path)
        head = 186 if kind == "tiff" else 0
        print("whole" if content[head:] == picture.tobytes() and content[:4] in (b"MM\\0*", bytes([7] * 4)) else "half")
    except trvil.Error as error:
        print("left behind" if os.listdir(folder) else error.status)
"""


@pytest.mark.parametrize("lines", [16, 768, 4096])  # 4 KiB, 192 KiB, 1 MiB
def test_a_limit_of_file_sizes_is_never_a_success(tmp_path, lines):
    writes, expected = [], []
    for kind, size in (("raw", 256 * lines), ("tiff", 256 * lines + 186)):
        below = sorted({0, 100, max(size - 4096, 0), *range(size - 300, size, 23), size - 187, size - 186, size - 1})
        writes += [f"{lines},{kind},{limit}" for limit in (*below, size)]
        expected += [False] * len(below) + [True]
    run = subprocess.run([sys.executable, "-c", WRITES, tmp_path, *writes], capture_output=True, text=True)
    answers = run.stdout.split()
    assert [answer == "whole" for answer in answers] == expected, run.stderr
    assert set(answers) == {"whole", "15", "17"}


@pytest.mark.parametrize("pages", [1, 48, 256])
def test_a_full_disk_is_never_a_success(tmp_path, pages):
    script = f'mount -t tmpfs -o size={pages * 4096} none "$2" && exec "$0" -c "$1" "$2" "$@"'
    writes = [f"{lines},{kind},-1" for lines in (16 * pages - 1, 16 * pages, 16 * pages + 1) for kind in ("raw", "tiff")]
    user = [] if os.geteuid() == 0 else ["-r"]
    run = subprocess.run(["unshare", *user, "-m", "sh", "-c", script.replace('"$@"', " ".join(writes)),
                          sys.executable, WRITES, tmp_path], capture_output=True, text=True)
    if "unshare:" in run.stderr or "mount:" in run.stderr:
        pytest.skip("no file systems may be mounted here")
    # The line less is room enough for the head of a TIFF file.
    assert run.stdout.split() == ["whole", "whole", "whole", "17", "17", "17"], run.stderr


def test_threads_may_write_to_one_path(tmp_path):
    pictures = [np.full((64, 64), value, np.uint8) for value in range(8)]
    problems = []

    def work(picture):
        try:
            for _ in range(50):
                trvil.write(picture, tmp_path / "a.raw", "Mono8")
                content = (tmp_path / "a.raw").read_bytes()
                assert len(content) == 4096 and len(set(content)) == 1
        except BaseException as problem:
            problems.append(problem)

    threads = [threading.Thread(target=work, args=(picture,)) for picture in pictures]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not problems and names(tmp_path) == ["a.raw"]


def test_an_interrupt_leaves_the_old_file_or_the_new_one(tmp_path):
    pictures = [np.full((512, 512), value, np.uint8) for value in (1, 2)]
    trvil.write(pictures[0], tmp_path / "a.raw", "Mono8")
    interrupted = 0
    for turn in range(300):
        signal.signal(signal.SIGALRM, signal.default_int_handler)
        try:
            try:
                signal.setitimer(signal.ITIMER_REAL, float(rng.uniform(1e-6, 8e-4)))
                trvil.write(pictures[turn % 2], tmp_path / "a.raw", "Mono8")
            finally:
                signal.setitimer(signal.ITIMER_REAL, 0)
        except KeyboardInterrupt:
            interrupted += 1
        content = (tmp_path / "a.raw").read_bytes()
        assert len(content) == 512 * 512 and len(set(content)) == 1
        assert names(tmp_path) == ["a.raw"]
    assert interrupted > 10


def test_permissions_are_those_of_what_is_replaced_or_the_umasks(tmp_path):
    path, picture = tmp_path / "a.raw", np.zeros((4, 4), np.uint8)
    before = os.umask(0o027)
    try:
        trvil.write(picture, path, "Mono8")
        assert stat.S_IMODE(path.stat().st_mode) == 0o640
        for given, kept in ((0o600, 0o600), (0o666, 0o666), (0o444, 0o444), (0o4755, 0o755)):
            path.chmod(given)
            trvil.write(picture, path, "Mono8")
            assert stat.S_IMODE(path.stat().st_mode) == kept
    finally:
        os.umask(before)


def test_links_at_the_path_are_followed_and_planted_ones_are_not(tmp_path, monkeypatch):
    picture, victim = np.zeros((4, 4), np.uint8), tmp_path / "victim"
    (tmp_path / "sub").mkdir()
    for name in ("old", "new"):
        (tmp_path / name).symlink_to(f"sub/{name}.raw")
    (tmp_path / "sub/old.raw").write_text("old")
    for name in ("old", "new"):
        trvil.write(picture, tmp_path / name, "Mono8", kind="raw")
        assert (tmp_path / name).is_symlink() and (tmp_path / f"sub/{name}.raw").read_bytes() == bytes(16)
    used = []
    monkeypatch.setattr(secrets, "token_hex", lambda count: used.append(count) or "known")
    victim.write_text("precious")
    planted = tmp_path / ".trvil-known.part"
    planted.symlink_to(victim)
    with pytest.raises(FileExistsError):
        trvil.write(picture, tmp_path / "a.raw", "Mono8")
    assert victim.read_text() == "precious" and planted.is_symlink() and used == [16]
    assert names(tmp_path) == [".trvil-known.part", "new", "old", "sub", "victim"]
