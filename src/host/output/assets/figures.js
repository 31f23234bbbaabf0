// Behaviour of the report's figures: line charts (a hover layer that reads each chart's values
// back from its paths, and the switch between recent and whole history), tabs, value tips, the
// model system graph (views, a significance filter, hover highlight of a series' inputs and
// outputs, details) and impact trees (choosing a series shows its plot).
(function () {
  "use strict";

  var tip = document.querySelector(".tooltip");
  function placeTip(event) {
    var x = event.clientX + 14, y = event.clientY + 14;
    if (x + tip.offsetWidth > window.innerWidth - 8) x = event.clientX - tip.offsetWidth - 14;
    if (y + tip.offsetHeight > window.innerHeight - 8) y = event.clientY - tip.offsetHeight - 14;
    tip.style.left = x + "px";
    tip.style.top = y + "px";
  }
  function setupTips(root) {
    if (!tip) return;
    root.querySelectorAll(".figure [data-tip]").forEach(function (item) {
      item.addEventListener("mouseenter", function () {
        tip.textContent = item.getAttribute("data-tip");
        tip.hidden = false;
      });
      item.addEventListener("mousemove", placeTip);
      item.addEventListener("mouseleave", function () { tip.hidden = true; });
    });
  }

  // The page store (#page-store: base64 of a zlib-compressed JSON array of texts): what only
  // the script uses, such as whole histories and plots shown on request; opened on first use.
  var stored = null;
  function pageStore() {
    if (!stored) {
      var element = document.getElementById("page-store");
      stored = !element || !window.DecompressionStream ? Promise.resolve([]) : Promise.resolve().then(function () {
        var binary = atob(element.textContent.trim()), bytes = new Uint8Array(binary.length);
        for (var i = 0; i < binary.length; i++) bytes[i] = binary.charCodeAt(i);
        var stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream("deflate"));
        return new Response(stream).text().then(JSON.parse);
      }).catch(function () { return []; });
    }
    return stored;
  }

  // Line charts. Each path is whole numbers on the chart's grid: "M" starts a stretch at an
  // absolute (position, y), "l" pairs step from the last point; a band runs along its upper
  // bound and back along its lower one. A value is high - y * unit, shown with the given
  // decimals (data-v "high unit [decimals]").
  function pathPoints(d) {
    var stretches = [], points = null, x = 0, y = 0, command = "";
    var tokens = d.match(/[MlzZ]|-?\d+/g) || [];
    for (var i = 0; i < tokens.length; i++) {
      var token = tokens[i];
      if (/[MlzZ]/.test(token)) {
        command = token;
        if (command === "M") stretches.push(points = []);
        continue;
      }
      var dx = Number(token), dy = Number(tokens[++i]);
      if (command === "M") { x = dx; y = dy; } else { x += dx; y += dy; }
      points.push([x, y]);
    }
    return stretches;
  }
  function readLines(svg, count) {
    var lines = [], bands = {};
    svg.querySelectorAll("svg.plot path[data-v]").forEach(function (path) {
      var scale = path.getAttribute("data-v").split(" ").map(Number);
      var decimals = scale.length > 2 ? scale[2] : Math.max(0, -Math.floor(Math.log10(scale[1]) + 1e-9));
      // In halves: the span may overflow a double.
      function value(y) { return (2 * (scale[0] / 2 - y * scale[1] / 2)).toFixed(decimals); }
      var stretches = pathPoints(path.getAttribute("d"));
      if (path.classList.contains("band")) {
        var lower = [], upper = [];
        stretches.forEach(function (points) {
          var half = points.length / 2;
          for (var k = 0; k < half; k++) {
            upper[points[k][0]] = value(points[k][1]);
            lower[points[points.length - 1 - k][0]] = value(points[points.length - 1 - k][1]);
          }
        });
        bands[path.getAttribute("data-s")] = { lower: lower, upper: upper };
      } else {
        var values = new Array(count);
        stretches.forEach(function (points) {
          points.forEach(function (point) { values[point[0]] = value(point[1]); });
        });
        lines.push({ name: path.getAttribute("data-name"), values: values, s: path.getAttribute("data-s") });
      }
    });
    lines.forEach(function (line) { line.band = bands[line.s]; });
    return lines;
  }
  function xLabels(svg) {
    if (svg.hasAttribute("data-x")) {
      var list = JSON.parse(svg.getAttribute("data-x"));
      return function (i) { return list[i]; };
    }
    var start = Number(svg.getAttribute("data-x0")), step = Number(svg.getAttribute("data-dx"));
    var length = Number(svg.getAttribute("data-xl"));
    return function (i) {
      return new Date((start + i * step) * 1000).toISOString().replace("T", " ").slice(0, length);
    };
  }
  // A chart drawn for its recent view keeps its whole paths in the page store.
  function wholePaths(svg) {
    if (!svg.hasAttribute("data-whole-paths")) return Promise.resolve(false);
    return pageStore().then(function (list) {
      var texts = list[Number(svg.getAttribute("data-whole-paths"))];
      if (!svg.hasAttribute("data-whole-paths") || typeof texts !== "string") return false;
      texts = texts.split("\n");
      svg.querySelectorAll("svg.plot path[data-v]").forEach(function (path, k) {
        if (k < texts.length) path.setAttribute("d", texts[k]);
      });
      svg.removeAttribute("data-whole-paths");
      return true;
    });
  }
  function setupLineChart(svg) {
    var plot = svg.querySelector("svg.plot");
    var count = Number(svg.getAttribute("data-n"));
    if (!plot || !count || svg.dataset.ready) return;
    svg.dataset.ready = "1";
    var data = null, labelAt = xLabels(svg), ns = svg.namespaceURI;
    var cursor = document.createElementNS(ns, "path");
    cursor.setAttribute("class", "cursor");
    cursor.setAttribute("hidden", "");
    plot.appendChild(cursor);
    var area = document.createElementNS(ns, "rect");
    area.setAttribute("class", "hover-area");
    var whole = (svg.getAttribute("data-whole") || plot.getAttribute("viewBox")).split(" ").map(Number);
    area.setAttribute("x", "-1");
    area.setAttribute("y", String(whole[1] - whole[3]));
    area.setAttribute("width", String(count + 1));
    area.setAttribute("height", String(3 * whole[3]));
    plot.appendChild(area);
    // Marked positions (an outlier's time) name their mark in the tip.
    var marks = {};
    plot.querySelectorAll("path.mark").forEach(function (mark) {
      var at = Number((mark.getAttribute("d").match(/^M(\d+)/) || [])[1]);
      marks[at] = (marks[at] ? marks[at] + ", " : "") + mark.getAttribute("data-label");
    });
    function text(i) {
      var lines = [labelAt(i) + (marks[i] ? "  (" + marks[i] + ")" : "")];
      data.forEach(function (line) {
        var shown = line.name + ": " + (line.values[i] === undefined ? "\u2013" : line.values[i]);
        if (line.band && line.band.lower[i] !== undefined) {
          shown += "  [" + line.band.lower[i] + ", " + line.band.upper[i] + "]";
        }
        lines.push(shown);
      });
      return lines.join("\n");
    }
    area.addEventListener("mousemove", function (event) {
      if (!tip) return;
      data = data || readLines(svg, count);
      // The pointer in the chart's units, then in the plot's positions.
      var point = svg.createSVGPoint(), view = plot.viewBox.baseVal;
      point.x = event.clientX;
      point.y = event.clientY;
      point = point.matrixTransform(svg.getScreenCTM().inverse());
      var at = view.x + (point.x - plot.x.baseVal.value) / plot.width.baseVal.value * view.width;
      var i = Math.max(0, Math.min(count - 1, Math.round(at)));
      cursor.setAttribute("d", "M" + i + "," + view.y + "v" + view.height);
      cursor.removeAttribute("hidden");
      tip.textContent = text(i);
      tip.hidden = false;
      placeTip(event);
    });
    area.addEventListener("mouseleave", function () {
      cursor.setAttribute("hidden", "");
      if (tip) tip.hidden = true;
    });
    // Recent history or the whole of it: the plot's view box and the x ticks of the view.
    if (!svg.hasAttribute("data-recent")) return;
    var words = svg.getAttribute("data-views").split("\n");
    var bar = document.createElement("div");
    bar.className = "chart-views";
    words.forEach(function (word, k) {
      var button = document.createElement("button");
      button.type = "button";
      button.className = "tab" + (k === 0 ? " active" : "");
      button.textContent = word;
      button.addEventListener("click", function () {
        wholePaths(svg).then(function (changed) {
          if (changed) data = null;
          plot.setAttribute("viewBox", svg.getAttribute(k === 0 ? "data-recent" : "data-whole"));
          svg.classList.toggle("view-recent", k === 0);
          bar.querySelectorAll(".tab").forEach(function (other) { other.classList.toggle("active", other === button); });
        });
      });
      bar.appendChild(button);
    });
    svg.parentNode.insertBefore(bar, svg);
  }

  // Tabs: a button shows the pane of its name within its own figure.
  function setupTabs(bar) {
    var figure = bar.parentElement;
    bar.querySelectorAll(".tab").forEach(function (button) {
      button.addEventListener("click", function () {
        bar.querySelectorAll(".tab").forEach(function (other) {
          other.classList.toggle("active", other === button);
        });
        figure.querySelectorAll(":scope > .pane").forEach(function (pane) {
          pane.hidden = pane.getAttribute("data-pane") !== button.getAttribute("data-pane");
        });
      });
    });
  }

  function fillPlot(plot) {
    if (!plot.hasAttribute("data-plot") || plot.firstChild) return;
    pageStore().then(function (list) {
      if (plot.firstChild) return;
      plot.innerHTML = list[Number(plot.getAttribute("data-plot"))] || "";
      setupTips(plot);
      plot.querySelectorAll("svg.line-chart").forEach(setupLineChart);
    });
  }

  // Impact trees: a chosen series shows its plot.
  function setupImpact(figure) {
    var plots = figure.querySelectorAll(".impact-plot");
    if (!plots.length) return;
    figure.querySelectorAll(".tree-node").forEach(function (node) {
      node.addEventListener("click", function () {
        var name = node.getAttribute("data-series"), found = false;
        plots.forEach(function (plot) {
          var match = plot.getAttribute("data-series") === name;
          plot.hidden = !match;
          if (match) fillPlot(plot);
          found = found || match;
        });
        figure.querySelectorAll(".tree-node.chosen").forEach(function (other) {
          other.classList.remove("chosen");
        });
        if (found) node.classList.add("chosen");
      });
    });
  }

  // ---------------------------------------------------------------- model system graph
  // Every graph figure names its data (one JSON data element per graph on the
  // page) and draws its views from them: a layered drawing with one column per metric, where a
  // column of many series folds into one box until opened, or one series with its inputs and
  // outputs. The layout units are those of the static picture the page carries (graph_svg.cpp).
  var ROW = 18, GAP = 90, EGO_GAP = 26, EGO_SPAN = 230, LABEL = 28, FOLD_TOTAL = 150, FOLD_COLUMN = 15;
  var graphData = {};
  var graphTip = document.querySelector(".tooltip");
  function fixed(value) { return Math.round(value * 10) / 10; }
  function textWidth(text) { return text.length * 6.3; }
  function shorten(text, most) { return text.length <= most ? text : text.slice(0, most - 1) + "\u2026"; }
  function esc(text) {
    return String(text).replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;").replace(/"/g, "&quot;");
  }
  function dataOf(id) {
    if (!(id in graphData)) {
      var element = document.getElementById(id);
      try { graphData[id] = element ? JSON.parse(element.textContent) : null; } catch (e) { graphData[id] = null; }
    }
    return graphData[id];
  }
  function head(x, y, direction) {
    var back = x - 7 * direction;
    return "M" + fixed(x) + "," + fixed(y) + " L" + fixed(back) + "," + fixed(y - 3.5) + " L" + fixed(back) + "," + fixed(y + 3.5) + " Z";
  }

  function setupGraph(root) {
    var data = dataOf(root.getAttribute("data-graph"));
    if (!data) return;
    var nodes = data.n.map(function (n, i) {
      return { index: i, label: n[0], short: shorten(n[1] || n[0], LABEL), target: n[2] === 1,
               rank: n[3] === null ? Infinity : n[3], outliers: n[4], info: n[5], column: data.c[i], order: data.o[i] };
    });
    var edges = data.e.map(function (e) {
      return { from: e[0], to: e[1], p: e[2], ptext: e[3], sign: e[4], lag: e[5], lags: e[6] };
    });
    var svg = root.querySelector("svg.graph");
    var levels = root.getAttribute("data-levels").split(" ").map(Number);
    var words = root.getAttribute("data-words").split("\n");
    var viewPick = root.querySelector(".graph-view");
    var seriesPick = root.querySelector(".graph-series");
    var slider = root.querySelector(".graph-sig");
    var levelText = root.querySelector(".graph-sig-value");
    var count = root.querySelector(".graph-count");
    var details = root.querySelector(".graph-details");
    var top = Number(root.getAttribute("data-top"));
    var showOutliers = root.getAttribute("data-outliers") === "1";
    var state = {
      view: root.getAttribute("data-view"),
      centre: Number(root.getAttribute("data-centre")),
      level: levels[Number(slider.value)],
      folded: null
    };
    var drawn = { slots: {}, links: [] };

    function passes(edge) { return edge.p === null || edge.p <= state.level; }
    function visibleSet() {
      var chosen = {};
      if (state.view === "all") {
        nodes.forEach(function (node) { chosen[node.index] = true; });
      } else if (state.view === "noInputs") {
        var entered = {};
        edges.forEach(function (edge) { entered[edge.to] = true; });
        nodes.forEach(function (node) { if (node.target && !entered[node.index]) chosen[node.index] = true; });
      } else if (state.view === "single") {
        chosen[state.centre] = true;
        edges.forEach(function (edge) {
          if (edge.to === state.centre) chosen[edge.from] = true;
          if (edge.from === state.centre) chosen[edge.to] = true;
        });
      } else {
        var targets = nodes.filter(function (node) { return node.target; });
        targets.sort(function (a, b) { return a.rank - b.rank || a.index - b.index; });
        targets.slice(0, Math.max(0, top)).forEach(function (node) {
          chosen[node.index] = true;
          edges.forEach(function (edge) { if (edge.to === node.index) chosen[edge.from] = true; });
        });
      }
      return chosen;
    }
    function edgeInView(edge, chosen) {
      if (edge.from === edge.to || !chosen[edge.from] || !chosen[edge.to]) return false;
      return state.view !== "single" || edge.from === state.centre || edge.to === state.centre;
    }

    // Slots: where a node is drawn. A series of an open column is its own slot; a folded
    // column is one slot ("c" + column) for all its series.
    function layered(shown) {
      var lists = [], tallest = 1, x = 0, out = { slots: {}, slotOf: {}, headers: [], box: null };
      shown.forEach(function (node) { (lists[node.column] = lists[node.column] || []).push(node); });
      if (state.folded === null) {
        state.folded = {};
        if (shown.length > FOLD_TOTAL) {
          lists.forEach(function (list, c) { if (list && list.length > FOLD_COLUMN) state.folded[c] = true; });
        }
      }
      lists.forEach(function (list) {
        if (!list) return;
        list.sort(function (a, b) { return a.order - b.order; });
      });
      lists.forEach(function (list, c) { if (list) tallest = Math.max(tallest, state.folded[c] ? 1 : list.length); });
      lists.forEach(function (list, c) {
        if (!list) return;
        var folded = !!state.folded[c], widest = textWidth(data.m[c] + " (" + list.length + ")") + 14;
        if (folded) {
          var text = words[10].replace("%1", list.length);
          widest = Math.max(widest, textWidth(text) + 16);
          var slot = { key: "c" + c, x: x, y: (tallest - 1) / 2 * ROW, right: x + widest - 8, text: text, column: c,
                       place: out.headers.length, title: data.m[c] + " \u00b7 " + text + " \u2014 " + words[11] };
          out.slots[slot.key] = slot;
          list.forEach(function (node) { out.slotOf[node.index] = slot.key; });
        } else {
          list.forEach(function (node) { widest = Math.max(widest, textWidth(node.short) + 12); });
          var first = (tallest - list.length) / 2 * ROW;
          list.forEach(function (node, k) {
            var key = "n" + node.index;
            out.slots[key] = { key: key, x: x, y: first + ROW * k, node: node, text: node.short, title: node.label };
            out.slotOf[node.index] = key;
          });
          list.forEach(function (node) { out.slots["n" + node.index].right = x + widest + 4; });
        }
        out.headers.push({ x: x, column: c, text: data.m[c], size: list.length, folded: folded });
        x += widest + GAP;
      });
      out.box = [-70, -34, Math.max(x - GAP + 10, 60) + 70, ROW * tallest + 38];
      return out;
    }
    function ego(shown) {
      var inputs = [], outputs = [], seen = {}, out = { slots: {}, slotOf: {}, headers: [], box: null }, widest = 40;
      seen[state.centre] = true;
      edges.forEach(function (edge) {
        if (edge.to === state.centre && !seen[edge.from]) { seen[edge.from] = true; inputs.push(edge.from); }
      });
      edges.forEach(function (edge) {
        if (edge.from === state.centre && !seen[edge.to]) { seen[edge.to] = true; outputs.push(edge.to); }
      });
      function place(index, x, y) {
        var node = nodes[index], key = "n" + index;
        out.slots[key] = { key: key, x: x, y: y, node: node, text: shorten(node.label, 40), title: node.label,
                           side: x < 0 ? -1 : x > 0 ? 1 : 0 };
        out.slotOf[index] = key;
        widest = Math.max(widest, textWidth(out.slots[key].text));
      }
      [[inputs, -EGO_SPAN], [outputs, EGO_SPAN]].forEach(function (column) {
        var first = -EGO_GAP * (column[0].length - 1) / 2;
        column[0].forEach(function (index, k) { place(index, column[1], first + EGO_GAP * k); });
      });
      place(state.centre, 0, 0);
      var rows = Math.max(inputs.length, outputs.length, 1);
      out.box = [-EGO_SPAN - widest - 24, -EGO_GAP * rows / 2 - 30, 2 * (EGO_SPAN + widest + 24), EGO_GAP * rows + 60];
      return out;
    }

    function draw() {
      var chosen = visibleSet(), single = state.view === "single";
      var shown = nodes.filter(function (node) { return chosen[node.index]; });
      var layout = single ? ego(shown) : layered(shown);
      var total = 0, kept = 0, links = {}, order = [], arcs = 0;
      edges.forEach(function (edge, e) {
        if (!edgeInView(edge, chosen)) return;
        total++;
        if (!passes(edge)) return;
        kept++;
        var from = layout.slotOf[edge.from], to = layout.slotOf[edge.to];
        if (from === to) return;
        var key = from + ">" + to;
        if (!links[key]) { links[key] = { from: from, to: to, edges: [], pos: 0, neg: 0 }; order.push(key); }
        var link = links[key];
        link.edges.push(edge);
        if (edge.sign > 0) link.pos++;
        if (edge.sign < 0) link.neg++;
      });
      var parts = ['<g class="edges">'];
      order.forEach(function (key, k) {
        var link = links[key], a = layout.slots[link.from], b = layout.slots[link.to], d, tip;
        var many = link.edges.length > 1;
        var sign = link.pos && !link.neg ? "pos" : link.neg && !link.pos ? "neg" : "mixed";
        if (single) {
          var direction = b.x >= a.x ? 1 : -1;
          d = "M" + fixed(a.x + 7 * direction) + "," + fixed(a.y) + " L" + fixed(b.x - 14 * direction) + "," + fixed(b.y);
          tip = head(b.x - 7 * direction, b.y, direction);
        } else if (!a.node && !b.node && Math.abs(b.place - a.place) > 1) {
          // Between folded columns that are not neighbours: an arc over (rightward) or under
          // (leftward) the boxes between them, higher the farther it reaches.
          var forward = b.x > a.x, lift = (forward ? -1 : 1) * (14 + 12 * Math.abs(b.place - a.place));
          var from = forward ? a.right : a.x - 7, to = forward ? b.x - 7 : b.right;
          d = "M" + fixed(from) + "," + fixed(a.y) + " C" + fixed(from) + "," + fixed(a.y + lift) + " " + fixed(to) +
            "," + fixed(b.y + lift) + " " + fixed(to) + "," + fixed(b.y);
          tip = head(to, b.y, forward ? 1 : -1);
          arcs = Math.max(arcs, Math.abs(lift));
        } else if (b.x > a.x) {
          var mid = (a.right + b.x - 7) / 2;
          d = "M" + fixed(a.right) + "," + fixed(a.y) + " C" + fixed(mid) + "," + fixed(a.y) + " " + fixed(mid) + "," +
            fixed(b.y) + " " + fixed(b.x - 7) + "," + fixed(b.y);
          tip = head(b.x - 7, b.y, 1);
        } else {
          var bend = Math.min(a.x, b.x) - 26 - Math.abs(b.y - a.y) * 0.12;
          d = "M" + fixed(a.x - 7) + "," + fixed(a.y) + " C" + fixed(bend) + "," + fixed(a.y) + " " + fixed(bend) + "," +
            fixed(b.y) + " " + fixed(b.x - 7) + "," + fixed(b.y);
          tip = head(b.x - 7, b.y, 1);
        }
        var width = many ? 1 + 1.2 * Math.log(link.edges.length) / Math.LN2 : 1.6;
        var highest = Math.max.apply(null, link.edges.map(function (edge) { return edge.p === null ? 0 : edge.p; }));
        parts.push('<g class="edge ' + sign + '" data-link="' + k + '" data-p="' + highest + '"><path class="edge-line" stroke-width="' +
          fixed(width) + '" d="' + d + '"/><path class="edge-head" d="' + tip + '"/></g>');
      });
      parts.push('</g><g class="nodes">');
      layout.headers.forEach(function (header) {
        var toggle = header.size > 1;
        parts.push('<text class="column-title' + (toggle ? " toggle" : "") + '" data-column="' + header.column +
          '" x="' + fixed(header.x - 6) + '" y="-16">' + (toggle ? (header.folded ? "\u25b8 " : "\u25be ") : "") +
          esc(header.text) + (toggle ? " (" + header.size + ")" : "") + (toggle ? "<title>" + esc(words[11]) + "</title>" : "") +
          "</text>");
      });
      Object.keys(layout.slots).forEach(function (key) {
        var slot = layout.slots[key], node = slot.node;
        var at = ' transform="translate(' + fixed(slot.x) + " " + fixed(slot.y) + ')"';
        if (!node) {
          parts.push('<g class="node box" data-slot="' + key + '"' + at + '><title>' + esc(slot.title) +
            '</title><rect x="-6" y="-9" width="' + fixed(slot.right - slot.x + 2) + '" height="18" rx="4"/><text x="4" y="4">' +
            esc(slot.text) + "</text></g>");
          return;
        }
        var label = slot.side === undefined || slot.side > 0 ? '<text class="node-label" x="10" y="4">'
          : slot.side < 0 ? '<text class="node-label" x="-10" y="4" text-anchor="end">'
          : '<text class="node-label centre-label" x="0" y="21" text-anchor="middle">';
        parts.push('<g class="node ' + (node.target ? "target" : "input-only") + '" data-slot="' + key +
          '" data-label="' + esc(node.label) + '"' + at +
          "><title>" + esc(slot.title) + '</title><circle r="5"/>' +
          (showOutliers && node.outliers > 0 ? '<circle class="outlier-ring" r="8.5"/>' : "") + label +
          esc(slot.text) + "</text></g>");
      });
      parts.push("</g>");
      root.classList.remove("has-focus"); // the focused node may be gone
      svg.innerHTML = parts.join("");
      // Room for the arcs between folded columns.
      var box = layout.box.slice();
      box[1] -= Math.max(0, arcs * 0.75 - 20);
      box[3] += Math.max(0, arcs * 0.75 - 20) * 2;
      svg.setAttribute("viewBox", box.map(fixed).join(" "));
      svg.style.maxWidth = fixed(box[2] * 1.25) + "px";
      drawn = { slots: layout.slots, links: order.map(function (key) { return links[key]; }) };
      levelText.textContent = "p \u2264 " + state.level;
      count.textContent = words[0].replace("%1", shown.length).replace("%2", kept).replace("%3", total);
      root.setAttribute("data-view", state.view);
      root.classList.toggle("single-view", single);
    }

    function nameOf(slot) { return slot.node ? slot.node.label : data.m[slot.column] + " (" + slot.text + ")"; }
    function linkTip(link) {
      var a = drawn.slots[link.from], b = drawn.slots[link.to];
      var lines = [nameOf(a) + " \u2192 " + nameOf(b)];
      if (link.edges.length === 1) {
        var edge = link.edges[0], facts = [];
        if (edge.ptext) facts.push("p " + edge.ptext);
        if (edge.lag !== null) facts.push(words[6] + " " + edge.lag + (edge.lags > 1 ? " (1\u2013" + edge.lags + ")" : ""));
        if (facts.length) lines.push(facts.join(" \u00b7 "));
        if (edge.sign) lines.push(words[edge.sign > 0 ? 7 : 8]);
      } else {
        lines.push(words[9].replace("%1", link.edges.length).replace("%2", link.pos).replace("%3", link.neg));
        var lags = link.edges.map(function (edge) { return edge.lag; }).filter(function (lag) { return lag !== null; });
        if (lags.length) {
          var low = Math.min.apply(null, lags), high = Math.max.apply(null, lags);
          lines.push(words[6] + " " + (low === high ? low : low + "\u2013" + high));
        }
      }
      return lines.join("\n");
    }
    function clearFocus() {
      root.classList.remove("has-focus");
      svg.querySelectorAll(".focus, .is-input, .is-output, .in-edge, .out-edge").forEach(function (item) {
        item.classList.remove("focus", "is-input", "is-output", "in-edge", "out-edge");
      });
    }
    function slotElement(key) { return svg.querySelector('.node[data-slot="' + key + '"]'); }
    function focus(key) {
      clearFocus();
      root.classList.add("has-focus");
      slotElement(key).classList.add("focus");
      drawn.links.forEach(function (link, k) {
        var element = svg.querySelector('.edge[data-link="' + k + '"]');
        if (link.to === key) {
          element.classList.add("in-edge");
          slotElement(link.from).classList.add("is-input");
        } else if (link.from === key) {
          element.classList.add("out-edge");
          slotElement(link.to).classList.add("is-output");
        }
      });
    }

    function listOf(title, items, none) {
      var block = document.createElement("div");
      var heading = document.createElement("h4");
      heading.textContent = title;
      block.appendChild(heading);
      var list = document.createElement("ul");
      items.forEach(function (text) {
        var item = document.createElement("li");
        item.textContent = text;
        list.appendChild(item);
      });
      if (!items.length) {
        var empty = document.createElement("li");
        empty.className = "none";
        empty.textContent = none;
        list.appendChild(empty);
      }
      block.appendChild(list);
      return block;
    }
    function facts(edge) {
      var parts = [];
      if (edge.ptext) parts.push("p " + edge.ptext);
      if (edge.lag !== null) parts.push(words[6] + " " + edge.lag);
      if (edge.sign) parts.push(edge.sign > 0 ? "+" : "\u2212");
      return parts.length ? " (" + parts.join(", ") + ")" : "";
    }
    function describe(node) {
      details.textContent = "";
      var title = document.createElement("h3");
      title.textContent = node.label;
      details.appendChild(title);
      if (node.info) {
        var block = document.createElement("pre");
        block.textContent = node.info;
        details.appendChild(block);
      }
      var inputs = [], outputs = [];
      edges.forEach(function (edge) {
        if (!passes(edge)) return;
        if (edge.to === node.index) inputs.push(nodes[edge.from].label + facts(edge));
        if (edge.from === node.index) outputs.push(nodes[edge.to].label + facts(edge));
      });
      details.appendChild(listOf(words[1], inputs, words[3]));
      details.appendChild(listOf(words[2], outputs, words[4]));
      var alone = document.createElement("button");
      alone.type = "button";
      alone.textContent = words[5];
      alone.addEventListener("click", function () { showSingle(node.index); });
      details.appendChild(alone);
      details.hidden = false;
    }
    function fillSeries() {
      if (seriesPick.options.length > 1) return;
      var sorted = nodes.slice().sort(function (a, b) { return a.label < b.label ? -1 : a.label > b.label ? 1 : 0; });
      seriesPick.textContent = "";
      sorted.forEach(function (node) {
        var option = document.createElement("option");
        option.value = String(node.index);
        option.textContent = node.label;
        seriesPick.appendChild(option);
      });
      seriesPick.value = String(state.centre);
    }
    function showSingle(index) {
      fillSeries();
      state.view = "single";
      state.centre = index;
      viewPick.value = "single";
      seriesPick.value = String(index);
      draw();
    }

    svg.addEventListener("mouseover", function (event) {
      var node = event.target.closest(".node"), edge = event.target.closest(".edge");
      if (node) focus(node.getAttribute("data-slot"));
      if (edge && graphTip) {
        graphTip.textContent = linkTip(drawn.links[Number(edge.getAttribute("data-link"))]);
        graphTip.hidden = false;
      }
    });
    svg.addEventListener("mousemove", function (event) {
      if (!graphTip || graphTip.hidden) return;
      var x = event.clientX + 14, y = event.clientY + 14;
      if (x + graphTip.offsetWidth > window.innerWidth - 8) x = event.clientX - graphTip.offsetWidth - 14;
      if (y + graphTip.offsetHeight > window.innerHeight - 8) y = event.clientY - graphTip.offsetHeight - 14;
      graphTip.style.left = x + "px";
      graphTip.style.top = y + "px";
    });
    svg.addEventListener("mouseout", function (event) {
      if (event.target.closest(".node")) clearFocus();
      if (event.target.closest(".edge") && graphTip) graphTip.hidden = true;
    });
    svg.addEventListener("click", function (event) {
      var node = event.target.closest(".node"), header = event.target.closest(".column-title.toggle");
      var slot = node ? drawn.slots[node.getAttribute("data-slot")] : null;
      var column = header ? Number(header.getAttribute("data-column")) : slot && !slot.node ? slot.column : null;
      if (column !== null) {
        state.folded[column] = !state.folded[column];
        draw();
      } else if (slot) {
        describe(slot.node);
      }
    });
    // A short list costs little; a long one waits until the reader opens it.
    if (nodes.length <= 40) fillSeries();
    seriesPick.addEventListener("focus", fillSeries);
    seriesPick.addEventListener("mousedown", fillSeries);
    viewPick.addEventListener("change", function () {
      state.view = viewPick.value;
      state.folded = null;
      if (state.view === "single") state.centre = Number(seriesPick.value);
      draw();
    });
    seriesPick.addEventListener("change", function () { showSingle(Number(seriesPick.value)); });
    slider.addEventListener("input", function () {
      state.level = levels[Number(slider.value)];
      draw();
    });
    draw();
  }

  // Every figure of a root: the page at load, then each section's markup as it is drawn.
  function setupFigures(root) {
    setupTips(root);
    root.querySelectorAll("svg.line-chart").forEach(setupLineChart);
    root.querySelectorAll(".figure .tabs").forEach(setupTabs);
    root.querySelectorAll(".figure.impact").forEach(setupImpact);
    root.querySelectorAll(".figure.system-graph").forEach(setupGraph);
  }
  setupFigures(document);
  document.addEventListener("content-added", function (event) { setupFigures(event.target); });
})();
