/* Turns the drawing. The formula is that of its first state: no perspective, right and up from azimuth and elevation. */
(function () {
  "use strict";
  var drawing = document.getElementById("scene");
  var source = document.getElementById("scene-data");
  if (!drawing || !source) return;
  var scene = JSON.parse(source.textContent);
  var lines = drawing.querySelectorAll("[data-line]");
  var labels = drawing.querySelectorAll("[data-label]");
  var output = document.getElementById("scene-state");
  var view = {};

  function screenOf(axes, point) {
    var x = point[0] - scene.target[0], y = point[1] - scene.target[1], z = point[2] - scene.target[2];
    var scale = scene.scale * view.zoom;
    return [scene.size[0] / 2 + scale * (axes.right[0] * x + axes.right[1] * y),
      scene.size[1] / 2 - scale * (axes.up[0] * x + axes.up[1] * y + axes.up[2] * z)];
  }

  function axesOf() {
    var a = view.azimuth * Math.PI / 180, e = view.elevation * Math.PI / 180;
    return { right: [-Math.sin(a), Math.cos(a)],
      up: [-Math.sin(e) * Math.cos(a), -Math.sin(e) * Math.sin(a), Math.cos(e)] };
  }

  function draw() {
    var axes = axesOf();
    lines.forEach(function (element) {
      var line = scene.lines[+element.dataset.line];
      var points = line.points.map(function (point) {
        var at = screenOf(axes, point);
        return at[0].toFixed(2) + " " + at[1].toFixed(2);
      });
      element.setAttribute("d", "M" + points.join("L") + (line.closed ? "Z" : ""));
    });
    labels.forEach(function (element) {
      var label = scene.labels[+element.dataset.label];
      var at = screenOf(axes, label.at);
      element.setAttribute("x", (at[0] + label.offset[0]).toFixed(2));
      element.setAttribute("y", (at[1] + label.offset[1]).toFixed(2));
    });
    drawing.dataset.azimuth = view.azimuth;
    drawing.dataset.elevation = view.elevation;
    drawing.dataset.zoom = view.zoom;
    output.textContent = "from " + Math.round(view.azimuth) + "\u00b0, " + Math.round(view.elevation) + "\u00b0 up";
  }

  function show(azimuth, elevation, zoom) {
    view.azimuth = azimuth - 360 * Math.floor((azimuth + 180) / 360);
    view.elevation = Math.max(-90, Math.min(90, elevation));
    view.zoom = Math.max(0.2, Math.min(40, zoom));
    draw();
  }

  function turn(by, up) { show(view.azimuth + by, view.elevation + up, view.zoom); }
  function size(factor) { show(view.azimuth, view.elevation, view.zoom * factor); }
  function home() { show(scene.home.azimuth, scene.home.elevation, 1); }

  var actions = {
    home: home, in: function () { size(1.25); }, out: function () { size(0.8); },
    above: function () { show(180, 90, view.zoom); }, ahead: function () { show(0, 0, view.zoom); },
    left: function () { show(90, 0, view.zoom); }
  };
  var keys = {
    ArrowLeft: function () { turn(5, 0); }, ArrowRight: function () { turn(-5, 0); },
    ArrowUp: function () { turn(0, 5); }, ArrowDown: function () { turn(0, -5); },
    "+": actions.in, "=": actions.in, "-": actions.out, "\u2212": actions.out, Home: home
  };
  drawing.addEventListener("keydown", function (event) {
    if (event.ctrlKey || event.altKey || event.metaKey || !keys.hasOwnProperty(event.key)) return;
    keys[event.key]();
    event.preventDefault();
  });
  document.querySelectorAll("[data-view]").forEach(function (button) {
    button.addEventListener("click", actions[button.dataset.view]);
  });

  /* One finger or the mouse turns by half a degree a pixel, two fingers size. */
  var pointers = new Map();
  function spread() {
    var at = Array.from(pointers.values());
    return Math.hypot(at[0][0] - at[1][0], at[0][1] - at[1][1]);
  }
  drawing.addEventListener("pointerdown", function (event) {
    if (event.button !== 0) return;
    pointers.set(event.pointerId, [event.clientX, event.clientY]);
    drawing.setPointerCapture(event.pointerId);
    drawing.classList.add("held");
  });
  drawing.addEventListener("pointermove", function (event) {
    var last = pointers.get(event.pointerId);
    if (!last) return;
    var before = pointers.size === 2 ? spread() : 0;
    pointers.set(event.pointerId, [event.clientX, event.clientY]);
    if (pointers.size === 1) turn(-0.5 * (event.clientX - last[0]), 0.5 * (event.clientY - last[1]));
    else if (pointers.size === 2 && before > 0) size(spread() / before);
  });
  ["pointerup", "pointercancel", "lostpointercapture"].forEach(function (kind) {
    drawing.addEventListener(kind, function (event) {
      pointers.delete(event.pointerId);
      if (pointers.size === 0) drawing.classList.remove("held");
    });
  });
  drawing.addEventListener("wheel", function (event) {
    if (!event.ctrlKey) return; /* the page scrolls, as everywhere */
    event.preventDefault();
    size(Math.exp(-0.01 * event.deltaY));
  }, { passive: false });
  home();
}());
