"""Every sample of docs/python.md runs, one after the other as a reader would."""
import os
import re
from pathlib import Path

PAGE = Path(__file__).resolve().parents[2] / "docs" / "python.md"


def test_all_samples_run(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    text = PAGE.read_text()
    names, count = {}, 0
    for sample in re.finditer(r"^```python\n(.*?)^```", text, re.M | re.S):
        line = text[:sample.start(1)].count("\n")
        exec(compile("\n" * line + sample.group(1), str(PAGE), "exec"), names)
        count += 1
    assert count >= 14
    assert os.path.getsize("mosaic.raw") == 480 * 640 * 2
