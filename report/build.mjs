// Makes the page that the program fills: src/page.html with the style sheet and the script, charts
// included, in it. Nothing is fetched when it is opened, and nothing is evaluated as code but the one
// script, whose checksum the page states.
//
//   node build.mjs OUTPUT.html
//
// Beside the page goes OUTPUT-licenses.txt with the licences of the packages in it.
import { build } from 'esbuild';
import { createHash } from 'node:crypto';
import { readFile, readdir, rename, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';

const here = (name) => fileURLToPath(new URL(name, import.meta.url));
const output = process.argv[2];

async function bundle(entry) {
  const result = await build({
    entryPoints: [here(entry)],
    bundle: true,
    minify: true,
    write: false,
    metafile: true,
    format: 'iife',
    target: 'es2022',
    charset: 'utf8',
    legalComments: 'none',
    loader: { '.css': 'css' },
    absWorkingDir: here('.'),
  });
  return { text: result.outputFiles[0].text.trim(), inputs: Object.keys(result.metafile.inputs) };
}

// The folders of the packages that these files are of.
function packages(inputs) {
  const folders = inputs.map((name) => name.match(/^(.*node_modules\/(?:@[^/]+\/)?[^/]+)\//)?.[1]);
  return [...new Set(folders.filter(Boolean))].sort();
}

async function licence(folder) {
  const about = JSON.parse(await readFile(here(`${folder}/package.json`), 'utf8'));
  const file = (await readdir(here(folder))).find((name) => /^licen[sc]e/i.test(name));
  const text = file ? await readFile(here(`${folder}/${file}`), 'utf8') : '';
  return `${about.name} ${about.version} (${about.license})\n\n${text.trim()}\n`;
}

async function write(name, text) {
  await writeFile(`${name}.new`, text);
  await rename(`${name}.new`, name);
}

const script = await bundle('src/page.js');
const style = await bundle('src/page.css');
const hash = createHash('sha256').update(script.text).digest('base64');
const parts = {
  policy: `default-src 'none'; script-src 'sha256-${hash}'; style-src 'unsafe-inline'; img-src data:`,
  style: style.text,
  script: script.text,
};
const page = (await readFile(here('src/page.html'), 'utf8')).replace(
  /<!--build:(\w+)-->/g,
  (_, name) => parts[name],
);
const licences = await Promise.all(packages(script.inputs).map(licence));
await write(output.replace(/\.html$/, '-licenses.txt'), licences.join(`\n${'-'.repeat(80)}\n\n`));
await write(output, page);
