// The values of the cells, pixel by pixel of the map that they were taken from.
async function inflated(text) {
  const letters = atob(text);
  const packed = new Uint8Array(letters.length);
  for (let k = 0; k < letters.length; ++k) packed[k] = letters.charCodeAt(k);
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("deflate"));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

// Nothing before the values are unpacked, or in a browser that cannot unpack them. The figures are
// drawn first.
export function gridOf(maps) {
  const grid = { frame: maps.grid.frame, ready: null, at: () => null };
  const drawn = new Promise((done) => requestAnimationFrame(() => setTimeout(done, 50)));
  const planes = ["low", "high", "passes", "more_passes", "verdicts"];
  grid.ready = drawn
    .then(() => Promise.all(planes.map((name) => (maps.grid[name] ? inflated(maps.grid[name]) : null))))
    .then(([low, high, passes, more, verdicts]) => {
      const size = low.length;
      const decimals = maps.grid.exact ? Math.max(0, Math.round(-Math.log10(maps.grid.step))) : null;
      grid.at = (pixel) => {
        const code = low[pixel] + 256 * high[pixel];
        if (!(pixel >= 0 && pixel < size) || code === 0) return null;
        return {
          value: code < 2 ? null : maps.grid.least + (code - 2) * maps.grid.step, decimals,
          passes: passes[pixel] + (more ? 256 * more[pixel] : 0), verdict: (verdicts[pixel >> 2] >> ((pixel & 3) * 2)) & 3,
        };
      };
    }).catch(() => {});
  return grid;
}
