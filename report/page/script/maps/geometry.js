// Stations and offsets of places on a map, for drawing. Offsets grow to the right of the axis.
export function axisOf(frame) {
  const vertices = (frame.axis || []).filter((v, i, all) => i === 0 || v[0] !== all[i - 1][0] || v[1] !== all[i - 1][1]);
  let from = 0;
  const segments = [];
  for (let k = 0; k + 1 < vertices.length; ++k) {
    const [x, y] = vertices[k];
    const dx = vertices[k + 1][0] - x, dy = vertices[k + 1][1] - y;
    const length = Math.hypot(dx, dy);
    segments.push({ x, y, ux: dx / length, uy: dy / length, length, from });
    from += length;
  }
  return segments;
}

// Of equally near segments the first; the first and the last go on beyond their ends.
export function stationOf(segments, x, y) {
  let best = null;
  segments.forEach((one, index) => {
    const dx = x - one.x, dy = y - one.y;
    let along = dx * one.ux + dy * one.uy;
    const offset = dx * one.uy - dy * one.ux;
    if (index > 0) along = Math.max(0, along);
    if (index + 1 < segments.length) along = Math.min(one.length, along);
    const px = one.x + one.ux * along - x, py = one.y + one.uy * along - y;
    const distance = px * px + py * py;
    if (!best || distance < best.distance) best = { distance, station: one.from + along, offset };
  });
  return best;
}

export function positionAt(segments, station, offset) {
  let one = segments[0];
  for (const next of segments) if (station >= next.from) one = next;
  const along = station - one.from;
  return [one.x + one.ux * along + one.uy * offset, one.y + one.uy * along - one.ux * offset];
}

// A round step that gives at most so many parts.
export function roundStep(span, parts) {
  const least = span / parts;
  const power = 10 ** Math.floor(Math.log10(least));
  return [1, 2, 5, 10].map((step) => step * power).find((step) => step >= least * (1 - 1e-9)) || least;
}
