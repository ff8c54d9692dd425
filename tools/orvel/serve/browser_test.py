"""orvel serve as a person uses it: headless Chromium, driven through WebDriver, types
queries into the page, waits for the streamed results, reads them as shown, opens a
document and a hostile feed, and uses the page from the keyboard and at 320 px wide.
Screenshots go to $ORVEL_SCREENSHOTS for a person to look at."""

import json
import os
import pathlib
import subprocess
import urllib.parse

import pytest
from selenium import webdriver
from selenium.common.exceptions import NoAlertPresentException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

ORVEL = os.environ.get("ORVEL_PROGRAM", "build/release/tools/orvel/orvel")
SHOTS = pathlib.Path(os.environ.get("ORVEL_SCREENSHOTS", "build/screenshots"))

# A script that ran would leave this mark, on its own page or its parent's.
HOSTILE_FEED = """<?xml version="1.0"?>
<rss version="2.0"><channel><title>Harbour news</title>
<item><title>Harbour &lt;script&gt;document.title='PWNED'&lt;/script&gt;</title>
<link>javascript:document.body.dataset.pwned='link'</link>
<description>&lt;img src=x onerror="document.body.dataset.pwned='escaped';parent.document.body.dataset.pwned='escaped'"&gt; the harbour at night</description></item>
<item><title>Quay</title><link>https://example.org/quay</link>
<description><![CDATA[<script>document.body.dataset.pwned='cdata';parent.document.body.dataset.pwned='cdata'</script>
<p onclick="x()">A quay by the harbour.</p><img src="x" onerror="parent.document.body.dataset.pwned='onerror'">]]></description></item>
</channel></rss>
"""


@pytest.fixture(scope="module")
def tree(tmp_path_factory):
    root = tmp_path_factory.mktemp("served")
    (root / "port").mkdir()
    (root / "port" / "harbour.txt").write_text(
        "The harbour master saw a ship.\nShips leave the harbour at dawn.\n")
    (root / "port" / "quay.md").write_text("# Quay\n\nThe quay is by the harbour, café open.\n")
    (root / "page.html").write_text(
        "<html><head><title>Page</title><script>document.body.dataset.pwned='page'</script>"
        "</head><body><p>A <b>harbour</b> &amp; its ships.</p></body></html>")
    (root / "feeds").mkdir()
    (root / "feeds" / "news.rss").write_text(HOSTILE_FEED)
    for k in range(30):
        (root / "port" / f"log{k:02}.txt").write_text(f"entry {k}: nothing here\n")
    return root


@pytest.fixture(scope="module")
def site(tree):
    server = subprocess.Popen([ORVEL, "serve", "--port", "0", str(tree)],
                              stdout=subprocess.PIPE, text=True)
    url = server.stdout.readline().strip()
    assert url.startswith("http://127.0.0.1:")
    yield url
    server.terminate()
    assert server.wait(timeout=10) == 0


@pytest.fixture(scope="module")
def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu",
                     "--disable-dev-shm-usage", "--window-size=1280,900"):
        options.add_argument(argument)
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    SHOTS.mkdir(parents=True, exist_ok=True)
    yield driver
    driver.quit()


def search(browser, site, query):
    browser.get(site)
    field = browser.find_element(By.ID, "q")
    field.clear()
    field.send_keys(query, Keys.ENTER)
    WebDriverWait(browser, 10).until(
        lambda b: b.find_element(By.ID, "status").get_attribute("data-done") == "true")
    return shown_results(browser)


def shown_results(browser):
    """{path: [[marked terms of a snippet], ...]} as the page shows them."""
    shown = {}
    for item in browser.find_elements(By.CSS_SELECTOR, "li.result"):
        href = item.find_element(By.CSS_SELECTOR, "a.path").get_attribute("href")
        path = urllib.parse.parse_qs(urllib.parse.urlparse(href).query)["path"][0]
        shown[path] = [[mark.text for mark in snippet.find_elements(By.TAG_NAME, "mark")]
                       for snippet in item.find_elements(By.CSS_SELECTOR, ".snippets li")]
    return shown


def program_results(tree, query):
    """The same as orvel search --json finds it."""
    out = subprocess.run([ORVEL, "search", "--json", "--no-index", query, str(tree)],
                         capture_output=True, text=True).stdout
    found = {}
    for line in out.splitlines():
        event = json.loads(line)
        if event["type"] == "match":
            path = event["data"]["path"]["text"]
            found.setdefault(path, []).append(
                [submatch["match"]["text"] for submatch in event["data"]["submatches"]])
    return found


@pytest.mark.parametrize("query", ["harbour", "harbour NEAR/3 ship*", "quay OR ships",
                                   '"harbour master"', "harbour -quay", "cafe"])
def test_results_are_the_programs_with_the_same_terms_marked(browser, site, tree, query):
    expected = program_results(tree, query)
    assert search(browser, site, query) == expected
    if query == "harbour":
        assert len(expected) == 4
        browser.save_screenshot(str(SHOTS / "serve-results.png"))


def test_a_result_opens_as_text_with_its_hits_marked(browser, site, tree):
    search(browser, site, "harbour")
    link = next(a for a in browser.find_elements(By.CSS_SELECTOR, "a.path")
                if a.text == "harbour.txt")
    link.click()
    WebDriverWait(browser, 10).until(lambda b: b.find_elements(By.ID, "text"))
    marks = browser.find_elements(By.CSS_SELECTOR, "#text mark")
    assert [mark.text for mark in marks] == ["harbour", "harbour"]
    assert browser.find_element(By.CSS_SELECTOR, ".hits h2").text == "2 occurrences"
    assert browser.find_element(By.ID, "text").text == (tree / "port" / "harbour.txt").read_text().rstrip("\n")
    browser.find_element(By.TAG_NAME, "body").send_keys("n")
    browser.find_element(By.TAG_NAME, "body").send_keys("n")
    assert browser.find_element(By.CSS_SELECTOR, "mark.current").get_attribute("id") == "t1"
    browser.save_screenshot(str(SHOTS / "serve-document.png"))
    # The way back keeps the query.
    browser.find_element(By.CSS_SELECTOR, "a.back").click()
    WebDriverWait(browser, 10).until(
        lambda b: b.find_element(By.ID, "status").get_attribute("data-done") == "true")
    assert browser.find_element(By.ID, "q").get_attribute("value") == "harbour"


def test_a_hostile_feed_runs_nothing(browser, site, tree):
    path = tree / "feeds" / "news.rss"
    browser.get(site + "doc?" + urllib.parse.urlencode({"path": str(path), "q": "harbour"}))
    frame = WebDriverWait(browser, 10).until(
        lambda b: b.find_element(By.CSS_SELECTOR, "iframe.feed"))
    assert frame.get_attribute("sandbox") == ""
    browser.switch_to.frame(frame)
    WebDriverWait(browser, 10).until(lambda b: "Quay" in b.find_element(By.TAG_NAME, "body").text)
    assert browser.find_element(By.TAG_NAME, "body").get_attribute("data-pwned") is None
    browser.switch_to.default_content()
    browser.save_screenshot(str(SHOTS / "serve-feed.png"))
    browser.switch_to.frame(frame)
    for link in browser.find_elements(By.TAG_NAME, "a"):
        link.click()  # a javascript: link must not run either
    browser.switch_to.default_content()
    assert browser.find_element(By.TAG_NAME, "body").get_attribute("data-pwned") is None
    assert browser.title != "PWNED"
    try:
        browser.switch_to.alert
        pytest.fail("a script of the feed opened an alert")
    except NoAlertPresentException:
        pass
    # The raw page of a saved web page runs nothing either.
    browser.get(site + "raw?" + urllib.parse.urlencode({"path": str(tree / "page.html")}))
    assert browser.find_element(By.TAG_NAME, "body").get_attribute("data-pwned") is None


def test_the_keyboard_alone_searches_and_opens(browser, site):
    browser.get(site)
    body = browser.find_element(By.TAG_NAME, "body")
    body.send_keys("/")
    active = browser.switch_to.active_element
    assert active.get_attribute("id") == "q"
    active.send_keys("harbour", Keys.ENTER)
    WebDriverWait(browser, 10).until(
        lambda b: b.find_element(By.ID, "status").get_attribute("data-done") == "true")
    active.send_keys(Keys.ARROW_DOWN)
    first = browser.switch_to.active_element
    assert "current" in first.get_attribute("class")
    first.send_keys("j")
    second = browser.switch_to.active_element
    assert second != first and "current" in second.get_attribute("class")
    name = second.find_element(By.CSS_SELECTOR, "a.path").text
    second.send_keys(Keys.ENTER)
    WebDriverWait(browser, 10).until(lambda b: b.find_elements(By.CSS_SELECTOR, ".bar h1"))
    assert browser.find_element(By.CSS_SELECTOR, ".bar h1").text == name


def test_a_narrow_window_never_scrolls_sideways(browser, site):
    browser.set_window_size(320, 800)
    try:
        search(browser, site, "harbour OR quay")
        width = browser.execute_script("return document.documentElement.scrollWidth")
        assert width <= browser.execute_script("return window.innerWidth")
        browser.save_screenshot(str(SHOTS / "serve-narrow.png"))
    finally:
        browser.set_window_size(1280, 900)
