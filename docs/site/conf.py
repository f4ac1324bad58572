# Settings of Sphinx for the site; docs/site/build makes the folder that it reads.
import pathlib
import re

here = pathlib.Path(__file__).resolve().parent
project = "trvil"
cmake = here.parent.parent / "CMakeLists.txt"
release = re.search(r"project\(trvil VERSION ([0-9.]+)", cmake.read_text()).group(1)
html_title = f"trvil {release}"

extensions = ["myst_parser"]
myst_heading_anchors = 4
highlight_language = "none"
primary_domain = "c"
nitpicky = False

html_theme = "furo"
html_static_path = [str(here / "static")]
html_css_files = ["house.css"]
html_show_copyright = False
html_show_sphinx = False
html_copy_source = False
html_show_sourcelink = False
html_use_index = True
templates_path = []
