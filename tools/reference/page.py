"""The whole page: head, navigation, start, all articles."""

import base64
import hashlib
from pathlib import Path

from .articles import Articles, slug
from .flows import FLOWS
from .markup import Html, listed, markup, tag
from .tables import link

HERE = Path(__file__).resolve().parent

NAMES = (
    ("a_ o_ l_ t_ s_ n_", "the server: alpha, omega, lambda, theta, sigma, nue"),
    ("put get del cha", "write, read, delete, change"),
    ("_ll", "a list"),
    ("_llb, and b at the end", "a list or data in blocks: pos with anz or lng"),
    ("_new", "a later form, with a union that has versions"),
    ("dok sig nr frei jetzt zeit", "document, signature, number, free, now, time"),
    ("tebu tebul tele", "address books, their entries, single addresses"),
    ("tgroup tgroupl", "groups of addresses, their members"),
    ("group groupl", "groups of users, their members"),
    ("faxg faxl", "line type, line"),
)


def page(schema, notes, examples):
    """Returns the page as text."""
    articles = Articles(schema, notes, examples)
    servers = [server for server in schema.servers.values() if server.procedures]
    body = tag("body", tag("a", "Skip to the content", href="#content", class_="skip"),
               _header(), _navigation(notes, servers),
               tag("main", _start(schema, notes, servers),
                   *map(articles.group, notes.groups), *map(articles.server, servers),
                   *(articles.procedure(schema.procedures[name])
                     for group in notes.groups for name in group.procedures),
                   *map(articles.record, schema.records.values()), articles.fields(),
                   id="content"),
               tag("p", role="status", class_="quiet", id="told"), _script("script.js"))
    return "<!doctype html>\n" + tag("html", _head(), body, lang="en") + "\n"


def _part(name):
    return Html((HERE / name).read_text(encoding="utf-8"))


def _script(name):
    return tag("script", _part(name))


def _digest(name):
    digest = hashlib.sha256(_part(name).encode("utf-8")).digest()
    return f"'sha256-{base64.b64encode(digest).decode()}'"


def _head():
    # Lets nothing be fetched, and no script run but the two that are in the page.
    policy = ("default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; "
              "form-action 'none'; img-src data:; "
              f"script-src {_digest('first.js')} {_digest('script.js')}")
    return tag("head", tag("meta", charset="utf-8"),
               tag("meta", http_equiv="Content-Security-Policy", content=policy),
               tag("meta", name="viewport", content="width=device-width, initial-scale=1"),
               tag("meta", name="color-scheme", content="light dark"),
               tag("link", rel="icon", href="data:,"),
               tag("title", "kvrpc reference"), tag("style", _part("style.css")),
               _script("first.js"))


def _header():
    search = tag("div", tag("label", "Search", for_="search", class_="quiet"),
                 tag("input", id="search", type="search", autocomplete="off", spellcheck="false",
                     placeholder="Search names, numbers, fields, meanings", role="combobox",
                     aria_expanded="false", aria_controls="found", aria_autocomplete="list"),
                 tag("div", id="found", role="listbox", aria_label="Results", hidden=True),
                 class_="search")
    return tag("header", tag("h1", tag("a", "kvrpc ", tag("span", "reference"), href="#start")),
               search, tag("div", class_="tools"))


def _navigation(notes, servers):
    # The script puts the procedures below their group, and adds a list of all records.
    groups = (tag("li", link(f"group-{slug(group.name)}", group.name)) for group in notes.groups)
    return tag("nav", tag("h2", "Tasks"), tag("ul", *groups), tag("h2", "Servers"),
               tag("ul", *(tag("li", link(f"server-{each.name}", each.name)) for each in servers)),
               tag("h2", "More"), tag("ul", tag("li", link("fields", "All fields"))),
               id="menu", aria_label="Contents")


def _start(schema, notes, servers):
    cards = [tag("li", tag("h3", link(f"group-{slug(group.name)}", group.name)),
                 tag("p", group.text) if group.text else None,
                 tag("p", listed([link(name) for name in group.start or group.procedures[:3]])))
             for group in notes.groups]
    rules = [markup(tag("dt", tag("code", form)), tag("dd", reading)) for form, reading in NAMES]
    return tag("article", tag("h2", "What do you want to do?"),
               tag("p", f"{len(schema.procedures)} procedures of {len(servers)} servers, each with "
                   "its argument and limits, its result, and a call with the reply that the "
                   "simulator gave.", class_="note"),
               tag("ul", *cards, class_="cards"),
               tag("h2", "Tasks that take several calls"),
               tag("p", "In the order of the calls, which is partly read from names and members. "
                   "The guide has each task as a script, and what is not known of it.",
                   class_="note"),
               tag("dl", *(markup(tag("dt", name), tag("dd", listed(map(link, calls.split()))))
                           for name, calls in FLOWS), class_="names", id="flows"),
               tag("h2", "Which server has it"), _map(schema, notes, servers),
               tag("h2", "How the names read"), tag("dl", *rules, class_="names"),
               tag("h2", "How sure the meanings are"),
               tag("p", "A meaning without a mark is stated by the interface. ",
                   tag("em", "from its name"), " marks a reading of the "
                   "name that nothing else supports, and ",
                   tag("em", "nothing known"), " says that there is not "
                   "even that. Numbers such as topf or status have no stated values; those in the "
                   "examples are the simulator's own."), id="start", class_="start on")


def _map(schema, notes, servers):
    head = tag("tr", tag("th", "Family", scope="col"),
               *(tag("th", link(f"server-{each.name}", each.name), scope="col")
                 for each in servers))
    rows = []
    for group in notes.groups:
        counts = [sum(schema.procedures[name].server == each.name for name in group.procedures)
                  for each in servers]
        rows.append(tag("tr", tag("th", link(f"group-{slug(group.name)}", group.name), scope="row"),
                        *(tag("td", count or "") for count in counts)))
    return tag("table", tag("caption", "Procedures of each family, by server"),
               tag("thead", head), tag("tbody", *rows), class_="map")
