// The values of the cells, pixel by pixel of the map that they were taken from.
async function inflated(text) {
  const letters = atob(text);
  const packed = Uint8Array.from(letters, (letter) => letter.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("deflate"));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

// Nothing before the values are unpacked, or in a browser that cannot unpack them.
export function gridOf(maps) {
  const grid = { frame: maps.grid.frame, ready: null, at: () => null };
  grid.ready = Promise.all(["low", "high", "passes", "verdicts"].map((name) => inflated(maps.grid[name])))
    .then(([low, high, passes, verdicts]) => {
      const size = low.length;
      const decimals = maps.grid.exact ? Math.max(0, Math.round(-Math.log10(maps.grid.step))) : null;
      grid.at = (pixel) => {
        const code = low[pixel] + 256 * high[pixel];
        if (!(pixel >= 0 && pixel < size) || code === 0) return null;
        return {
          value: code < 2 ? null : maps.grid.least + (code - 2) * maps.grid.step, decimals,
          passes: passes[pixel] + 256 * passes[size + pixel], verdict: verdicts[pixel],
        };
      };
    }).catch(() => {});
  return grid;
}
