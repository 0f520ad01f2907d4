/* The theme, and buttons that copy tables with all digits. */
(function () {
  "use strict";
  var root = document.documentElement;
  root.classList.add("scripted");

  function kept() {
    try { return localStorage.getItem("report-theme"); } catch (error) { return null; }
  }
  function keep(theme) {
    try { localStorage.setItem("report-theme", theme); } catch (error) { /* files may not keep anything */ }
  }
  var choice = document.getElementById("theme");
  function apply(theme) {
    if (theme === "light" || theme === "dark") root.dataset.theme = theme;
    else delete root.dataset.theme;
    choice.querySelectorAll("button").forEach(function (button) {
      button.setAttribute("aria-pressed", String(button.value === (root.dataset.theme || "auto")));
    });
  }
  choice.addEventListener("click", function (event) {
    if (!event.target.value) return;
    apply(event.target.value);
    keep(event.target.value);
  });
  apply(kept());

  function textOf(table) {
    return Array.from(table.rows).map(function (row) {
      return Array.from(row.cells).map(function (cell) {
        return cell.dataset.v === undefined ? cell.textContent.trim() : cell.dataset.v;
      }).join("\t");
    }).join("\n") + "\n";
  }

  /* Where the clipboard is refused, as it may be to files: by way of a selected text, as before there was one. */
  function copySelected(text) {
    var area = document.createElement("textarea");
    area.value = text;
    area.className = "aside";
    document.body.appendChild(area);
    area.select();
    var done = false;
    try { done = document.execCommand("copy"); } catch (error) { done = false; }
    area.remove();
    return done;
  }
  function copy(text) {
    function other() { return copySelected(text) ? Promise.resolve() : Promise.reject(new Error("refused")); }
    if (!navigator.clipboard || !navigator.clipboard.writeText) return other();
    return navigator.clipboard.writeText(text).catch(other);
  }
  function say(button, word) {
    button.textContent = word;
    clearTimeout(button.timer);
    button.timer = setTimeout(function () { button.textContent = "Copy"; }, 1600);
  }
  document.querySelectorAll("[data-copy]").forEach(function (button) {
    button.addEventListener("click", function () {
      var table = document.getElementById(button.dataset.copy);
      copy(textOf(table)).then(function () { say(button, "Copied"); }, function () {
        getSelection().selectAllChildren(table);
        say(button, "Press Ctrl+C");
      });
    });
  });

  /* What a link leads to may lie in something that is folded. */
  function unfold() {
    var id;
    try { id = decodeURIComponent(location.hash.slice(1)); } catch (error) { return; }
    var target = id && document.getElementById(id);
    if (!target) return;
    for (var part = target; part; part = part.parentElement) if (part.tagName === "DETAILS") part.open = true;
    target.scrollIntoView({ block: "center" });
  }
  addEventListener("hashchange", unfold);
  unfold();
  addEventListener("beforeprint", function () {
    document.querySelectorAll("details").forEach(function (part) { part.open = true; });
  });
}());
