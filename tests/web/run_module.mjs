// Runs a module by the host that the page has, on the files of the working folder:
//
//   node run_module.mjs MODULE.wasm ARGUMENT...
//
// QMX_IC_PAGE_PACKAGES names the folder of the fetched packages. What the module leaves in the folder is
// written to it when it has ended.
import { mkdirSync, openSync, readdirSync, readFileSync, readSync, rmSync, statSync, writeFileSync, writeSync } from "node:fs";
import { dirname, join } from "node:path";
import { hostOf } from "./host.mjs";

const { Folder, GrowingFile, SlicedFile, runProgram } = await hostOf(process.env.QMX_IC_PAGE_PACKAGES);
const [name, ...args] = process.argv.slice(2);

class DiskFile {
  constructor(path) {
    this.path = path;
    this.size = statSync(path).size;
  }
  read(from, end) {
    this.file ??= openSync(this.path);
    const bytes = new Uint8Array(end - from);
    return bytes.subarray(0, readSync(this.file, bytes, 0, bytes.length, from));
  }
}

function contentsOf(folder) {
  const found = new Map();
  for (const entry of readdirSync(folder, { withFileTypes: true })) {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) found.set(entry.name, new Folder(contentsOf(path)));
    else if (entry.isFile()) found.set(entry.name, new SlicedFile(new DiskFile(path)));
  }
  return found;
}

function leave(folder, before, after) {
  for (const name of before.keys()) if (!after.has(name)) rmSync(join(folder, name), { recursive: true });
  for (const [name, entry] of after) {
    const path = join(folder, name);
    if (entry instanceof GrowingFile) {
      mkdirSync(dirname(path), { recursive: true });
      writeFileSync(path, entry.bytes);
    } else if (entry instanceof Folder) {
      mkdirSync(path, { recursive: true });
      leave(path, before.get(name) instanceof Folder ? before.get(name).contents : new Map(), entry.contents);
    }
  }
}

// Standard output may be a pipe that takes a part at a time.
function put(file, text) {
  const bytes = Buffer.from(text, "utf8");
  for (let at = 0; at < bytes.length;) {
    try {
      at += writeSync(file, bytes, at);
    } catch (error) {
      if (error.code !== "EAGAIN") throw error;
    }
  }
}

const module = new WebAssembly.Module(readFileSync(name));
const here = process.cwd();
const done = runProgram(module, args, contentsOf(here));
leave(here, contentsOf(here), done.folder.contents);
put(1, done.output);
put(2, done.errors);
if (process.env.QMX_IC_TELL_MEMORY) put(2, `memory ${done.memory}\n`);
process.exit(done.code);
