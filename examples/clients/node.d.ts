// SPDX-License-Identifier: Apache-2.0
// As much of Node's types as gateway.ts and program.ts use, for a compiler that does not have @types/node.
declare module "node:child_process" {
  interface Process {
    stdin: { write(text: string): void; end(): void };
    stdout: object;
    on(event: "error" | "close", take: (failure: Error) => void): void;
  }
  function spawn(program: string, words: string[], options: { stdio: string[] }): Process;
}
declare module "node:readline" {
  function createInterface(options: { input: object }): { on(event: "line", take: (line: string) => void): void };
}
declare const process: { argv: string[] };
declare const console: { log(text: string): void };
