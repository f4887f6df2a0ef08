// SPDX-License-Identifier: Apache-2.0
// Where the reader is: each view has an address behind `#`, so that it can be kept and sent on, below any path of a proxy.

export interface Place {
  view: string;
  parts: string[]; // behind the view: the id of a product, say
  query: URLSearchParams;
}

export type Query = Record<string, string | number | undefined>;

export function placeOf(hash: string): Place {
  const [path = '', query = ''] = hash.replace(/^#\/?/, '').split('?', 2);
  const [view, ...parts] = path.split('/').map(decoded);
  return { view: view || 'find', parts, query: new URLSearchParams(query) };
}

// What is left out of an address: undefined and the empty text.
export function address(parts: (string | number)[], query: Query = {}): string {
  const given = Object.entries(query).filter(([, value]) => value !== undefined && value !== '');
  const search = new URLSearchParams(given.map(([name, value]) => [name, String(value)])).toString();
  return `#/${parts.map((part) => encodeURIComponent(part)).join('/')}${search && `?${search}`}`;
}

export function go(to: string): void {
  location.hash = to;
}

// Changes the address without a step in the history, as filters do while they are typed.
export function stay(at: string): void {
  if (at === location.hash) return;
  history.replaceState(null, '', at);
  window.dispatchEvent(new HashChangeEvent('hashchange'));
}

function decoded(part: string): string {
  try {
    return decodeURIComponent(part);
  } catch {
    return part; // an address that somebody typed
  }
}
