// Parts of the page for Node: its own files, bundled with the packages that they use.
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const web = join(dirname(fileURLToPath(import.meta.url)), "../../web");

// The same as the text of a script; globalName is what holds the parts.
export async function scriptOf(packages, files, options) {
  if (!packages) throw new Error("QMX_IC_PAGE_PACKAGES names no folder of packages");
  const { build } = createRequire(join(packages, "package.json"))("esbuild");
  const made = await build({
    bundle: true, write: false, logLevel: "warning", nodePaths: [join(packages, "node_modules")], ...options,
    stdin: { contents: files.map((file) => `export * from "./${file}";`).join("\n"), resolveDir: web },
  });
  return made.outputFiles[0].text;
}

export async function partsOf(packages, ...files) {
  const text = await scriptOf(packages, files, { format: "esm" });
  return import(`data:text/javascript;base64,${Buffer.from(text).toString("base64")}`);
}

export const hostOf = (packages) => partsOf(packages, "host/files.js", "host/program.js");
