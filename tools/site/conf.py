"""How Sphinx makes the site of what build.py has put together."""

import os
import re

from sphinx.util import logging

project = "qx5"
version = release = os.environ["QX5_VERSION"]
extensions = ["myst_parser", "sphinx.ext.autodoc", "breathe"]
root_doc = "index"
# No day stands in a page: the same sources give the same site.
html_last_updated_fmt = None
html_show_copyright = False
html_show_sphinx = False
html_copy_source = False
html_title = f"qx5 {release}"
html_theme = "furo"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_theme_options = {
    # Furo's own icons of places where the source would lie; there is none.
    "footer_icons": [],
}
exclude_patterns = ["examples"]
myst_heading_anchors = 4
nitpicky = False

breathe_projects = {"host": os.environ["QX5_SITE_XML"]}
breathe_default_project = "host"
breathe_default_members = ("members",)
primary_domain = "py"
highlight_language = "none"
add_module_names = False
autodoc_typehints = "signature"
autodoc_member_order = "bysource"
autodoc_default_options = {"undoc-members": True}


def page_as_the_site_has_it(app, name, source):
    """The pages' links are those of the checkout; the site's folder is its docs/. The index's lists are its contents."""
    text = source[0]
    depth = name.count("/") + 1
    if name == "CHANGELOG":
        text = text.replace("](docs/", "](")
    text = text.replace("](" + "../" * depth, "](" + "../" * (depth - 1))
    if name == root_doc:
        parts = []
        for part in re.split(r"(?m)^(?=## )", text):
            pages = [page.removesuffix(".md") for page in re.findall(r"\]\(([^)#:]+\.md)\)", part)]
            title = part.splitlines()[0].removeprefix("## ")
            parts.append(part + (contents(title, pages) if pages else ""))
        text = "\n".join(parts) + contents("Reference", ["reference/commands", "reference/host", "reference/python"])
    source[0] = text


def contents(title, pages):
    return "\n".join(["", "```{toctree}", ":hidden:", f":caption: {title}", "", *pages, "```", ""])


def name_without_words(app, what, name, thing, options, lines):
    if lines and lines[0].startswith("Alias for field number "):
        lines.clear()  # the field's name says it
    elif not any(lines):
        logging.getLogger(__name__).warning("%s has no comment", name)


def setup(app):
    app.connect("autodoc-process-docstring", name_without_words)
    app.connect("source-read", page_as_the_site_has_it)
    return {"parallel_read_safe": True}
