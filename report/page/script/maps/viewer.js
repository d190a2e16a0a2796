// Zoom and shift of maps, by wheel, fingers, mouse, keys and buttons. Maps of one group move together.
export function zoomGroup() {
  const group = { scale: 1, x: 0, y: 0, views: [] }; // x, y: share of the map's size left of and above the view
  addEventListener("beforeprint", () => resetZoom(group)); // paper shows the whole map
  return group;
}

const greatest = 40;

function apply(group) {
  group.scale = Math.min(greatest, Math.max(1, group.scale));
  const room = 1 - 1 / group.scale;
  group.x = Math.min(room, Math.max(0, group.x));
  group.y = Math.min(room, Math.max(0, group.y));
  for (const view of group.views) view(group);
}

// About a place that keeps its position on the screen, in shares of the view.
export function zoomBy(group, factor, x = 0.5, y = 0.5) {
  const before = group.scale;
  const after = Math.min(greatest, Math.max(1, before * factor));
  group.x += x / before - x / after;
  group.y += y / before - y / after;
  group.scale = after;
  apply(group);
}

export function shiftBy(group, dx, dy) {
  group.x += dx / group.scale;
  group.y += dy / group.scale;
  apply(group);
}

export function resetZoom(group) {
  Object.assign(group, { scale: 1, x: 0, y: 0 });
  apply(group);
}

// frame: the element that takes part in pointing; box(): the zoomed rectangle on the screen.
export function listen(group, frame, box) {
  const share = (event) => {
    const at = box();
    return [(event.clientX - at.left) / at.width, (event.clientY - at.top) / at.height];
  };
  // The wheel scrolls the page until the map is chosen, lest nobody gets past it.
  frame.addEventListener("wheel", (event) => {
    if (!event.ctrlKey && document.activeElement !== frame) return;
    event.preventDefault();
    zoomBy(group, Math.exp(-event.deltaY * 0.0018), ...share(event));
  }, { passive: false });

  const fingers = new Map();
  frame.addEventListener("pointerdown", (event) => {
    fingers.set(event.pointerId, [event.clientX, event.clientY]);
    if (fingers.size > 1 || group.scale > 1) frame.setPointerCapture(event.pointerId);
  });
  const lift = (event) => fingers.delete(event.pointerId);
  for (const name of ["pointerup", "pointercancel", "pointerleave"]) frame.addEventListener(name, lift);
  frame.addEventListener("pointermove", (event) => {
    const before = fingers.get(event.pointerId);
    if (!before) return;
    const now = [event.clientX, event.clientY];
    const at = box();
    if (fingers.size === 2) {
      const other = [...fingers.entries()].find(([id]) => id !== event.pointerId)[1];
      const was = Math.hypot(before[0] - other[0], before[1] - other[1]);
      const is = Math.hypot(now[0] - other[0], now[1] - other[1]);
      const middle = { clientX: (now[0] + other[0]) / 2, clientY: (now[1] + other[1]) / 2 };
      if (was > 10) zoomBy(group, is / was, ...share(middle));
    }
    if (group.scale > 1)
      shiftBy(group, -(now[0] - before[0]) / fingers.size / at.width, -(now[1] - before[1]) / fingers.size / at.height);
    fingers.set(event.pointerId, now);
  });

  frame.addEventListener("keydown", (event) => {
    const steps = { ArrowLeft: [-0.15, 0], ArrowRight: [0.15, 0], ArrowUp: [0, -0.15], ArrowDown: [0, 0.15] };
    if (event.key === "+" || event.key === "=") zoomBy(group, 1.5);
    else if (event.key === "-") zoomBy(group, 1 / 1.5);
    else if (event.key === "0" || event.key === "Home") resetZoom(group);
    else if (event.key in steps && group.scale > 1) shiftBy(group, ...steps[event.key]);
    else return;
    event.preventDefault();
  });
}
