// How large a lot is before it is read, and what this page can hold.
const looked = 1 << 16;

// About so many rows: the size over the mean length of the first lines.
export async function rowsOf(file) {
  if (/\.gz$/i.test(file.name)) return (6 * file.size) / 70; // packed to about a sixth
  const head = new Uint8Array(await file.slice(0, looked).arrayBuffer());
  let lines = 0;
  for (const byte of head) if (byte === 0x0a || byte === 0x0d) ++lines;
  return lines === 0 ? 1 : (file.size * lines) / head.length;
}

// A module's memory ends at 4 GB. Measured: about 600 bytes for each row of a report, and what the module
// needs whatever it reads.
const bytesOfRow = 600, bytesOfModule = 60e6, mostBytes = 3.6e9;
export const memoryOf = (rows) => bytesOfModule + rows * bytesOfRow;
export const mostRows = Math.floor((mostBytes - bytesOfModule) / bytesOfRow);
