// SPDX-License-Identifier: Apache-2.0
// The host itself, on a store of its own with the sample data: a file, or a database of the server that MERCATO_TEST_SERVER names
// (tests/support/postgres_cluster).
import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

export const samples = join(dirname(fileURLToPath(import.meta.url)), '../../samples');

export class RealHost {
  constructor(program, { empty = false } = {}) {
    this.program = program;
    this.folder = mkdtempSync(join(tmpdir(), 'console-'));
    this.store = storeFor(this.folder);
    this.run('init');
    if (empty) return;
    this.run('execute', join(samples, 'reference.sql'));
    this.run('upload', join(samples, 'products.xml'), '--on-errors', 'write');
    this.run('execute', join(samples, 'house_catalog.sql'));
    this.run('prices', 'upload', join(samples, 'prices.xml'));
    this.run('rights', 'populate', 'CHLOE.MERCIER');
  }

  // The address has the token when the host has no token file.
  async listen(port = 0, ...options) {
    this.process = spawn(this.program, ['--store', this.store, 'serve', '--listen', `127.0.0.1:${port}`, ...options], {
      cwd: this.folder,
      stdio: ['ignore', 'pipe', 'ignore'],
    });
    let said = '';
    await new Promise((done, failed) => {
      this.process.on('exit', (status) => failed(new Error(`the host ended with ${status}: ${said}`)));
      this.process.stdout.on('data', (piece) => {
        said += piece;
        if (options.length ? /listening on .*\n/.test(said) : /open .*\n/.test(said)) done();
      });
    });
    this.process.removeAllListeners('exit');
    this.address = `${/listening on (\S+)/.exec(said)[1]}/`;
    this.entrance = /open (\S+)/.exec(said)?.[1] ?? this.address;
    this.port = Number(new URL(this.address).port);
  }

  // A token of a file, and the options that name the file.
  token(name, ...options) {
    const file = join(this.folder, 'tokens.json');
    const said = this.run('token', 'new', name, '--tokens', file, ...options);
    return { token: said.trim().split(/\s+/).at(-1), options: ['--tokens', file] };
  }

  async kill() {
    const ended = new Promise((done) => this.process.on('exit', done));
    this.process.kill('SIGKILL');
    await ended;
  }

  async end() {
    if (this.process.exitCode === null && this.process.signalCode === null) await this.kill();
    rmSync(this.folder, { recursive: true, force: true });
  }

  run(...command) {
    try {
      return execFileSync(this.program, ['--store', this.store, ...command], { cwd: this.folder, encoding: 'utf8', stdio: 'pipe' });
    } catch (failed) {
      if (failed.status === 3) return failed.stdout; // done in part: the samples have records with faults
      throw failed;
    }
  }
}

function storeFor(folder) {
  const server = process.env.MERCATO_TEST_SERVER;
  if (!server) return join(folder, 'store.db');
  const database = basename(folder).toLowerCase().replace('-', '_');
  const [, socket] = /Server=([^;]+)/.exec(server);
  execFileSync('psql', [`--host=${socket}`, '--username=mercato', '--quiet', `--command=CREATE DATABASE ${database} ENCODING 'UTF8' TEMPLATE template0`, 'postgres']);
  return `${server};Database=${database}`;
}
