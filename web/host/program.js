// Runs the program once: its arguments, the files that it finds, and what it prints and writes.
import { ConsoleStdout, Fd, PreopenDirectory, WASI, wasi } from "@bjorn3/browser_wasi_shim";
import { Folder } from "./files.js";

class NoInput extends Fd {
  fd_fdstat_get() {
    return { ret: wasi.ERRNO_SUCCESS, fdstat: new wasi.Fdstat(wasi.FILETYPE_CHARACTER_DEVICE, 0) };
  }
  fd_filestat_get() {
    return { ret: wasi.ERRNO_SUCCESS, filestat: new wasi.Filestat(0n, wasi.FILETYPE_CHARACTER_DEVICE, 0n) };
  }
  fd_read() {
    return { ret: wasi.ERRNO_SUCCESS, data: new Uint8Array() };
  }
}

// The working folder, in which everything is allowed: the C library asks for it before it opens a file.
class Root extends PreopenDirectory {
  constructor(contents) {
    super("/", new Map());
    this.dir = new Folder(contents);
  }
  fd_fdstat_get() {
    const fdstat = new wasi.Fdstat(wasi.FILETYPE_DIRECTORY, 0);
    fdstat.fs_rights_base = fdstat.fs_rights_inherited = (1n << 30n) - 1n;
    return { ret: wasi.ERRNO_SUCCESS, fdstat };
  }
}

// Prints to a list; a pipe, not a terminal, unless told so.
class Printed extends ConsoleStdout {
  constructor(write, isTerminal) {
    super(write);
    this.isTerminal = isTerminal;
  }
  fd_fdstat_get() {
    const kind = this.isTerminal ? wasi.FILETYPE_CHARACTER_DEVICE : wasi.FILETYPE_SOCKET_STREAM;
    const fdstat = new wasi.Fdstat(kind, 0);
    fdstat.fs_rights_base = BigInt(wasi.RIGHTS_FD_WRITE);
    return { ret: wasi.ERRNO_SUCCESS, fdstat };
  }
}

function joined(pieces) {
  const all = new Uint8Array(pieces.reduce((size, piece) => size + piece.length, 0));
  let at = 0;
  for (const piece of pieces) {
    all.set(piece, at);
    at += piece.length;
  }
  return new TextDecoder().decode(all);
}

// The exit code with which a run ends that nobody foresaw, as of memory that cannot be had.
export const crashed = 70;

// An argument whose length is that of its bytes: the host's room for the arguments is counted by it.
const counted = (text) => ({ length: new TextEncoder().encode(text).length, toString: () => text });

// contents: names to files and folders, which the program finds in its working folder and writes to.
// onProgress: gets the words that a terminal would show; without it there is no terminal.
export function runProgram(module, args, contents, onProgress) {
  const output = [], errors = [];
  const onError = (data) => {
    const text = onProgress ? new TextDecoder().decode(data) : "";
    if (text.startsWith("\r\u001b[K")) onProgress(text.slice(4));
    else errors.push(data.slice());
  };
  const root = new Root(contents);
  const host = new WASI(["qmx-ic", ...args].map(counted), [], [
    new NoInput(), new Printed((data) => output.push(data.slice()), false), new Printed(onError, Boolean(onProgress)), root,
  ], { debug: false });
  let code = crashed, memory = 0;
  try {
    const instance = new WebAssembly.Instance(module, { wasi_snapshot_preview1: host.wasiImport });
    try {
      code = host.start(instance);
    } finally {
      memory = instance.exports.memory.buffer.byteLength;
    }
  } catch (error) {
    errors.push(new TextEncoder().encode(`qmx-ic: the program broke off: ${error.message}\n`));
  }
  return { code, output: joined(output), errors: joined(errors), folder: root.dir, memory };
}
