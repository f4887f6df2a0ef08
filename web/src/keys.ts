// SPDX-License-Identifier: Apache-2.0
// The keys that work in every view, but not while one types.
import { html, type TemplateResult } from 'lit';
import { address, go } from './place.js';

const places: Record<string, [view: string, words: string]> = {
  f: ['find', 'Find'],
  c: ['catalogue', 'Catalogue'],
  k: ['classification', 'Classification'],
  p: ['prices', 'Prices'],
  u: ['upload', 'Upload'],
};

const patience = 1500; // milliseconds between `g` and the letter behind it

export class Keys {
  private wentAt = 0;

  constructor(readonly show: () => void) {}

  readonly pressed = (event: KeyboardEvent): void => {
    if (event.ctrlKey || event.metaKey || event.altKey || isTyping(event.target) || document.querySelector('dialog[open]')) return;
    const going = event.timeStamp - this.wentAt < patience;
    this.wentAt = 0;
    const place = places[event.key];
    if (going && place) {
      event.preventDefault();
      go(address([place[0]]));
    } else if (event.key === 'g') {
      this.wentAt = event.timeStamp;
    } else if (event.key === '/') {
      event.preventDefault();
      focusSearch();
    } else if (event.key === '?') {
      event.preventDefault();
      this.show();
    }
  };
}

// The search of the view, if it has one, else that of Find.
function focusSearch(): void {
  const field = document.querySelector<HTMLInputElement>('main input[type=search]');
  if (field) field.select();
  else go(address(['find']));
}

function isTyping(target: EventTarget | null): boolean {
  return target instanceof HTMLElement && target.closest('input:not([type=checkbox], [type=radio]), textarea, select') !== null;
}

export function keysDialog(): TemplateResult {
  const row = (keys: string[], words: string) =>
    html`<tr>
      <th scope="row">${keys.map((key) => html`<kbd>${key}</kbd> `)}</th>
      <td>${words}</td>
    </tr>`;
  return html`<dialog class="keys" aria-labelledby="keys">
    <h2 id="keys">Keys</h2>
    <table>
      <tbody>
        ${row(['/'], 'to the search')} ${Object.entries(places).map(([key, [, words]]) => row(['g', key], words))}
        ${row(['↑', '↓'], 'through lists and trees')} ${row(['←', '→'], 'close and open a branch')}
        ${row(['Enter'], 'open, or save a field')} ${row(['Esc'], 'leave a field or a dialog as it was')} ${row(['?'], 'these keys')}
      </tbody>
    </table>
    <form method="dialog"><button>Close</button></form>
  </dialog>`;
}
