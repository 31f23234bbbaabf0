// Behaviour of the report page: collapsed sections drawn when first opened, long tables
// completed on request, a contents pane that can be searched and follows the reader, links
// between one series' objects, and chart tips.
//
// A collapsed section keeps what it holds as the text of a <noscript class="deferred"> until
// it first opens; the markup then put in place receives the event "content-added" (bubbling),
// on which the figures' script sets up what arrived. An element is hidden while
// element.closest("section.collapsed") is not null.
(function () {
  "use strict";
  document.documentElement.classList.add("js");

  // ---- Deferred markup ----
  function parse(holder) {
    var template = document.createElement("template");
    template.innerHTML = holder.textContent;
    return template.content;
  }
  function materialise(holder) {
    var parent = holder.parentNode;
    if (!parent) return;
    parent.replaceChild(parse(holder), holder);
    parent.dispatchEvent(new CustomEvent("content-added", { bubbles: true }));
  }
  function materialiseIn(section) {
    section.querySelectorAll(":scope > .section-body > noscript.deferred").forEach(materialise);
  }
  // The element of an id, drawing the deferred section that holds it first.
  function element(id) {
    var found = document.getElementById(id);
    if (found) return found;
    var key = 'id="' + id + '"';
    var holders = document.querySelectorAll("noscript.deferred");
    for (var i = 0; i < holders.length; i++) {
      if (holders[i].textContent.indexOf(key) < 0) continue;
      materialise(holders[i]);
      return document.getElementById(id);
    }
    return null;
  }
  // A printed page shows everything.
  window.addEventListener("beforeprint", function () {
    document.querySelectorAll("noscript.deferred").forEach(materialise);
    document.querySelectorAll("noscript.more-rows").forEach(function (holder) {
      if (holder.previousElementSibling) holder.previousElementSibling.click();
    });
  });

  // ---- Long tables: the held-back rows join the table on request ----
  var showRows = (document.querySelector(".report") || document.body).dataset.showRows || "%1";
  function offerRows(root) {
    root.querySelectorAll("noscript.more-rows").forEach(function (holder) {
      var table = holder.previousElementSibling;
      if (!table || table.tagName !== "TABLE" || holder.dataset.offered) return;
      holder.dataset.offered = "1";
      var button = document.createElement("button");
      button.type = "button";
      button.className = "more-rows";
      button.textContent = showRows.replace("%1", Number(holder.dataset.rows).toLocaleString("en"));
      button.addEventListener("click", function () {
        var rows = parse(holder).querySelectorAll("tbody > tr");
        var body = table.tBodies[table.tBodies.length - 1];
        rows.forEach(function (row) { body.appendChild(row); });
        holder.remove();
        button.remove();
      });
      holder.parentNode.insertBefore(button, holder);
    });
  }
  offerRows(document);
  document.addEventListener("content-added", function (event) { offerRows(event.target); });

  // ---- Collapsed sections ----
  function open(section) {
    if (!section.classList.contains("collapsed")) return;
    materialiseIn(section);
    section.classList.remove("collapsed");
    if (section.dataset.opened) return;
    section.dataset.opened = "1";
    section.dispatchEvent(new CustomEvent("section-open", { bubbles: true }));
  }
  // Opens every collapsed section around `element`, the outermost first.
  function reveal(element) {
    var around = [];
    for (var at = element; at; at = at.parentElement) {
      if (at.matches && at.matches("section.collapsed")) around.unshift(at);
    }
    around.forEach(open);
  }
  document.querySelectorAll("section.collapsible > .section-title").forEach(function (title) {
    title.setAttribute("role", "button");
    title.tabIndex = 0;
    function toggle() {
      var section = title.parentElement;
      if (section.classList.contains("collapsed")) open(section);
      else section.classList.add("collapsed");
    }
    title.addEventListener("click", toggle);
    title.addEventListener("keydown", function (event) {
      if (event.key === "Enter" || event.key === " ") { event.preventDefault(); toggle(); }
    });
  });
  // A link to an object in a collapsed section opens the section first.
  function go(id) {
    var target = element(id);
    if (!target) return false;
    reveal(target);
    // At once, not smoothly: links under captions appear as figures come into view and would
    // move the target while a smooth scroll runs.
    target.scrollIntoView({ behavior: "instant" });
    window.requestAnimationFrame(function () { target.scrollIntoView({ behavior: "instant" }); });
    return true;
  }
  document.addEventListener("click", function (event) {
    var link = event.target.closest && event.target.closest("a[href^='#']");
    if (!link) return;
    var id = decodeURIComponent(link.getAttribute("href").slice(1));
    if (go(id)) {
      event.preventDefault();
      history.replaceState(null, "", "#" + id);
    }
  });
  // After the other scripts of the page have set their listeners.
  window.addEventListener("DOMContentLoaded", function () {
    if (location.hash) go(decodeURIComponent(location.hash.slice(1)));
  });

  // ---- Contents: toggles ----
  document.querySelectorAll(".outline li").forEach(function (item) {
    var below = item.querySelector(":scope > ul");
    if (!below || !below.children.length) return;
    var toggle = document.createElement("button");
    toggle.type = "button";
    toggle.className = "toggle";
    toggle.setAttribute("aria-label", "toggle");
    toggle.addEventListener("click", function () {
      item.classList.toggle("collapsed");
    });
    item.insertBefore(toggle, item.firstChild);
  });

  // ---- Contents: search ----
  var nav = document.querySelector(".outline");
  var search = document.querySelector(".outline-search");
  var items = Array.prototype.slice.call(document.querySelectorAll(".outline li"));
  function textOf(item) {
    var link = item.querySelector(":scope > a");
    if (!link) return "";
    return ((link.getAttribute("title") || "") + " " + link.textContent).toLowerCase();
  }
  var texts = items.map(textOf);
  function filter() {
    var words = search.value.toLowerCase().split(/\s+/).filter(Boolean);
    nav.classList.toggle("searching", words.length > 0);
    if (!words.length) {
      items.forEach(function (item) { item.classList.remove("match", "on-path"); });
      return;
    }
    items.forEach(function (item) { item.classList.remove("match", "on-path"); });
    items.forEach(function (item, i) {
      var text = texts[i];
      if (!words.every(function (word) { return text.indexOf(word) >= 0; })) return;
      item.classList.add("match");
      for (var up = item.parentElement; up && up !== nav; up = up.parentElement) {
        if (up.tagName === "LI") up.classList.add("on-path");
      }
    });
  }
  if (search) {
    search.addEventListener("input", filter);
    search.addEventListener("keydown", function (event) {
      if (event.key === "Escape") { search.value = ""; filter(); }
      if (event.key === "Enter") {
        var first = nav.querySelector("li.match > a");
        if (first) first.click();
      }
    });
  }

  // ---- Contents: follow the reader ----
  // Marks the entry of the last object whose top has scrolled past the top edge (at the end of
  // the page, the last object in view) and keeps it in the pane's view.
  var links = {};
  document.querySelectorAll(".outline a[href^='#']").forEach(function (link) {
    var id = link.getAttribute("href").slice(1);
    if (!links[id]) links[id] = link;
  });
  var targets = [];
  function findTargets() {
    targets = Array.prototype.filter.call(document.querySelectorAll(".report [id]"),
      function (element) { return links[element.id]; });
  }
  findTargets();
  document.addEventListener("content-added", findTargets);
  var current = null;
  function mark(link) {
    if (!link || link === current) return;
    if (current) current.classList.remove("current");
    link.classList.add("current");
    current = link;
    for (var up = link.parentElement; up && up !== nav; up = up.parentElement) {
      if (up.tagName === "LI") up.classList.remove("collapsed");
    }
    var box = link.getBoundingClientRect(), pane = nav.getBoundingClientRect();
    var head = nav.querySelector(".outline-head");
    var top = pane.top + (head ? head.offsetHeight : 0);
    if (box.top < top + 10 || box.bottom > pane.bottom - 10) {
      nav.scrollTop += box.top - top - (pane.bottom - top) / 3;
    }
  }
  function follow() {
    if (!targets.length) return;
    var atEnd = window.innerHeight + window.scrollY >= document.documentElement.scrollHeight - 2;
    var edge = atEnd ? window.innerHeight - 40 : 90;
    var chosen = null;
    for (var i = 0; i < targets.length; i++) {
      if (!targets[i].getClientRects().length) continue;  // in a collapsed section
      if (targets[i].getBoundingClientRect().top > edge) break;
      chosen = targets[i];
    }
    mark(links[(chosen || targets[0]).id]);
  }
  var pending = false;
  function later() {
    if (pending) return;
    pending = true;
    window.requestAnimationFrame(function () {
      pending = false;
      follow();
    });
  }
  window.addEventListener("scroll", later, { passive: true });
  document.addEventListener("section-open", later);
  follow();

  // ---- One series' objects ----
  // Under the caption of an object that names a series, links to the same series' objects
  // elsewhere, labelled by their sections; made when the object first comes into view. Objects
  // of sections not drawn yet are found in their sections' text.
  var report = document.querySelector(".report");
  var bySeries = {};
  function sectionTitle(object) {
    var section = object.parentElement && object.parentElement.closest("section");
    var title = section && section.querySelector(":scope > .section-title");
    if (!title) return "";
    var count = title.querySelector(".section-count");
    var text = title.textContent;
    return (count ? text.slice(0, text.length - count.textContent.length) : text).trim();
  }
  function note(series, id, label) {
    (bySeries[series] = bySeries[series] || []).push({ id: id, label: label });
  }
  document.querySelectorAll(".report [data-series]").forEach(function (object) {
    if (object.id) note(object.dataset.series, object.id, sectionTitle(object));
  });
  document.querySelectorAll("noscript.deferred").forEach(function (holder) {
    var label = sectionTitle(holder), found, pattern = / id="([^"]+)" data-series="([^"]+)"/g;
    while ((found = pattern.exec(holder.textContent))) note(found[2], found[1], label);
  });
  function addLinks(object) {
    if (object.dataset.linked) return;
    object.dataset.linked = "1";
    var others = (bySeries[object.dataset.series] || []).filter(function (other) { return other.id !== object.id; });
    if (!others.length) return;
    var line = document.createElement("nav");
    line.className = "series-links";
    line.appendChild(document.createTextNode(report.dataset.thisSeries + " "));
    others.forEach(function (other, i) {
      if (i) line.appendChild(document.createTextNode(" \u00B7 "));
      var link = document.createElement("a");
      link.href = "#" + other.id;
      link.textContent = other.label || other.id;
      line.appendChild(link);
    });
    var caption = object.querySelector("figcaption, caption");
    if (caption && caption.tagName === "CAPTION") caption.appendChild(line);
    else if (caption) caption.after(line);
    else object.insertBefore(line, object.firstChild);
  }
  function linkObjects(root) {
    var objects = Array.prototype.filter.call(root.querySelectorAll("[data-series][id]"), function (object) {
      return (bySeries[object.dataset.series] || []).length > 1;
    });
    if (!("IntersectionObserver" in window)) { objects.forEach(addLinks); return; }
    objects.forEach(function (object) { seen.observe(object); });
  }
  var seen = "IntersectionObserver" in window ? new IntersectionObserver(function (entries) {
    entries.forEach(function (entry) {
      if (!entry.isIntersecting) return;
      addLinks(entry.target);
      seen.unobserve(entry.target);
    });
  }, { rootMargin: "200px" }) : null;
  linkObjects(report);
  document.addEventListener("content-added", function (event) { linkObjects(event.target); });
})();
