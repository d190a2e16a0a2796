// Parts of the page for Node: its own files, bundled with the packages that they use.
import { createRequire } from "node:module";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const web = join(dirname(fileURLToPath(import.meta.url)), "../../web");

export async function partsOf(packages, ...files) {
  if (!packages) throw new Error("QMX_IC_PAGE_PACKAGES names no folder of packages");
  const { build } = createRequire(join(packages, "package.json"))("esbuild");
  const made = await build({
    bundle: true, write: false, format: "esm", logLevel: "warning", nodePaths: [join(packages, "node_modules")],
    stdin: { contents: files.map((file) => `export * from "./${file}";`).join("\n"), resolveDir: web },
  });
  return import(`data:text/javascript;base64,${Buffer.from(made.outputFiles[0].contents).toString("base64")}`);
}

export const hostOf = (packages) => partsOf(packages, "host/files.js", "host/program.js");
