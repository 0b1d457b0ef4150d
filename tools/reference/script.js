// Shows one article at a time, searches, copies. Without this script the page shows everything.
(() => {
  "use strict";
  const $ = (selector, root = document) => root.querySelector(selector);
  const $$ = (selector, root = document) => [...root.querySelectorAll(selector)];
  const main = $("#content"), menu = $("#menu"), input = $("#search"), found = $("#found");
  const articles = new Map($$("main > article").map(each => [each.id, each]));

  function make(name, properties = {}, ...children) {
    const element = Object.assign(document.createElement(name), properties);
    element.append(...children);
    return element;
  }
  const link = id => make("a", { href: "#" + id, textContent: id });
  const tell = text => { $("#told").textContent = text; };

  // ---- what the page leaves to the script, to be smaller

  function addRecordList() {
    const names = $$("article.record").map(each => each.id).sort();
    const list = make("ol", { className: "numbers plain" }, ...names.map(id => make("li", {}, link(id))));
    const article = make("article", { id: "records", className: "server" },
      make("p", { className: "above", textContent: "All " + names.length }),
      make("h2", { textContent: "Records" }), list);
    list.style.listStyle = "none";
    list.style.paddingLeft = "0";
    main.append(article);
    articles.set("records", article);
    const item = make("li", {}, make("a", { href: "#records", textContent: "All records" }));
    $('a[href="#fields"]', menu).parentNode.before(item);
  }

  // Returns the records that have each key, from their tables.
  let places;
  function recordsByKey() {
    if (places) return places;
    places = new Map();
    for (const record of $$("article.record")) {
      for (const cell of $$("tbody th", record)) {
        if (!places.has(cell.textContent)) places.set(cell.textContent, []);
        places.get(cell.textContent).push(record.id);
      }
    }
    return places;
  }

  function addPlaces() {
    for (const term of $$("#fields dt")) {
      const names = recordsByKey().get(term.textContent) || [];
      const place = make("span", { className: "places" }, "in ");
      names.forEach((id, at) => place.append(at ? ", " : "", link(id)));
      term.nextElementSibling.append(place);
    }
  }

  // ---- one article at a time

  let shown = articles.get("start");

  function show(focus) {
    const id = decodeURIComponent(location.hash.slice(1)) || "start";
    const target = document.getElementById(id);
    const article = target && target.closest("main > article") || articles.get("start");
    if (article.id === "fields" && !$(".places", article)) addPlaces();
    $$(":not(.code) > pre", article).forEach(addCopyButton);
    shown.classList.remove("on");
    article.classList.add("on");
    shown = article;
    const heading = $("h2", article);
    document.title = (article.id === "start" ? "" : heading.textContent + " · ") + "kvrpc reference";
    menu.classList.remove("open");
    mark(article);
    if (target && target !== article) target.scrollIntoView();
    else window.scrollTo(0, 0);
    if (focus) {
      heading.tabIndex = -1;
      heading.focus({ preventScroll: true });
    }
  }

  // Marks where the article belongs in the contents, with the procedures of its group.
  function mark(article) {
    $$("[aria-current]", menu).forEach(each => each.removeAttribute("aria-current"));
    $$("li > ul", menu).forEach(each => each.remove());
    const above = $('.above a[href^="#group-"]', article);
    const group = above ? above.hash.slice(1) : article.id;
    const entry = $(`a[href="#${CSS.escape(group)}"]`, menu);
    if (group.startsWith("group-") && entry) {
      const names = $$("dt a", articles.get(group)).map(each => each.hash.slice(1));
      entry.after(make("ul", {}, ...names.map(id => make("li", {}, link(id)))));
    }
    const current = $(`a[href="#${CSS.escape(article.id)}"]`, menu) || entry;
    if (!current) return;
    current.setAttribute("aria-current", "page");
    if (current.offsetParent) {
      const box = current.getBoundingClientRect(), frame = menu.getBoundingClientRect();
      if (box.bottom > frame.bottom || box.top < frame.top) menu.scrollTop += box.top - frame.top - 120;
    }
  }

  // ---- search

  let entries, chosen = -1;

  function collect() {
    entries = [];
    const words = text => text.toLowerCase();
    for (const article of articles.values()) {
      const kind = article.classList[0], label = $("h2", article).textContent;
      if (kind === "start" || kind === "fields") continue;
      const note = $(".note", article), above = $(".above", article).textContent.split(" · ");
      const number = kind === "procedure" ? above[2].replace("procedure ", "") : "";
      const keys = $$("tbody th", article).map(each => words(each.textContent));
      entries.push({
        id: article.id, label, kind, number, keys: new Set(keys), note: note ? note.textContent : "",
        about: number ? `${above[1]} ${number}` : kind,
        older: Boolean($(".callout:not(.good)", article)),
        name: words(label), short: words(label).replace(/^[aoltsn]_|_1$/g, ""),
        text: words([label, number, note ? note.textContent : "", above.slice(0, 2).join(" ")].join(" ")),
        all: " " + keys.join(" "),
      });
    }
    for (const term of $$("#fields dt")) {
      const note = term.nextElementSibling.firstChild.textContent, label = term.textContent;
      entries.push({
        id: term.id, label, kind: "field", number: "", keys: new Set(), note, about: "field", older: false,
        name: words(label), short: words(label), text: words(label + " " + note), all: "",
      });
    }
  }

  const BASE = { procedure: 4, group: 6, server: 5, field: 1, record: 2 };

  function score(entry, words) {
    let sum = BASE[entry.kind] - (entry.older ? 3 : 0);
    for (const word of words) {
      if (entry.name === word || entry.short === word) sum += 100;
      else if (entry.number === word) sum += 90;
      else if (entry.name.startsWith(word) || entry.short.startsWith(word)) sum += 60;
      else if (entry.name.includes(word)) sum += 40;
      else if (entry.text.includes(" " + word)) sum += 20;
      else if (entry.text.includes(word)) sum += 10;
      else if (entry.keys.has(word)) sum += 8;
      else if (entry.all.includes(" " + word)) sum += 4;
      else return 0;
    }
    return sum - entry.name.length / 100;
  }

  const MOST = 20;

  function search() {
    if (!entries) collect();
    performance.mark("search");
    const words = input.value.toLowerCase().split(/[\s,]+/).filter(Boolean);
    const hits = words.length === 0 ? [] : entries
      .map(entry => [score(entry, words), entry]).filter(hit => hit[0] > 0)
      .sort((a, b) => b[0] - a[0]);
    found.replaceChildren(...hits.slice(0, MOST).map((hit, at) => option(hit[1], at, words[0])));
    if (words.length && !hits.length) {
      found.append(make("div", { className: "none", role: "option", textContent: "Nothing has all of these words." }));
      found.lastChild.setAttribute("aria-disabled", "true");
    }
    open(words.length > 0);
    choose(hits.length ? 0 : -1);
    tell(words.length ? `${hits.length} results` : "");
    performance.measure("search", "search");
  }

  function option(entry, at, word) {
    const label = make("b"), start = entry.name.indexOf(word);
    if (start < 0) label.textContent = entry.label;
    else label.append(entry.label.slice(0, start), make("mark", { textContent: entry.label.slice(start, start + word.length) }),
      entry.label.slice(start + word.length));
    const element = make("div", { id: "found-" + at, role: "option" },
      make("small", { textContent: entry.about }), label, make("p", { textContent: entry.note }));
    element.dataset.id = entry.id;
    return element;
  }

  function open(is) {
    found.hidden = !is;
    input.setAttribute("aria-expanded", String(is));
    if (!is) input.removeAttribute("aria-activedescendant");
  }

  function choose(at) {
    const before = found.children[chosen], now = found.children[at];
    if (before) before.setAttribute("aria-selected", "false");
    chosen = at;
    if (!now || !now.dataset.id) return;
    now.setAttribute("aria-selected", "true");
    input.setAttribute("aria-activedescendant", now.id);
    now.scrollIntoView({ block: "nearest" });
  }

  function go(element) {
    if (!element || !element.dataset.id) return;
    open(false);
    input.blur();
    if (location.hash === "#" + element.dataset.id) show(true);
    else location.hash = element.dataset.id;
  }

  const KEYS = {
    ArrowDown: () => choose(Math.min(chosen + 1, found.children.length - 1)),
    ArrowUp: () => choose(Math.max(chosen - 1, 0)),
    Enter: () => go(found.children[chosen]),
    Escape: () => { if (found.hidden) input.value = ""; open(false); },
  };

  input.addEventListener("input", search);
  input.addEventListener("focus", () => { if (input.value) search(); });
  input.addEventListener("blur", () => setTimeout(() => open(false), 150));
  input.addEventListener("keydown", event => {
    if (KEYS[event.key] && !event.isComposing) {
      event.preventDefault();
      KEYS[event.key]();
    }
  });
  found.addEventListener("mousedown", event => event.preventDefault());
  found.addEventListener("click", event => go(event.target.closest("[data-id]")));
  document.addEventListener("keydown", event => {
    const typing = event.target.matches("input, textarea, select");
    if (typing || event.ctrlKey || event.metaKey || event.altKey) return;
    if (event.key === "/") {
      event.preventDefault();
      input.focus();
      input.select();
    }
  });

  // ---- copying

  async function copy(text) {
    try {
      await navigator.clipboard.writeText(text);
      return true;
    } catch {
      const area = make("textarea", { value: text, className: "quiet" });
      document.body.append(area);
      area.select();
      const done = document.execCommand("copy");
      area.remove();
      return done;
    }
  }

  function addCopyButton(pre) {
    const title = pre.previousElementSibling ? pre.previousElementSibling.textContent : "text";
    const button = make("button", { type: "button", className: "copy", textContent: "Copy" });
    button.setAttribute("aria-label", "Copy: " + title);
    button.addEventListener("click", async () => {
      const done = await copy(pre.textContent);
      button.textContent = done ? "Copied" : "Not copied";
      tell(button.textContent);
      setTimeout(() => { button.textContent = "Copy"; }, 1500);
    });
    const box = make("div", { className: "code" });
    pre.replaceWith(box);
    box.append(pre, button);
  }

  // ---- the bar's buttons

  function addTools() {
    const root = document.documentElement;
    const dark = matchMedia("(prefers-color-scheme: dark)");
    const now = () => root.dataset.scheme || (dark.matches ? "dark" : "light");
    const scheme = make("button", { type: "button" });
    const name = () => { scheme.textContent = now() === "dark" ? "Light" : "Dark"; };
    scheme.addEventListener("click", () => {
      root.dataset.scheme = now() === "dark" ? "light" : "dark";
      try { localStorage.setItem("kvrpc-scheme", root.dataset.scheme); } catch { /* not kept then */ }
      name();
    });
    dark.addEventListener("change", name);
    name();
    const contents = make("button", { type: "button", className: "menu", textContent: "Contents" });
    contents.setAttribute("aria-controls", "menu");
    contents.setAttribute("aria-expanded", "false");
    contents.addEventListener("click", () => {
      const is = menu.classList.toggle("open");
      contents.setAttribute("aria-expanded", String(is));
      if (is) window.scrollTo(0, 0);
    });
    $(".tools").append(contents, scheme);
  }

  addRecordList();
  addTools();
  window.addEventListener("hashchange", () => show(true));
  show(false);
})();
