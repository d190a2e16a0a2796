// Runs of the program in a worker of its own. One at a time; ending a run ends its worker.
let module = null, workerUrl = null;

const bytesOf = (base64) => Uint8Array.from(atob(base64), (sign) => sign.charCodeAt(0));

async function unpacked(id, format) {
  const packed = bytesOf(document.getElementById(id).textContent.trim());
  return new Response(new Blob([packed]).stream().pipeThrough(new DecompressionStream(format))).arrayBuffer();
}

// Compiled once; a worker gets the compiled form.
export async function prepare() {
  if (module) return;
  workerUrl = URL.createObjectURL(new Blob([JSON.parse(document.getElementById("worker").textContent)], { type: "text/javascript" }));
  module = await WebAssembly.compile(await unpacked("module", "deflate"));
}

let present = null;

// request: {args, files: [{name, blob}], texts: [{name, text}], keeps: start of names of files that come
// back}. Resolves with {code, output, errors, files, memory}, or null where the run was called off.
export async function run(request, onProgress) {
  cancel();
  await prepare();
  return new Promise((resolve) => {
    const worker = new Worker(workerUrl);
    const end = (answer) => {
      worker.terminate();
      if (present === mine) present = null;
      resolve(answer);
    };
    const mine = { end };
    present = mine;
    worker.onmessage = ({ data }) => (data.kind === "progress" ? onProgress(data.text) : end(data));
    worker.onerror = (event) => {
      event.preventDefault();
      end({ code: 70, output: "", errors: `${event.message || "the worker could not be started"}\n`, files: new Map(), memory: 0 });
    };
    worker.postMessage({ module, ...request });
  });
}

export function cancel() {
  if (present) present.end(null);
}
