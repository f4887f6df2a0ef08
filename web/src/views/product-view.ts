// SPDX-License-Identifier: Apache-2.0
// A product whole. A keeper changes fields where they stand, and takes the last change back instead of being asked before.
import { html, nothing, type TemplateResult } from 'lit';
import { customElement, state } from 'lit/decorators.js';
import { themes, type Field } from '../fields.js';
import { number, time } from '../format.js';
import { ask, get, invoke } from '../host/requests.js';
import type { PriceLine, Product, Value } from '../host/records.js';
import { changesBetween, nameOf } from '../parts/price-lines.js';
import { stepChart } from '../parts/step-chart.js';
import { View, refusal } from '../parts/view.js';
import { shownValue, typedValue } from '../parts/field-value.js';
import { byQuantity, overTime } from '../prices.js';
import { address } from '../place.js';

interface Change {
  words: string;
  undo: () => Promise<void>;
}

@customElement('product-view')
export class ProductView extends View {
  @state() private product?: Product;
  @state() private changed?: Change;
  @state() private refused: unknown; // of a button that has no place of its own for it

  private get key(): number {
    return Number(this.place.parts[0]);
  }

  protected async load(signal: AbortSignal): Promise<void> {
    if (this.product && this.product['PRODUCTID'] !== this.key) {
      this.product = undefined;
      this.changed = undefined;
      this.refused = undefined;
    }
    const product = await get<Product>(`api/v1/products/${encodeURIComponent(this.place.parts[0] ?? '')}`, {}, signal);
    if (!signal.aborted) this.product = product;
  }

  override render(): TemplateResult {
    const { product } = this;
    if (!product) return html`<h1>Product ${this.place.parts[0]}</h1>${refusal(this.failure)}`;
    return html`
      ${this.head(product)} ${refusal(this.failure)}
      <div class="themes">
        ${themes.map(
          ({ title, fields }) => html`<section>
            <h2>${title}</h2>
            <dl>
              ${fields.map(
                (field) => html`<div>
                  <dt>${field.title}</dt>
                  <dd>
                    <field-value .field=${field} .value=${valueOf(product, field)} .editable=${this.mayChange} .write=${this.write}></field-value>
                  </dd>
                </div>`,
              )}
            </dl>
          </section>`,
        )}
        ${this.ordering(product)} ${this.properties(product)} ${this.places(product)}
      </div>
      ${this.prices(product)} ${this.alternatives(product)}
      <div class="undo" role="status">
        ${this.changed ? html`<p>${this.changed.words} <button class="quiet" @click=${this.undo}>Undo</button></p>` : nothing}
        ${refusal(this.refused)}
      </div>
    `;
  }

  private head(product: Product): TemplateResult {
    const disabled = isDisabled(product);
    return html`<div class="title">
      <div>
        <p class="code muted">${product['PARTNUMBER']}</p>
        <h1>${product['PRODUCTDESCRIPTION']}</h1>
        <p class="muted">
          ${disabled ? html`<b class="mark">disabled</b> ` : nothing}Number ${this.key}, changed
          ${time(product['DATEUPDATED'] as string | null)}
        </p>
      </div>
      ${this.mayChange
        ? html`<button @click=${() => this.turn(!disabled)}>${disabled ? 'Enable the product' : 'Disable the product'}</button>`
        : nothing}
    </div>`;
  }

  private ordering(product: Product): TemplateResult {
    const least = product['MINORDERQTY'] as number | null;
    const multiple = product['MULTIPLEOF'] as number | null;
    const amounts = [least ? `at least ${number(least)}` : '', multiple ? `multiples of ${number(multiple)}` : ''].filter(Boolean);
    const unit = product['UNITCODE'] ? `, by ${String(product['UNITCODE'])}` : '';
    return html`<section>
      <h2>What may be ordered</h2>
      ${isDisabled(product) ? html`<p>Nothing, since the product is disabled. If it were not:</p>` : nothing}
      <p>Quantities: ${amounts.join(', ') || 'any'}${unit}.</p>
      <h3>Who buys it</h3>
      ${product.buyers.length
        ? html`<ul class="plain">
            ${product.buyers.map(
              ({ USERID, USERNAME }) => html`<li>${USERNAME || USERID}${USERNAME ? html` <span class="code muted">${USERID}</span>` : nothing}</li>`,
            )}
          </ul>`
        : html`<p class="muted">No buyer of its own.</p>`}
    </section>`;
  }

  private properties(product: Product): TemplateResult {
    return html`<section>
      <h2>Properties</h2>
      ${product.properties.length
        ? html`<dl>
            ${product.properties.map(
              ({ PROPERTYID, PROPERTYNAME, VALUE }) => html`<div>
                <dt>${PROPERTYNAME}</dt>
                <dd>
                  <field-value
                    .field=${{ column: String(PROPERTYID), title: PROPERTYNAME, kind: 'text' } satisfies Field}
                    .value=${VALUE}
                    .editable=${this.mayChange}
                    .write=${this.writeProperty}
                  ></field-value>
                </dd>
              </div>`,
            )}
          </dl>`
        : html`<p class="muted">It has none. A property group gives a product its properties.</p>`}
    </section>`;
  }

  private places(product: Product): TemplateResult {
    return html`<section>
      <h2>Where it hangs</h2>
      ${product.categories.length
        ? html`<ul class="plain">
            ${product.categories.map(
              ({ CATEGORYID, CATEGORYNAME }) => html`<li><a href=${address(['find'], { category: CATEGORYID })}>${CATEGORYNAME}</a></li>`,
            )}
          </ul>`
        : html`<p class="muted">In no category, so that nobody sees it in a catalogue.</p>`}
    </section>`;
  }

  private prices(product: Product): TemplateResult {
    const now = Date.now();
    return html`<section>
      <h2>Prices</h2>
      ${product.prices.length
        ? html`<div class="charts">${[...byQuantity(product.prices, now), ...overTime(product.prices, now)].map(stepChart)}</div>
            <p><a href=${address(['prices'], { product: this.key })}>What it costs on a day, for a quantity</a></p>`
        : html`<p class="muted">
            It has no price
            line.${this.mayChange ? html` Add one here, or <a href=${address(['upload'])}>upload a document of prices</a>.` : nothing}
          </p>`}
      <price-lines .lines=${product.prices} .editable=${this.mayChange} .write=${this.writePrice}></price-lines>
    </section>`;
  }

  private alternatives(product: Product): TemplateResult | typeof nothing {
    if (!product.alternatives.length) return nothing;
    return html`<section>
      <h2>Alternatives</h2>
      <ul class="plain">
        ${product.alternatives.map(
          ({ PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION }) =>
            html`<li><a href=${address(['product', PRODUCTID])}><span class="code">${PARTNUMBER}</span> ${PRODUCTDESCRIPTION}</a></li>`,
        )}
      </ul>
    </section>`;
  }

  private readonly write = (field: Field, to: string): Promise<void> =>
    this.change(
      field,
      to,
      () => valueOf(this.product as Product, field),
      (value) => this.put(field, value),
    );

  private readonly writeProperty = (field: Field, to: string): Promise<void> =>
    this.change(
      field,
      to,
      () => this.product?.properties.find(({ PROPERTYID }) => String(PROPERTYID) === field.column)?.VALUE ?? null,
      async (value) => {
        await invoke('Mercato.Product', 'UpdateProductPropertyValue', [this.key, Number(field.column), value]);
        await this.asking();
      },
    );

  private readonly writePrice = async (before: PriceLine | null, after: PriceLine | null): Promise<void> => {
    const put = async (from: PriceLine | null, to: PriceLine | null) => {
      await ask('POST', `api/v1/products/${this.key}/prices`, { json: { before: from, after: to } });
      await this.asking();
    };
    await put(before, after);
    const words =
      before && after
        ? `Of the price line ${nameOf(before)}: ${changesBetween(before, after)}.`
        : after
          ? `The price line ${nameOf(after)} was added.`
          : `The price line ${nameOf(before as PriceLine)} was deleted.`;
    this.changed = { words, undo: () => put(after, before) };
  };

  // Writes a value, says what became of it, and keeps the way back.
  private async change(field: Field, to: string, present: () => Value, put: (value: string) => Promise<void>): Promise<void> {
    const before = present();
    await put(to);
    this.changed = {
      words: `${field.title} was ${shownValue(field, before)}, and is ${shownValue(field, present())}.`,
      undo: () => put(typedValue(field, before)),
    };
  }

  // Where category links follow the codes, an update without the code counts as one that clears it. So it goes along.
  private async put(field: Field, to: string): Promise<void> {
    const columns = [field.column];
    const values: unknown[] = [written(field, to)];
    if (field.column !== 'UNSPSCCODE') {
      columns.push('UNSPSCCODE');
      values.push(this.product?.['UNSPSCCODE'] ?? '');
    }
    await invoke('Mercato.Product', 'Update20', [this.key, columns, values]);
    await this.asking();
  }

  private async turn(off: boolean): Promise<void> {
    const turned = async (disabled: boolean) => {
      await invoke('Mercato.Product', disabled ? 'Disable' : 'Enable', [this.key]);
      await this.asking();
    };
    this.refused = undefined;
    try {
      await turned(off);
      this.changed = { words: off ? 'Nobody may order it from now on.' : 'It may be ordered again.', undo: () => turned(!off) };
    } catch (failed) {
      this.refused = failed;
    }
  }

  private async undo(): Promise<void> {
    const { changed } = this;
    this.refused = undefined;
    try {
      await changed?.undo();
      this.changed = undefined;
    } catch (failed) {
      this.refused = failed;
    }
  }
}

function valueOf(product: Product, { column }: Field): Value {
  return (product[column] ?? null) as Value;
}

function isDisabled(product: Product): boolean {
  return Number(product['DISABLED'] ?? 0) !== 0;
}

// The library takes texts for every column; only what empties a number is a value of its own.
function written(field: Field, to: string): unknown {
  if (to === '' && field.kind === 'number') return field.removed ?? { $: 'empty' };
  if (field.kind === 'date' && to) return { $: 'date', value: `${to}T00:00:00` };
  return to;
}
