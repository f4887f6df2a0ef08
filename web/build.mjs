// SPDX-License-Identifier: Apache-2.0
// Builds the console on a copy of it, so that nothing is written where the sources are:
//   node build.mjs FOLDER [SOURCE.cpp]
// FOLDER gets the copy, the packages and the built files (dist/). SOURCE.cpp becomes the C++ source that holds these, packed.
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import { cpSync, existsSync, mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, extname, join, relative, resolve } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { gzipSync } from 'node:zlib';

const limit = 200 * 1000; // bytes of script and style, packed: more is no light page any longer

const types = {
  '.html': 'text/html; charset=utf-8',
  '.js': 'text/javascript; charset=utf-8',
  '.css': 'text/css; charset=utf-8',
  '.svg': 'image/svg+xml',
};

const sources = dirname(fileURLToPath(import.meta.url));
const folder = resolve(process.argv[2]);
const output = process.argv[3];

function copySources() {
  mkdirSync(folder, { recursive: true });
  rmSync(join(folder, 'src'), { recursive: true, force: true });
  for (const name of ['src', 'index.html', 'tsconfig.json', 'package.json', 'package-lock.json'])
    cpSync(join(sources, name), join(folder, name), { recursive: true });
}

// The packages are those of the lock file, fetched again only when it has changed. None of their own scripts is run.
function fetchPackages() {
  const lock = readFileSync(join(folder, 'package-lock.json'), 'utf8');
  const fetched = join(folder, 'fetched-lock.json');
  if (existsSync(fetched) && readFileSync(fetched, 'utf8') === lock) return;
  try {
    execFileSync('npm', ['ci', '--ignore-scripts', '--no-audit', '--no-fund', '--loglevel=error'], { cwd: folder, stdio: 'inherit' });
  } catch {
    console.error('The packages of the console could not be fetched; cmake -DMERCATO_CONSOLE=OFF builds without it');
    process.exit(1);
  }
  writeFileSync(fetched, lock);
}

function checkTypes() {
  execFileSync(process.execPath, [join(folder, 'node_modules/typescript/bin/tsc'), '--noEmit'], { cwd: folder, stdio: 'inherit' });
}

// Addresses are relative, so the console also works below a path of a proxy.
async function bundle() {
  const { build } = await import(pathToFileURL(join(folder, 'node_modules/vite/dist/node/index.js')));
  await build({
    root: folder,
    base: './',
    configFile: false,
    logLevel: 'warn',
    build: { target: 'es2022', modulePreload: { polyfill: false }, assetsInlineLimit: 0, reportCompressedSize: false },
  });
}

function filesBelow(directory) {
  return readdirSync(directory, { withFileTypes: true }).flatMap((entry) =>
    entry.isDirectory() ? filesBelow(join(directory, entry.name)) : [join(directory, entry.name)]);
}

function builtFiles() {
  const dist = join(folder, 'dist');
  return filesBelow(dist)
    .map((file) => {
      const name = relative(dist, file);
      const type = types[extname(name)];
      if (!type) throw new Error(`${name} is of no known type`);
      const content = readFileSync(file);
      return {
        path: name === 'index.html' ? '/' : `/${name}`,
        type,
        etag: createHash('sha256').update(content).digest('hex').slice(0, 32),
        neverChanges: name.startsWith('assets/'),
        gzip: gzipSync(content, { level: 9 }),
      };
    })
    .sort((a, b) => (a.path < b.path ? -1 : 1));
}

function expectLight(files) {
  const size = files.reduce((sum, file) => sum + file.gzip.length, 0);
  if (size > limit) throw new Error(`The console has ${size} bytes, packed; more than ${limit} are too many`);
  console.log(`The console: ${files.length} files, ${(size / 1000).toFixed(1)} kB packed`);
}

function asCppSource(files) {
  const arrays = files.map((file, i) => `constexpr unsigned char kFile${i}[] = {${[...file.gzip].join(',')}};\n`);
  const rows = files.map((file, i) =>
    `      {"${file.path}", "${file.type}", "\\"${file.etag}\\"", ${file.neverChanges}, kFile${i}},\n`);
  return `#include "host/console_files.h"

namespace mercato::host {
namespace {

${arrays.join('')}
}  // namespace

std::span<const ConsoleFile> console_files() {
  static constexpr ConsoleFile kFiles[] = {
${rows.join('')}  };
  return kFiles;
}

}  // namespace mercato::host
`;
}

copySources();
fetchPackages();
checkTypes();
await bundle();
const files = builtFiles();
expectLight(files);
if (output) {
  mkdirSync(dirname(resolve(output)), { recursive: true });
  writeFileSync(output, asCppSource(files));
}
