// SPDX-License-Identifier: Apache-2.0
// Requests to the host that the page came from. What goes wrong is a Failure in the library's or the host's words, or Away when
// nobody answers; `host` tells the page of both, and when the host is back.
import type { Query } from '../place.js';
import type { Session } from './records.js';

export interface Problem {
  title?: string;
  detail?: string;
  status?: number;
  number?: number;
  source?: string;
  description?: string;
}

export class Failure extends Error {
  constructor(
    readonly status: number,
    readonly problem: Problem,
  ) {
    super(wordsOf(problem));
  }
}

export class Away extends Error {
  constructor() {
    super('The host does not answer.');
  }
}

// Events: `ended` (there is no session any longer), `away`, `back`.
export const host = new EventTarget();

let away = false;

// A description of the library is a trace: who called whom, innermost last. The last line that says something is the reason. A source
// that is a sentence says what the library refused.
function wordsOf(problem: Problem): string {
  const reasons = [...(problem.description ?? '').matchAll(/DESC:\s*([^\r\n]*\S)/g)].map((found) => found[1] ?? '');
  const reason = reasons.at(-1) ?? problem.description?.trim();
  const sentence = problem.source && /\s/.test(problem.source) ? problem.source : undefined;
  if (sentence) return reason && !/^Application-defined/.test(reason) ? `${sentence}: ${reason}` : sentence;
  return reason || problem.detail || problem.title || 'The host refused this without a reason.';
}

export interface Asking {
  query?: Query;
  json?: unknown;
  body?: Blob;
  token?: string;
  signal?: AbortSignal;
}

export async function ask<T>(method: string, path: string, asking: Asking = {}): Promise<T> {
  const answer = await answerTo(method, path, asking);
  if (answer.status === 204) return undefined as T;
  return (await answer.json()) as T;
}

// The token goes out once. The host answers with a cookie, which no script can read.
export function signIn(token: string): Promise<Session> {
  return ask('POST', 'api/v1/session', { token });
}

export function get<T>(path: string, query?: Query, signal?: AbortSignal): Promise<T> {
  return ask<T>('GET', path, { query, signal });
}

async function answerTo(method: string, path: string, { query, json, body, token, signal }: Asking): Promise<Response> {
  const given = Object.entries(query ?? {}).filter(([, value]) => value !== undefined && value !== '');
  const search = new URLSearchParams(given.map(([name, value]) => [name, String(value)])).toString();
  let answer: Response;
  try {
    answer = await fetch(search ? `${path}?${search}` : path, {
      method,
      signal,
      credentials: 'same-origin',
      headers: {
        ...(json === undefined ? {} : { 'Content-Type': 'application/json' }),
        ...(token === undefined ? {} : { Authorization: `Bearer ${token}` }),
      },
      body: json === undefined ? body : JSON.stringify(json),
    });
  } catch (failed) {
    if (signal?.aborted) throw failed;
    isAway();
    throw new Away();
  }
  if (answer.ok) return answer;
  const problem = (await answer.json().catch(() => ({ title: answer.statusText }))) as Problem;
  if (answer.status === 401) host.dispatchEvent(new Event('ended'));
  throw new Failure(answer.status, problem);
}

// Asks until the host answers again, at longer and longer intervals.
function isAway(): void {
  if (away) return;
  away = true;
  host.dispatchEvent(new Event('away'));
  let wait = 500;
  const again = async () => {
    try {
      if ((await fetch('healthz', { cache: 'no-store' })).ok) {
        away = false;
        host.dispatchEvent(new Event('back'));
        return;
      }
    } catch {
      // still away
    }
    wait = Math.min(wait * 2, 8000);
    setTimeout(again, wait);
  };
  setTimeout(again, wait);
}

interface RpcAnswer {
  result?: { value: unknown };
  error?: { message: string; data?: Problem };
}

// One call of the library, through the host: the way in which the console changes anything.
export async function invoke(progId: string, method: string, args: unknown[]): Promise<unknown> {
  const request = { jsonrpc: '2.0', id: 1, method: 'invoke', params: { progId, method, args } };
  const answer = await ask<RpcAnswer>('POST', 'rpc', { json: request });
  if (answer.error) throw new Failure(200, answer.error.data ?? { detail: answer.error.message });
  return answer.result?.value;
}
