"""Sphinx settings of the site; scripts/docs runs it. The environment says where things are:
READKIT_XML (doxygen's XML), READKIT_PACKAGE (folder of the built Python package) and
READKIT_VERSION."""

import os
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), os.environ["READKIT_PACKAGE"]]

project = "readkit"
author = "the authors of readkit"
version = release = os.environ["READKIT_VERSION"]
language = "en"
smartquotes = False  # quotes are those of messages and code

extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "sphinx.ext.napoleon", "site_links",
              "console_lexer"]
default_role = "py:obj"  # of docstrings
root_doc = "docs/index"
# Beside the documents of docs/ and the root, those of other folders that the contents have.
include_patterns = ["*.md", "docs/**.md", "made/**.md", *re.findall(
    r"\]\(\.\./([^)]+/[^)]+\.md)\)", (HERE.parent / "index.md").read_text(encoding="utf-8"))]

myst_heading_anchors = 6
highlight_language = "none"
breathe_projects = {"readkit": os.environ["READKIT_XML"]}
breathe_default_project = "readkit"
breathe_default_members = ()
breathe_show_include = False
cpp_id_attributes = []
autodoc_member_order = "bysource"
autodoc_typehints = "description"
autodoc_typehints_description_target = "documented"
add_module_names = False
napoleon_use_ivar = True

html_theme = "furo"
html_title = f"readkit {version}"
html_static_path = [str(HERE / "static")]
html_css_files = ["site.css"]
html_show_sphinx = False
html_copy_source = False
html_show_copyright = False
html_domain_indices = False
# Where every server and reader looks first.
html_additional_pages = {"index": "redirect.html"}
templates_path = [str(HERE / "templates")]
