// Behaviour of the report page: a collapsible outline that follows the reader, and chart tips.
(function () {
  "use strict";

  // Outline: a toggle on every entry that has entries below it.
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

  // Outline: mark the entry of the last object whose top has scrolled past the top edge; at
  // the end of the page, the last object in view.
  var nav = document.querySelector(".outline");
  var links = {};
  document.querySelectorAll(".outline a[href^='#']").forEach(function (link) {
    links[link.getAttribute("href").slice(1)] = link;
  });
  var targets = Array.prototype.filter.call(document.querySelectorAll(".report [id]"),
    function (element) { return links[element.id]; });
  var current = null;
  function mark(link) {
    if (!link || link === current) return;
    if (current) current.classList.remove("current");
    link.classList.add("current");
    current = link;
    var top = link.offsetTop, bottom = top + link.offsetHeight;
    if (top < nav.scrollTop + 60 || bottom > nav.scrollTop + nav.clientHeight) {
      nav.scrollTop = top - nav.clientHeight / 3;
    }
  }
  function follow() {
    if (!targets.length) return;
    var atEnd = window.innerHeight + window.scrollY >= document.documentElement.scrollHeight - 2;
    var edge = atEnd ? window.innerHeight - 40 : 90;
    var chosen = targets[0];
    for (var i = 0; i < targets.length; i++) {
      if (targets[i].getBoundingClientRect().top > edge) break;
      chosen = targets[i];
    }
    mark(links[chosen.id]);
  }
  var pending = false;
  window.addEventListener("scroll", function () {
    if (pending) return;
    pending = true;
    window.requestAnimationFrame(function () {
      pending = false;
      follow();
    });
  }, { passive: true });
  follow();

  // Charts: the values at the pointer's x position.
  var tip = document.querySelector(".tooltip");
  if (!tip) return;
  document.querySelectorAll("svg.chart .hit").forEach(function (area) {
    area.addEventListener("mouseenter", function () {
      tip.textContent = area.getAttribute("data-tip");
      tip.hidden = false;
    });
    area.addEventListener("mousemove", function (event) {
      var x = event.clientX + 14, y = event.clientY + 14;
      var width = tip.offsetWidth, height = tip.offsetHeight;
      if (x + width > window.innerWidth - 8) x = event.clientX - width - 14;
      if (y + height > window.innerHeight - 8) y = event.clientY - height - 14;
      tip.style.left = x + "px";
      tip.style.top = y + "px";
    });
    area.addEventListener("mouseleave", function () {
      tip.hidden = true;
    });
  });
})();
