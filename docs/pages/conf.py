"""How Sphinx makes the pages. tools/docs.sh puts the sources together and calls it."""

import os

project = "QMX_IC"
author = "QMX_IC"
project_copyright = ""
version = release = os.environ["QMX_IC_VERSION"]
html_show_sphinx = False
html_show_copyright = False

extensions = ["myst_parser"]
myst_heading_anchors = 3
suppress_warnings = ["myst.header"]
highlight_language = "text"

root_doc = "index"
html_theme = "furo"
html_title = f"QMX_IC {version}"
html_static_path = ["_static"]
html_css_files = ["pages.css"]
html_copy_source = False
html_show_sourcelink = False
html_last_updated_fmt = None
