// SPDX-License-Identifier: Apache-2.0
// The process `mercato rpc`, and requests to it. The answers come in the order of the requests.
import { spawn } from "node:child_process";
import { createInterface } from "node:readline";

// What the gateway answers instead of a result. Where the library raised, `number`, `source` and `description` are the library's
// own, and `data` has what else is told of the call.
export class Failure extends Error {
  readonly code: number;
  readonly data: { number?: number; source?: string; description?: string; [more: string]: unknown };
  readonly number?: number;
  readonly source?: string;
  readonly description?: string;

  constructor(error: { code: number; message: string; data?: Failure["data"] }) {
    super(error.message);
    this.code = error.code;
    this.data = error.data ?? {};
    this.number = this.data.number;
    this.source = this.data.source;
    this.description = this.data.description;
  }
}

interface Waiting {
  take(result: unknown): void;
  fail(failure: Error): void;
}

export class Gateway {
  private readonly process;
  private readonly waiting = new Map<number, Waiting>();
  private readonly ended: Promise<void>;
  private lastId = 0;

  // `options` stand behind the command: `new Gateway(["--store", "shop.db"])`.
  constructor(options: string[] = [], program = "mercato") {
    this.process = spawn(program, ["rpc", ...options], { stdio: ["pipe", "pipe", "inherit"] });
    createInterface({ input: this.process.stdout }).on("line", (line) => this.answered(line));
    this.ended = new Promise((end) => {
      const failed = (failure: Error) => {
        for (const each of this.waiting.values()) each.fail(failure);
        this.waiting.clear();
        end();
      };
      this.process.on("error", failed);
      this.process.on("close", () => failed(new Error("the gateway has ended")));
    });
  }

  // Sends a request, and returns its id, which `cancel` takes, and its result.
  send<Result>(method: string, params: object): { id: number; result: Promise<Result> } {
    const id = ++this.lastId;
    const result = new Promise<Result>((take, fail) => this.waiting.set(id, { take: take as Waiting["take"], fail }));
    this.process.stdin.write(JSON.stringify({ jsonrpc: "2.0", id, method, params }) + "\n");
    return { id, result };
  }

  request<Result>(method: string, params: object): Promise<Result> {
    return this.send<Result>(method, params).result;
  }

  private answered(line: string) {
    const answer = JSON.parse(line);
    const waiting = this.waiting.get(answer.id);
    this.waiting.delete(answer.id);
    if (answer.error) waiting?.fail(new Failure(answer.error));
    else waiting?.take(answer.result);
  }

  close(): Promise<void> {
    this.process.stdin.end();
    return this.ended;
  }
}
