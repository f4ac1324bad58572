"""check_site.py FOLDER MAP...: builds the site into FOLDER. Then: every link in it leads somewhere, nothing in it comes
from elsewhere, and every name of the export maps can be found."""
import html.parser
import pathlib
import re
import subprocess
import sys
import urllib.parse

tree = pathlib.Path(__file__).resolve().parents[2]
site = pathlib.Path(sys.argv[1]).resolve()
subprocess.run([str(tree / "docs/site/build"), str(site)], check=True)
faults = []


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.path, self.places, self.links = path, set(), []
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.places.update(filter(None, [given.get("id"), given.get("name")]))
        target = given.get("href") or given.get("src")
        if not target or target.startswith("data:"):
            return
        if re.match(r"\w+:|//", target):
            if tag != "a":
                faults.append(f"{self.path}: <{tag}> loads {target}")
        else:
            self.links.append(target)


pages = {path: Page(path) for path in site.rglob("*.html")}
for path, page in pages.items():
    for link in page.links:
        parts = urllib.parse.urlsplit(link)
        name, place = urllib.parse.unquote(parts.path), urllib.parse.unquote(parts.fragment)
        target = (path.parent / name).resolve() if name else path
        if not target.exists():
            faults.append(f"{path}: no {link}")
        elif place and target in pages and place not in pages[target].places:
            faults.append(f"{path}: no place {link}")
for path in site.rglob("*.css"):
    for found in re.findall(r"url\(['\"]?((?:https?:)?//[^)]*)", path.read_text()):
        faults.append(f"{path}: loads {found}")

places = set().union(*(page.places for page in pages.values()))
for path in sys.argv[2:]:
    for name in re.findall(r"^\s+(\w+);", pathlib.Path(path).read_text(), re.M):
        if f"c.{name}" not in places:
            faults.append(f"{name} has no entry")
print(f"{len(pages)} pages, {sum(len(p.links) for p in pages.values())} links")
sys.exit("\n".join(sorted(set(faults))) or 0)
