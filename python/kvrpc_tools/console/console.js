// Adds a form to the procedure that the page shows, and sends it to the console.
(() => {
  "use strict";
  const $ = (selector, root = document) => root.querySelector(selector);
  const target = document.currentScript.dataset.target;
  const history = [];
  const MOST = 50, PAUSE = 250;

  function make(name, properties = {}, ...children) {
    const element = Object.assign(document.createElement(name), properties);
    element.append(...children);
    return element;
  }

  async function ask(path, procedure, argument) {
    const reply = await fetch(path, {
      method: "POST", headers: { "Content-Type": "application/json" },
      body: JSON.stringify({ procedure, argument }),
    });
    if (!reply.ok) throw new Error((await reply.text()).trim());
    return reply.json();
  }

  class Form {
    constructor(article) {
      this.article = article;
      this.name = article.id;
      const template = $(".told details pre", article);
      this.template = template ? template.textContent : "null";
      this.build();
      this.reset(this.template);
    }

    build() {
      const label = "argument-of-" + this.name;
      this.text = make("textarea", { id: label, spellcheck: false });
      this.send = make("button", { type: "submit", className: "send", textContent: "Call" });
      this.took = make("span", { className: "took" });
      this.problems = make("ul", { className: "problems", id: "problems-of-" + this.name });
      this.reply = make("pre", { hidden: true });
      this.history = make("ul", { className: "history" });
      const row = make("div", { className: "row" }, this.send,
        this.filler("Template", () => this.template), this.filler("Example", () => this.example()), this.took);
      const caption = make("label", { htmlFor: label, className: "quiet", textContent: "Argument as JSON" });
      const heading = make("h4", { textContent: "Reply", hidden: true });
      this.heading = heading;
      this.form = make("form", { className: "form" }, make("h3", { textContent: "Call it on " + target }), caption,
        this.text, this.problems, row, heading, this.reply, this.history);
      this.form.setAttribute("aria-label", "Call " + this.name);
      this.took.setAttribute("role", "status");
      this.form.addEventListener("submit", event => { event.preventDefault(); this.call(); });
      this.text.addEventListener("input", () => this.later());
      this.text.addEventListener("keydown", event => {
        if (event.key === "Enter" && (event.ctrlKey || event.metaKey)) this.call();
      });
      $(".calls", this.article).prepend(this.form);
    }

    filler(title, text) {
      const button = make("button", { type: "button", textContent: title });
      button.addEventListener("click", () => this.reset(text()));
      return button;
    }

    example() {
      const pre = [...this.article.querySelectorAll(".calls h4")].find(each => each.textContent === "Text for kvrpc.RpcClient.call");
      if (!pre) return this.template;
      return JSON.stringify(JSON.parse($("pre", pre.nextElementSibling).textContent)[this.name], null, 2);
    }

    reset(text) {
      this.text.value = text;
      this.text.rows = Math.min(16, text.split("\n").length + 1);
      this.show([]);
      this.took.textContent = "";
    }

    later() {
      clearTimeout(this.timer);
      this.timer = setTimeout(async () => {
        const asked = this.text.value;
        const answer = await ask("/check", this.name, asked).catch(error => ({ problems: [{ path: [], reason: error.message }] }));
        if (asked === this.text.value) this.show(answer.problems);
      }, PAUSE);
    }

    // Shows each problem below the text, and at the member's row of the table.
    show(problems) {
      this.article.querySelectorAll(".wrong").forEach(each => each.remove());
      this.problems.replaceChildren(...problems.map(problem => this.problem(problem)));
      this.text.setAttribute("aria-invalid", String(problems.length > 0));
      this.text.setAttribute("aria-describedby", this.problems.id);
    }

    problem({ path, reason }) {
      const row = this.row(path.filter(part => !/^\d+$/.test(part)));
      if (row) row.lastElementChild.append(make("strong", { className: "wrong", textContent: reason }));
      if (!path.length) return make("li", { textContent: reason });
      const button = make("button", { type: "button", textContent: path.join(".") });
      button.addEventListener("click", () => this.select(path[path.length - 1]));
      return make("li", {}, button, " " + reason);
    }

    // Returns the row of the argument's table for a path, by the depth of each row.
    row(path) {
      const table = $(".told table", this.article), above = [];
      if (!table || !path.length || !this.template.startsWith("{") && !this.template.startsWith("[")) return null;
      for (const cell of table.querySelectorAll("tbody th")) {
        const depth = Number((cell.className.match(/d(\d)/) || [0, 0])[1]);
        above.length = depth;
        above.push(cell.textContent);
        if (above.join(".") === path.join(".")) return cell.parentNode;
      }
      return null;
    }

    select(key) {
      const at = this.text.value.indexOf(`"${key}"`);
      this.text.focus();
      if (at >= 0) this.text.setSelectionRange(at, at + key.length + 2);
    }

    async call() {
      clearTimeout(this.timer);
      const argument = this.text.value;
      this.send.disabled = true;
      this.took.textContent = "waiting";
      let answer;
      try {
        answer = await ask("/call", this.name, argument);
      } catch (error) {
        answer = { error: error.message };
      }
      this.send.disabled = false;
      this.show(answer.problems || []);
      this.took.textContent = answer.reply ? `${answer.milliseconds.toFixed(1)} ms` :
        answer.error ? "failed" : "not sent";
      const shown = answer.error || answer.reply && pretty(answer.reply) || "";
      this.reply.textContent = shown;
      this.reply.hidden = this.heading.hidden = !shown;
      if (shown) this.remember(argument, answer);
    }

    remember(argument, answer) {
      history.unshift({ name: this.name, argument, outcome: outcome(answer), at: new Date() });
      history.length = Math.min(history.length, MOST);
      this.list();
    }

    // Shows the calls of this tab. They are kept nowhere else, because an argument may be secret.
    list() {
      const rows = history.map(call => {
        const button = make("button", { type: "button", textContent: call.name });
        button.addEventListener("click", () => again(call));
        return make("li", {}, button, make("span", { textContent: `${call.outcome}, ${call.at.toLocaleTimeString()}` }));
      });
      this.history.replaceChildren(...rows);
      const title = this.history.previousElementSibling;
      if (rows.length && title.tagName !== "H4") this.history.before(make("h4", { textContent: "History" }));
    }
  }

  function pretty(text) {
    try {
      return JSON.stringify(JSON.parse(text), null, 2);
    } catch {
      return text;  // a list too deep for the parser
    }
  }

  function outcome(answer) {
    if (answer.error) return "failed";
    const status = (answer.reply.match(/^\{"status":(\d+)/) || [0, "?"])[1];
    return `status ${status}, ${answer.milliseconds.toFixed(1)} ms`;
  }

  const forms = new Map();

  function shown() {
    const article = $("article.procedure.on");
    if (!article || !$(".calls", article)) return null;
    if (!forms.has(article.id)) forms.set(article.id, new Form(article));
    const form = forms.get(article.id);
    form.list();
    return form;
  }

  function again(call) {
    const fill = () => shown().reset(call.argument);
    if ($("article.on").id === call.name) return fill();
    window.addEventListener("hashchange", () => setTimeout(fill), { once: true });
    location.hash = call.name;
  }

  $(".tools").prepend(make("span", { className: "target", textContent: target }));
  window.addEventListener("hashchange", shown);
  shown();
})();
