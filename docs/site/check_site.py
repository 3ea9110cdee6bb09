"""check_site.py FOLDER: every link of the site leads to a file of it, and those of our own pages to the anchor that they name."""
import functools
import html.parser
import pathlib
import sys
import urllib.parse

site = pathlib.Path(sys.argv[1])


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.anchors |= {given.get("id"), given.get("name")}
        self.links += [given[name] for name in ("href", "src") if given.get(name)]


@functools.lru_cache(maxsize=None)
def page(path):
    return Page(path)


bad, count = [], 0
for path in sorted(site.rglob("*.html")):
    for link in page(path).links:
        place, _, anchor = urllib.parse.unquote(link).partition("#")
        if urllib.parse.urlparse(link).scheme or link.startswith(("javascript:", "//")):
            continue
        count += 1
        target = path.parent / place.partition("?")[0] if place else path
        if target.is_dir() or not target.exists():
            bad.append(f"{path.relative_to(site)}: {link}: expected a file of the site, found none")
        elif anchor and path.parent == site and anchor not in page(target).anchors:
            bad.append(f"{path.relative_to(site)}: {link}: expected this anchor, found none")
print(f"{count} links", *bad[:40], sep="\n")
sys.exit(1 if bad or count < 1000 else 0)
