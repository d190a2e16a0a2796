// The worker of the page: one run of the program on the files of the user.
import { filesOf, Folder, GrowingFile, SlicedFile } from "./files.js";
import { runProgram } from "./program.js";

class BlobFile {
  constructor(blob) {
    this.blob = blob;
    this.size = blob.size;
  }
  read(from, end) {
    return new Uint8Array(new FileReaderSync().readAsArrayBuffer(this.blob.slice(from, end)));
  }
}

onmessage = ({ data }) => {
  const contents = new Map([["tmp", new Folder(new Map())]]);
  for (const { name, blob } of data.files) contents.set(name, new SlicedFile(new BlobFile(blob)));
  for (const { name, text } of data.texts) contents.set(name, new GrowingFile(new TextEncoder().encode(text)));
  const given = new Set(data.texts.map((one) => one.name));
  const done = runProgram(data.module, data.args, contents, (text) => postMessage({ kind: "progress", text }));
  const files = new Map();
  for (const [name, bytes] of filesOf(done.folder)) if (!given.has(name)) files.set(name, bytes.slice().buffer);
  postMessage({ kind: "done", code: done.code, output: done.output, errors: done.errors, files, memory: done.memory }, [...files.values()]);
};
