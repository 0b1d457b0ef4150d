"""The reference: what a page without a browser can be asked."""

import json
import os
import re
import subprocess
import sys
from html.parser import HTMLParser
from importlib import resources
from pathlib import Path

import pytest

from kvrpc_tools.meanings import meanings
from kvrpc_tools.schema import own

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "tools" / "reference" / "examples.json"


class Page(HTMLParser):
    """Collects the ids, the targets of links and everything that could make a request."""

    def __init__(self, text):
        super().__init__()
        self.ids, self.links, self.sources = [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        if "id" in values:
            self.ids.append(values["id"])
        if tag == "a":
            self.links.append(values["href"])
        elif "href" in values or "src" in values:
            self.sources.append(values.get("href") or values["src"])


@pytest.fixture(scope="module")
def text():
    return resources.files("kvrpc_tools").joinpath("reference.html").read_text(encoding="utf-8")


def test_the_page_is_below_a_megabyte(text):
    assert len(text.encode()) < 1_000_000


def test_each_name_has_one_place_and_each_link_leads_to_one(text):
    page = Page(text)
    assert len(page.ids) == len(set(page.ids))
    keys = {field.key for record in own().records.values()
            for field in record.fields if field is not record.link}
    assert set(page.ids) >= {*own().procedures, *own().records, *(f"field-{key}" for key in keys)}
    assert {link[1:] for link in page.links} <= set(page.ids)


def test_nothing_is_fetched(text):
    assert Page(text).sources == ["data:,"]
    assert not re.search(r"https?://|//[a-z]+\.|@import|url\(", text)
    assert "default-src 'none'" in text


def test_every_meaning_and_its_basis_is_shown(text):
    for name in own().procedures:
        note = meanings().procedure(name)
        shown = re.search(rf"<article id={name} .*?</article>", text, re.S).group()
        assert note.text.replace("'", "&#x27;") in shown or note.text in shown
        mark = {"name": "from its name</em></p>", "unknown": "nothing known</em></p>"}
        assert mark.get(note.basis, "") in shown


def test_a_result_that_is_a_list_says_so(text):
    shown = re.search(r"<article id=l_ps_1 .*?</article>", text, re.S).group()
    assert re.search(r"<h3>Result</h3><p>A list\. Each entry is a <a href=#ps_entry>", shown)


def test_an_older_form_names_the_one_to_prefer(text):
    older = re.search(r"<article id=a_sende_1 .*?</article>", text, re.S).group()
    assert "Prefer </strong><a href=#a_send_new_1>" in older
    newer = re.search(r"<article id=a_send_new_1 .*?</article>", text, re.S).group()
    assert "The earlier form is <a href=#a_sende_1>" in newer


def test_every_described_procedure_has_an_example_that_succeeds():
    examples = json.loads(EXAMPLES.read_text(encoding="utf-8"))
    assert set(own().procedures) - set(examples) == {"o_cha_licence_1"}
    assert {each["reply"]["status"] for each in examples.values()} == {0}


def test_the_examples_are_what_the_simulator_says_today(tmp_path):
    made = tmp_path / "examples.json"
    subprocess.run([sys.executable, ROOT / "tools" / "make_examples.py", made], check=True,
                   timeout=120, env=os.environ)
    assert made.read_text(encoding="utf-8") == EXAMPLES.read_text(encoding="utf-8"), \
        "run: make examples"


def test_tasks_of_several_calls_name_their_procedures_in_order(text):
    part = text[text.index("<dl class=names id=flows>"):].partition("</dl>")[0]
    flows = {name: re.findall(r"href=#(\w+)", calls)
             for name, calls in re.findall(r"<dt>([^<]+)<dd>(.*?)(?=<dt>|$)", part)}
    assert len(flows) == 9
    assert flows["Session"] == ["a_login_1", "a_check_login_1", "a_logout_1"]
    assert all(len(calls) > 1 and set(calls) <= set(own().procedures) for calls in flows.values())
