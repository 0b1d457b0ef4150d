"""The browser that the tests of the reference and of the console share."""

import os
import shutil
import time

import pytest
from needs import missing


@pytest.fixture(scope="module")
def browser():
    """Debian's Chromium, without a window.

    It goes after each module, because Playwright keeps an event loop running and the blocks of the
    guide start their own.
    """
    program = shutil.which("chromium")
    if program is None:
        missing("chromium is missing; as root, tools/setup docs installs it")
    from playwright.sync_api import sync_playwright

    with sync_playwright() as playwright:
        # A container's root has no sandbox of Chromium's kind.
        arguments = ["--no-sandbox"] if os.geteuid() == 0 else []
        started = playwright.chromium.launch(executable_path=program, args=arguments)
        yield started
        started.close()


def wait_until(page, expression):
    """Waits until an expression is true. The page's policy forbids what Playwright waits with."""
    end = time.monotonic() + 60
    while not page.evaluate(expression):
        assert time.monotonic() < end, expression
        time.sleep(0.05)


class Watched:
    """A page, and all that it asked for or complained of."""

    def __init__(self, page):
        self.page, self.requests, self.complaints = page, [], []
        page.on("request", lambda request: self.requests.append(request.url))
        page.on("console", lambda message: self.complaints.append(message.text))
        page.on("pageerror", lambda error: self.complaints.append(str(error)))


@pytest.fixture
def open_page(browser):
    """Opens an address in a profile of its own. Afterwards, no page may have complained."""
    watched = []

    def open_it(address, width=1360, height=900, offline=False, **options):
        context = browser.new_context(viewport={"width": width, "height": height}, **options)
        context.set_default_timeout(60_000)
        context.set_offline(offline)
        watched.append(Watched(context.new_page()))
        watched[-1].page.goto(address)
        return watched[-1].page

    open_it.watched = watched
    yield open_it
    for each in watched:
        each.page.context.close()
    assert [each.complaints for each in watched] == [[]] * len(watched)


@pytest.fixture(scope="session")
def axe():
    """Returns the rules of accessibility that a page breaks, each with its first place."""
    from axe_playwright_python.sync_playwright import Axe

    def broken(page):
        # It looks at hidden elements too, and the page has 690 hidden articles.
        page.evaluate("""() => {
          const main = document.querySelector("main");
          window.all = [...main.children];
          main.replaceChildren(document.querySelector("article.on"));
        }""")
        found = Axe().run(page).response["violations"]
        page.evaluate("document.querySelector('main').replaceChildren(...window.all)")
        return [(rule["id"], rule["nodes"][0]["html"], rule["nodes"][0]["failureSummary"])
                for rule in found]

    return broken
