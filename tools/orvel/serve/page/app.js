// orvel serve: the search page streams results as the search finds them (a JSON object a
// line); the document view moves between its marked terms. Text from documents is only ever
// put into the page as text, never as markup.
"use strict";

const searchForm = document.getElementById("query");
if (searchForm) startSearchPage(searchForm);
if (document.getElementById("text")) startDocumentView();

function element(name, className, text) {
  const node = document.createElement(name);
  if (className) node.className = className;
  if (text !== undefined) node.textContent = text;
  return node;
}

// The search page.
function startSearchPage(form) {
  const field = document.getElementById("q");
  const results = document.getElementById("results");
  const status = document.getElementById("status");
  let running = null; // the AbortController of the search under way
  let typing = 0;

  const parameters = () => {
    const query = new URLSearchParams(new FormData(form));
    if (!query.get("lang")) query.delete("lang");
    return query;
  };

  // Fills the form from the address: a link back from a document keeps its query.
  const fromAddress = new URLSearchParams(location.search);
  field.value = fromAddress.get("q") || "";
  for (const box of form.querySelectorAll("input[type=checkbox]")) {
    box.checked = fromAddress.getAll(box.name).includes(box.value);
  }
  const language = form.querySelector("select[name=lang]");
  if (fromAddress.get("lang")) language.value = fromAddress.get("lang");

  async function search() {
    if (running) running.abort(); // the next query cancels the running one
    const query = parameters();
    history.replaceState(null, "", "/?" + query.toString());
    results.replaceChildren();
    if (!field.value.trim()) {
      status.textContent = "";
      document.body.classList.remove("searched");
      return;
    }
    document.body.classList.add("searched");
    const controller = new AbortController();
    running = controller;
    status.textContent = "Searching…";
    const started = performance.now();
    let shown = 0;
    try {
      const response = await fetch("/search?" + query.toString(), { signal: controller.signal });
      if (!response.ok) throw new Error((await response.text()).trim());
      const reader = response.body.getReader();
      const decoder = new TextDecoder();
      let pending = "";
      for (;;) {
        const { value, done } = await reader.read();
        if (done) break;
        pending += decoder.decode(value, { stream: true });
        let end;
        while ((end = pending.indexOf("\n")) >= 0) {
          const line = JSON.parse(pending.slice(0, end));
          pending = pending.slice(end + 1);
          if (line.type === "match") {
            results.append(resultItem(line, field.value));
            shown += 1;
            status.textContent = `Searching… ${shown} found`;
          } else if (line.type === "end") {
            status.textContent = summary(line, performance.now() - started);
            status.dataset.done = "true";
          }
        }
      }
    } catch (error) {
      if (controller.signal.aborted) return;
      status.textContent = "The search failed: " + error.message;
    } finally {
      if (running === controller) running = null;
    }
  }

  form.addEventListener("submit", (event) => {
    event.preventDefault();
    clearTimeout(typing);
    search();
  });
  form.addEventListener("change", () => search());
  field.addEventListener("input", () => {
    clearTimeout(typing);
    typing = setTimeout(search, 250);
  });
  document.addEventListener("keydown", (event) => moveThroughResults(event, field, results));
  if (field.value) search();
}

function summary(end, milliseconds) {
  const files = end.matched === 1 ? "1 file" : `${end.matched} files`;
  let text = `${files} of ${end.searched} searched, in ${(milliseconds / 1000).toFixed(2)} s`;
  if (end.indexed) text += " with the index";
  if (end.truncated) text += `; the first ${end.matched} shown`;
  return text;
}

// A result: the file's name as a link to its text, its folder, kind, language and Finder
// comment, then its snippets with the terms marked.
function resultItem(result, query) {
  const item = element("li", "result");
  item.tabIndex = -1;
  const slash = result.path.lastIndexOf("/");
  const link = element("a", "path", result.path.slice(slash + 1) || result.path);
  link.href = "/doc?" + new URLSearchParams({ path: result.path, q: query }).toString();
  const facts = element("span", "facts");
  facts.append(element("span", "tag kind", result.kind));
  if (result.language) facts.append(element("span", "tag language", result.language));
  if (result.count > 1) facts.append(element("span", "tag count", `${result.count} hits`));
  item.append(link, facts, element("div", "folder", result.path.slice(0, slash) || "/"));
  if (result.comment) item.append(element("p", "comment", result.comment));
  const snippets = element("ul", "snippets");
  for (const occurrence of result.occurrences) {
    const line = element("li");
    line.append(element("span", "line", occurrence.line ? String(occurrence.line) : "comment"));
    line.append(...markedText(occurrence.snippet, occurrence.terms));
    snippets.append(line);
  }
  item.append(snippets);
  return item;
}

// The snippet as text nodes, each term in a <mark>; terms are [start, end) in UTF-16 units.
function markedText(snippet, terms) {
  const nodes = [];
  let at = 0;
  for (const [start, end] of terms) {
    if (start < at) continue;
    nodes.push(document.createTextNode(snippet.slice(at, start)));
    nodes.push(element("mark", "", snippet.slice(start, end)));
    at = end;
  }
  nodes.push(document.createTextNode(snippet.slice(at)));
  return nodes;
}

// "/" goes to the query; j and k move through the results, Enter opens the current one.
function moveThroughResults(event, field, results) {
  if (event.ctrlKey || event.metaKey || event.altKey) return;
  if (event.target === field) {
    if (event.key === "ArrowDown" && results.firstElementChild) {
      event.preventDefault();
      setCurrent(results, results.firstElementChild);
    }
    return;
  }
  if (event.target.tagName === "INPUT" || event.target.tagName === "SELECT") return;
  const current = results.querySelector(".result.current");
  if (event.key === "/") {
    event.preventDefault();
    field.focus();
    field.select();
  } else if (event.key === "j" || event.key === "ArrowDown") {
    const next = current ? current.nextElementSibling : results.firstElementChild;
    if (next) {
      event.preventDefault();
      setCurrent(results, next);
    }
  } else if (event.key === "k" || event.key === "ArrowUp") {
    const previous = current && current.previousElementSibling;
    if (previous) {
      event.preventDefault();
      setCurrent(results, previous);
    }
  } else if (event.key === "Enter" && current && event.target === current) {
    current.querySelector("a.path").click();
  }
}

function setCurrent(results, item) {
  for (const other of results.querySelectorAll(".result.current")) other.classList.remove("current");
  item.classList.add("current");
  item.focus();
  item.scrollIntoView({ block: "nearest" });
}

// The document view: n and p move between the marked terms, the list's links too.
function startDocumentView() {
  const marks = Array.from(document.querySelectorAll("#text mark"));
  let current = -1;
  const show = (index) => {
    if (!marks.length) return;
    if (current >= 0) marks[current].classList.remove("current");
    current = (index + marks.length) % marks.length;
    marks[current].classList.add("current");
    marks[current].scrollIntoView({ block: "center" });
  };
  document.addEventListener("keydown", (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    if (event.key === "n") show(current + 1);
    else if (event.key === "p") show(current - 1);
  });
  for (const link of document.querySelectorAll(".hits a")) {
    link.addEventListener("click", () => {
      show(marks.findIndex((mark) => "#" + mark.id === link.getAttribute("href")));
    });
  }
  if (location.hash) show(marks.findIndex((mark) => "#" + mark.id === location.hash));
}
