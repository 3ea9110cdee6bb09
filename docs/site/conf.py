# The site that `./dev docs` builds, from the pages that stage.py made.
import pathlib
import re
import sys

here = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(here))
import comments  # noqa: E402

project = "KaTessel"
release = re.search(r"project\(KaTessel VERSION ([0-9.]+)", (here.parent.parent / "CMakeLists.txt").read_text()).group(1)
html_title = f"KaTessel {release}"
html_theme = "furo"
html_copy_source = html_show_copyright = False
extensions = ["myst_parser", "sphinx.ext.autodoc"]
myst_heading_anchors = 4
autodoc_member_order = "bysource"
autodoc_typehints = "none"  # ArrayLike is five lines long
autodoc_inherit_docstrings = False
highlight_language = "text"


def setup(app):
    def rows(app, what, name, thing, options, lines):
        lines[:] = comments.docstring(lines)

    app.connect("autodoc-process-docstring", rows)
