// SPDX-License-Identifier: Apache-2.0
// What an empty store needs, in its order: what products refer to, codes, products, prices. What is there already is ticked off.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, property, state } from 'lit/decorators.js';
import { get } from '../host/requests.js';
import type { Code, List, Unit } from '../host/records.js';
import { address } from '../place.js';
import './command-line.js';
import { Part } from './view.js';

const tables = ['units', 'currencies', 'partners', 'users'];

@customElement('first-steps')
export class FirstSteps extends Part {
  @property({ attribute: false }) mayChange = false;
  @state() private hasUnits = false;
  @state() private hasCodes = false;

  override connectedCallback(): void {
    super.connectedCallback();
    const isThere = (path: string) => get<List<Unit | Code>>(path).then(({ items }) => items.length > 0, () => false);
    void isThere('api/v1/units').then((there) => (this.hasUnits = there));
    void isThere('api/v1/unspsc').then((there) => (this.hasCodes = there));
  }

  override render(): TemplateResult {
    return html`<div class="empty">
      <h2>There is no product yet</h2>
      ${this.mayChange
        ? html`<p>Four steps lead to a catalogue; each can be done again with more.</p>
            <ol class="steps">
              <li>
                <h3>What products refer to ${tick(this.hasUnits)}</h3>
                <p>Units, currencies, suppliers and users come from tables of your own, on the command line:</p>
                ${tables.map((table) => html`<p><command-line .command=${`mercato reference load ${table} ${table}.csv`}></command-line></p>`)}
              </li>
              <li>
                <h3>Codes ${tick(this.hasCodes)}</h3>
                <p>A spreadsheet or a document of UNSPSC codes, if products are to be sorted by them: <a href=${address(['upload'])}>Upload</a>.</p>
              </li>
              <li>
                <h3>Products</h3>
                <p>A document of products: <a href=${address(['upload'])}>Upload</a>. The preview tells what is wrong with it, and changes nothing.</p>
              </li>
              <li>
                <h3>Prices</h3>
                <p>A document of their own, behind the products: <a href=${address(['upload'])}>Upload</a>.</p>
              </li>
            </ol>`
        : html`<p>Your token may read only. Someone with the role of a keeper uploads products.</p>`}
    </div>`;
  }
}

function tick(done: boolean): TemplateResult | typeof nothing {
  return done ? html`<b class="mark done">done</b>` : nothing;
}
