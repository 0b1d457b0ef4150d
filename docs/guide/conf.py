"""How Sphinx builds the guide. `make docs` runs it, and a warning fails the build."""

import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE / "_extensions"))


def version_of(project: Path) -> str:
    """Returns the version that pyproject.toml names."""
    line = next(line for line in project.read_text(encoding="utf-8").splitlines()
                if line.startswith("version = "))
    return line.split('"')[1]


project = "kvrpc"
release = version = version_of(HERE.parents[1] / "pyproject.toml")
author = "the authors of kvrpc"

extensions = ["myst_parser", "diagram"]
exclude_patterns = ["_extensions"]
highlight_language = "none"  # of blocks that are only indented, as in ARCHITECTURE.md
myst_heading_anchors = 3

html_theme = "furo"
html_title = f"kvrpc {version}"
html_static_path = ["_static"]
html_css_files = ["guide.css"]
html_copy_source = False
html_show_sourcelink = False
html_show_copyright = False
html_show_sphinx = False
