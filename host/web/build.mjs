// Bundles the page into dist/, or with --tests unit|browser|tools the tests into build/. --out DIR puts the page elsewhere.
import { build } from "esbuild";
import { cpSync, mkdirSync, readdirSync, rmSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const argument = (name) => {
  const at = process.argv.indexOf(name);
  return at < 0 ? undefined : process.argv[at + 1];
};

async function page(out) {
  rmSync(out, { recursive: true, force: true });
  mkdirSync(out, { recursive: true });
  const common = { bundle: true, minify: true, target: "es2022", legalComments: "none", logLevel: "warning" };
  await build({ ...common, entryPoints: [join(here, "src/app.ts")], outfile: join(out, "app.js"), format: "esm" });
  await build({ ...common, entryPoints: [join(here, "src/worklet.ts")], outfile: join(out, "worklet.js"), format: "iife" });
  await build({ ...common, entryPoints: [join(here, "src/style/app.css")], outfile: join(out, "app.css") });
  cpSync(join(here, "src/static"), out, { recursive: true });
}

async function tests(kind) {
  const from = join(here, "test", kind);
  const out = join(here, "build/tests", kind);
  rmSync(out, { recursive: true, force: true });
  await build({
    entryPoints: readdirSync(from).filter((name) => name.endsWith(".ts")).map((name) => join(from, name)),
    outdir: out,
    outExtension: { ".js": kind === "tools" ? ".mjs" : ".test.mjs" },
    bundle: true,
    platform: "node",
    format: "esm",
    target: "node18",
    packages: "external",
    sourcemap: "inline",
    logLevel: "warning",
  });
}

const kind = argument("--tests");
if (kind) await tests(kind);
else await page(argument("--out") ?? join(here, "dist"));
