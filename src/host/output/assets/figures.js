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
  if (tip) {
    document.querySelectorAll(".figure [data-tip]").forEach(function (item) {
      item.addEventListener("mouseenter", function () {
        tip.textContent = item.getAttribute("data-tip");
        tip.hidden = false;
      });
      item.addEventListener("mousemove", placeTip);
      item.addEventListener("mouseleave", function () { tip.hidden = true; });
    });
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
  function setupLineChart(svg) {
    var plot = svg.querySelector("svg.plot");
    var count = Number(svg.getAttribute("data-n"));
    if (!plot || !count) return;
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
    function text(i) {
      var lines = [labelAt(i)];
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
        plot.setAttribute("viewBox", svg.getAttribute(k === 0 ? "data-recent" : "data-whole"));
        svg.classList.toggle("view-recent", k === 0);
        bar.querySelectorAll(".tab").forEach(function (other) { other.classList.toggle("active", other === button); });
      });
      bar.appendChild(button);
    });
    svg.parentNode.insertBefore(bar, svg);
  }
  document.querySelectorAll("svg.line-chart").forEach(setupLineChart);

  // Tabs: a button shows the pane of its name within its own figure.
  document.querySelectorAll(".figure .tabs").forEach(function (bar) {
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
  });

  // Impact trees: a chosen series shows its plot.
  document.querySelectorAll(".figure.impact").forEach(function (figure) {
    var plots = figure.querySelectorAll(".impact-plot");
    if (!plots.length) return;
    figure.querySelectorAll(".tree-node").forEach(function (node) {
      node.addEventListener("click", function () {
        var name = node.getAttribute("data-series"), found = false;
        plots.forEach(function (plot) {
          var match = plot.getAttribute("data-series") === name;
          plot.hidden = !match;
          found = found || match;
        });
        figure.querySelectorAll(".tree-node.chosen").forEach(function (other) {
          other.classList.remove("chosen");
        });
        if (found) node.classList.add("chosen");
      });
    });
  });

  function fixed(value) { return Math.round(value * 10) / 10; }
  function textWidth(text) { return text.length * 6.3; }

  function setupGraph(root) {
    var svg = root.querySelector("svg.graph");
    var nodes = Array.prototype.map.call(root.querySelectorAll("g.node"), function (element) {
      return {
        element: element,
        index: Number(element.getAttribute("data-i")),
        order: Number(element.getAttribute("data-order")),
        label: element.getAttribute("data-label"),
        shown: element.querySelector(".node-label").textContent,
        target: element.classList.contains("target"),
        rank: element.getAttribute("data-rank") === "" ? Infinity : Number(element.getAttribute("data-rank")),
        info: element.getAttribute("data-info")
      };
    });
    var edges = Array.prototype.map.call(root.querySelectorAll("g.edge"), function (element) {
      var p = element.getAttribute("data-p");
      return {
        element: element,
        from: Number(element.getAttribute("data-from")),
        to: Number(element.getAttribute("data-to")),
        p: p === "" ? null : Number(p),
        width: element.getAttribute("data-w"),
        tip: element.getAttribute("data-tip")
      };
    });
    var levels = root.getAttribute("data-levels").split(" ").map(Number);
    var words = root.getAttribute("data-words").split("\n");
    var viewPick = root.querySelector(".graph-view");
    var seriesPick = root.querySelector(".graph-series");
    var slider = root.querySelector(".graph-sig");
    var levelText = root.querySelector(".graph-sig-value");
    var count = root.querySelector(".graph-count");
    var details = root.querySelector(".graph-details");
    var top = Number(root.getAttribute("data-top"));
    var state = {
      view: root.getAttribute("data-view"),
      centre: Number(root.getAttribute("data-centre")),
      level: levels[Number(slider.value)]
    };

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

    // Places the shown nodes: on a circle in their stored order, or, for one series, its
    // inputs in a column on the left and its outputs on the right.
    function arrange(chosen) {
      var shown = nodes.filter(function (node) { return chosen[node.index]; });
      var at = {}, widest = 40, box;
      shown.forEach(function (node) { widest = Math.max(widest, textWidth(node.shown)); });
      var margin = widest + 24;
      if (state.view === "single") {
        var inputs = [], outputs = [], seen = {};
        seen[state.centre] = true;
        edges.forEach(function (edge) {
          if (edge.to === state.centre && !seen[edge.from]) { seen[edge.from] = true; inputs.push(edge.from); }
        });
        edges.forEach(function (edge) {
          if (edge.from === state.centre && !seen[edge.to]) { seen[edge.to] = true; outputs.push(edge.to); }
        });
        var gap = 26, span = 230;
        [[inputs, -span, Math.PI], [outputs, span, 0]].forEach(function (column) {
          var list = column[0], first = -gap * (list.length - 1) / 2;
          list.forEach(function (index, k) {
            at[index] = { x: column[1], y: first + gap * k, angle: column[2] };
          });
        });
        at[state.centre] = { x: 0, y: 0, angle: Math.PI / 2, centre: true };
        var rows = Math.max(inputs.length, outputs.length, 1);
        box = [-span - margin, -gap * rows / 2 - 30, 2 * (span + margin), gap * rows + 60];
      } else {
        shown.sort(function (a, b) { return a.order - b.order; });
        var radius = Math.max(110, shown.length * 17 / (2 * Math.PI));
        shown.forEach(function (node, k) {
          var angle = -Math.PI / 2 + 2 * Math.PI * k / Math.max(1, shown.length);
          at[node.index] = { x: radius * Math.cos(angle), y: radius * Math.sin(angle), angle: angle };
        });
        box = [-radius - margin, -radius - margin, 2 * (radius + margin), 2 * (radius + margin)];
      }
      svg.setAttribute("viewBox", box.map(fixed).join(" "));
      svg.setAttribute("width", fixed(box[2] * 1.3));
      nodes.forEach(function (node) {
        var place = at[node.index];
        node.element.toggleAttribute("hidden", !place);
        if (!place) return;
        node.element.setAttribute("transform", "translate(" + fixed(place.x) + " " + fixed(place.y) + ")");
        var label = node.element.querySelector(".node-label");
        if (place.centre) {
          label.setAttribute("x", "0");
          label.setAttribute("y", "22");
          label.setAttribute("text-anchor", "middle");
          label.removeAttribute("transform");
          label.classList.add("centre-label");
          return;
        }
        label.classList.remove("centre-label");
        var left = Math.cos(place.angle) < -1e-9;
        var degrees = state.view === "single" ? 0 : place.angle * 180 / Math.PI + (left ? 180 : 0);
        label.setAttribute("x", left ? "-11" : "11");
        label.setAttribute("y", "4");
        label.setAttribute("text-anchor", left ? "end" : "start");
        label.setAttribute("transform", "rotate(" + fixed(degrees) + ")");
      });
      edges.forEach(function (edge) {
        var line = edge.element.querySelector(".edge-line"), head = edge.element.querySelector(".edge-head");
        var a = at[edge.from], b = at[edge.to];
        if (!edgeInView(edge, chosen) || !a || !b) return;
        var control = state.view === "single"
          ? { x: (a.x + b.x) / 2 + (b.y - a.y) * 0.08, y: (a.y + b.y) / 2 - (b.x - a.x) * 0.08 }
          : { x: (a.x + b.x) * 0.3, y: (a.y + b.y) * 0.3 };
        var dx = b.x - control.x, dy = b.y - control.y, length = Math.max(1e-6, Math.hypot(dx, dy));
        var tipAt = { x: b.x - dx / length * 8, y: b.y - dy / length * 8 };
        var back = { x: tipAt.x - dx / length * 7, y: tipAt.y - dy / length * 7 };
        var side = { x: -dy / length * 3.5, y: dx / length * 3.5 };
        line.setAttribute("stroke-width", edge.width);
        line.setAttribute("d", "M" + fixed(a.x) + "," + fixed(a.y) + " Q" + fixed(control.x) + "," +
          fixed(control.y) + " " + fixed(back.x) + "," + fixed(back.y));
        head.setAttribute("d", "M" + fixed(tipAt.x) + "," + fixed(tipAt.y) + " L" + fixed(back.x + side.x) +
          "," + fixed(back.y + side.y) + " L" + fixed(back.x - side.x) + "," + fixed(back.y - side.y) + " Z");
      });
    }

    var chosen = {};
    function passes(edge) { return edge.p === null || edge.p <= state.level; }
    function applyFilter() {
      var total = 0, kept = 0, count_nodes = 0;
      Object.keys(chosen).forEach(function () { count_nodes++; });
      edges.forEach(function (edge) {
        var inView = edgeInView(edge, chosen);
        edge.element.toggleAttribute("hidden", !inView);
        edge.element.classList.toggle("filtered", !passes(edge));
        if (inView) { total++; if (passes(edge)) kept++; }
      });
      levelText.textContent = "p \u2264 " + state.level;
      count.textContent = words[0].replace("%1", count_nodes).replace("%2", kept).replace("%3", total);
    }
    function update() {
      chosen = visibleSet();
      root.setAttribute("data-view", state.view);
      root.classList.toggle("single-view", state.view === "single");
      arrange(chosen);
      applyFilter();
      clearFocus();
    }

    function clearFocus() {
      root.classList.remove("has-focus");
      root.querySelectorAll(".focus, .is-input, .is-output, .in-edge, .out-edge").forEach(function (item) {
        item.classList.remove("focus", "is-input", "is-output", "in-edge", "out-edge");
      });
    }
    function focus(node) {
      clearFocus();
      root.classList.add("has-focus");
      node.element.classList.add("focus");
      edges.forEach(function (edge) {
        if (!edgeInView(edge, chosen) || !passes(edge)) return;
        if (edge.to === node.index) {
          edge.element.classList.add("in-edge");
          nodes[edge.from].element.classList.add("is-input");
        } else if (edge.from === node.index) {
          edge.element.classList.add("out-edge");
          nodes[edge.to].element.classList.add("is-output");
        }
      });
    }

    function listOf(title, items, none) {
      var block = document.createElement("div");
      var head = document.createElement("h4");
      head.textContent = title;
      block.appendChild(head);
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
    function describe(node) {
      details.textContent = "";
      var head = document.createElement("h3");
      head.textContent = node.label;
      details.appendChild(head);
      if (node.info) {
        var facts = document.createElement("pre");
        facts.textContent = node.info.replace(/\n$/, "");
        details.appendChild(facts);
      }
      var inputs = [], outputs = [];
      edges.forEach(function (edge) {
        if (!passes(edge)) return;
        var p = edge.p === null ? "" : " (p " + edge.p + ")";
        if (edge.to === node.index) inputs.push(nodes[edge.from].label + p);
        if (edge.from === node.index) outputs.push(nodes[edge.to].label + p);
      });
      details.appendChild(listOf(words[1], inputs, words[3]));
      details.appendChild(listOf(words[2], outputs, words[4]));
      var alone = document.createElement("button");
      alone.type = "button";
      alone.textContent = words[5];
      alone.addEventListener("click", function () {
        state.view = "single";
        state.centre = node.index;
        viewPick.value = "single";
        seriesPick.value = String(node.index);
        update();
      });
      details.appendChild(alone);
      details.hidden = false;
    }

    nodes.forEach(function (node) {
      node.element.addEventListener("mouseenter", function () { focus(node); });
      node.element.addEventListener("mouseleave", clearFocus);
      node.element.addEventListener("click", function () { describe(node); });
    });
    viewPick.addEventListener("change", function () {
      state.view = viewPick.value;
      if (state.view === "single") state.centre = Number(seriesPick.value);
      update();
    });
    seriesPick.addEventListener("change", function () {
      state.view = "single";
      viewPick.value = "single";
      state.centre = Number(seriesPick.value);
      update();
    });
    slider.addEventListener("input", function () {
      state.level = levels[Number(slider.value)];
      applyFilter();
    });
    update();
  }
  document.querySelectorAll(".figure.system-graph").forEach(setupGraph);
})();
